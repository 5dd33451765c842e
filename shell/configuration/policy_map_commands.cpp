// Policy-maps as commands.
#include "shell/configuration/policy_map_commands.h"

#include <algorithm>
#include <string>
#include <utility>

#include "kvel/keywords.h"
#include "shell/configuration/record_command.h"
#include "shell/configuration/service_policy.h"
#include "shell/grammar/command.h"
#include "shell/grammar/inline_matches.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

const ObjectRecord& list_of(const ObjectRecord& record, const char* member) {
  static const ObjectRecord none = ObjectRecord::array();
  const auto list = record.find(member);
  return list == record.end() ? none : *list;
}

ConfigCommand unspeakable(std::string_view mode) { return {mode, {}, {}}; }

ConfigCommand creation(const PolicyMapType& type, const ObjectRecord& policy_map) {
  ConfigCommand create{kConfigMode, KVEL_HANDLER(kvelpolicymap_config), {}};
  if (type.type != kNoKeyword) create.tokens.push_back({type.type, {}});
  if (const auto subtype = policy_map.at("subtype").get<std::uint32_t>(); subtype != kUsualSubtype) {
    if (subtype != type.subtype_number) return unspeakable(kConfigMode);
    create.tokens.push_back({type.subtype, {}});
  }
  create.tokens.push_back({type.name, policy_map.at("name").get<std::string>()});
  return create;
}

// Only the lines of a layer-3/4 policy-map can be numbered anew.
ConfigCommand renumbering(const PolicyMapType& type, const ObjectRecord& interval) {
  if (type.mode != kPolicyMapL3Mode) return unspeakable(type.mode);
  return {type.mode,
          KVEL_HANDLER(kvelpolicymap_configsequence),
          {{kw::policy_map_interval, interval.get<std::uint32_t>()}}};
}

ConfigCommand class_command(const PolicyMapType& type, std::string name) {
  ConfigCommand command{type.mode, KVEL_HANDLER(kvelpolicymap_configclass), {}};
  if (name == kClassDefault) {
    command.tokens.push_back({type.class_default, {}});
  } else {
    command.tokens.push_back({type.class_name, std::move(name)});
  }
  return command;
}

ConfigCommand match_command(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry) {
  ObjectRecord members = entry.at("rule");
  const auto kind = members.at("match").get<std::string>();
  members.erase("match");
  members[std::string(kMatchNameMember)] = entry.at("match");
  return command_of_record(grammar, type.mode, kind, members).value_or(unspeakable(type.mode));
}

}  // namespace

const PolicyMapType& policy_type_of(const ObjectRecord& policy_map) {
  return kPolicyMapTypes.at(policy_map.at("type").get<std::size_t>() - kFirstPolicyMapType);
}

const ObjectRecord& entries_of(const ObjectRecord& policy_map) { return list_of(policy_map, "classes"); }

bool is_match(const ObjectRecord& entry) { return entry.contains("match"); }

const ObjectRecord& actions_of(const ObjectRecord& entry) { return list_of(entry, "actions"); }

ConfigCommand entry_command(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry) {
  return is_match(entry) ? match_command(grammar, type, entry)
                         : class_command(type, entry.at("class").get<std::string>());
}

ConfigCommand action_command(const Grammar& grammar, const PolicyMapType& type, const ObjectRecord& entry,
                             const ObjectRecord& action) {
  const std::string_view mode = is_match(entry) ? type.match_mode : type.class_mode;
  ObjectRecord members = action;
  members.erase("action");
  return command_of_record(grammar, mode, action.at("action").get<std::string>(), members).value_or(unspeakable(mode));
}

std::vector<ConfigCommand> policy_map_commands(const Grammar& grammar, const ObjectRecord& policy_map) {
  const PolicyMapType& type = policy_type_of(policy_map);
  std::vector<ConfigCommand> commands{creation(type, policy_map)};
  if (const auto description = policy_map.find("description"); description != policy_map.end()) {
    commands.push_back(
        {type.mode, KVEL_HANDLER(kvelpolicymap_configdescr), {{type.description, description->get<std::string>()}}});
  }
  if (const auto interval = policy_map.find("interval"); interval != policy_map.end()) {
    commands.push_back(renumbering(type, *interval));
  }
  for (const ObjectRecord& entry : entries_of(policy_map)) {
    commands.push_back(entry_command(grammar, type, entry));
    for (const ObjectRecord& action : actions_of(entry))
      commands.push_back(action_command(grammar, type, entry, action));
  }
  const std::vector<ConfigCommand> applications = application_commands(grammar, policy_map);
  commands.insert(commands.end(), applications.begin(), applications.end());
  return commands;
}

bool names_other_policy_maps(const ObjectRecord& object) {
  if (object.at("kind") != "policy-map") return false;
  const ObjectRecord& entries = entries_of(object);
  return std::any_of(entries.begin(), entries.end(), [](const ObjectRecord& entry) {
    const ObjectRecord& actions = actions_of(entry);
    return std::any_of(actions.begin(), actions.end(),
                       [](const ObjectRecord& action) { return action.contains("policy"); });
  });
}

}  // namespace kvel::shell
