// The rules for actions: which values each kind may have.
#pragma once

#include "manager/model/action_list.h"
#include "manager/model/policy_action.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// ok, or what no action can have. Whether the objects that it names exist is another matter (action_target.h).
[[nodiscard]] Status check_action(const PolicyAction& action);

// ok, or why no class can have these actions together.
[[nodiscard]] Status check_together(const ActionList& actions);

}  // namespace kvel::manager
