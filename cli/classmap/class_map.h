// What the class-map handlers share: the numbers of types and match modes, and how a match handler ends.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "cli/common/status_printer.h"
#include "kvel/plugin.h"

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

inline bool bind_for_match() { return bind_or_report(class_display_error); }

// Ends a match handler: reports a failed call and gives the handler's return value.
inline std::int32_t finish_match(std::int32_t status, std::initializer_list<KnownStatus> known = {}) {
  return report(status, class_display_error, known) ? kDone : kFailed;
}

}  // namespace kvel::cli::classmap
