// Standard output while a plug-in runs: kept in a file of its own and read piece by piece, so that it can be put in
// order with the other events.
#pragma once

#include <string>

namespace kvel::cli::test {

// From construction to destruction everything written to descriptor 1, through C stdio or past it, is kept here.
class StdoutCapture {
 public:
  StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;
  ~StdoutCapture();

  // What was written since the last take.
  [[nodiscard]] std::string take();

 private:
  int saved_ = -1;
  int file_ = -1;
  long taken_ = 0;
};

}  // namespace kvel::cli::test
