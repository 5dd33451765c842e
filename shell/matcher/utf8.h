// One character of UTF-8 at a time: strict decoding, and how wide a terminal shows it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kvel::shell {

struct DecodedCharacter {
  char32_t code = 0;
  std::size_t length = 0;  // bytes; 0: no valid character begins here
};

// Refuses overlong encodings, surrogates, and anything beyond U+10FFFF.
[[nodiscard]] DecodedCharacter decode_utf8(std::string_view text, std::size_t offset);

// C0 and C1 controls and DEL. Tab is one of them here.
[[nodiscard]] constexpr bool is_control(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// What a terminal is not shown as it is: controls, and characters that cannot be seen, end a line, or change the order
// in which others are shown.
[[nodiscard]] constexpr bool is_unprintable(char32_t code) {
  return is_control(code) || code == 0x00AD || code == 0x061C || code == 0x180E || (code >= 0x200B && code <= 0x200F) ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF ||
         (code >= 0xFFF9 && code <= 0xFFFB) || (code >= 0xE0000 && code <= 0xE007F);
}

// Text from elsewhere as a terminal may be shown it: each of these characters, and each byte that is no UTF-8, is a
// "?".
[[nodiscard]] std::string printable(std::string_view text);
// The same for whole lines: their ends and tabs stay.
[[nodiscard]] std::string printable_lines(std::string_view text);

// Columns of printable text.
[[nodiscard]] std::size_t columns_of(std::string_view text);

// Columns that a terminal gives to a printable character: 0 for combining ones, 2 for the wide ones of East Asia and
// most pictographs.
[[nodiscard]] std::size_t display_width(char32_t code);

}  // namespace kvel::shell
