#include "manager/traffic/explanation.h"

#include <fmt/format.h>

#include <algorithm>

#include "encoding/json_writer.h"
#include "manager/model/policy_record.h"
#include "manager/model/rule_record.h"

namespace kvel::manager {
namespace {

using encoding::JsonWriter;

void write_rule(JsonWriter& json, const RuleMatch& rule, const Flow& flow) {
  std::string reason;
  const bool matches = rule.matches(flow, reason);
  json.begin_object();
  if (rule.line() != 0) json.number("line", rule.line());
  json.begin_object("rule");
  write_members(json, rule.rule());
  json.end_object();
  json.flag("matched", matches);
  if (!matches) json.text("why", reason);
  json.end_object();
}

// Begins the object of a class and writes its members up to its rules.
void begin_class(JsonWriter& json, const PolicyEntry& entry, const Flow& flow) {
  const PolicyClassContent& content = entry.policy_class->content;
  json.begin_object();
  json.text(content.rule ? "match" : "class", content.name);
  json.flag("matched", entry.matches(flow));
  if (entry.match == nullptr) {
    json.text("why", "it takes what no class before it takes");
  } else if (entry.match->rules().empty()) {
    json.text("why", "a class-map without rules matches nothing");
  }
  json.begin_array("rules");
  if (entry.match != nullptr) {
    for (const RuleMatch& rule : entry.match->rules())
      write_rule(json, rule, flow);
  }
  json.end_array();
}

// Begins the object of a policy-map and names it.
void begin_policy(JsonWriter& json, const PolicyMatch& policy) {
  json.begin_object();
  json.text("policy", policy.name());
  json.number("type", static_cast<unsigned>(policy.type()));
}

// Writes the classes of a policy-map up to the one that matched, whose object is left open; end_classes() closes it.
void begin_classes(JsonWriter& json, const PolicyMatch& policy, std::size_t matching, const Flow& flow) {
  json.begin_array("classes");
  for (std::size_t place = 0; place < matching; ++place) {
    begin_class(json, policy.entries()[place], flow);
    json.end_object();
  }
  const PolicyEntry& matched = policy.entries()[matching];
  begin_class(json, matched, flow);
  json.name("actions");
  write_actions(json, matched.policy_class->content.actions);
}
void end_classes(JsonWriter& json) {
  json.end_object();
  json.end_array();
}

void write_applied_policy(JsonWriter& json, const Context& context, const AppliedPolicy& applied,
                          const Decision& decision, const Flow& flow) {
  const PolicyMatch& policy = *applied.match;
  begin_policy(json, policy);
  if (context.find<PolicyMap>(policy.name())->settings->application.global) {
    json.text("applied", "global");
  } else {
    json.number("applied", flow.vlan.value_or(0));
  }
  begin_classes(json, policy, static_cast<std::size_t>(decision.traffic_class - applied.classes.data()), flow);
  if (const auto drop = decision.first_drop()) json.text("dropped", reason_of(*drop));
  json.begin_array("policies");
  for (const auto& [layer7, matching] : decision.traffic_class->consulted(decision)) {
    begin_policy(json, *layer7);
    begin_classes(json, *layer7, matching, flow);
    json.begin_array("policies");
    json.end_array();
    end_classes(json);
    json.end_object();
  }
  json.end_array();
  end_classes(json);
  json.end_object();
}

template <class... Actions>
bool is_any_of(const PolicyAction& action) {
  return (std::holds_alternative<Actions>(action) || ...);
}

// Whether the action of a flow's class is what drops the flow, or what sends it where it goes. A class without such an
// action decides by itself.
bool is_ruling(const PolicyAction& action, std::optional<Drop> drop) {
  if (!drop) return is_any_of<ServerfarmAction, ForwardAction, GroupAction, ManagementPermitAction>(action);
  switch (*drop) {
    case Drop::vip_out_of_service:
      return group_of(action) == ActionGroup::load_balance;
    case Drop::load_balancing:
      return is_any_of<DropAction>(action);
    case Drop::http_inspection:
      return is_any_of<ResetAction>(action);
    case Drop::ftp_inspection:
      return is_any_of<DenyAction>(action);
    case Drop::dns_inspection:
      return is_any_of<InspectDnsAction>(action);
    case Drop::management:
      return is_any_of<ManagementDenyAction>(action);
  }
  return false;
}

// What becomes of the flow, and by which class of which policy-map.
void write_outcome(JsonWriter& json, const AppliedPolicy& applied, const Decision& decision) {
  const auto own_place = static_cast<std::size_t>(decision.traffic_class - applied.classes.data());
  const auto [policy, place] =
      decision.traffic_class->ruling(decision).value_or(TrafficClass::Consulted{applied.match.get(), own_place});
  const PolicyMapType type = policy->type();
  const PolicyClassContent& content = policy->entries()[place].policy_class->content;
  const auto drop = decision.first_drop();
  json.begin_object("outcome");
  if (type == PolicyMapType::management) {
    json.text("verdict", drop ? "denied" : "permitted");
  } else {
    json.text("verdict", drop ? "dropped" : "passed");
  }
  json.text("policy", policy->name());
  json.number("type", static_cast<unsigned>(type));
  json.text(content.rule ? "match" : "class", content.name);
  const auto ruling = std::find_if(content.actions.begin(), content.actions.end(),
                                   [&](const PolicyAction& action) { return is_ruling(action, drop); });
  if (ruling != content.actions.end()) {
    json.name("action");
    write_action(json, *ruling);
  }
  if (drop) json.text("why", reason_of(*drop));
  json.end_object();
}

std::string why_unclassified(const Flow& flow) {
  if (!flow.unclassifiable.empty()) return flow.unclassifiable;
  const std::string_view type = flow.management ? "management" : "layer-3/4";
  if (!flow.vlan) return fmt::format("no {} policy-map is applied globally", type);
  return fmt::format("no {} policy-map is applied to VLAN {} or globally", type, *flow.vlan);
}

}  // namespace

std::string explain(Classifier& classifier, const Flow& flow) {
  std::string out;
  JsonWriter json(out);
  json.begin_object();
  json.begin_array("policies");
  const auto decision = classifier.decide(flow);
  if (decision) write_applied_policy(json, *classifier.context(), *classifier.policy_for(flow), *decision, flow);
  json.end_array();
  if (decision) {
    write_outcome(json, *classifier.policy_for(flow), *decision);
  } else {
    json.text("why", why_unclassified(flow));
  }
  json.end_object();
  return out;
}

}  // namespace kvel::manager
