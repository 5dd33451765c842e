// What a policy-map is set to; a policy-map is a named, typed, ordered set of classes with their actions.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "manager/model/application.h"
#include "manager/model/policy_map_type.h"

namespace kvel::manager {

inline constexpr std::uint32_t kDefaultLineInterval = 10;

// What the record of a policy-map holds besides its name and its classes.
struct PolicyMapSettings {
  PolicyMapType type = PolicyMapType::layer34;
  std::uint8_t subtype = 1;
  std::string description;  // empty: none
  std::uint32_t interval = kDefaultLineInterval;
  Application application;  // only of a type that is applied to traffic

  friend bool operator==(const PolicyMapSettings&, const PolicyMapSettings&) = default;
};

// Whether every class has a line number when there are this many besides class-default, which is always the last.
[[nodiscard]] constexpr bool lines_suffice(std::uint64_t classes, std::uint32_t interval) {
  return classes + 1 <= std::numeric_limits<std::uint32_t>::max() / interval;
}

}  // namespace kvel::manager
