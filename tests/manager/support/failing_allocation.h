// Lets one allocation of this thread fail, to see what the code does then.
#pragma once

#include <cstdint>

namespace kvel::manager::testing {

class FailingAllocation {
 public:
  // The allocation after `before` others throws std::bad_alloc, once, while this object lives.
  explicit FailingAllocation(std::uint64_t before);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  [[nodiscard]] static bool has_failed();
};

}  // namespace kvel::manager::testing
