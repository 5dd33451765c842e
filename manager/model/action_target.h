// The objects that actions name, and which must exist.
#pragma once

#include <optional>
#include <string_view>
#include <variant>

#include "manager/model/object_kind.h"
#include "manager/model/parameter_setting.h"
#include "manager/model/policy_action.h"

namespace kvel::manager {

struct ActionTarget {
  ObjectKind kind = ObjectKind::policy_map;
  std::string_view name;  // the action's
  // The type that the object must have, if its kind has types.
  std::variant<std::monostate, PolicyMapType, ParameterMapType> type;
};

// What the action names, or nothing.
[[nodiscard]] std::optional<ActionTarget> target_of(const PolicyAction& action);

}  // namespace kvel::manager
