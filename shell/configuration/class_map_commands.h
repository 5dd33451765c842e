// Class-maps as commands: which mode and keywords belong to which type, and the commands that create an object.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"

namespace kvel::shell {

// The commands that give a class-map its present configuration, the one that creates it first.
[[nodiscard]] std::vector<ConfigCommand> class_map_commands(const ObjectRecord& class_map);

// When entering `mode` with these tokens says nothing of a class-map but its name and type: the type. Such a command is
// not carried out on a class-map of that type that exists; its mode is only entered.
struct NamedClassMap {
  std::string name;
  int type = 0;
};
[[nodiscard]] std::optional<NamedClassMap> class_map_only_named(std::string_view mode, std::span<const Token> tokens);

}  // namespace kvel::shell
