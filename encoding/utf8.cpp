#include "encoding/utf8.h"

#include <utf8.h>

#include <algorithm>
#include <functional>

namespace kvel::encoding {

DecodedCharacter decode_utf8(std::string_view text, std::size_t offset) noexcept {
  constexpr unsigned char kFirstMultibyte = 0x80;
  constexpr std::size_t kLongest = 4;
  const char* const first = text.data() + offset;
  const auto lead = static_cast<unsigned char>(*first);
  if (lead < kFirstMultibyte) return {lead, 1};
  const char* const end = first + std::min(kLongest, text.size() - offset);
  if (utf8::find_invalid(first, end) == first) return {};
  const char* after = first;
  const char32_t code = utf8::unchecked::next(after);
  return {code, static_cast<std::size_t>(after - first)};
}

bool is_plain_text(std::string_view text) noexcept {
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = decode_utf8(text, at);
    if (character.length == 0 || is_control(character.code)) return false;
    at += character.length;
  }
  return true;
}

std::size_t count_characters(std::string_view text) noexcept {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), std::not_fn(continues_character)));
}

std::string_view beginning_of(std::string_view text, std::size_t max_bytes) noexcept {
  if (text.size() <= max_bytes) return text;
  std::size_t end = max_bytes;
  while (end != 0 && continues_character(text[end]))
    --end;
  return text.substr(0, end);
}

}  // namespace kvel::encoding
