// The objects that actions name, and which must exist.
#pragma once

#include <optional>
#include <string_view>

#include "manager/model/object_kind.h"
#include "manager/model/policy_action.h"

namespace kvel::manager {

struct ActionTarget {
  ObjectKind kind = ObjectKind::policy_map;
  std::string_view name;              // the action's
  std::optional<PolicyMapType> type;  // of a policy-map
};

// What the action names, or nothing.
[[nodiscard]] std::optional<ActionTarget> target_of(const PolicyAction& action);

}  // namespace kvel::manager
