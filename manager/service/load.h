// Makes changes of the store's records, and refuses what this system cannot have written.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "manager/configuration/configuration.h"
#include "manager/service/manager.h"
#include "manager/store/store.h"

namespace kvel::manager {

// The change by which a record comes into the configuration, which has all records before it. A class has the number
// that it has in a configuration which is known, if any. The error is the reason why the record cannot be there.
[[nodiscard]] tl::expected<Change, std::string> read_record(Configuration& configuration, const Configuration& known,
                                                            const StoreKey& key, std::string_view body);

// Whether all records together can have been written: what is named is there, and so on. The error names the object.
[[nodiscard]] tl::expected<void, std::string> validate(const Configuration& configuration);

// Tells of each rule whose expression is too large, so that it matches nothing: older versions took such ones.
void report_large_expressions(const Configuration& configuration, const FailureLog& log);

// "class-map "web" in context 0"
[[nodiscard]] std::string describe(const StoreKey& key);

}  // namespace kvel::manager
