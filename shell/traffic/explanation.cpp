// Explanations as text and as documents.
#include "shell/traffic/explanation.h"

#include <fmt/format.h>

#include <cstddef>
#include <string_view>

#include "kvel/status.h"
#include "output/output.h"
#include "shell/configuration/class_map_commands.h"
#include "shell/configuration/document.h"
#include "shell/configuration/policy_map_commands.h"
#include "shell/configuration/show_objects.h"
#include "shell/grammar/modes.h"
#include "shell/matcher/lexer.h"
#include "shell/traffic/flow_calls.h"

namespace kvel::shell {

namespace {

// Around each level of what is explained.
constexpr std::size_t kIndent = 2;

// The class-map mode in which the rules of a policy-map's classes are typed.
std::string_view rule_mode(const PolicyMapType& type) {
  if (type.mode == kPolicyMapL3Mode) return kClassMapL3Mode;
  if (type.mode == kPolicyMapManagementMode) return kClassMapManagementMode;
  if (type.mode == kPolicyMapHttpLbMode) return kClassMapHttpLbMode;
  if (type.mode == kPolicyMapHttpInspectionMode) return kClassMapHttpInspectionMode;
  return kClassMapFtpInspectionMode;
}

// "does not match: " and the reason, if one is given.
std::string verdict(std::string_view word, const ObjectRecord& explained) {
  const auto why = explained.find("why");
  return why == explained.end() ? std::string(word) : fmt::format("{}: {}", word, why->get<std::string>());
}

bool matched(const ObjectRecord& explained) { return explained.at("matched").get<bool>(); }

const ObjectRecord& members(const ObjectRecord& explained, const char* list) {
  static const ObjectRecord none = ObjectRecord::array();
  const auto found = explained.find(list);
  return found == explained.end() ? none : *found;
}

class TextExplanation {
 public:
  explicit TextExplanation(const Grammar& grammar) : grammar_(grammar) {}

  void print_policy(const ObjectRecord& policy, std::size_t indent) {
    const PolicyMapType& type = policy_type_of(policy);
    line(indent, fmt::format("policy-map {} ({}){}", quote_if_needed(policy.at("policy").get<std::string>()),
                             type.title, place_of(policy)));
    for (const ObjectRecord& entry : policy.at("classes"))
      print_class(type, entry, indent + kIndent);
  }

  // "dropped by policy-map shop, class robots, drop: ..."
  void print_outcome(const ObjectRecord& outcome) {
    const PolicyMapType& type = policy_type_of(outcome);
    const char* const entry = is_match(outcome) ? "match" : "class";
    std::string rule = fmt::format("{} by policy-map {}, {} {}", outcome.at("verdict").get<std::string>(),
                                   quote_if_needed(outcome.at("policy").get<std::string>()), entry,
                                   quote_if_needed(outcome.at(entry).get<std::string>()));
    if (const auto action = outcome.find("action"); action != outcome.end()) {
      rule += ", " + render_action(type, outcome, *action);
    }
    line(0, verdict(rule, outcome));
  }

 private:
  static void line(std::size_t indent, const std::string& text) { output::text(std::string(indent, ' ') + text); }

  // A layer-7 policy-map is referred to by another one.
  static std::string place_of(const ObjectRecord& policy) {
    const auto applied = policy.find("applied");
    if (applied == policy.end()) return {};
    return applied->is_string() ? ", applied globally" : ", applied to VLAN " + applied->dump();
  }

  void print_class(const PolicyMapType& type, const ObjectRecord& entry, std::size_t indent) {
    const std::string_view word = matched(entry) ? "matched" : "not matched";
    const ObjectRecord& rules = members(entry, "rules");
    if (!is_match(entry)) {
      line(indent,
           fmt::format("class {}: {}", quote_if_needed(entry.at("class").get<std::string>()), verdict(word, entry)));
      for (const ObjectRecord& rule : rules)
        print_rule(type, rule, indent + kIndent);
    } else {
      // Its one rule is beside its name.
      const ObjectRecord* const rule = rules.empty() ? nullptr : &rules.front();
      line(indent, fmt::format("{}: {}", render_match(type, entry, rule),
                               verdict(word, entry.contains("why") || rule == nullptr ? entry : *rule)));
    }
    for (const ObjectRecord& action : members(entry, "actions"))
      line(indent + kIndent, "-> " + render_action(type, entry, action));
    for (const ObjectRecord& policy : members(entry, "policies"))
      print_policy(policy, indent + kIndent);
  }

  void print_rule(const PolicyMapType& type, const ObjectRecord& explained, std::size_t indent) {
    const std::string_view word = matched(explained) ? "matches" : "does not match";
    const std::string number = explained.contains("line") ? explained.at("line").dump() + "  " : std::string();
    line(indent, fmt::format("{}{}: {}", number, render_rule(type, explained.at("rule")), verdict(word, explained)));
  }

