// Takes down what this process writes to standard output or standard error.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/shell/process.h"

namespace kvel::test {

class OutputCapture {
 public:
  explicit OutputCapture(std::FILE* stream) : stream_(stream), descriptor_(fileno(stream)) {
    std::fflush(stream_);
    char name[] = "/tmp/kvel-out-XXXXXX";
    const int file = mkstemp(name);
    path_ = name;
    saved_ = dup(descriptor_);
    dup2(file, descriptor_);
    close(file);
  }
  OutputCapture(const OutputCapture&) = delete;
  OutputCapture& operator=(const OutputCapture&) = delete;
  ~OutputCapture() {
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
    std::fflush(stream_);
    dup2(saved_, descriptor_);
    close(saved_);
    saved_ = -1;
  }

  std::FILE* stream_;
  int descriptor_;
  std::string path_;
  int saved_ = -1;
};

class StdoutCapture : public OutputCapture {
 public:
  StdoutCapture() : OutputCapture(stdout) {}
};

}  // namespace kvel::test
