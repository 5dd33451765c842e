// Class-maps nested in class-maps: one level deep, HTTP load-balancing only.
#pragma once

#include <string_view>

#include "manager/configuration/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// Whether the class-map `parent`, which is there, may nest the class-map `name`: ok, or why not.
[[nodiscard]] Status check_nesting(const Context& context, std::string_view parent, std::string_view name);

}  // namespace kvel::manager
