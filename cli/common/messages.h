// Lines that handlers of several modules print.
#pragma once

namespace kvel::cli {

inline constexpr char kNameBeginsWithHash[] = "Error: Object Name cannot start with character #";
inline constexpr char kClassMapNotConfigured[] = "Error: class-map '%s' not configured\n";
inline constexpr char kInvalidAddress[] = "Error: Invalid IP address";

}  // namespace kvel::cli
