#include "manager/model/policy_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <limits>

#include "manager/model/action_check.h"
#include "manager/model/field_record.h"
#include "manager/model/json_text.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_record.h"
#include "manager/model/text.h"

namespace kvel::manager {
namespace {

using Json = nlohmann::json;
using Refusal = tl::unexpected<std::string>;

void append_members(std::string& out, const PolicyMapSettings& settings) {
  fmt::format_to(std::back_inserter(out), R"("type":{},"subtype":{})", static_cast<unsigned>(settings.type),
                 settings.subtype);
  if (!settings.description.empty()) {
    out += R"(,"description":)";
    append_json_string(out, settings.description);
  }
  if (settings.interval != kDefaultLineInterval) {
    fmt::format_to(std::back_inserter(out), R"(,"interval":{})", settings.interval);
  }
  const Application& application = settings.application;
  if (application.global) {
    out += R"(,"applied":"global")";
  } else if (!application.vlans.empty()) {
    fmt::format_to(std::back_inserter(out), R"(,"applied":[{}])", fmt::join(application.vlans, ","));
  }
}

void append_action(std::string& out, const PolicyAction& action) {
  std::visit(
      [&out](const auto& kind) {
        fmt::format_to(std::back_inserter(out), R"({{"action":"{}")", kind.kKind);
        append_fields(out, kind);
      },
      action);
  out += '}';
}

// Appends the members of a class and the end of its object.
void append_members(std::string& out, const PolicyClassContent& content) {
  out += content.rule ? R"("match":)" : R"("class":)";
  append_json_string(out, content.name);
  if (content.rule) {
    out += R"(,"rule":)";
    append_body(out, *content.rule);
  }
  if (!content.actions.empty()) {
    out += R"(,"actions":)";
    append_actions(out, content.actions);
  }
  out += '}';
}

void append_classes(std::string& out, const PolicyMap& policy_map) {
  char before = '[';
  std::uint32_t line = 0;
  const auto append = [&](const PolicyClassContent& content) {
    fmt::format_to(std::back_inserter(out), R"({}{{"line":{},)", before, line);
    append_members(out, content);
    before = ',';
  };
  const PolicyClassContent& class_default = policy_map.classes.class_default().content;
  if (policy_map.classes.size() == 0 && class_default.actions.empty()) return;
  out += R"(,"classes":)";
  for (const PolicyClass& entry : policy_map.classes) {
    line += policy_map.settings.interval;
    append(entry.content);
  }
  line += policy_map.settings.interval;
  if (!class_default.actions.empty()) append(class_default);
  out += ']';
}

bool is_number(const Json& value, std::uint64_t max) {
  return value.is_number_unsigned() && value.get<std::uint64_t>() <= max;
}

std::optional<Application> read_application(const Json& value) {
  if (value == "global") return Application{true, {}};
  if (!value.is_array() || value.empty()) return std::nullopt;
  Application application;
  for (const Json& vlan : value) {
    if (!is_number(vlan, kMaxVlan) || vlan == 0) return std::nullopt;
    const auto number = vlan.get<std::uint32_t>();
    if (!application.vlans.empty() && application.vlans.back() >= number) return std::nullopt;
    application.vlans.push_back(number);
  }
  return application;
}

tl::expected<void, std::string> read_member(const std::string& name, const Json& value, PolicyMapSettings& settings) {
  if (name == "type") {
    if (!is_number(value, kMaxPolicyMapType) || !is_policy_map_type(value.get<std::uint32_t>())) {
      return Refusal(fmt::format("its type {} is none of 1 to {}", value.dump(), kMaxPolicyMapType));
    }
    settings.type = static_cast<PolicyMapType>(value.get<std::uint8_t>());
  } else if (name == "subtype") {
    if (!is_number(value, kMaxPolicyMapSubtype) || !is_policy_map_subtype(value.get<std::uint32_t>())) {
      return Refusal(fmt::format("its subtype {} is none of 1 to {}", value.dump(), kMaxPolicyMapSubtype));
    }
    settings.subtype = value.get<std::uint8_t>();
  } else if (name == "description") {
    if (!value.is_string()) return Refusal("its description is no text");
    settings.description = value.get<std::string>();
    if (!is_description(settings.description)) return Refusal("its description is too long or has control characters");
  } else if (name == "interval") {
    if (!is_number(value, std::numeric_limits<std::uint32_t>::max()) || value == 0) {
      return Refusal(fmt::format("its interval cannot be {}", value.dump()));
    }
    settings.interval = value.get<std::uint32_t>();
  } else if (name == "applied") {
    auto application = read_application(value);
    if (!application) return Refusal(fmt::format("it cannot be applied to {}", value.dump()));
    settings.application = *std::move(application);
  } else {
    return Refusal(fmt::format("it has an unknown member {:?}", name));
  }
  return {};
}

tl::expected<PolicyAction, std::string> read_action(const Json& json, PolicyMapType type) {
  if (!json.is_object()) return Refusal("an action is no JSON object");
  auto action = read_variant<PolicyAction>(json, "action", "actions");
  if (!action) return Refusal("an action: " + action.error());
  if (const Status status = check_action(*action); !succeeded(status)) {
    return Refusal(fmt::format("an action: {}", status_text(status)));
  }
  if (type_of(*action) != type) return Refusal("an action is none of this type of policy-map");
  return action;
}

tl::expected<ActionList, std::string> read_actions(const Json& json, PolicyMapType type) {
  if (!json.is_array()) return Refusal("its actions are no JSON array");
  ActionList actions;
  for (const Json& each : json) {
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

tl::expected<MatchRule, std::string> read_inline_rule(const Json& json, PolicyMapType type) {
  auto rule = read_rule_members(json);
  if (!rule) return Refusal("its rule: " + rule.error());
  if (!fits_inline_match(*rule) || type_of(*rule) != class_map_type(type)) {
    return Refusal("its rule is none of this type of policy-map");
  }
  return rule;
}

}  // namespace

void append_actions(std::string& out, const ActionList& actions) {
  out += '[';
  std::string_view before;
  for (const PolicyAction& action : actions) {
    out += before;
    append_action(out, action);
    before = ",";
  }
  out += ']';
}

void append_body(std::string& out, const PolicyMapSettings& settings) {
  out += '{';
  append_members(out, settings);
  out += '}';
}

void append_body(std::string& out, const PolicyClassContent& content) {
  out += '{';
  append_members(out, content);
}

void append_record(std::string& out, std::string_view name, const PolicyMap& policy_map) {
  out += R"({"kind":"policy-map","name":)";
  append_json_string(out, name);
  out += ',';
  append_members(out, policy_map.settings);
  append_classes(out, policy_map);
  out += '}';
}

tl::expected<PolicyMapSettings, std::string> read_policy_map(std::string_view body) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  PolicyMapSettings settings;
  for (const auto& [name, value] : json->items()) {
    if (auto read = read_member(name, value, settings); !read) return Refusal(std::move(read).error());
  }
  if (!takes_subtype(settings.type, settings.subtype)) {
    return Refusal(
        fmt::format("its type {} has no subtype {}", static_cast<unsigned>(settings.type), settings.subtype));
  }
  if (settings.application.anywhere() && !can_be_applied(settings.type)) {
    return Refusal("a policy-map of its type is not applied to traffic");
  }
  std::string written;
  append_body(written, settings);
  if (written != body) return Refusal(kOtherForm);
  return settings;
}

tl::expected<PolicyClassContent, std::string> read_policy_class(std::string_view body, PolicyMapType type) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  PolicyClassContent content;
  const auto match = json->find("match");
  const auto name = match != json->end() ? match : json->find("class");
  if (name == json->end() || !name->is_string()) return Refusal("it has no name");
  content.name = name->get<std::string>();
  if (match != json->end()) {
    const auto rule = json->find("rule");
    if (rule == json->end()) return Refusal("it has no rule");
    auto read = read_inline_rule(*rule, type);
    if (!read) return Refusal(std::move(read).error());
    content.rule = *std::move(read);
  }
  if (const auto actions = json->find("actions"); actions != json->end()) {
    auto read = read_actions(*actions, type);
    if (!read) return Refusal(std::move(read).error());
    content.actions = *std::move(read);
  }
  std::string written;
  append_body(written, content);
  if (written != body) return Refusal(kOtherForm);
  return content;
}

}  // namespace kvel::manager
