// Holds back what is written to standard output, whoever writes it: the shell, the output library, and the handlers of
// the plug-in, which print their own errors there.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "process/descriptor.h"
#include "shell/session/memory_file.h"

namespace kvel::shell {

// From its making to take(), or to its end. Errors are errno values. One within another, which ends later, is given
// what that would be; the command thread's.
class StdoutCapture {
 public:
  StdoutCapture();
  StdoutCapture(const StdoutCapture&) = delete;
  StdoutCapture& operator=(const StdoutCapture&) = delete;
  ~StdoutCapture() { restore(); }

  [[nodiscard]] int error() const { return error_; }  // why nothing is held back, or 0

  // Gives standard output back; what was written to it.
  [[nodiscard]] tl::expected<std::string, int> take();

 private:
  void restore();

  MemoryFile held_;
  Descriptor stdout_;  // where standard output goes otherwise; not open: nowhere, it was closed
  bool active_ = false;
  int error_ = 0;
};

}  // namespace kvel::shell
