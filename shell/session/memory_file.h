// Bytes in memory with a file descriptor, for what can only be written to one or read from one.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::shell {

// Errors are errno values. Not inherited by other programs.
class MemoryFile {
 public:
  MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile();

  [[nodiscard]] int error() const { return error_; }  // why there is none, or 0
  [[nodiscard]] int descriptor() const { return descriptor_; }

  // Fills the file and goes back to its start.
  [[nodiscard]] tl::expected<void, int> fill(std::string_view bytes) const;
  // All that was written to it.
  [[nodiscard]] tl::expected<std::string, int> read() const;

 private:
  int descriptor_;
  int error_;
};

// Writes all of the bytes to a descriptor.
[[nodiscard]] tl::expected<void, int> write_all(int descriptor, std::string_view bytes);

}  // namespace kvel::shell
