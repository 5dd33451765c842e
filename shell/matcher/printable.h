// Text from elsewhere as the shell's terminal may be shown it, and how wide it is there.
#pragma once

#include <cstddef>
#include <string_view>

#include "encoding/printable.h"
#include "encoding/unprintable.h"

namespace kvel::shell {

using encoding::is_unprintable;
using encoding::printable;
using encoding::printable_lines;

// Columns of printable text.
[[nodiscard]] std::size_t columns_of(std::string_view text);

}  // namespace kvel::shell
