// SIGINT through a descriptor.
#include "shell/traffic/interrupt.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

#include "process/signals.h"

namespace kvel::shell {

InterruptWatch::InterruptWatch() {
  if (is_ignored(SIGINT)) return;  // a blocked one would be kept even then
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  signals_ = Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (signals_.is_open()) pthread_sigmask(SIG_BLOCK, &signals, &previous_);
}

// One that came too late to be handled was meant for the command that ends here.
InterruptWatch::~InterruptWatch() {
  if (!signals_.is_open()) return;
  static_cast<void>(interrupted());
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

bool InterruptWatch::interrupted() {
  signalfd_siginfo signal{};
  if (signals_.is_open() && read(signals_.get(), &signal, sizeof signal) == sizeof signal) interrupted_ = true;
  return interrupted_;
}

bool InterruptWatch::wait_to_read(int descriptor) {
  std::array<pollfd, 2> awaited{pollfd{descriptor, POLLIN, 0}, pollfd{signals_.get(), POLLIN, 0}};
  while (!interrupted()) {
    const int ready = poll(awaited.data(), awaited.size(), -1);
    if (ready < 0 && errno != EINTR) return true;  // reading will report the error
    if (ready > 0 && awaited[0].revents != 0) return !interrupted();
  }
  return false;
}

}  // namespace kvel::shell
