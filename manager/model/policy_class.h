// One class of a policy-map: a class-map that it takes, or an inline match with a rule of its own; and the actions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "manager/model/action_list.h"
#include "manager/model/match_rule.h"
#include "manager/model/reference.h"
#include "manager/model/statistics.h"
#include "manager/model/version.h"

namespace kvel::manager {

// What a record of it holds.
struct PolicyClassContent {
  std::string name;               // of the class-map, or of the match
  std::optional<MatchRule> rule;  // of an inline match
  ActionList actions;

  friend bool operator==(const PolicyClassContent&, const PolicyClassContent&) = default;
};

struct PolicyClass {
  explicit PolicyClass(PolicyClassContent initial);

  // Takes over the rule and the actions. The name, which others know by its address, stays.
  void change(PolicyClassContent&& changed) noexcept {
    std::swap(content.rule, changed.rule);
    std::swap(content.actions, changed.actions);
    statistics.keep_only(content.actions);
    version = next_version();
  }

  PolicyClassContent content;
  const std::uint64_t number;        // no other class of the process ever has it
  std::uint64_t version = number;    // of the content
  ClassStatistics statistics;        // of a class of layer-3/4 or management traffic
  std::uint64_t position = 0;        // among the other classes; the item in the store
  std::string hidden_name;           // of the class of an inline match
  Reference class_map;               // to the class-map
  std::vector<Reference> mentioned;  // to what the actions name
};

}  // namespace kvel::manager
