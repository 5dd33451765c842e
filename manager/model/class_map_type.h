// The types of class-maps: which kinds of rules one takes.
#pragma once

#include <cstdint>

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

}  // namespace kvel::manager
