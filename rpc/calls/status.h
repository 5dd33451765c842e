// Status words of backend calls as a C++ type. Names, values and texts come from kvel/status.h.
#pragma once

#include <cstdint>
#include <string_view>

#include "encoding/unprintable.h"
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

// A character that a new name cannot have, and which one of the name it is, counted from 1 to 64; 0 when the status is
// none of these.
struct NameFault {
  static constexpr char32_t kNoCharacter = 0xFFFF'FFFF;  // bytes that are no UTF-8
  char32_t code = kNoCharacter;
  std::uint32_t character = 0;
};

[[nodiscard]] constexpr Status status_of(const NameFault& at) {
  static_assert(encoding::kUnprintableCount < 0xFF);
  const auto number = at.code == NameFault::kNoCharacter
                          ? std::int32_t{0xFF}
                          : static_cast<std::int32_t>(encoding::unprintable_number(at.code));
  return static_cast<Status>(KVEL_STATUS_NAME_CHARACTER(number, static_cast<std::int32_t>(at.character)));
}

[[nodiscard]] constexpr NameFault name_fault(Status status) {
  const auto value = static_cast<std::int32_t>(status);
  if (value < KVEL_STATUS_NAME_CHARACTER(0, 1) || value > KVEL_STATUS_NAME_CHARACTER(0xFF, 64)) return {};
  const auto offset = static_cast<std::uint32_t>(value - KVEL_STATUS_NAME_CHARACTER(0, 1));
  const std::uint32_t number = offset >> 6U;
  const std::uint32_t character = (offset & 0x3FU) + 1;
  if (number == 0xFF) return {NameFault::kNoCharacter, character};
  if (number >= encoding::kUnprintableCount) return {};
  return {encoding::unprintable_character(number), character};
}

// The text of a status for the user, NUL-terminated; that of a fault without its place, and none of a fault in a name.
// An empty view for a number that is no status of this system.
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
