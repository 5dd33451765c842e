// The kinds of objects, numbered as in kvel/host.h, with their names and their canonical order.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "kvel/host.h"

namespace kvel::manager {

enum class ObjectKind : std::uint8_t {
  policy_map = KVEL_DOMAIN_POLICY_MAP,
  class_map = KVEL_DOMAIN_CLASS_MAP,
  ssl_proxy = KVEL_DOMAIN_SSL_PROXY,
  parameter_map = KVEL_DOMAIN_PARAMETER_MAP,
};

// Objects that are referred to come before those that refer to them.
inline constexpr std::array kCanonicalOrder{ObjectKind::parameter_map, ObjectKind::ssl_proxy, ObjectKind::class_map,
                                            ObjectKind::policy_map};

[[nodiscard]] std::optional<ObjectKind> object_kind(std::uint32_t number);

// "class-map", as in records and messages.
[[nodiscard]] std::string_view kind_name(ObjectKind kind);

// The place in the canonical order, counted from 1.
[[nodiscard]] std::uint8_t canonical_rank(ObjectKind kind);

}  // namespace kvel::manager
