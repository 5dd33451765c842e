#include "manager/service/targets.h"

#include "manager/model/action_target.h"
#include "manager/service/object_status.h"

namespace kvel::manager {
namespace {

using Type = decltype(ActionTarget::type);

Type type_of(const PolicyMap& policy_map) { return policy_map.settings->type; }
Type type_of(const ParameterMap& parameter_map) { return parameter_map.settings->type; }
Type type_of(const SslProxy& /*service*/) { return {}; }

template <class Object>
Status check_target(const Context& context, const ActionTarget& target) {
  const Object* const found = context.find<Object>(target.name);
  if (found == nullptr) return not_found(target.kind);
  return target.type == type_of(*found) ? Status::ok : type_differs(target.kind);
}

Status check_target(const Context& context, const ActionTarget& target) {
  switch (target.kind) {
    case ObjectKind::policy_map:
      return check_target<PolicyMap>(context, target);
    case ObjectKind::ssl_proxy:
      return check_target<SslProxy>(context, target);
    case ObjectKind::parameter_map:
      return check_target<ParameterMap>(context, target);
    case ObjectKind::class_map:
      break;
  }
  return Status::class_map_not_found;  // no action names one
}

}  // namespace

Status check_targets(const Context& context, const ActionList& actions) {
  for (const PolicyAction& action : actions) {
    const auto target = target_of(action);
    if (!target) continue;
    if (const Status status = check_target(context, *target); !succeeded(status)) return status;
  }
  return Status::ok;
}

Status check_parameter_map(const Context& context, const SslProxySettings& settings) {
  if (settings.parameter_map.empty()) return Status::ok;
  return check_target(context, {ObjectKind::parameter_map, settings.parameter_map, ParameterMapType::ssl});
}

}  // namespace kvel::manager
