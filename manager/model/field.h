// How a rule or an action describes itself: its fields, each a member with its name in records.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvel::manager {

enum class Presence : std::uint8_t { always, unless_default };

// One field of a rule or an action as a member of its record.
template <class Owner, class Value>
struct Field {
  std::string_view name;
  Value Owner::*member;
  Presence presence = Presence::always;
};
template <class Owner, class Value>
Field(std::string_view, Value Owner::*) -> Field<Owner, Value>;
template <class Owner, class Value>
Field(std::string_view, Value Owner::*, Presence) -> Field<Owner, Value>;

enum class HttpDirection : std::uint8_t { request, response };

}  // namespace kvel::manager
