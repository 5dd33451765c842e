#include "manager/model/version.h"

#include <atomic>

namespace kvel::manager {

std::uint64_t next_version() noexcept {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace kvel::manager
