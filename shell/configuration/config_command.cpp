// Commands as lines.
#include "shell/configuration/config_command.h"

#include "shell/matcher/render.h"

namespace kvel::shell {

std::optional<std::string> render(const Grammar& grammar, const ConfigCommand& command) {
  const auto mode = grammar.find_mode(command.mode);
  if (!mode) return std::nullopt;
  auto line = render(grammar, *mode, command.action, false, command.tokens);
  if (!line) return std::nullopt;
  return *std::move(line);
}

}  // namespace kvel::shell
