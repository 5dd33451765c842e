#include "process/signals.h"

#include <csignal>

namespace kvel {

bool is_ignored(int signal) noexcept {
  struct sigaction action {};
  return ::sigaction(signal, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
         action.sa_handler == SIG_IGN;
}

}  // namespace kvel
