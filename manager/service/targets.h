// The objects that actions and SSL-proxy services name.
#pragma once

#include "manager/configuration/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// Whether all that the actions name is there and of the right type: ok, or the status of the first that is not.
[[nodiscard]] Status check_targets(const Context& context, const ActionList& actions);

// The same of the parameter-map of an SSL-proxy service, if it has one.
[[nodiscard]] Status check_parameter_map(const Context& context, const SslProxySettings& settings);

}  // namespace kvel::manager
