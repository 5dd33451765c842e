// SSL-proxy services as commands.
#pragma once

#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// The commands that give a service its present configuration, the one that creates it first. A member that no command
// can create is a command without an action.
[[nodiscard]] std::vector<ConfigCommand> ssl_proxy_commands(const Grammar& grammar, const ObjectRecord& service);

}  // namespace kvel::shell
