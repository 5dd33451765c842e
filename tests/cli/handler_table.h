// Every exported handler in one table: what its call looks like, which keywords it reads, and where handlers differ in
// what they all do alike. The contract that they share is tested row by row in handler_contract_test.cpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "tests/cli/command_record.h"
#include "tests/cli/notation.h"

namespace kvel::cli::test {

// A token whose text is in the call as it was typed, cut at its bound, and its place there.
struct TextToken {
  std::uint32_t keyword_id;
  std::string_view place;
  std::size_t bound = 64;
};

// A token whose number does.
struct NumberToken {
  std::uint32_t keyword_id;
  std::string_view place;
};

// A status that a handler words itself, with places of the call in its line.
struct WordedStatus {
  std::int32_t status;
  const char* line;
};

enum class Bind { none, silent, printed };  // whether the client is bound, and what is printed when that fails
enum class Skip { ignored, before_the_bind, after_the_bind };  // where skip_execution ends the command
enum class NumberSign { sent, refused_after_the_domain, refused_before_the_domain };  // a name that begins with '#'

// In calls and lines <context>, <session>, <add> and <negated> stand for what every command carries.
struct Handler {
  const char* label;     // of the row
  const char* name;      // of the handler
  const char* keywords;  // all that its table lists: "8-10 201"
  std::vector<TextToken> texts = {};
  std::vector<NumberToken> numbers = {};
  const char* call = nullptr;  // of a command without tokens; null when nothing is sent
  // A command that sets as much as one command can, and its call. An object that the rule domain is asked for is "web".
  Tokens line = {};
  const char* line_call = nullptr;

  Bind bind = Bind::printed;
  bool more_data_is_printed = false;  // when a bind ends with it
  const char* after_failed_bind = "return 1";
  const char* after_failure = "return 1";
  Skip skip = Skip::ignored;
  bool only_in_the_no_form = false;
  const char* asks = nullptr;  // what the host is asked before the call
  NumberSign number_sign = NumberSign::sent;
  const char* after_number_sign = nullptr;
  std::vector<WordedStatus> worded = {};
  bool names_fill_one = false;  // the names together must fit a name
  Tokens needs = {};            // tokens that no command does without; they come last
  std::uint32_t command_id = 0;
  // Events around the call.
  Events opening = {};
  Events closing = {};
  Events closing_after_failure = {};
};

using Handlers = std::vector<Handler>;

[[nodiscard]] const Handlers& all_handlers();

// The parts of the table, one for each file.
[[nodiscard]] Handlers class_map_handlers();
[[nodiscard]] Handlers policy_map_handlers();
[[nodiscard]] Handlers joined(std::initializer_list<Handlers (*)()> parts);

}  // namespace kvel::cli::test
