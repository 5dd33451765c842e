#include "shell/configuration/object_kinds.h"

#include <fmt/format.h>

namespace kvel::shell {

CallFailure failure_of(std::uint32_t kind, const std::string& name, CallFailure failure) {
  const ObjectKind& row = object_kind(kind);
  failure.text = static_cast<Status>(failure.status) == row.not_found
                     ? fmt::format("{} '{}' not configured", row.name, name)
                     : fmt::format("{} '{}': {}", row.name, name, failure.text);
  return failure;
}

}  // namespace kvel::shell
