// A class-map: a named, typed set of match rules.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "manager/model/class_map_type.h"
#include "manager/model/reference.h"
#include "manager/model/rule_table.h"

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

struct ClassMap {
  explicit ClassMap(ClassMapSettings initial) : settings(std::move(initial)) {}

  ClassMapSettings settings;
  Referenced references;
  RuleTable rules;
  std::uint32_t made = 0;  // when it came: a number of Configuration::changed()
};

}  // namespace kvel::manager
