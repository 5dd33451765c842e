// How wide a terminal shows a character.
#pragma once

#include <cstddef>

namespace kvel::shell {

// Columns that a terminal gives to a printable character: 0 for combining ones, 2 for the wide ones of East Asia and
// most pictographs. Does not depend on the locale.
[[nodiscard]] std::size_t display_width(char32_t code);

}  // namespace kvel::shell
