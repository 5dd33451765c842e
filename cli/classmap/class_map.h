// What the class-map handlers share: the numbers of types and match modes, and the messages with a class-map's name.
#pragma once

#include <cstdint>

namespace kvel::cli::classmap {

// Class-map types, as the backend and the completion hooks number them.
inline constexpr std::uint8_t kLayer34 = 0;
inline constexpr std::uint8_t kManagement = 1;
inline constexpr std::uint8_t kHttpLoadBalancing = 2;
inline constexpr std::uint8_t kHttpInspection = 3;
inline constexpr std::uint8_t kFtpInspection = 4;

// Match modes: whether a packet must match any rule or all of them.
inline constexpr std::uint8_t kMatchAny = 0;
inline constexpr std::uint8_t kMatchAll = 1;

inline constexpr char kNotConfigured[] = "Error: class-map '%s' not configured\n";

}  // namespace kvel::cli::classmap
