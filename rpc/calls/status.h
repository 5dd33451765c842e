// Status words of backend calls as a C++ type. Names, values and texts come from kvel/status.h.
#pragma once

#include <cstdint>
#include <string_view>

#include "kvel/status.h"

namespace kvel {

enum class Status : std::int32_t {
#define KVEL_STATUS_MEMBER(name, value, text) name = (value),
  KVEL_STATUSES(KVEL_STATUS_MEMBER)
#undef KVEL_STATUS_MEMBER
};

[[nodiscard]] constexpr bool succeeded(Status status) { return status == Status::ok || status == Status::more_data; }

// The text of a status for the user, NUL-terminated; an empty view for a number that is no status of this system.
[[nodiscard]] constexpr std::string_view status_text(Status status) {
  switch (status) {
#define KVEL_STATUS_TEXT(name, value, text) \
  case Status::name:                        \
    return text;
    KVEL_STATUSES(KVEL_STATUS_TEXT)
#undef KVEL_STATUS_TEXT
  }
  return {};
}

}  // namespace kvel
