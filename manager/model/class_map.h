// A class-map: a named, typed set of match rules.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "manager/model/reference.h"

namespace kvel::manager {

// Numbered as in calls and records.
enum class ClassMapType : std::uint8_t {
  layer34 = 0,
  management = 1,
  http_load_balancing = 2,
  http_inspection = 3,
  ftp_inspection = 4,
};
inline constexpr std::uint8_t kMaxClassMapType = 4;

enum class MatchMode : std::uint8_t { any = 0, all = 1 };
inline constexpr std::uint8_t kMaxMatchMode = 1;

// What the record of a class-map holds besides its name.
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
};

}  // namespace kvel::manager
