// Class-maps nested in class-maps: one level deep, HTTP load-balancing only.
#pragma once

#include <string_view>
#include <tl/expected.hpp>

#include "manager/model/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// The class-map `name` of the context when `parent` may nest it, or why it may not.
[[nodiscard]] tl::expected<ClassMap*, Status> find_to_nest(Context& context, const ClassMap& parent,
                                                           std::string_view name);

}  // namespace kvel::manager
