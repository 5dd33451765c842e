// Binds typed member functions to rows of the call table. The types of a function's parameters are compared with its
// row at compile time, so a service cannot read an argument as something else than the client sent.
//
//   Status Manager::update_description(std::uint16_t context, SessionId, std::string_view name, std::string_view text,
//                                      std::uint8_t add);
//   inline constexpr auto kDispatch = dispatch_table<Manager, Row<"cm_update_classdesc", &Manager::update_description>,
//   ...>(); Status status = kDispatch[call](manager, arguments);
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "rpc/calls/argument.h"
#include "rpc/calls/status.h"

namespace kvel::rpc {

// The identity word of a shell session.
enum class SessionId : std::uint32_t {};

// The parameter type of each argument type.
template <class T>
struct Parameter;

template <>
struct Parameter<std::uint8_t> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::u8; }
  static std::uint8_t from(const Argument& argument) { return static_cast<std::uint8_t>(argument.number); }
};
template <>
struct Parameter<std::uint16_t> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::u16; }
  static std::uint16_t from(const Argument& argument) { return static_cast<std::uint16_t>(argument.number); }
};
template <>
struct Parameter<std::uint32_t> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::u32; }
  static std::uint32_t from(const Argument& argument) { return argument.number; }
};
template <>
struct Parameter<SessionId> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::session; }
  static SessionId from(const Argument& argument) { return SessionId{argument.number}; }
};
template <>
struct Parameter<std::string_view> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::string; }
  static std::string_view from(const Argument& argument) { return argument.text; }
};
// A buffer that is only read.
template <std::size_t N>
struct Parameter<std::span<const std::byte, N>> {
  static consteval bool fits(const ArgShape& shape) {
    return shape.type == ArgType::buffer && shape.direction == Direction::in && shape.length == N;
  }
  static std::span<const std::byte, N> from(const Argument& argument) {
    return std::span<const std::byte, N>(argument.bytes);
  }
};
// A buffer that is returned, or read and returned.
template <std::size_t N>
struct Parameter<std::span<std::byte, N>> {
  static consteval bool fits(const ArgShape& shape) {
    return shape.type == ArgType::buffer && shape.is_returned() && shape.length == N;
  }
  static std::span<std::byte, N> from(const Argument& argument) { return std::span<std::byte, N>(argument.bytes); }
};
template <>
struct Parameter<ResponseBuffer&> {
  static consteval bool fits(const ArgShape& shape) { return shape.type == ArgType::response; }
  static ResponseBuffer& from(const Argument& argument) { return *argument.response; }
};

// A call name as a template argument.
template <std::size_t N>
struct CallName {
  char text[N];
  // NOLINTNEXTLINE(google-explicit-constructor): written as a plain literal in a row
  consteval CallName(const char (&literal)[N]) { std::copy_n(literal, N, text); }
  [[nodiscard]] constexpr std::string_view view() const { return {text, N - 1}; }
};

template <class Owner>
using Thunk = Status (*)(Owner&, std::span<const Argument>);

// One row: the call and the function that carries it out.
template <CallName Name, auto Function>
struct Row;

template <CallName Name, class Owner, class... Parameters, Status (Owner::*Function)(Parameters...)>
struct Row<Name, Function> {
  static constexpr std::size_t kCall = find_call(Name.view());
  static_assert(kCall != kNoCall, "the call is not in the call table");

  static consteval bool fits() {
    const auto args = kCalls[kCall].args();
    if (args.size() != sizeof...(Parameters)) return false;
    std::size_t index = 0;
    return (Parameter<Parameters>::fits(args[index++]) && ...);
  }
  static_assert(fits(), "the function's parameters differ from the call's row in the call table");

  static Status invoke(Owner& owner, std::span<const Argument> arguments) {
    return [&]<std::size_t... Index>(std::index_sequence<Index...>) {
      return (owner.*Function)(Parameter<Parameters>::from(arguments[Index])...);
    }
    (std::index_sequence_for<Parameters...>{});
  }
};

// The functions of an owner by row of the call table. Every call must be bound exactly once.
template <class Owner, class... Rows>
consteval std::array<Thunk<Owner>, kCalls.size()> dispatch_table() {
  static_assert(sizeof...(Rows) == kCalls.size(), "a call is bound twice or not at all");
  std::array<Thunk<Owner>, kCalls.size()> table{};
  // Kept apart from the table: a comparison of a function's address is no constant under the sanitizers.
  std::array<bool, kCalls.size()> bound{};
  ((table[Rows::kCall] = &Rows::invoke, bound[Rows::kCall] = true), ...);
  if (std::find(bound.begin(), bound.end(), false) != bound.end()) throw "a call is bound twice and another not at all";
  return table;
}

}  // namespace kvel::rpc
