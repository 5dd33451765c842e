// Class-maps as commands: which mode and keywords belong to which type, and the commands that create an object.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/class_map_types.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

[[nodiscard]] const ClassMapType& type_of(const ObjectRecord& class_map);

// The rules in the order of their lines; empty when there are none.
[[nodiscard]] const ObjectRecord& rules_of(const ObjectRecord& class_map);

// The command of a class-map mode that adds a rule; nothing when no command can create it. Without its member "line"
// the rule is added at the next free line.
[[nodiscard]] std::optional<ConfigCommand> rule_command(const Grammar& grammar, std::string_view mode,
                                                        const ObjectRecord& rule);

// The commands that give a class-map its present configuration, the one that creates it first. A rule that no command
// can create is a command without an action.
[[nodiscard]] std::vector<ConfigCommand> class_map_commands(const Grammar& grammar, const ObjectRecord& class_map);

// It is a class-map with others nested in it: these have to be created first.
[[nodiscard]] bool names_other_class_maps(const ObjectRecord& object);

}  // namespace kvel::shell
