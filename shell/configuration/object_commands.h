// Any object as commands.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// The commands that give an object its present configuration, the one that creates it first.
[[nodiscard]] std::vector<ConfigCommand> commands_of(const Grammar& grammar, const ObjectRecord& object);

// How many modes lie around a mode.
[[nodiscard]] std::size_t depth_of(const Grammar& grammar, std::string_view mode);

}  // namespace kvel::shell
