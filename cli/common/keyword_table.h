// The token walk. A handler's keyword table is a type: one row for the ids of a role, with what each of them does to
// the request. Tokens are taken in order and each has its whole effect before the next, so a later token overrides an
// earlier one; an id that no row lists is skipped.
//
//   using Keywords = KeywordTable<
//       On<Ids<kw::class_map_l3_name>, Text<&Request::name>>,
//       On<Ids<kw::class_map_l3_match_any>, Set<&Request::match_mode, kMatchAny>>>;
//   Keywords::read(*command, request);
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "cli/common/token.h"
#include "kvel/command.h"

namespace kvel::cli {

// Why a command is refused: the line to print, without its newline. Null: it is not.
using Refusal = const char*;

// Where in a request an action puts what it reads: a pointer to a member, or a place that knows the way itself (a field
// of a record whose fields overlap, see byte_record.h). Gives the field, to be assigned and read.
template <auto Place, class Request>
decltype(auto) field_at(Request& request) {
  if constexpr (std::is_member_object_pointer_v<decltype(Place)>) {
    return (request.*Place);
  } else {
    return Place.in(request);
  }
}

// What a row does. `apply` is all there is to an action; a handler may bring its own. An action that can refuse the
// command at its token returns a Refusal, the others return nothing.

// Sets the field to the token's text, cut to the width of the field.
template <auto Place>
struct Text {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request).assign(token_text(token));
  }
};

// Sets the field to the token's number, or as much of its low end as the field holds.
template <auto Place>
struct Number {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request) = token_number(token);
  }
};
template <auto Place>
struct LowHalf {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request) = static_cast<std::uint16_t>(token_number(token));
  }
};
template <auto Place>
struct LowByte {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request) = static_cast<std::uint8_t>(token_number(token));
  }
};

// Sets the field to a constant.
template <auto Place, auto Value>
struct Set {
  template <class Request>
  static void apply(Request& request, const CliToken&) {
    field_at<Place>(request) = Value;
  }
};

// Sets the field to the low byte of the keyword's id less `Base`: the code of one keyword in a range of codes.
template <auto Place, std::uint32_t Base>
struct Code {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request) = static_cast<std::uint8_t>(token.keyword_id - Base);
  }
};

// Sets the field to the entry of a table of texts for one keyword in a range that begins at `First`.
template <auto Place, const auto& Table, std::uint32_t First>
struct TextOf {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    field_at<Place>(request).assign(Table[token.keyword_id - First]);
  }
};

// The ids of one row.
template <std::uint32_t... Id>
struct Ids {
  static constexpr bool contain(std::uint32_t id) { return ((id == Id) || ...); }
};
template <std::uint32_t First, std::uint32_t Last>
struct IdRange {
  static constexpr bool contain(std::uint32_t id) { return id >= First && id <= Last; }
};

// One row: these ids have these effects, in this order.
template <class RowIds, class... Actions>
struct On {
  template <class Request>
  static constexpr bool can_refuse() {
    return (!std::is_void_v<decltype(Actions::apply(std::declval<Request&>(), std::declval<const CliToken&>()))> ||
            ...);
  }

  // Whether the token belongs to this row. Its effects stop at the first that refuses.
  template <class Request>
  static bool take(Request& request, const CliToken& token, Refusal& refusal) {
    if (!RowIds::contain(token.keyword_id)) return false;
    if constexpr (can_refuse<Request>()) {
      static_cast<void>(((refusal = refusal_of<Actions>(request, token), refusal == nullptr) && ...));
    } else {
      (Actions::apply(request, token), ...);
    }
    return true;
  }

 private:
  template <class Action, class Request>
  static Refusal refusal_of(Request& request, const CliToken& token) {
    if constexpr (std::is_void_v<decltype(Action::apply(request, token))>) {
      Action::apply(request, token);
      return nullptr;
    } else {
      return Action::apply(request, token);
    }
  }
};

// Rows that several tables share; used in a table like one row.
template <class... Rows>
struct KeywordRows {
  template <class Request>
  static constexpr bool can_refuse() {
    return (Rows::template can_refuse<Request>() || ...);
  }

  template <class Request>
  static bool take(Request& request, const CliToken& token, Refusal& refusal) {
    return (Rows::take(request, token, refusal) || ...);
  }
};

template <class... Rows>
struct KeywordTable {
  template <class Request>
  static consteval bool can_refuse() {
    return (Rows::template can_refuse<Request>() || ...);
  }

  template <class Request>
  static void read(const CliCommand& command, Request& request) requires(!can_refuse<Request>()) {
    static_cast<void>(walk(command, request));
  }

  // Stops at the first token that refuses the command.
  template <class Request>
  [[nodiscard]] static Refusal read(const CliCommand& command, Request& request) requires(can_refuse<Request>()) {
    return walk(command, request);
  }

 private:
  template <class Request>
  static Refusal walk(const CliCommand& command, Request& request) {
    Refusal refusal = nullptr;
    for (unsigned index = 0; index < command.token_count && refusal == nullptr; ++index) {
      const CliToken& token = *command.tokens[index];
      static_cast<void>((Rows::take(request, token, refusal) || ...));  // compiles to one switch over the ids
    }
    return refusal;
  }
};

}  // namespace kvel::cli
