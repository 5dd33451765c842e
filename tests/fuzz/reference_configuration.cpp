#include "tests/fuzz/reference_configuration.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace kvel::fuzz {
namespace {

constexpr char kClassDefault[] = "class-default";
constexpr std::uint32_t kLoadBalancingClassMap = 2;
constexpr std::uint32_t kLayer34 = 1;
constexpr std::uint32_t kLoadBalancing = 2;
constexpr std::uint32_t kFtpInspection = 4;
constexpr std::uint32_t kManagement = 5;
constexpr std::uint32_t kConnectionParameters = 0;
constexpr std::uint32_t kHttpParameters = 1;
constexpr std::uint32_t kSslParameters = 2;
constexpr std::uint32_t kHighestVlan = 4094;
constexpr std::uint64_t kHighestLine = 4294967295;
constexpr char kNesting[] = "class-map:";

// By the type of the policy-map, that of the class-maps in it.
constexpr std::uint32_t kClassMapTypes[] = {0, 0, 2, 3, 4, 1};

auto find(std::vector<ReferenceConfiguration::Class>& classes, const std::string& name) {
  return std::find_if(classes.begin(), classes.end(), [&](const auto& entry) { return entry.name == name; });
}

std::string action_of(const Step& step, std::uint32_t policy_type) {
  switch (step.kind) {
    case Step::load_balance:
      return "load-balance";
    case Step::ssl_proxy:
      return policy_type == kLoadBalancing ? "ssl-proxy-client" : "ssl-proxy-server";
    case Step::connection:
      return "connection-parameters";
    case Step::application:
      return "application-parameters";
    case Step::flag:
      return "flag-587";
    default:
      return "deny";
  }
}

bool fits(const Step& step, std::uint32_t policy_type) {
  switch (step.kind) {
    case Step::ssl_proxy:
      return policy_type == kLayer34 || policy_type == kLoadBalancing;
    case Step::flag:
      return policy_type == kLoadBalancing;
    case Step::deny:
      return policy_type == kFtpInspection;
    default:
      return policy_type == kLayer34;
  }
}

}  // namespace

std::string rule_of(const Step& step) {
  if (step.kind == Step::nesting) return kNesting + step.other;
  switch (step.type) {
    case 0:
      return step.number % 3 == 0 ? "any:" : "access-list:acl" + std::to_string(step.number % 3);
    case 1:
      return "management:" + std::to_string(22 + step.number % 3);
    case 2:
      return "http-url:/" + std::to_string(step.number % 3);
    case 3:
      return "port-misuse:" + std::to_string(1 + step.number % 3);
    default:
      return "ftp-method:" + std::to_string(1 + step.number % 3);
  }
}

Status ReferenceConfiguration::carry_out(const Step& step) {
  switch (step.kind) {
    case Step::class_map:
      return change_class_map(step);
    case Step::rule:
    case Step::nesting:
      return change_rule(step);
    case Step::rule_line:
      return remove_line(step);
    case Step::policy_map:
      return change_policy_map(step);
    case Step::policy_class:
      return change_class(step);
    case Step::parameter_map:
      return change_parameter_map(step);
    case Step::service:
      return change_service(step);
    case Step::key:
    case Step::parameters:
      return change_member(step);
    case Step::application_to_traffic:
      return change_application(step);
    default:
      return change_action(step);
  }
}

// ---- Class-maps

bool ReferenceConfiguration::is_nested(const std::string& name) const {
  return std::any_of(class_maps.begin(), class_maps.end(), [&](const auto& entry) {
    return std::any_of(entry.second.rules.begin(), entry.second.rules.end(),
                       [&](const auto& rule) { return rule.second == kNesting + name; });
  });
}

Status ReferenceConfiguration::change_class_map(const Step& step) {
  if (step.name == kClassDefault) return Status::invalid_name;
  const auto present = class_maps.find(step.name);
  if (present == class_maps.end()) {
    if (!step.add) return Status::class_map_not_found;
    class_maps[step.name] = {step.type, step.mode == 1, {}};
    return Status::ok;
  }
  if (present->second.type != step.type) return Status::class_map_type_differs;
  if (step.add) {
    present->second.match_all = step.mode == 1;
    return Status::ok;
  }
  const bool is_class = std::any_of(policy_maps.begin(), policy_maps.end(), [&](auto& entry) {
    return find(entry.second.classes, step.name) != entry.second.classes.end();
  });
  if (is_class || is_nested(step.name)) return Status::class_map_in_use;
  class_maps.erase(present);
  return Status::ok;
}

