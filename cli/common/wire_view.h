// Records that lie in a page of the backend, read where they are. Nothing is checked against the end of the page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cli/common/big_endian.h"

namespace kvel::cli {

// A text out of a record: what is before the first zero byte of a field `Width` bytes wide, or all of it.
template <std::size_t Width>
class WireText {
 public:
  explicit WireText(const char* bytes) { std::memcpy(text_, bytes, Width); }
  [[nodiscard]] const char* c_str() const { return text_; }
  [[nodiscard]] bool empty() const { return text_[0] == '\0'; }

 private:
  char text_[Width + 1] = {};
};

// The base of a record's view: `Size` bytes somewhere in the page, integers most significant byte first.
template <std::size_t Size>
class WireView {
 public:
  static constexpr std::size_t kSize = Size;
  explicit WireView(const char* bytes) : bytes_(bytes) {}

 protected:
  template <std::size_t Offset>
  [[nodiscard]] std::uint32_t word() const {
    return integer<Offset, std::uint32_t>();
  }
  template <std::size_t Offset>
  [[nodiscard]] std::uint16_t half() const {
    return integer<Offset, std::uint16_t>();
  }
  template <std::size_t Offset>
  [[nodiscard]] std::uint64_t double_word() const {
    return integer<Offset, std::uint64_t>();
  }
  template <std::size_t Offset, std::size_t Width>
  [[nodiscard]] WireText<Width> text() const {
    static_assert(Offset + Width <= Size);
    return WireText<Width>(bytes_ + Offset);
  }

 private:
  template <std::size_t Offset, class Integer>
  [[nodiscard]] Integer integer() const {
    static_assert(Offset + sizeof(Integer) <= Size);
    BigEndian<Integer> wire;
    std::memcpy(&wire, bytes_ + Offset, sizeof(wire));
    return wire;
  }

  const char* bytes_;
};

}  // namespace kvel::cli
