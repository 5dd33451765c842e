// Bytes in memory with a file descriptor, for what can only be written to one or read from one.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "process/descriptor.h"

namespace kvel::shell {

// Errors are errno values. Not inherited by other programs.
class MemoryFile {
 public:
  MemoryFile();

  [[nodiscard]] int error() const { return file_ ? 0 : file_.error(); }  // why there is none, or 0
  [[nodiscard]] int descriptor() const { return file_ ? file_->get() : -1; }

  // Fills the file and goes back to its start.
  [[nodiscard]] tl::expected<void, int> fill(std::string_view bytes) const;
  // All that was written to it.
  [[nodiscard]] tl::expected<std::string, int> read() const;

 private:
  tl::expected<Descriptor, int> file_;
};

// Writes all of the bytes to a descriptor.
[[nodiscard]] tl::expected<void, int> write_all(int descriptor, std::string_view bytes);

}  // namespace kvel::shell
