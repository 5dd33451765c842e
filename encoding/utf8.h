// UTF-8, one character at a time: the only place that knows how it is put together. Nothing here allocates or throws.
#pragma once

#include <cstddef>
#include <string_view>

namespace kvel::encoding {

struct DecodedCharacter {
  char32_t code = 0;
  std::size_t length = 0;  // bytes; 0: no valid character begins here
};

// The character that begins at an offset below the size of the text. Refuses overlong forms, surrogates, and anything
// beyond U+10FFFF.
[[nodiscard]] DecodedCharacter decode_utf8(std::string_view text, std::size_t offset) noexcept;

// C0 and C1 controls and DEL. Tab is one of them here.
[[nodiscard]] constexpr bool is_control(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

// Well-formed, without control characters.
[[nodiscard]] bool is_plain_text(std::string_view text) noexcept;

// Whether a byte of a well-formed text goes on with the character before it.
[[nodiscard]] constexpr bool continues_character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// How many characters begin in a piece of well-formed text.
[[nodiscard]] std::size_t count_characters(std::string_view text) noexcept;

// The beginning of a well-formed text, as much of it as fits into so many bytes and ends between two characters.
[[nodiscard]] std::string_view beginning_of(std::string_view text, std::size_t max_bytes) noexcept;

}  // namespace kvel::encoding
