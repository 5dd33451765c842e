// Policy-maps out of the store's records.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "manager/model/configuration.h"
#include "manager/store/store.h"

namespace kvel::manager {

// Nothing, or why this system cannot have written what was read.
using Loaded = tl::expected<void, std::string>;

// Takes the record of a policy-map or of one of its classes.
[[nodiscard]] Loaded load_policy_map(Context& context, const RecordKey& key, std::string_view body);

// Resolves all that a policy-map names, when all objects are there.
[[nodiscard]] Loaded refer_from_policy_map(Context& context, std::string_view name, PolicyMap& policy);

}  // namespace kvel::manager
