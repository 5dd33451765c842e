// Names and texts as the backend knows them: zero-filled fields of a fixed width.
#pragma once

#include <cstddef>
#include <cstring>

namespace kvel::cli {

// At most `Bound` bytes of text in a field one byte wider, so that the field always ends in a NUL.
template <std::size_t Bound>
class FixedText {
 public:
  // Replaces the field: at most Bound bytes, a longer text is cut, the rest of the bound is zero.
  void assign(const char* text) { std::strncpy(bytes_, text, Bound); }

  [[nodiscard]] const char* c_str() const { return bytes_; }
  [[nodiscard]] bool empty() const { return bytes_[0] == '\0'; }
  [[nodiscard]] std::size_t length() const { return std::strlen(bytes_); }
  [[nodiscard]] bool starts_with(char character) const { return bytes_[0] == character; }

  // Whether the whole field is `literal`, its NUL included.
  template <std::size_t Size>
  [[nodiscard]] bool is(const char (&literal)[Size]) const {
    static_assert(Size <= Bound + 1);
    return std::memcmp(bytes_, literal, Size) == 0;
  }

  friend bool operator==(const FixedText& left, const FixedText& right) {
    return std::memcmp(left.bytes_, right.bytes_, sizeof(left.bytes_)) == 0;
  }

 private:
  char bytes_[Bound + 1] = {};
};

using ObjectName = FixedText<64>;
using Description = FixedText<240>;
using Expression = FixedText<255>;

}  // namespace kvel::cli
