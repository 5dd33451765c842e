// One class of a policy-map: a class-map that it takes, or an inline match with a rule of its own; and the actions.
#pragma once

#include <optional>
#include <string>

#include "manager/model/action_list.h"
#include "manager/model/match_rule.h"

namespace kvel::manager {

// What a record of it holds.
struct PolicyClassContent {
  std::string name;               // of the class-map, or of the match
  std::optional<MatchRule> rule;  // of an inline match
  ActionList actions;

  friend bool operator==(const PolicyClassContent&, const PolicyClassContent&) = default;
};

}  // namespace kvel::manager
