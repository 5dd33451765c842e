// The classes of a policy-map, made ready to be held against flows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "manager/model/policy_map.h"
#include "manager/traffic/class_match.h"
#include "manager/traffic/traffic_index.h"

namespace kvel::manager {

struct PolicyEntry {
  PolicyClass* policy_class = nullptr;
  std::uint64_t version = 0;  // of the class
  SharedClassMatch match;     // null: class-default, which takes every flow

  [[nodiscard]] bool matches(const Flow& flow) const { return match == nullptr || match->matches(flow); }
  friend bool operator==(const PolicyEntry&, const PolicyEntry&) = default;
};
using PolicyEntries = std::vector<PolicyEntry>;

class PolicyMatch {
 public:
  // The name and the policy-map must outlive this. The entries are those of its classes, class-default the last.
  PolicyMatch(std::string_view name, PolicyMap& policy, PolicyEntries entries);

  // The place among the entries of the first class that matches: class-default, the last, if none before it does.
  [[nodiscard]] std::size_t find(const Flow& flow) const;

  [[nodiscard]] std::string_view name() const { return name_; }
  [[nodiscard]] const PolicyMapSettings& settings() const { return *settings_; }
  // In their order, class-default included.
  [[nodiscard]] const PolicyEntries& entries() const { return entries_; }

 private:
  std::string_view name_;
  const PolicyMapSettings* settings_;
  PolicyEntries entries_;
  std::optional<TrafficIndex> index_;  // of a policy-map that is applied to traffic
};

using SharedPolicyMatch = std::shared_ptr<const PolicyMatch>;

}  // namespace kvel::manager
