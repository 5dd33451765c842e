#include "manager/model/object_kind.h"

#include <algorithm>

namespace kvel::manager {

std::optional<ObjectKind> object_kind(std::uint32_t number) {
  for (const ObjectKind kind : kCanonicalOrder) {
    if (static_cast<std::uint32_t>(kind) == number) return kind;
  }
  return std::nullopt;
}

std::string_view kind_name(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::policy_map:
      return "policy-map";
    case ObjectKind::class_map:
      return "class-map";
    case ObjectKind::ssl_proxy:
      return "ssl-proxy";
    case ObjectKind::parameter_map:
      return "parameter-map";
  }
  return {};
}

std::uint8_t canonical_rank(ObjectKind kind) {
  const auto* place = std::find(kCanonicalOrder.begin(), kCanonicalOrder.end(), kind);
  return static_cast<std::uint8_t>(place - kCanonicalOrder.begin() + 1);
}

}  // namespace kvel::manager
