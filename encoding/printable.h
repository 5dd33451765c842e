// Text from elsewhere as a terminal may be shown it.
#pragma once

#include <string>
#include <string_view>

namespace kvel::encoding {

// Each unprintable character, and each byte that is no UTF-8, is a "?".
[[nodiscard]] std::string printable(std::string_view text);
// The same for whole lines: their ends and tabs stay.
[[nodiscard]] std::string printable_lines(std::string_view text);

}  // namespace kvel::encoding
