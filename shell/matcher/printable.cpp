#include "shell/matcher/printable.h"

#include <algorithm>

#include "encoding/utf8.h"
#include "shell/matcher/display_width.h"

namespace kvel::shell {

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
