// Class-maps as commands.
#include "shell/configuration/class_map_commands.h"

#include <algorithm>

#include "kvel/keywords.h"
#include "shell/grammar/class_map_types.h"
#include "shell/grammar/form.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

std::vector<ConfigCommand> class_map_commands(const ObjectRecord& class_map) {
  const ClassMapType& type = kClassMapTypes.at(class_map.at("type").get<std::size_t>());
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
  return commands;
}

std::optional<NamedClassMap> class_map_only_named(std::string_view mode, std::span<const Token> tokens) {
  const auto* type =
      std::find_if(kClassMapTypes.begin(), kClassMapTypes.end(), [&](const auto& row) { return row.mode == mode; });
  if (type == kClassMapTypes.end()) return std::nullopt;
  NamedClassMap named{{}, static_cast<int>(type - kClassMapTypes.begin())};
  for (const Token& token : tokens) {
    if (token.keyword == type->name) {
      named.name = std::get<std::string>(token.value);
    } else if (token.keyword != type->type) {
      return std::nullopt;
    }
  }
  return named;
}

}  // namespace kvel::shell
