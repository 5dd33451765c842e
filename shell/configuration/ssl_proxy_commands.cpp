// SSL-proxy services as commands.
#include "shell/configuration/ssl_proxy_commands.h"

#include <string>

#include "kvel/keywords.h"
#include "shell/configuration/record_command.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

std::vector<ConfigCommand> ssl_proxy_commands(const Grammar& grammar, const ObjectRecord& service) {
  std::vector<ConfigCommand> commands{
      {kConfigMode, KVEL_HANDLER(sslproxy_config), {{kw::ssl_proxy_name, service.at("name").get<std::string>()}}}};
  for (const auto& [member, value] : service.items()) {
    if (member == "kind" || member == "name") continue;
    commands.push_back(command_of_record(grammar, kSslProxyMode, member, {{"name", value}})
                           .value_or(ConfigCommand{kSslProxyMode, {}, {}}));
  }
  return commands;
}

}  // namespace kvel::shell
