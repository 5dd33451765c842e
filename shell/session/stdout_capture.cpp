// Redirecting standard output below stdio, so that no writer is missed.
#include "shell/session/stdout_capture.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace kvel::shell {

namespace {

// What cannot be written is dropped (stdio remembers the failure): it must not turn up in another file later.
int flush_or_drop() {
  if (std::fflush(stdout) == 0) return 0;
  const int reason = errno;
  __fpurge(stdout);
  return reason;
}

}  // namespace

StdoutCapture::StdoutCapture() : error_(held_.error()) {
  if (error_ != 0) return;
  flush_or_drop();
  stdout_ = Descriptor(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  const bool kept = stdout_.is_open() || errno == EBADF;  // a closed one has nothing to keep
  active_ = kept && dup2(held_.descriptor(), STDOUT_FILENO) >= 0;
  if (!active_) error_ = errno;
}

tl::expected<std::string, int> StdoutCapture::take() {
  const int reason = flush_or_drop();
  restore();
  if (reason != 0) return tl::unexpected(reason);
  return held_.read();
}

void StdoutCapture::restore() {
  if (active_) {
    flush_or_drop();
    if (stdout_.is_open()) {
      dup2(stdout_.get(), STDOUT_FILENO);
    } else {
      close(STDOUT_FILENO);
    }
    active_ = false;
  }
  stdout_ = Descriptor();
}

}  // namespace kvel::shell
