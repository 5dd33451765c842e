// The types of policy-maps: which class-maps, inline matches and actions one takes.
#pragma once

#include <cstdint>

#include "manager/model/class_map_type.h"

namespace kvel::manager {

// Numbered as in calls and records.
enum class PolicyMapType : std::uint8_t {
  layer34 = 1,
  http_load_balancing = 2,
  http_inspection = 3,
  ftp_inspection = 4,
  management = 5,
};
inline constexpr std::uint8_t kMaxPolicyMapType = 5;

inline constexpr std::uint8_t kMaxPolicyMapSubtype = 3;

[[nodiscard]] constexpr bool is_policy_map_type(std::uint32_t type) { return type >= 1 && type <= kMaxPolicyMapType; }
[[nodiscard]] constexpr bool is_policy_map_subtype(std::uint32_t subtype) {
  return subtype >= 1 && subtype <= kMaxPolicyMapSubtype;
}

// Whether a policy-map of the type can be applied to traffic; the others work for one that is.
[[nodiscard]] constexpr bool can_be_applied(PolicyMapType type) {
  return type == PolicyMapType::layer34 || type == PolicyMapType::management;
}

// Whether a policy-map of the type can have the subtype.
[[nodiscard]] constexpr bool takes_subtype(PolicyMapType type, std::uint32_t subtype) {
  switch (type) {
    case PolicyMapType::layer34:
      return subtype == 1;
    case PolicyMapType::http_inspection:
      return subtype == 1 || subtype == 3;
    case PolicyMapType::http_load_balancing:
    case PolicyMapType::ftp_inspection:
    case PolicyMapType::management:
      break;
  }
  return subtype == 1 || subtype == 2;
}

// The type of the class-maps that a policy-map takes, and whose rules its inline matches have.
[[nodiscard]] constexpr ClassMapType class_map_type(PolicyMapType type) {
  switch (type) {
    case PolicyMapType::http_load_balancing:
      return ClassMapType::http_load_balancing;
    case PolicyMapType::http_inspection:
      return ClassMapType::http_inspection;
    case PolicyMapType::ftp_inspection:
      return ClassMapType::ftp_inspection;
    case PolicyMapType::management:
      return ClassMapType::management;
    case PolicyMapType::layer34:
      break;
  }
  return ClassMapType::layer34;
}

}  // namespace kvel::manager
