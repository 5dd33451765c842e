// Where a policy-map and the places in it are found by their names.
#pragma once

#include <string_view>
#include <tl/expected.hpp>

#include "manager/model/configuration.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// The policy-map of a context, which must be of the type.
[[nodiscard]] tl::expected<PolicyMap*, Status> find_policy_map(Context& context, std::string_view name,
                                                               PolicyMapType type);

// The place before a class or match of the policy-map, or before class-default.
[[nodiscard]] tl::expected<ClassList::Iterator, Status> find_place_before(const Context& context, PolicyMap& policy,
                                                                          std::string_view name);

// The class whose actions a call means. `policy_name` is the policy-map's. Inline matches go by the names of their
// hidden classes.
[[nodiscard]] tl::expected<PolicyClass*, Status> find_acting_class(const Context& context, PolicyMap& policy,
                                                                   std::string_view policy_name, std::string_view name);

// Whether a match of the policy-map may have a hidden class of this name: ok, or why not.
[[nodiscard]] Status check_hidden_name(const Context& context, const PolicyMap& policy, std::string_view hidden_name);

}  // namespace kvel::manager
