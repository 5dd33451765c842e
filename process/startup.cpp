#include "process/startup.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace kvel {

void prepare_process() noexcept {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(standard, F_GETFD) >= 0) continue;
    // The lowest free descriptor is this one; opened the wrong way round, so that using it fails.
    static_cast<void>(::open("/dev/null", standard == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace kvel
