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

#include "cli/common/token.h"
#include "kvel/command.h"

namespace kvel::cli {

// What a row does. `apply` is all there is to an action; a handler may bring its own.

// The member becomes the token's text, cut to the width of the field.
template <auto Member>
struct Text {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    (request.*Member).assign(token_text(token));
  }
};

// The member becomes the token's number.
template <auto Member>
struct Number {
  template <class Request>
  static void apply(Request& request, const CliToken& token) {
    request.*Member = token_number(token);
  }
};

// The member becomes a constant.
template <auto Member, auto Value>
struct Set {
  template <class Request>
  static void apply(Request& request, const CliToken&) {
    request.*Member = Value;
  }
};

// The ids of one row.
template <std::uint32_t... Id>
struct Ids {
  static constexpr bool contain(std::uint32_t id) { return ((id == Id) || ...); }
};

// One row: these ids have these effects, in this order.
template <class RowIds, class... Actions>
struct On {
  template <class Request>
  static bool take(Request& request, const CliToken& token) {
    if (!RowIds::contain(token.keyword_id)) return false;
    (Actions::apply(request, token), ...);
    return true;
  }
};

template <class... Rows>
struct KeywordTable {
  template <class Request>
  static void read(const CliCommand& command, Request& request) {
    for (unsigned index = 0; index < command.token_count; ++index) {
      const CliToken& token = *command.tokens[index];
      static_cast<void>((Rows::take(request, token) || ...));  // compiles to one switch over the ids
    }
  }
};

}  // namespace kvel::cli
