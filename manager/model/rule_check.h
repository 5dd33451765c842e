// The rules for rules: which values each kind of match rule may have.
#pragma once

#include "manager/model/match_rule.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// ok, or what no rule can have. Does not check the class-map that a rule nests.
[[nodiscard]] Status check_rule(const MatchRule& rule);

}  // namespace kvel::manager
