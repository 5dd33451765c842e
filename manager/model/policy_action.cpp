#include "manager/model/policy_action.h"

#include "manager/model/kind_variant_definitions.h"

namespace kvel::manager {

template class KindVariant<PolicyActionKinds>;

PolicyMapType type_of(const PolicyAction& action) {
  return std::visit([](const auto& kind) { return kind.kType; }, action);
}

}  // namespace kvel::manager
