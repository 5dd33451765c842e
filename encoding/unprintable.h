// The characters that a terminal is not shown as they are, and that no new name holds: controls, and characters that
// cannot be seen, end a line, or change the order in which others are shown.
#pragma once

#include <array>
#include <cstddef>

namespace kvel::encoding {

struct CharacterRange {
  char32_t first = 0;
  char32_t last = 0;
};

// In ascending order. They are numbered from 0 through all ranges.
inline constexpr std::array kUnprintable{
    CharacterRange{0x0000, 0x001F}, CharacterRange{0x007F, 0x009F},   CharacterRange{0x00AD, 0x00AD},
    CharacterRange{0x061C, 0x061C}, CharacterRange{0x180E, 0x180E},   CharacterRange{0x200B, 0x200F},
    CharacterRange{0x2028, 0x202E}, CharacterRange{0x2060, 0x206F},   CharacterRange{0xFEFF, 0xFEFF},
    CharacterRange{0xFFF9, 0xFFFB}, CharacterRange{0xE0000, 0xE007F},
};

[[nodiscard]] constexpr bool is_unprintable(char32_t code) {
  for (const CharacterRange& range : kUnprintable) {
    if (code <= range.last) return code >= range.first;
  }
  return false;
}

inline constexpr std::size_t kUnprintableCount = [] {
  std::size_t count = 0;
  for (const CharacterRange& range : kUnprintable)
    count += range.last - range.first + 1;
  return count;
}();

// The number of an unprintable character, below kUnprintableCount; and the character of such a number.
[[nodiscard]] constexpr std::size_t unprintable_number(char32_t code) {
  std::size_t before = 0;
  for (const CharacterRange& range : kUnprintable) {
    if (code <= range.last) return before + (code - range.first);
    before += range.last - range.first + 1;
  }
  return kUnprintableCount;
}
[[nodiscard]] constexpr char32_t unprintable_character(std::size_t number) {
  for (const CharacterRange& range : kUnprintable) {
    const std::size_t length = range.last - range.first + 1;
    if (number < length) return range.first + static_cast<char32_t>(number);
    number -= length;
  }
  return 0;
}

}  // namespace kvel::encoding
