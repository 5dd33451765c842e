// Commands that change how the rules of a class-map combine.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

// What is to be told when a command that enters `mode` with these tokens has been carried out: that it gives the rules
// that a class-map has now another match mode. Empty when it does not.
[[nodiscard]] std::string match_mode_change(int context, std::string_view mode, std::span<const Token> tokens);

}  // namespace kvel::shell
