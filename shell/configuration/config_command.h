// One command of a configuration before it is spelled: what the grammar's renderer turns into a line.
#pragma once

#include <string_view>
#include <vector>

#include "shell/matcher/token.h"

namespace kvel::shell {

struct ConfigCommand {
  std::string_view mode;      // the mode it is typed in
  std::string_view handler;   // the plug-in's handler
  std::vector<Token> tokens;  // without those that the mode carries
};

}  // namespace kvel::shell
