// Where policy-maps are applied to traffic, against one another.
#pragma once

#include <string_view>

#include "manager/configuration/configuration.h"

namespace kvel::manager {

// Whether a policy-map of this name and these settings would be applied where another one of its type is already.
[[nodiscard]] bool is_application_taken(const Context& context, std::string_view name,
                                        const PolicyMapSettings& settings);

}  // namespace kvel::manager
