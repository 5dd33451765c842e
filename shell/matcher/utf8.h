// One character of UTF-8 at a time: strict decoding, and how wide a terminal shows it.
#pragma once

#include <cstddef>
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

// Columns that a terminal gives to a printable character: 0 for combining ones, 2 for the wide ones of East Asia and
// most pictographs.
[[nodiscard]] std::size_t display_width(char32_t code);

}  // namespace kvel::shell
