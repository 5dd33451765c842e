// How a handler ends: the return value of its kind, and the one line for a failed backend call.
#pragma once

#include <cstdint>
#include <initializer_list>

namespace kvel::cli {

inline constexpr std::int32_t kDone = 0;
inline constexpr std::int32_t kFailed = 1;          // match, action, description, show and clear handlers
inline constexpr std::int32_t kObjectFailed = 255;  // handlers that create or look up an object and enter its mode

// A status that a handler words itself. The format takes the name and, where it has two "%s", the second one.
struct KnownStatus {
  std::int32_t status;
  const char* format;
  const char* name;
  const char* second = "";
};

// One module's printer for every other status (class_display_error and its three twins).
using StatusPrinter = void (*)(std::int32_t status);

// Prints the line for a failed call, if it failed; returns whether it succeeded.
bool report(std::int32_t status, StatusPrinter print, std::initializer_list<KnownStatus> known = {});

// Print why a command is refused before its call, and give the return value for it.
std::int32_t refuse(const char* message);         // kFailed
std::int32_t refuse_object(const char* message);  // kObjectFailed

// Binds the client, or prints why not; any answer but 0 is a failed bind.
bool bind_or_report(StatusPrinter print);

}  // namespace kvel::cli
