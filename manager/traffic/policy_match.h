// The classes of a policy-map, made ready to be held against flows.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "manager/model/policy_map.h"
#include "manager/traffic/class_match.h"
#include "manager/traffic/traffic_index.h"

namespace kvel::manager {

struct PolicyEntry {
  PolicyClass* policy_class = nullptr;
  const ClassMatch* match = nullptr;  // null: class-default, which takes every flow

  [[nodiscard]] bool matches(const Flow& flow) const { return match == nullptr || match->matches(flow); }
};

class PolicyMatch {
 public:
  // The name and the policy-map must outlive this, and so must the class matches.
  PolicyMatch(std::string_view name, PolicyMap& policy, ClassMatches& class_matches);

  // The place among the entries of the first class that matches: class-default, the last, if none before it does.
  [[nodiscard]] std::size_t find(const Flow& flow) const;

  [[nodiscard]] std::string_view name() const { return name_; }
  [[nodiscard]] const PolicyMapSettings& settings() const { return *settings_; }
  // In their order, class-default included.
  [[nodiscard]] const std::vector<PolicyEntry>& entries() const { return entries_; }

 private:
  std::string_view name_;
  const PolicyMapSettings* settings_;
  std::vector<PolicyEntry> entries_;
  std::optional<TrafficIndex> index_;  // of a policy-map that is applied to traffic
};

}  // namespace kvel::manager
