// Where the bytes of a session go: a small buffer in front of a stdio stream, with the first failure remembered. Never
// allocates.
#pragma once

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

namespace kvel::output {

class Destination {
 public:
  explicit Destination(std::FILE* file) { attach(file); }

  // Starts anew on `file`, which stays the caller's.
  void attach(std::FILE* file) {
    file_ = file;
    used_ = 0;
    failure_ = 0;
    failed_before_ = std::ferror(file) != 0;
  }

  void append(char byte) {
    if (used_ == buffer_.size()) push();
    buffer_[used_++] = byte;
  }
  void append(std::string_view bytes) {
    if (bytes.size() > buffer_.size() - used_) {
      push();
      if (bytes.size() > buffer_.size()) return write(bytes);
    }
    if (bytes.empty()) return;  // its data may be null
    std::memcpy(buffer_.data() + used_, bytes.data(), bytes.size());
    used_ += bytes.size();
  }
  void blanks(std::size_t count) {
    while (count > 0) {
      if (used_ == buffer_.size()) push();
      const std::size_t part = std::min(count, buffer_.size() - used_);
      std::memset(buffer_.data() + used_, ' ', part);
      used_ += part;
      count -= part;
    }
  }

  // Hands what is gathered to the stream; the end of every call.
  void push() {
    if (used_ > 0) write({buffer_.data(), std::exchange(used_, 0)});
  }
  // ... and on to the file of the stream.
  void flush() {
    push();
    errno = 0;
    if (std::fflush(file_) != 0) {
      fail(errno);
    } else if (std::ferror(file_) != 0 && !failed_before_) {
      fail(EIO);  // someone else's write to the same stream
    }
  }

  // Remembers the first failure, an errno value.
  void fail(int reason) {
    if (failure_ == 0) failure_ = reason != 0 ? reason : EIO;
  }
  [[nodiscard]] int failure() const { return failure_; }

 private:
  void write(std::string_view bytes) {
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) fail(errno);
  }

  std::FILE* file_ = nullptr;
  std::size_t used_ = 0;
  int failure_ = 0;
  bool failed_before_ = false;
  std::array<char, 4096> buffer_;
};

}  // namespace kvel::output
