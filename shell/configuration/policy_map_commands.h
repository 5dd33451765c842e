// Policy-maps as commands: the types, the entries of a policy-map with their actions, and the commands that create it.
#pragma once

#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"
#include "shell/grammar/policy_map_types.h"

namespace kvel::shell {

[[nodiscard]] const PolicyMapType& policy_type_of(const ObjectRecord& policy_map);

// The classes and inline matches in their order; empty when there are none.
[[nodiscard]] const ObjectRecord& entries_of(const ObjectRecord& policy_map);

// It is an inline match, not a class.
[[nodiscard]] bool is_match(const ObjectRecord& entry);

// The actions of an entry; empty when there are none.
[[nodiscard]] const ObjectRecord& actions_of(const ObjectRecord& entry);

// The command that places an entry, and those of its actions in the entry's own mode. What no command can create is a
// command without an action.
[[nodiscard]] ConfigCommand entry_command(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry);
[[nodiscard]] ConfigCommand action_command(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry,
                                           const ObjectRecord& action);

// The commands that give a policy-map its present configuration, the one that creates it first and those that apply it
// to traffic last.
[[nodiscard]] std::vector<ConfigCommand> policy_map_commands(const Grammar& grammar, const ObjectRecord& policy_map);

// It is a policy-map whose actions refer to others: these have to be created first.
[[nodiscard]] bool names_other_policy_maps(const ObjectRecord& object);

}  // namespace kvel::shell
