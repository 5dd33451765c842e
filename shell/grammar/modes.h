// The names of the shell's modes, as grammar files refer to them.
#pragma once

#include <string_view>

namespace kvel::shell {

inline constexpr std::string_view kConfigMode = "config";  // the top

inline constexpr std::string_view kClassMapL3Mode = "class-map-l3";
inline constexpr std::string_view kClassMapManagementMode = "class-map-management";
inline constexpr std::string_view kClassMapHttpLbMode = "class-map-http-lb";
inline constexpr std::string_view kClassMapHttpInspectionMode = "class-map-http-inspection";
inline constexpr std::string_view kClassMapFtpInspectionMode = "class-map-ftp-inspection";

}  // namespace kvel::shell
