#include "encoding/printable.h"

#include <algorithm>
#include <cstddef>

#include "encoding/unprintable.h"
#include "encoding/utf8.h"

namespace kvel::encoding {
namespace {

std::string cleaned(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const DecodedCharacter character = decode_utf8(text, at);
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

}  // namespace kvel::encoding
