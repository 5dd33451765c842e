// The kinds of object as the shell knows them: said here once.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "kvel/host.h"
#include "rpc/calls/status.h"
#include "shell/configuration/objects.h"

namespace kvel::shell {

struct ObjectKind {
  std::uint32_t kind = 0;         // of kvel/host.h
  std::string_view name;          // as messages call it
  Status not_found = Status::ok;  // the status of a name that no such object has
  Status in_use = Status::ok;     // the status of one that cannot be deleted
};

inline constexpr std::array kObjectKinds{
    ObjectKind{KVEL_DOMAIN_CLASS_MAP, "class-map", Status::class_map_not_found, Status::class_map_in_use},
    ObjectKind{KVEL_DOMAIN_POLICY_MAP, "policy-map", Status::policy_map_not_found, Status::policy_map_in_use},
    ObjectKind{KVEL_DOMAIN_PARAMETER_MAP, "parameter-map", Status::parameter_map_not_found,
               Status::parameter_map_in_use},
    ObjectKind{KVEL_DOMAIN_SSL_PROXY, "ssl-proxy service", Status::ssl_proxy_not_found, Status::ssl_proxy_in_use},
};

// The row of a kind, which is one of them.
[[nodiscard]] constexpr const ObjectKind& object_kind(std::uint32_t kind) {
  return *std::find_if(kObjectKinds.begin(), kObjectKinds.end() - 1,
                       [kind](const ObjectKind& row) { return row.kind == kind; });
}

// The failure of a call for one object, which says which object that was.
[[nodiscard]] CallFailure failure_of(std::uint32_t kind, const std::string& name, CallFailure failure);

}  // namespace kvel::shell