  std::string render_match(const PolicyMapType& type, const ObjectRecord& entry, const ObjectRecord* rule) const {
    if (rule != nullptr) {
      const ObjectRecord placed{{"match", entry.at("match")}, {"rule", rule->at("rule")}};
      if (const auto rendered = render(grammar_, entry_command(grammar_, type, placed))) return *rendered;
    }
    return "match " + quote_if_needed(entry.at("match").get<std::string>());
  }

  std::string render_rule(const PolicyMapType& type, const ObjectRecord& rule) const {
    const auto command = rule_command(grammar_, rule_mode(type), rule);
    if (const auto rendered = command ? render(grammar_, *command) : std::nullopt) return *rendered;
    return rule.dump();  // no command can create it
  }

  std::string render_action(const PolicyMapType& type, const ObjectRecord& entry, const ObjectRecord& action) const {
    return render(grammar_, action_command(grammar_, type, entry, action)).value_or(action.dump());
  }

  const Grammar& grammar_;
};

class DocumentExplanation {
 public:
  explicit DocumentExplanation(const Grammar& grammar) : grammar_(grammar) {}

  void print_policy(const ObjectRecord& policy) {
    const PolicyMapType& type = policy_type_of(policy);
    output::open_element("policy");
    for (const auto& [name, member] : policy.items()) {
      if (name == "policy") {
        print_member("name", member);
      } else if (name == "type") {
        output::value("type", type.title);
      } else if (name != "classes") {
        print_member(name, member);
      }
    }
    for (const ObjectRecord& entry : policy.at("classes"))
      print_entry(type, entry);
    output::close_element("policy");
  }

  static void print_outcome(const ObjectRecord& outcome) {
    output::open_element("outcome");
    for (const auto& [name, member] : outcome.items()) {
      if (name == "type") {
        output::value("type", policy_type_of(outcome).title);
      } else {
        print_member(name, member);
      }
    }
    output::close_element("outcome");
  }

 private:
  // Classes and inline matches keep their order, so they are one list.
  void print_entry(const PolicyMapType& type, const ObjectRecord& entry) {
    output::open_element("entry");
    for (const auto& [name, member] : entry.items()) {
      if (name == "rules") {
        for (const ObjectRecord& rule : member)
          print_rule(is_match(entry) ? type.mode : rule_mode(type), rule);
      } else if (name == "actions") {
        for (const ObjectRecord& action : member)
          print_member("action", action);
      } else if (name == "policies") {
        for (const ObjectRecord& policy : member)
          print_policy(policy);
      } else {
        print_member(name, member);
      }
    }
    output::close_element("entry");
  }

  // The members of the rule itself are among those that explain it.
  void print_rule(std::string_view mode, const ObjectRecord& explained) {
    ObjectRecord flat;
    for (const auto& [name, member] : explained.items()) {
      if (name == "rule") {
        flat.update(member);
      } else {
        flat[name] = member;
      }
    }
    print_part("rule", grammar_, mode, flat.at("match").get<std::string>(), flat);
  }

  const Grammar& grammar_;
};

void print_text(const Grammar& grammar, const ObjectRecord& explanation) {
  for (const ObjectRecord& policy : explanation.at("policies"))
    TextExplanation(grammar).print_policy(policy, 0);
  if (const auto why = explanation.find("why"); why != explanation.end()) {
    output::text("not classified: " + why->get<std::string>());
  }
  if (const auto outcome = explanation.find("outcome"); outcome != explanation.end()) {
    TextExplanation(grammar).print_outcome(*outcome);
  }
}

void print_document(const Grammar& grammar, const ObjectRecord& explanation) {
  output::open_element("explanation");
  for (const ObjectRecord& policy : explanation.at("policies"))
    DocumentExplanation(grammar).print_policy(policy);
  if (const auto why = explanation.find("why"); why != explanation.end()) print_member("why", *why);
  if (const auto outcome = explanation.find("outcome"); outcome != explanation.end()) {
    DocumentExplanation::print_outcome(*outcome);
  }
  output::close_element("explanation");
}

}  // namespace

tl::expected<void, CallFailure> explain(const Grammar& grammar, int context, const std::string& flow) {
  const auto explanation = explain_flow(context, flow);
  if (!explanation) return tl::unexpected(explanation.error());
  if (const auto fault = explanation->find("fault"); fault != explanation->end()) {
    return tl::unexpected(CallFailure{KVEL_STATUS_bad_arguments, fault->get<std::string>()});
  }
  if (output::format() == output::Format::text) {
    print_text(grammar, *explanation);
  } else {
    print_document(grammar, *explanation);
  }
  return {};
}

}  // namespace kvel::shell
