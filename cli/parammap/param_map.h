// What the parameter-map handlers share: the numbers of types and how a handler ends.
#pragma once

#include <cstdint>

#include "cli/common/status_printer.h"
#include "kvel/plugin.h"

namespace kvel::cli::parammap {

// Parameter-map types, as the backend and the completion hooks number them.
inline constexpr std::uint8_t kConnection = 0;
inline constexpr std::uint8_t kHttp = 1;
inline constexpr std::uint8_t kSsl = 2;

inline bool bind_for_param_map() { return bind_or_report(parammap_display_error); }

// Ends a handler: reports a failed call and gives the handler's return value.
inline std::int32_t finish(std::int32_t status, std::int32_t failed) {
  return report(status, parammap_display_error) ? kDone : failed;
}

}  // namespace kvel::cli::parammap
