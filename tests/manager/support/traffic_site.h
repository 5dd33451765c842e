// A configuration of one context made by hand, for tests of what traffic does with it; and what was counted at it.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "manager/configuration/candidate.h"
#include "manager/model/text.h"
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

inline ActionList list_of(std::initializer_list<PolicyAction> actions) {
  ActionList list;
  for (const PolicyAction& action : actions)
    list.put(action);
  return list;
}

// Where a class is: a change makes another object of it, and leaves it its name.
struct ClassPlace {
  std::string policy;
  std::string name = std::string(kClassDefault);
};

class TrafficSite {
 public:
  static constexpr std::uint16_t kContext = 0;

  Configuration configuration;
  StatisticsTable statistics;

  // As a call does: what the change takes away is forgotten where traffic is counted.
  template <class Make>
  void change(const Make& make) {
    Candidate candidate(configuration, kContext);
    make(candidate);
    const Changes changes = difference(configuration, candidate.configuration());
    configuration = candidate.configuration();
    for (const Change& each : changes)
      statistics.apply(each);
  }

  // As it is now; a change makes another one.
  [[nodiscard]] const std::shared_ptr<const Context>& context() const { return configuration.context(kContext); }
  [[nodiscard]] const RuleTable& rules(const std::string& class_map) const {
    return context()->find<ClassMap>(class_map)->rules;
  }
  [[nodiscard]] const PolicyMap& policy(const std::string& name) const { return *context()->find<PolicyMap>(name); }
  // Null when there is none.
  [[nodiscard]] ClassPointer find(const ClassPlace& place) const {
    const ClassList& classes = policy(place.policy).classes;
    return place.name == kClassDefault ? classes.class_default() : classes.find(place.name);
  }
  [[nodiscard]] Number number_of(const ClassPlace& place) const { return find(place)->number; }
  // What was counted at a class: nothing, where it was never asked.
  [[nodiscard]] const ClassStatistics& counted(const ClassPlace& place) const {
    static const ClassStatistics kNothing;
    const ClassStatistics* const found = statistics.find(number_of(place));
    return found == nullptr ? kNothing : *found;
  }

  // With the lines 10, 20 and so on.
  void class_map(const std::string& name, ClassMapType type, MatchMode mode, std::vector<MatchRule> rules) {
    change([&](Candidate& candidate) {
      candidate.put<ClassMap>(name, {type, mode, {}});
      std::uint32_t line = 0;
      for (MatchRule& rule : rules)
        candidate.put_rule(name, line += 10, std::move(rule));
    });
  }
  void set_mode(const std::string& class_map, MatchMode mode) {
    ClassMapSettings settings = *context()->find<ClassMap>(class_map)->settings;
    settings.mode = mode;
    change([&](Candidate& candidate) { candidate.put<ClassMap>(class_map, std::move(settings)); });
  }
  void describe(const std::string& class_map, const std::string& description) {
    ClassMapSettings settings = *context()->find<ClassMap>(class_map)->settings;
    settings.description = description;
    change([&](Candidate& candidate) { candidate.put<ClassMap>(class_map, std::move(settings)); });
  }
  void put_rule(const std::string& class_map, std::uint32_t line, const MatchRule& rule) {
    change([&](Candidate& candidate) { candidate.put_rule(class_map, line, rule); });
  }
  void erase_rule(const std::string& class_map, std::uint32_t line) {
    change([&](Candidate& candidate) { candidate.erase_rule(class_map, line); });
  }

  // Makes a policy-map, or changes it.
  void policy_map(const std::string& name, PolicyMapType type, Application application = {}) {
    PolicyMapSettings settings;
    settings.type = type;
    settings.application = std::move(application);
    change([&](Candidate& candidate) { candidate.put<PolicyMap>(name, std::move(settings)); });
  }
  // A policy-map for all traffic.
  void global(const std::string& name, PolicyMapType type = PolicyMapType::layer34) {
    policy_map(name, type, {true, {}});
  }

  // A class after the others. Its number.
  Number add(const ClassPlace& place, std::initializer_list<PolicyAction> actions = {},
             std::optional<MatchRule> rule = {}) {
    const ClassList& classes = policy(place.policy).classes;
    const std::uint64_t position = classes.position_before(*classes.class_default());
    put(place.policy, {0, position, {place.name, std::move(rule), list_of(actions)}});
    return number_of(place);
  }
  // Puts the class before all others.
  void move_to_front(const ClassPlace& place) {
    PolicyClass moved = *find(place);
    const ClassList& classes = policy(place.policy).classes;
    moved.position = classes.position_before(*classes.begin().value());
    put(place.policy, std::move(moved));
  }
  void erase(const ClassPlace& place) {
    change([&](Candidate& candidate) { candidate.erase_class(place.policy, place.name); });
  }

  void set_rule(const ClassPlace& place, const MatchRule& rule) {
    PolicyClass changed = *find(place);
    changed.content.rule = rule;
    put(place.policy, std::move(changed));
  }
  void set_actions(const ClassPlace& place, ActionList actions) {
    PolicyClass changed = *find(place);
    changed.content.actions = std::move(actions);
    put(place.policy, std::move(changed));
  }
  // Besides those that it has.
  void act(const ClassPlace& place, std::initializer_list<PolicyAction> actions) {
    ActionList list = find(place)->content.actions;
    for (const PolicyAction& action : actions)
      list.put(action);
    set_actions(place, std::move(list));
  }

  // Decides and counts flows; whether each was classified.
  void count(std::initializer_list<std::string> lines) {
    Classifier classifier(context(), statistics);
    for (const std::string& line : lines) {
      const auto decision = classifier.decide(flow_of(line));
      EXPECT_TRUE(decision.has_value()) << line;
      if (decision) Classifier::count(*decision);
    }
  }

 private:
  void put(const std::string& policy, PolicyClass entry) {
    change([&](Candidate& candidate) { candidate.put_class(policy, std::move(entry)); });
  }
};

}  // namespace kvel::manager::testing
