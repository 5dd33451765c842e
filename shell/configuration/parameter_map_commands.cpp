// Parameter-maps as commands.
#include "shell/configuration/parameter_map_commands.h"

#include <string>
#include <utility>

#include "shell/configuration/record_command.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

ConfigCommand setting_command(const Grammar& grammar, std::string_view mode, const ObjectRecord& setting) {
  ObjectRecord members = setting;
  members.erase("setting");
  return command_of_record(grammar, mode, setting.at("setting").get<std::string>(), members)
      .value_or(ConfigCommand{mode, {}, {}});
}

}  // namespace

const ParameterMapType& parameter_type_of(const ObjectRecord& parameter_map) {
  return kParameterMapTypes.at(parameter_map.at("type").get<std::size_t>());
}

const ObjectRecord& settings_of(const ObjectRecord& parameter_map) {
  static const ObjectRecord none = ObjectRecord::array();
  const auto settings = parameter_map.find("settings");
  return settings == parameter_map.end() ? none : *settings;
}

std::vector<ConfigCommand> parameter_map_commands(const Grammar& grammar, const ObjectRecord& parameter_map) {
  const ParameterMapType& type = parameter_type_of(parameter_map);
  ConfigCommand create{kConfigMode, KVEL_HANDLER(kvelparammap_config), {}};
  if (type.type != kNoKeyword) create.tokens.push_back({type.type, {}});
  create.tokens.push_back({type.name, parameter_map.at("name").get<std::string>()});

  std::vector<ConfigCommand> commands{std::move(create)};
  for (const ObjectRecord& setting : settings_of(parameter_map))
    commands.push_back(setting_command(grammar, type.mode, setting));
  return commands;
}

}  // namespace kvel::shell
