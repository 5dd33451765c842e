// Parameter-maps as commands: the types, and the commands that create an object.
#pragma once

#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"
#include "shell/grammar/parameter_map_types.h"

namespace kvel::shell {

[[nodiscard]] const ParameterMapType& parameter_type_of(const ObjectRecord& parameter_map);

// The settings that are not at their defaults, in the order of the record; empty when there are none.
[[nodiscard]] const ObjectRecord& settings_of(const ObjectRecord& parameter_map);

// The commands that give a parameter-map its present configuration, the one that creates it first. A setting that no
// command can create is a command without an action.
[[nodiscard]] std::vector<ConfigCommand> parameter_map_commands(const Grammar& grammar,
                                                                const ObjectRecord& parameter_map);

}  // namespace kvel::shell
