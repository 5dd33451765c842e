#include "shell/matcher/printable.h"

#include <algorithm>

#include "shell/matcher/display_width.h"

namespace kvel::shell {
namespace {

std::string cleaned(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const encoding::DecodedCharacter character = encoding::decode_utf8(text, at);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    const bool is_kept = kept.find(text[at]) != std::string_view::npos;
    if (!is_kept && (character.length == 0 || is_unprintable(character.code))) {
      shown += '?';
    } else {
      shown += text.substr(at, length);
    }
    at += length;
  }
  return shown;
}

}  // namespace

std::string printable(std::string_view text) { return cleaned(text, ""); }

std::string printable_lines(std::string_view text) { return cleaned(text, "\n\t"); }

std::size_t columns_of(std::string_view text) {
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) {
    const encoding::DecodedCharacter character = encoding::decode_utf8(text, at);
    columns += display_width(character.code);
    at += std::max<std::size_t>(character.length, 1);
  }
  return columns;
}

}  // namespace kvel::shell
