// One command of a configuration, and its line.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

struct ConfigCommand {
  std::string_view mode;      // the mode it is typed in
  std::string_view action;    // the plug-in's handler or the shell's own command; empty: there is no command for it
  std::vector<Token> tokens;  // without those that the mode carries
};

// The line to be typed; nothing when there is no command for it.
[[nodiscard]] std::optional<std::string> render(const Grammar& grammar, const ConfigCommand& command);

}  // namespace kvel::shell
