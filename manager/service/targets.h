// The objects that actions name.
#pragma once

#include <tl/expected.hpp>
#include <vector>

#include "manager/model/action_list.h"
#include "manager/model/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// References to all that the actions name, or the status of what is missing or of another type.
[[nodiscard]] tl::expected<std::vector<Reference>, Status> refer_to_targets(Context& context,
                                                                            const ActionList& actions);

}  // namespace kvel::manager
