// What is derived from a part of the configuration is kept as long as that part is the same. A part says so by its
// version: a number that it gets when it comes and anew at each change, and that nothing else of the process ever has.
#pragma once

#include <cstdint>

namespace kvel::manager {

[[nodiscard]] std::uint64_t next_version() noexcept;

}  // namespace kvel::manager
