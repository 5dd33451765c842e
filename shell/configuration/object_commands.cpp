// Objects as commands, by their kind.
#include "shell/configuration/object_commands.h"

#include <algorithm>

#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/parameter_map_commands.h"
#include "shell/configuration/policy_map_commands.h"
#include "shell/configuration/ssl_proxy_commands.h"

namespace kvel::shell {

namespace {

std::size_t depth_of_mode(const Grammar& grammar, ModeId mode) {
  if (mode == Grammar::kTopMode) return 0;
  const auto opener = std::find_if(grammar.commands().begin(), grammar.commands().end(),
                                   [mode](const Command& command) { return command.opens == mode; });
  return opener == grammar.commands().end() ? 1 : 1 + depth_of_mode(grammar, opener->modes.front());
}

}  // namespace

std::vector<ConfigCommand> commands_of(const Grammar& grammar, const ObjectRecord& object) {
  if (object.at("kind") == "parameter-map") return parameter_map_commands(grammar, object);
  if (object.at("kind") == "ssl-proxy") return ssl_proxy_commands(grammar, object);
  if (object.at("kind") == "class-map") return class_map_commands(grammar, object);
  if (object.at("kind") == "policy-map") return policy_map_commands(grammar, object);
  return {};
}

std::size_t depth_of(const Grammar& grammar, std::string_view mode) {
  return depth_of_mode(grammar, grammar.find_mode(mode).value_or(Grammar::kTopMode));
}

}  // namespace kvel::shell
