// Makes the errors of a store on disk: what is wrong, where, and what to do about it.
#pragma once

#include <string>
#include <string_view>

#include "manager/store/store.h"

namespace kvel::manager {

// "store PATH: WHAT; ADVICE", the advice by the fault.
[[nodiscard]] StoreError store_error(StoreFault fault, std::string_view path, std::string_view what);

// The same after a failed system call: fault and reason from the error number; `doing` names what failed.
[[nodiscard]] StoreError system_error(std::string_view path, std::string_view doing, int error_number);

// The fault of a system error number.
[[nodiscard]] StoreFault fault_of_errno(int error_number);

}  // namespace kvel::manager
