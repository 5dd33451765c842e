#include "manager/service/object_status.h"

#include <array>

namespace kvel::manager {
namespace {

struct KindStatuses {
  ObjectKind kind;
  Status not_found;
  Status in_use;
  Status type_differs;
};
constexpr std::array kStatuses{
    KindStatuses{ObjectKind::policy_map, Status::policy_map_not_found, Status::policy_map_in_use,
                 Status::policy_map_type_differs},
    KindStatuses{ObjectKind::class_map, Status::class_map_not_found, Status::class_map_in_use,
                 Status::class_map_type_differs},
    KindStatuses{ObjectKind::ssl_proxy, Status::ssl_proxy_not_found, Status::ssl_proxy_in_use, Status::internal},
    KindStatuses{ObjectKind::parameter_map, Status::parameter_map_not_found, Status::parameter_map_in_use,
                 Status::parameter_map_type_differs},
};
static_assert(kStatuses.size() == kCanonicalOrder.size());

const KindStatuses& statuses_of(ObjectKind kind) {
  for (const KindStatuses& each : kStatuses) {
    if (each.kind == kind) return each;
  }
  return kStatuses.back();
}

}  // namespace

Status not_found(ObjectKind kind) { return statuses_of(kind).not_found; }
Status in_use(ObjectKind kind) { return statuses_of(kind).in_use; }
Status type_differs(ObjectKind kind) { return statuses_of(kind).type_differs; }

}  // namespace kvel::manager