Status ReferenceConfiguration::change_rule(const Step& step) {
  const auto class_map = class_maps.find(step.name);
  if (class_map == class_maps.end()) return Status::class_map_not_found;
  const std::uint32_t type = step.kind == Step::nesting ? kLoadBalancingClassMap : step.type;
  if (class_map->second.type != type) return Status::rule_type_differs;
  auto& rules = class_map->second.rules;
  const std::string rule = rule_of(step);
  const auto present =
      std::find_if(rules.begin(), rules.end(), [&](const auto& entry) { return entry.second == rule; });
  if (present == rules.end()) return step.add ? add_rule(step, class_map->second, rule) : Status::rule_not_found;
  if (step.line != 0 && step.line != present->first) return Status::rule_at_another_line;
  if (!step.add) rules.erase(present);
  return Status::ok;
}

Status ReferenceConfiguration::add_rule(const Step& step, ClassMap& parent, const std::string& rule) {
  const std::uint64_t last = parent.rules.empty() ? 0 : parent.rules.rbegin()->first;
  const std::uint64_t next = step.line != 0 ? step.line : (last / 10 + 1) * 10;
  if (next > kHighestLine) return Status::lines_used_up;
  const auto line = static_cast<std::uint32_t>(next);
  if (parent.rules.contains(line)) return Status::line_taken;
  if (step.kind == Step::nesting) {
    const auto child = class_maps.find(step.other);
    if (child == class_maps.end()) return Status::class_map_not_found;
    if (step.other == step.name) return Status::nested_in_itself;
    if (child->second.type != kLoadBalancingClassMap) return Status::nested_type_differs;
    const bool has_children = std::any_of(child->second.rules.begin(), child->second.rules.end(),
                                          [](const auto& entry) { return entry.second.starts_with(kNesting); });
    if (has_children) return Status::class_map_has_children;
    if (is_nested(step.name)) return Status::class_map_is_child;
  }
  parent.rules[line] = rule;
  return Status::ok;
}

Status ReferenceConfiguration::remove_line(const Step& step) {
  const auto class_map = class_maps.find(step.name);
  if (class_map == class_maps.end()) return Status::class_map_not_found;
  return class_map->second.rules.erase(step.line) != 0 ? Status::ok : Status::line_not_found;
}

// ---- Policy-maps

bool ReferenceConfiguration::is_target(const std::set<std::string>& kinds, const std::string& name) const {
  const auto mentions = [&](const Actions& actions) {
    return std::any_of(actions.begin(), actions.end(),
                       [&](const auto& action) { return kinds.contains(action.first) && action.second == name; });
  };
  return std::any_of(policy_maps.begin(), policy_maps.end(), [&](const auto& entry) {
    const PolicyMap& policy = entry.second;
    return mentions(policy.default_actions) ||
           std::any_of(policy.classes.begin(), policy.classes.end(),
                       [&](const Class& content) { return mentions(content.actions); });
  });
}

Status ReferenceConfiguration::change_policy_map(const Step& step) {
  if (step.name == kClassDefault) return Status::invalid_name;
  const auto present = policy_maps.find(step.name);
  if (present == policy_maps.end()) {
    if (!step.add) return Status::policy_map_not_found;
    policy_maps[step.name].type = step.type;
    return Status::ok;
  }
  if (present->second.type != step.type) return Status::policy_map_type_differs;
  if (step.add) return Status::ok;
  if (!present->second.vlans.empty() || is_target({"load-balance"}, step.name)) return Status::policy_map_in_use;
  policy_maps.erase(present);
  return Status::ok;
}

