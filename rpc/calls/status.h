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

// A fault in an expression and where it is: the character, counted from 1, or 0 when its place is not known.
struct ExpressionFault {
  Status fault = Status::ok;
  std::uint32_t character = 0;
};

// The status that answers a fault. A place beyond 255 is not given.
[[nodiscard]] constexpr Status status_of(const ExpressionFault& at) {
  if (at.character == 0 || at.character > 0xFF) return at.fault;
  return static_cast<Status>(
      KVEL_STATUS_EXPRESSION_AT(static_cast<std::int32_t>(at.fault), static_cast<std::int32_t>(at.character)));
}

// The fault that such a status answers; any other status is returned as it is, without a place.
[[nodiscard]] constexpr ExpressionFault expression_fault(Status status) {
  constexpr std::int32_t kFirst = KVEL_STATUS_EXPRESSION_AT(KVEL_STATUS_expression_empty, 0);
  constexpr std::int32_t kLast = KVEL_STATUS_EXPRESSION_AT(KVEL_STATUS_expression_refused, 0xFF);
  const auto value = static_cast<std::int32_t>(status);
  if (value < kFirst || value > kLast) return {status, 0};
  const auto place = static_cast<std::uint32_t>(value - kFirst);
  return {static_cast<Status>(KVEL_STATUS_expression_empty + static_cast<std::int32_t>(place >> 8U)), place & 0xFFU};
}

// The text of a status for the user, NUL-terminated; that of a fault without its place. An empty view for a number that
// is no status of this system.
[[nodiscard]] constexpr std::string_view status_text(Status status) {
  switch (expression_fault(status).fault) {
#define KVEL_STATUS_TEXT(name, value, text) \
  case Status::name:                        \
    return text;
    KVEL_STATUSES(KVEL_STATUS_TEXT)
#undef KVEL_STATUS_TEXT
  }
  return {};
}

}  // namespace kvel
