// Swaps descriptor 1 for a memory file. A failure here would make every expectation meaningless, so it ends the
// program.
#include "tests/cli/stdout_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace kvel::cli::test {
namespace {

void require(bool done, const char* step) {
  if (done) return;
  std::perror(step);
  std::abort();
}

}  // namespace

StdoutCapture::StdoutCapture() {
  require(std::fflush(stdout) == 0, "flush of standard output");
  saved_ = dup(STDOUT_FILENO);
  require(saved_ >= 0, "dup of standard output");
  file_ = memfd_create("stdout", MFD_CLOEXEC);
  require(file_ >= 0, "memfd_create");
  require(dup2(file_, STDOUT_FILENO) == STDOUT_FILENO, "dup2 to standard output");
}

StdoutCapture::~StdoutCapture() {
  require(std::fflush(stdout) == 0, "flush of standard output");
  require(dup2(saved_, STDOUT_FILENO) == STDOUT_FILENO, "dup2 to standard output");
  close(saved_);
  close(file_);
}

std::string StdoutCapture::take() {
  require(std::fflush(stdout) == 0, "flush of standard output");
  std::string text;
  std::array<char, 4096> piece{};
  for (;;) {
    const ssize_t count = pread(file_, piece.data(), piece.size(), taken_);
    require(count >= 0, "pread of standard output");
    if (count == 0) return text;
    text.append(piece.data(), static_cast<std::size_t>(count));
    taken_ += count;
  }
}

}  // namespace kvel::cli::test
