#include "manager/traffic/explanation.h"

#include <fmt/format.h>

#include <iterator>

#include "manager/model/json_text.h"
#include "manager/model/policy_record.h"
#include "manager/model/rule_record.h"

namespace kvel::manager {
namespace {

// Appends a member with a text, and a comma before it.
void append_member(std::string& out, std::string_view name, std::string_view text) {
  fmt::format_to(std::back_inserter(out), R"(,"{}":)", name);
  append_json_string(out, text);
}

void append_rule(std::string& out, const RuleMatch& rule, const Flow& flow) {
  std::string reason;
  const bool matches = rule.matches(flow, reason);
  out += '{';
  if (rule.line() != 0) fmt::format_to(std::back_inserter(out), R"("line":{},)", rule.line());
  out += R"("rule":)";
  append_body(out, rule.rule());
  fmt::format_to(std::back_inserter(out), R"(,"matched":{})", matches);
  if (!matches) append_member(out, "why", reason);
  out += '}';
}

void append_rules(std::string& out, const ClassMatch& match, const Flow& flow) {
  out += R"(,"rules":[)";
  std::string_view before;
  for (const RuleMatch& rule : match.rules()) {
    out += before;
    append_rule(out, rule, flow);
    before = ",";
  }
  out += ']';
}

// Appends a class up to its rules, without the end of its object.
void append_class(std::string& out, const PolicyEntry& entry, const Flow& flow) {
  const PolicyClassContent& content = entry.policy_class->content;
  out += content.rule ? R"({"match":)" : R"({"class":)";
  append_json_string(out, content.name);
  fmt::format_to(std::back_inserter(out), R"(,"matched":{})", entry.matches(flow));
  if (entry.match == nullptr) {
    append_member(out, "why", "it takes what no class before it takes");
    out += R"(,"rules":[])";
    return;
  }
  if (entry.match->rules().empty()) append_member(out, "why", "a class-map without rules matches nothing");
  append_rules(out, *entry.match, flow);
}

// Appends the classes of a policy-map up to the one that matched, whose object is left open.
void append_classes(std::string& out, const PolicyMatch& policy, std::size_t matching, const Flow& flow) {
  out += R"(,"classes":[)";
  for (std::size_t place = 0; place < matching; ++place) {
    append_class(out, policy.entries()[place], flow);
    out += "},";
  }
  const PolicyEntry& matched = policy.entries()[matching];
  append_class(out, matched, flow);
  out += R"(,"actions":)";
  append_actions(out, matched.policy_class->content.actions);
}

void append_heading(std::string& out, const PolicyMatch& policy) {
  out += R"({"policy":)";
  append_json_string(out, policy.name());
  fmt::format_to(std::back_inserter(out), R"(,"type":{})", static_cast<unsigned>(policy.settings().type));
}

void append_applied_policy(std::string& out, const AppliedPolicy& applied, const Decision& decision, const Flow& flow) {
  const PolicyMatch& policy = applied.match;
  append_heading(out, policy);
  if (policy.settings().application.global) {
    out += R"(,"applied":"global")";
  } else {
    fmt::format_to(std::back_inserter(out), R"(,"applied":{})", flow.vlan.value_or(0));
  }
  append_classes(out, policy, static_cast<std::size_t>(decision.traffic_class - applied.classes.data()), flow);
  if (const auto drop = decision.first_drop()) append_member(out, "dropped", reason_of(*drop));
  out += R"(,"policies":[)";
  std::string_view before;
  for (const auto& [layer7, matching] : decision.traffic_class->consulted(decision)) {
    out += before;
    append_heading(out, *layer7);
    append_classes(out, *layer7, matching, flow);
    out += R"(,"policies":[]}]})";
    before = ",";
  }
  out += "]}]}";
}

std::string why_unclassified(const Flow& flow) {
  if (!flow.unclassifiable.empty()) return flow.unclassifiable;
  const std::string_view type = flow.management ? "management" : "layer-3/4";
  if (!flow.vlan) return fmt::format("no {} policy-map is applied globally", type);
  return fmt::format("no {} policy-map is applied to VLAN {} or globally", type, *flow.vlan);
}

}  // namespace

std::string explain(Classifier& classifier, const Flow& flow) {
  std::string out = R"({"policies":[)";
  const auto decision = classifier.decide(flow);
  if (decision) {
    append_applied_policy(out, *classifier.policy_for(flow), *decision, flow);
    out += ']';
  } else {
    out += ']';
    append_member(out, "why", why_unclassified(flow));
  }
  out += '}';
  return out;
}

}  // namespace kvel::manager
