#include "manager/service/targets.h"

#include "manager/model/action_target.h"

namespace kvel::manager {
namespace {

tl::expected<Referenced*, Status> find_target(Context& context, const ActionTarget& target) {
  switch (target.kind) {
    case ObjectKind::policy_map: {
      PolicyMap* const policy_map = context.policy_maps.find(target.name);
      if (policy_map == nullptr) return tl::unexpected(Status::policy_map_not_found);
      if (policy_map->settings.type != target.type) return tl::unexpected(Status::policy_map_type_differs);
      return &policy_map->references;
    }
    // A context has no objects of these kinds.
    case ObjectKind::ssl_proxy:
      return tl::unexpected(Status::ssl_proxy_not_found);
    case ObjectKind::parameter_map:
      return tl::unexpected(Status::parameter_map_not_found);
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

}  // namespace kvel::manager
