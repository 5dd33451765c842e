// The objects that actions and SSL-proxy services name.
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

// A reference to the parameter-map of an SSL-proxy service, to nothing when it has none; or the status of one that is
// missing or of another type.
[[nodiscard]] tl::expected<Reference, Status> refer_to_parameter_map(Context& context,
                                                                     const SslProxySettings& settings);

}  // namespace kvel::manager
