// The classes of a policy-map, made ready to be held against flows.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "manager/configuration/objects.h"
#include "manager/traffic/class_match.h"
#include "manager/traffic/traffic_index.h"

namespace kvel::manager {

struct PolicyEntry {
  ClassPointer policy_class;
  SharedClassMatch match;  // null: class-default, which takes every flow

  [[nodiscard]] bool matches(const Flow& flow) const { return match == nullptr || match->matches(flow); }
  friend bool operator==(const PolicyEntry&, const PolicyEntry&) = default;
};
using PolicyEntries = std::vector<PolicyEntry>;

class PolicyMatch {
 public:
  // The entries are those of the policy-map's classes, class-default the last. Where it is applied, and what else is
  // set of it, is no part of this: a change of it leaves what is made of the classes.
  PolicyMatch(Name name, PolicyMapType type, PolicyEntries entries);

  // The place among the entries of the first class that matches: class-default, the last, if none before it does.
  [[nodiscard]] std::size_t find(const Flow& flow) const;

  [[nodiscard]] std::string_view name() const { return name_; }
  [[nodiscard]] PolicyMapType type() const { return type_; }
  // In their order, class-default included.
  [[nodiscard]] const PolicyEntries& entries() const { return entries_; }

 private:
  Name name_;
  PolicyMapType type_;
  PolicyEntries entries_;
  std::optional<TrafficIndex> index_;  // of a policy-map that is applied to traffic
};

using SharedPolicyMatch = std::shared_ptr<const PolicyMatch>;

}  // namespace kvel::manager