Status ReferenceConfiguration::change_class(const Step& step) {
  const auto policy = policy_maps.find(step.name);
  if (policy == policy_maps.end()) return Status::policy_map_not_found;
  if (policy->second.type != step.type) return Status::policy_map_type_differs;
  auto& classes = policy->second.classes;
  const auto present = find(classes, step.class_name);
  if (step.class_name == kClassDefault) {
    if (!step.add) policy->second.default_actions.clear();
    return Status::ok;
  }
  if (!step.add) {
    if (present == classes.end()) return Status::class_not_in_policy;
    classes.erase(present);
    return Status::ok;
  }
  if (step.class_name == step.before) return Status::bad_arguments;
  const auto class_map = class_maps.find(step.class_name);
  if (class_map == class_maps.end()) return Status::class_map_not_found;
  if (class_map->second.type != kClassMapTypes[step.type]) return Status::class_type_differs;
  const bool is_placed = !step.before.empty();
  if (is_placed && step.before != kClassDefault && find(classes, step.before) == classes.end())
    return class_maps.contains(step.before) ? Status::class_not_found : Status::insert_before_not_found;
  if (present != classes.end() && !is_placed) return Status::ok;
  Class entry{step.class_name, {}};
  if (present != classes.end()) {
    entry = *present;
    classes.erase(present);
  }
  classes.insert(find(classes, step.before), entry);
  return Status::ok;
}

Status ReferenceConfiguration::find_target(const Step& step) const {
  const auto typed_parameters = [&](std::uint32_t type) {
    const auto found = parameter_maps.find(step.other);
    if (found == parameter_maps.end()) return Status::parameter_map_not_found;
    return found->second == type ? Status::ok : Status::parameter_map_type_differs;
  };
  switch (step.kind) {
    case Step::load_balance: {
      const auto found = policy_maps.find(step.other);
      if (found == policy_maps.end()) return Status::policy_map_not_found;
      return found->second.type == kLoadBalancing ? Status::ok : Status::policy_map_type_differs;
    }
    case Step::ssl_proxy:
      return services.contains(step.other) ? Status::ok : Status::ssl_proxy_not_found;
    case Step::connection:
      return typed_parameters(kConnectionParameters);
    case Step::application:
      return typed_parameters(kHttpParameters);
    case Step::parameters:
      return typed_parameters(kSslParameters);
    default:
      return Status::ok;
  }
}

Status ReferenceConfiguration::change_action(const Step& step) {
  const auto policy = policy_maps.find(step.name);
  if (policy == policy_maps.end()) return Status::policy_map_not_found;
  if (!fits(step, policy->second.type)) return Status::policy_map_type_differs;
  Actions* actions = &policy->second.default_actions;
  if (step.class_name != kClassDefault) {
    const auto found = find(policy->second.classes, step.class_name);
    if (found == policy->second.classes.end())
      return class_maps.contains(step.class_name) ? Status::class_not_in_policy : Status::class_map_not_found;
    actions = &found->actions;
  }
  const std::string action = action_of(step, policy->second.type);
  const bool has_target = step.kind != Step::flag && step.kind != Step::deny;
  if (step.add) {
    if (const Status status = find_target(step); status != Status::ok) return status;
    (*actions)[action] = has_target ? step.other : "";
    return Status::ok;
  }
  // What is attached by name is detached by it, or by no name; the others are cleared, whether they are there or not.
  const bool is_attached = has_target && step.kind != Step::load_balance;
  const auto present = actions->find(action);
  const bool is_it = present != actions->end() && (step.other.empty() || step.other == present->second);
  if (is_attached && !is_it) return Status::action_not_found;
  actions->erase(action);
  return Status::ok;
}

Status ReferenceConfiguration::change_application(const Step& step) {
  if (step.vlan > kHighestVlan) return Status::invalid_vlan;
  const auto policy = policy_maps.find(step.name);
  if (policy == policy_maps.end()) return Status::policy_map_not_found;
  const std::uint32_t type = policy->second.type;
  if (type != kLayer34 && type != kManagement) return Status::policy_not_applicable;
  auto& vlans = policy->second.vlans;
  if (!step.add) return vlans.erase(step.vlan) != 0 ? Status::ok : Status::policy_not_applied;
  const bool is_otherwise = !vlans.empty() && vlans.contains(0) != (step.vlan == 0);
  if (is_otherwise) return Status::policy_applied_otherwise;
  for (const auto& [name, other] : policy_maps) {
    if (name != step.name && other.type == type && other.vlans.contains(step.vlan)) return Status::application_taken;
  }
  vlans.insert(step.vlan);
  return Status::ok;
}

