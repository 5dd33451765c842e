#include "manager/model/policy_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "manager/model/action_check.h"
#include "manager/model/field_record.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_record.h"

namespace kvel::manager {
namespace {

using encoding::JsonValue;
using encoding::JsonWriter;
using Refusal = tl::unexpected<std::string>;

void write_application(JsonWriter& json, const Application& application) {
  if (application.global) return json.text("applied", "global");
  if (application.vlans.empty()) return;
  json.begin_array("applied");
  for (const std::uint32_t vlan : application.vlans)
    json.number(vlan);
  json.end_array();
}

// A number from 1 to a bound.
std::optional<std::uint32_t> read_count(JsonValue value, std::uint32_t max) {
  const auto number = read_word(value);
  return number && *number != 0 && *number <= max ? number : std::nullopt;
}

std::optional<Application> read_application(JsonValue value) {
  const std::string* word = value.text();
  if (word != nullptr && *word == "global") return Application{true, {}};
  Application application;
  for (const JsonValue each : value.elements()) {
    const auto vlan = read_count(each, kMaxVlan);
    if (!vlan || (!application.vlans.empty() && application.vlans.back() >= *vlan)) return std::nullopt;
    application.vlans.push_back(*vlan);
  }
  if (application.vlans.empty()) return std::nullopt;
  return application;
}

tl::expected<void, std::string> read_member(std::string_view name, JsonValue value, PolicyMapSettings& settings) {
  if (name == "type") {
    const auto type = read_word(value);
    if (!type || !is_policy_map_type(*type)) {
      return Refusal(fmt::format("its type {} is none of 1 to {}", value.dump(), kMaxPolicyMapType));
    }
    settings.type = static_cast<PolicyMapType>(*type);
  } else if (name == "subtype") {
    const auto subtype = read_word(value);
    if (!subtype || !is_policy_map_subtype(*subtype)) {
      return Refusal(fmt::format("its subtype {} is none of 1 to {}", value.dump(), kMaxPolicyMapSubtype));
    }
    settings.subtype = static_cast<std::uint8_t>(*subtype);
  } else if (name == "description") {
    auto description = read_description(value);
    if (!description) return Refusal(std::move(description).error());
    settings.description = *std::move(description);
  } else if (name == "interval") {
    const auto interval = read_count(value, std::numeric_limits<std::uint32_t>::max());
    if (!interval) return Refusal(fmt::format("its interval cannot be {}", value.dump()));
    settings.interval = *interval;
  } else if (name == "applied") {
    auto application = read_application(value);
    if (!application) return Refusal(fmt::format("it cannot be applied to {}", value.dump()));
    settings.application = *std::move(application);
  } else {
    return Refusal(unknown_member(name));
  }
  return {};
}

tl::expected<PolicyAction, std::string> read_action(JsonValue json, PolicyMapType type) {
  if (!json.is_object()) return Refusal("an action is no JSON object");
  auto action = read_variant<PolicyAction>(json, "action", "actions");
  if (!action) return Refusal("an action: " + action.error());
  if (const Status status = check_action(*action); !succeeded(status)) {
    return Refusal(fmt::format("an action: {}", status_text(status)));
  }
  if (type_of(*action) != type) return Refusal("an action is none of this type of policy-map");
  return action;
}

tl::expected<ActionList, std::string> read_actions(JsonValue json, PolicyMapType type) {
  if (!json.is_array()) return Refusal("its actions are no JSON array");
  ActionList actions;
  for (const JsonValue each : json.elements()) {
    auto action = read_action(each, type);
    if (!action) return Refusal(std::move(action).error());
    const bool excluded = std::any_of(actions.begin(), actions.end(), [&](const PolicyAction& present) {
      return present == *action || exclude_each_other(present, *action);
    });
    if (excluded) return Refusal("two of its actions exclude each other");
    actions.put(*std::move(action));
  }
  return actions;
}

tl::expected<MatchRule, std::string> read_inline_rule(JsonValue json, PolicyMapType type) {
  auto rule = read_rule_members(json);
  if (!rule) return Refusal("its rule: " + rule.error());
  if (!fits_inline_match(*rule) || type_of(*rule) != class_map_type(type)) {
    return Refusal("its rule is none of this type of policy-map");
  }
  return rule;
}

}  // namespace

void write_action(JsonWriter& json, const PolicyAction& action) {
  json.begin_object();
  write_variant(json, "action", action);
  json.end_object();
}

void write_actions(JsonWriter& json, const ActionList& actions) {
  json.begin_array();
  for (const PolicyAction& action : actions)
    write_action(json, action);
  json.end_array();
}

void write_members(JsonWriter& json, const PolicyClassContent& content) {
  json.text(content.rule ? "match" : "class", content.name);
  if (content.rule) {
    json.begin_object("rule");
    write_members(json, *content.rule);
    json.end_object();
  }
  if (!content.actions.empty()) {
    json.name("actions");
    write_actions(json, content.actions);
  }
}

void write_members(JsonWriter& json, const PolicyMapSettings& settings) {
  json.number("type", static_cast<unsigned>(settings.type));
  json.number("subtype", settings.subtype);
  if (!settings.description.empty()) json.text("description", settings.description);
  if (settings.interval != kDefaultLineInterval) json.number("interval", settings.interval);
  write_application(json, settings.application);
}

void append_body(std::string& out, const PolicyMapSettings& settings) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, settings);
  json.end_object();
}

void append_body(std::string& out, const PolicyClassContent& content) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, content);
  json.end_object();
}

tl::expected<PolicyMapSettings, std::string> read_policy_map(std::string_view body) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  PolicyMapSettings settings;
  for (const auto& [name, value] : document->root().members()) {
    if (auto read = read_member(name, value, settings); !read) return Refusal(std::move(read).error());
  }
  if (!takes_subtype(settings.type, settings.subtype)) {
    return Refusal(
        fmt::format("its type {} has no subtype {}", static_cast<unsigned>(settings.type), settings.subtype));
  }
  if (settings.application.anywhere() && !can_be_applied(settings.type)) {
    return Refusal("a policy-map of its type is not applied to traffic");
  }
  return as_written(std::move(settings), body);
}

tl::expected<PolicyClassContent, std::string> read_policy_class(std::string_view body, PolicyMapType type) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  const JsonValue json = document->root();
  PolicyClassContent content;
  const auto match = json.find("match");
  const auto named = match ? match : json.find("class");
  const std::string* name = named ? named->text() : nullptr;
  if (name == nullptr) return Refusal("it has no name");
  content.name = *name;
  if (match) {
    const auto rule = json.find("rule");
    if (!rule) return Refusal("it has no rule");
    auto read = read_inline_rule(*rule, type);
    if (!read) return Refusal(std::move(read).error());
    content.rule = *std::move(read);
  }
  if (const auto actions = json.find("actions")) {
    auto read = read_actions(*actions, type);
    if (!read) return Refusal(std::move(read).error());
    content.actions = *std::move(read);
  }
  return as_written(std::move(content), body);
}

}  // namespace kvel::manager
