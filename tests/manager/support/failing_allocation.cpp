#include "tests/manager/support/failing_allocation.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool armed = false;
thread_local bool failed = false;
thread_local std::uint64_t remaining = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (armed && remaining-- == 0) {
    armed = false;
    failed = true;
    throw std::bad_alloc();
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace kvel::manager::testing {

FailingAllocation::FailingAllocation(std::uint64_t before) {
  failed = false;
  remaining = before;
  armed = true;
}

FailingAllocation::~FailingAllocation() { armed = false; }

bool FailingAllocation::has_failed() { return failed; }

}  // namespace kvel::manager::testing