// ---- Parameter-maps and SSL-proxy services

Status ReferenceConfiguration::change_parameter_map(const Step& step) {
  const auto present = parameter_maps.find(step.name);
  if (present == parameter_maps.end()) {
    if (!step.add) return Status::parameter_map_not_found;
    parameter_maps[step.name] = step.type;
    return Status::ok;
  }
  if (present->second != step.type) return Status::parameter_map_type_differs;
  if (step.add) return Status::ok;
  const bool serves = std::any_of(services.begin(), services.end(), [&](const auto& entry) {
    const auto member = entry.second.find("parameter_map");
    return member != entry.second.end() && member->second == step.name;
  });
  if (serves || is_target({"connection-parameters", "application-parameters"}, step.name))
    return Status::parameter_map_in_use;
  parameter_maps.erase(present);
  return Status::ok;
}

Status ReferenceConfiguration::change_service(const Step& step) {
  if (step.add) {
    services.try_emplace(step.name);
    return Status::ok;
  }
  if (!services.contains(step.name)) return Status::ssl_proxy_not_found;
  if (is_target({"ssl-proxy-client", "ssl-proxy-server"}, step.name)) return Status::ssl_proxy_in_use;
  services.erase(step.name);
  return Status::ok;
}

Status ReferenceConfiguration::change_member(const Step& step) {
  const auto service = services.find(step.name);
  if (service == services.end()) return Status::ssl_proxy_not_found;
  const std::string member = step.kind == Step::key ? "key" : "parameter_map";
  const auto present = service->second.find(member);
  if (!step.add) {
    const bool is_it = present != service->second.end() && (step.other.empty() || step.other == present->second);
    if (!is_it) return Status::member_not_set;
    service->second.erase(present);
    return Status::ok;
  }
  if (const Status status = find_target(step); status != Status::ok) return status;
  service->second[member] = step.other;
  return Status::ok;
}

// ---- From records

namespace {

ReferenceConfiguration::Actions actions_in(const nlohmann::json& entry) {
  ReferenceConfiguration::Actions actions;
  for (const auto& action : entry.value("actions", nlohmann::json::array()))
    actions[action.at("action")] = action.value("policy", action.value("name", ""));
  return actions;
}

std::string rule_in(const nlohmann::json& rule) {
  std::string text = rule.at("match").get<std::string>() + ":";
  for (const char* member : {"name", "expression"}) {
    if (rule.contains(member)) return text + rule.at(member).get<std::string>();
  }
  for (const char* member : {"code", "lower"}) {
    if (rule.contains(member)) return text + std::to_string(rule.at(member).get<int>());
  }
  return text;
}

std::set<std::uint32_t> vlans_in(const nlohmann::json& record) {
  if (!record.contains("applied")) return {};
  const auto& applied = record.at("applied");
  if (applied == "global") return {0};
  return applied.get<std::set<std::uint32_t>>();
}

}  // namespace

ReferenceConfiguration ReferenceConfiguration::from_records(const std::string& records) {
  ReferenceConfiguration read;
  for (const auto& record : nlohmann::json::parse(records)) {
    const std::string kind = record.at("kind");
    const std::string name = record.at("name");
    if (kind == "class-map") {
      ClassMap& class_map = read.class_maps[name];
      class_map.type = record.at("type");
      class_map.match_all = record.at("match_all");
      for (const auto& rule : record.value("rules", nlohmann::json::array()))
        class_map.rules[rule.at("line")] = rule_in(rule);
    } else if (kind == "policy-map") {
      PolicyMap& policy = read.policy_maps[name];
      policy.type = record.at("type");
      policy.vlans = vlans_in(record);
      for (const auto& entry : record.value("classes", nlohmann::json::array())) {
        if (entry.at("class") == kClassDefault) {
          policy.default_actions = actions_in(entry);
        } else {
          policy.classes.push_back({entry.at("class"), actions_in(entry)});
        }
      }
    } else if (kind == "parameter-map") {
      read.parameter_maps[name] = record.at("type");
    } else {
      Service& service = read.services[name];
      for (const auto& [member, value] : record.items()) {
        if (member != "kind" && member != "name") service[member] = value;
      }
    }
  }
  return read;
}

}  // namespace kvel::fuzz
