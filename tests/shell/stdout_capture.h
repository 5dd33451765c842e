// Takes down what this process writes to standard output.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/shell/process.h"

namespace kvel::test {

class StdoutCapture {
 public:
  StdoutCapture() {
    std::fflush(stdout);
    char name[] = "/tmp/kvel-out-XXXXXX";
    const int file = mkstemp(name);
    path_ = name;
    saved_ = dup(STDOUT_FILENO);
    dup2(file, STDOUT_FILENO);
    close(file);
  }
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;
  ~StdoutCapture() {
    restore();
    unlink(path_.c_str());
  }

  // Ends the capture; what was written.
  std::string take() {
    restore();
    return read_file(path_);
  }

 private:
  void restore() {
    if (saved_ < 0) return;
    std::fflush(stdout);
    dup2(saved_, STDOUT_FILENO);
    close(saved_);
    saved_ = -1;
  }

  std::string path_;
  int saved_ = -1;
};

}  // namespace kvel::test
