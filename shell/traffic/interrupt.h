// The interrupt key while a command runs for long.
#pragma once

#include <csignal>

#include "process/descriptor.h"

namespace kvel::shell {

// While it lives, SIGINT no longer ends the process but waits to be asked for; calls in between are never cut short by
// it. Where SIGINT was ignored it stays so. One at a time, on the only thread.
class InterruptWatch {
 public:
  InterruptWatch();
  InterruptWatch(const InterruptWatch&) = delete;
  InterruptWatch& operator=(const InterruptWatch&) = delete;
  ~InterruptWatch();

  // Whether SIGINT has come since the beginning.
  [[nodiscard]] bool interrupted();
  // Waits until there is something to read, or the end of it; false when interrupted() first.
  [[nodiscard]] bool wait_to_read(int descriptor);

 private:
  sigset_t previous_{};
  Descriptor signals_;
  bool interrupted_ = false;
};

}  // namespace kvel::shell
