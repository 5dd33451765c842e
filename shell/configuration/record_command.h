// From a record of the configuration to the command that creates it: the grammar in reverse, by the bindings of its
// words. A new command needs nothing here but its bindings; there is no code for each kind.
#pragma once

#include <optional>
#include <string_view>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// The command of `mode` that creates a record of `kind` with exactly these members; nothing when no command does. Of
// several commands the first in the grammar is taken. `members` is a JSON object whose values are strings,
// numbers of 32 bits and booleans.
[[nodiscard]] std::optional<ConfigCommand> command_of_record(const Grammar& grammar, std::string_view mode,
                                                             std::string_view kind, const ObjectRecord& members);

// The grammar's word for a code that a member of such a record holds; nothing when it is no code.
[[nodiscard]] std::optional<std::string_view> word_of_code(const Grammar& grammar, std::string_view mode,
                                                           std::string_view kind, std::string_view member,
                                                           const ObjectRecord& value);

}  // namespace kvel::shell
