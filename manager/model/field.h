// How a rule or an action says what it consists of: its fields, each a member with its name in records.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvel::manager {

enum class Presence : std::uint8_t { always, unless_default };

// One field of a thing as a member of its record.
template <class Thing, class Value>
struct Field {
  std::string_view name;
  Value Thing::*member;
  Presence presence = Presence::always;
};
template <class Thing, class Value>
Field(std::string_view, Value Thing::*) -> Field<Thing, Value>;
template <class Thing, class Value>
Field(std::string_view, Value Thing::*, Presence) -> Field<Thing, Value>;

enum class HttpDirection : std::uint8_t { request, response };

}  // namespace kvel::manager
