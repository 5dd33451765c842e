#include "manager/service/targets.h"

#include "manager/model/action_target.h"

namespace kvel::manager {
namespace {

using Type = decltype(ActionTarget::type);

tl::expected<Referenced*, Status> find_target(Context& context, const ActionTarget& target) {
  switch (target.kind) {
    case ObjectKind::policy_map: {
      PolicyMap* const policy_map = context.policy_maps.find(target.name);
      if (policy_map == nullptr) return tl::unexpected(Status::policy_map_not_found);
      if (target.type != Type(policy_map->settings.type)) return tl::unexpected(Status::policy_map_type_differs);
      return &policy_map->references;
    }
    case ObjectKind::ssl_proxy: {
      SslProxy* const service = context.ssl_proxies.find(target.name);
      if (service == nullptr) return tl::unexpected(Status::ssl_proxy_not_found);
      return &service->references;
    }
    case ObjectKind::parameter_map: {
      ParameterMap* const parameter_map = context.parameter_maps.find(target.name);
      if (parameter_map == nullptr) return tl::unexpected(Status::parameter_map_not_found);
      if (target.type != Type(parameter_map->settings.type)) {
        return tl::unexpected(Status::parameter_map_type_differs);
      }
      return &parameter_map->references;
    }
    case ObjectKind::class_map:
      break;
  }
  return tl::unexpected(Status::class_map_not_found);
}

}  // namespace

tl::expected<std::vector<Reference>, Status> refer_to_targets(Context& context, const ActionList& actions) {
  std::vector<Reference> references;
  for (const PolicyAction& action : actions) {
    const auto target = target_of(action);
    if (!target) continue;
    const auto found = find_target(context, *target);
    if (!found) return tl::unexpected(found.error());
    references.emplace_back(**found, ObjectKind::policy_map);
  }
  return references;
}

tl::expected<Reference, Status> refer_to_parameter_map(Context& context, const SslProxySettings& settings) {
  if (settings.parameter_map.empty()) return Reference();
  const auto found = find_target(context, {ObjectKind::parameter_map, settings.parameter_map, ParameterMapType::ssl});
  if (!found) return tl::unexpected(found.error());
  return Reference(**found, ObjectKind::ssl_proxy);
}

}  // namespace kvel::manager
