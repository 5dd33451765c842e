// Reads command lines from a stream without trusting their length.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace kvel::shell {

class LineReader {
 public:
  // The stream stays the caller's. Of a line longer than `limit` bytes the first `limit` + 2 are kept, so that it is
  // still seen to be too long when the last of them looks like a part of a line end, and the rest is skipped.
  LineReader(std::FILE* stream, std::size_t limit) : stream_(stream), limit_(limit) {}

  // A line that goes on beyond this is none: /dev/zero has no second one.
  static constexpr std::size_t kEndlessBytes = std::size_t{16} << 20;

  // The next line, without its line end; false at the end of the stream, or when it cannot be read (error()), or when
  // its end does not come (endless()).
  bool next(std::string& line);

  [[nodiscard]] std::size_t number() const { return number_; }           // of the line last read, from 1
  [[nodiscard]] bool ended_without_newline() const { return cut_off_; }  // the line last read
  [[nodiscard]] int error() const { return error_; }                     // errno of a failed read, or 0
  [[nodiscard]] bool endless() const { return endless_; }

 private:
  std::FILE* stream_;
  std::size_t limit_;
  std::size_t number_ = 0;
  bool cut_off_ = false;
  int error_ = 0;
  bool endless_ = false;
};

}  // namespace kvel::shell
