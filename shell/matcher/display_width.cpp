#include "shell/matcher/display_width.h"

#include <uniwidth.h>

#include <algorithm>

namespace kvel::shell {

std::size_t display_width(char32_t code) { return static_cast<std::size_t>(std::max(uc_width(code, "UTF-8"), 0)); }

}  // namespace kvel::shell
