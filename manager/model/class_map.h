// What a class-map is set to; a class-map is a named, typed set of match rules.
#pragma once

#include <cstdint>
#include <string>

#include "manager/model/class_map_type.h"

namespace kvel::manager {

enum class MatchMode : std::uint8_t { any = 0, all = 1 };
inline constexpr std::uint8_t kMaxMatchMode = 1;

// What the record of a class-map holds besides its name and its rules.
struct ClassMapSettings {
  ClassMapType type = ClassMapType::layer34;
  MatchMode mode = MatchMode::all;
  std::string description;  // empty: none

  friend bool operator==(const ClassMapSettings&, const ClassMapSettings&) = default;
};

}  // namespace kvel::manager
