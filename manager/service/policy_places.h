// Where a policy-map and the places in it are found by their names. What is found lives as long as the configuration.
#pragma once

#include <string_view>
#include <tl/expected.hpp>

#include "manager/configuration/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// The policy-map of a context, which must be of the type.
[[nodiscard]] tl::expected<const PolicyMap*, Status> find_policy_map(const Context& context, std::string_view name,
                                                                     PolicyMapType type);

// The class or match of the policy-map before which another one is to stand, class-default included.
[[nodiscard]] tl::expected<ClassPointer, Status> find_place_before(const Context& context, const PolicyMap& policy,
                                                                   std::string_view name);

// The class whose actions a call means. `policy_name` is the policy-map's. Inline matches go by the names of their
// hidden classes.
[[nodiscard]] tl::expected<ClassPointer, Status> find_acting_class(const Context& context, const PolicyMap& policy,
                                                                   std::string_view policy_name, std::string_view name);

// Whether a match of the policy-map may have a hidden class of this name, beside the others: ok, or why not.
[[nodiscard]] Status check_hidden_name(const Context& context, const HiddenClasses& others,
                                       std::string_view policy_name, std::string_view hidden_name);

}  // namespace kvel::manager
