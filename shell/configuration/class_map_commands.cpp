// Class-maps as commands.
#include "shell/configuration/class_map_commands.h"

#include <algorithm>

#include "kvel/keywords.h"
#include "shell/configuration/record_command.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

const ClassMapType& type_of(const ObjectRecord& class_map) {
  return kClassMapTypes.at(class_map.at("type").get<std::size_t>());
}

const ObjectRecord& rules_of(const ObjectRecord& class_map) {
  static const ObjectRecord none = ObjectRecord::array();
  const auto rules = class_map.find("rules");
  return rules == class_map.end() ? none : *rules;
}

std::optional<ConfigCommand> rule_command(const Grammar& grammar, std::string_view mode, const ObjectRecord& rule) {
  ObjectRecord members = rule;
  members.erase("match");
  return command_of_record(grammar, mode, rule.at("match").get<std::string>(), members);
}

bool names_other_class_maps(const ObjectRecord& object) {
  if (object.at("kind") != "class-map") return false;
  const ObjectRecord& rules = rules_of(object);
  return std::any_of(rules.begin(), rules.end(),
                     [](const ObjectRecord& rule) { return rule.at("match") == "class-map"; });
}

std::vector<ConfigCommand> class_map_commands(const Grammar& grammar, const ObjectRecord& class_map) {
  const ClassMapType& type = type_of(class_map);
  std::vector<Token> create;
  if (type.type != kNoKeyword) create.push_back({type.type, {}});
  const KeywordId match = class_map.at("match_all").get<bool>() ? type.match_all : type.match_any;
  if (match != kNoKeyword) create.push_back({match, {}});
  create.push_back({type.name, class_map.at("name").get<std::string>()});

  std::vector<ConfigCommand> commands;
  commands.push_back({kConfigMode, KVEL_HANDLER(kvelclassmap_config), std::move(create)});
  if (const auto description = class_map.find("description"); description != class_map.end()) {
    commands.push_back({type.mode,
                        KVEL_HANDLER(kvelclassmap_config_desc),
                        {{kw::class_map_description, description->get<std::string>()}}});
  }
  for (const ObjectRecord& rule : rules_of(class_map)) {
    commands.push_back(rule_command(grammar, type.mode, rule).value_or(ConfigCommand{type.mode, {}, {}}));
  }
  return commands;
}

}  // namespace kvel::shell
