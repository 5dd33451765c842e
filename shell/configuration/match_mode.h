// Commands that change how the rules of a class-map combine.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "shell/matcher/token.h"

namespace kvel::shell {

// What is to be told when a command that enters `mode` with these tokens has been carried out on a class-map that had
// so many rules and matched all of them, or any: that its rules have another match mode now. Empty when they have not.
[[nodiscard]] std::string match_mode_change(std::string_view mode, std::span<const Token> tokens, bool matched_all,
                                            std::size_t rules);

}  // namespace kvel::shell
