// What calls answer about an object as such, by its kind.
#pragma once

#include "manager/model/object_kind.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

[[nodiscard]] Status not_found(ObjectKind kind);
[[nodiscard]] Status in_use(ObjectKind kind);
// SSL-proxy services have no types.
[[nodiscard]] Status type_differs(ObjectKind kind);

}  // namespace kvel::manager
