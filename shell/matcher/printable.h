// Text from elsewhere as a terminal may be shown it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "encoding/utf8.h"

namespace kvel::shell {

// What a terminal is not shown as it is: controls, and characters that cannot be seen, end a line, or change the order
// in which others are shown.
[[nodiscard]] constexpr bool is_unprintable(char32_t code) {
  return encoding::is_control(code) || code == 0x00AD || code == 0x061C || code == 0x180E ||
         (code >= 0x200B && code <= 0x200F) || (code >= 0x2028 && code <= 0x202E) ||
         (code >= 0x2060 && code <= 0x206F) || code == 0xFEFF || (code >= 0xFFF9 && code <= 0xFFFB) ||
         (code >= 0xE0000 && code <= 0xE007F);
}

// Each of these characters, and each byte that is no UTF-8, is a "?".
[[nodiscard]] std::string printable(std::string_view text);
// The same for whole lines: their ends and tabs stay.
[[nodiscard]] std::string printable_lines(std::string_view text);

// Columns of printable text.
[[nodiscard]] std::size_t columns_of(std::string_view text);

}  // namespace kvel::shell
