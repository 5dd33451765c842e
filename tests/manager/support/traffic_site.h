// A configuration of one context made by hand, for tests of what traffic does with it.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "manager/model/configuration.h"
#include "manager/traffic/classifier.h"
#include "manager/traffic/flow_reader.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing {

inline Ipv4 ipv4(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) { return {ip(a, b, c, d)}; }
inline constexpr Ipv4 kHost{0xffffffff};

inline Flow flow_of(const std::string& line) {
  auto flow = read_flow(line);
  if (!flow) ADD_FAILURE() << line << ": " << flow.error();
  return flow ? *flow : Flow();
}

inline PolicyMapSettings policy_settings(PolicyMapType type, Application application = {}) {
  PolicyMapSettings settings;
  settings.type = type;
  settings.application = std::move(application);
  return settings;
}

class TrafficSite {
 public:
  Context context;

  ClassMap& class_map(const std::string& name, ClassMapType type, MatchMode mode, std::vector<MatchRule> rules) {
    ClassMap& made = context.class_maps.insert(ObjectTable<ClassMap>::prepare(name, ClassMapSettings{type, mode, {}}));
    std::uint32_t line = 0;
    for (MatchRule& rule : rules)
      made.rules.insert(RuleTable::prepare(line += 10, std::move(rule)));
    return made;
  }

  PolicyMap& policy_map(const std::string& name, PolicyMapType type, Application application = {}) {
    return context.policy_maps.insert(
        ObjectTable<PolicyMap>::prepare(name, policy_settings(type, std::move(application))));
  }
  // A policy-map for all traffic.
  PolicyMap& global(const std::string& name, PolicyMapType type = PolicyMapType::layer34) {
    return policy_map(name, type, {true, {}});
  }

  // A class after the others.
  static PolicyClass& add(PolicyMap& policy, const std::string& name, std::initializer_list<PolicyAction> actions = {},
                          std::optional<MatchRule> rule = {}) {
    ActionList list;
    for (const PolicyAction& action : actions)
      list.put(action);
    auto prepared = ClassList::prepare({name, std::move(rule), std::move(list)});
    return *policy.classes.insert(std::move(prepared), policy.classes.place_before(policy.classes.end()));
  }
  static void act(PolicyClass& policy_class, std::initializer_list<PolicyAction> actions) {
    for (const PolicyAction& action : actions)
      policy_class.content.actions.put(action);
  }

  // Decides and counts flows; whether each was classified.
  void count(std::initializer_list<std::string> lines) {
    Classifier classifier(context);
    for (const std::string& line : lines) {
      const auto decision = classifier.decide(flow_of(line));
      EXPECT_TRUE(decision.has_value()) << line;
      if (decision) Classifier::count(*decision);
    }
  }
};

}  // namespace kvel::manager::testing
