// Parsed command records as a shell would build them, in memory that the plug-in can only read, and only where it may.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "kvel/command.h"
#include "tests/cli/guarded_memory.h"

namespace kvel::cli::test {

// One token, written {8, "web"} for a text, {200, 80} for a number, {8, nullptr} for a null text, and {9} for a keyword
// that selects something by itself: its text must not be read.
class Token {
 public:
  // NOLINTBEGIN(google-explicit-constructor): tokens are written as plain braces
  Token(std::uint32_t keyword_id) : keyword_id_(keyword_id), value_(Untouchable{}) {}
  Token(std::uint32_t keyword_id, std::nullptr_t null) : keyword_id_(keyword_id), value_(null) {}
  Token(std::uint32_t keyword_id, std::string_view text) : keyword_id_(keyword_id), value_(std::string(text)) {}
  template <std::integral Number>
  Token(std::uint32_t keyword_id, Number number)
      : keyword_id_(keyword_id), value_(static_cast<std::uint32_t>(number)) {}
  // NOLINTEND(google-explicit-constructor)

 private:
  friend class CommandRecord;
  struct Untouchable {};

  std::uint32_t keyword_id_;
  std::variant<Untouchable, std::nullptr_t, std::string, std::uint32_t> value_;
};

using Tokens = std::vector<Token>;

// What else a command carries.
struct Form {
  std::uint32_t negated = 0;
  std::uint32_t skip_execution = 0;
  std::uint32_t command_id = 0;
  std::int16_t context_id = 7;
  std::uint32_t session_id = 0x01020304;
};

inline constexpr Form kNo{.negated = 1};

// The record for a handler. Record, tokens and texts are read-only and gone afterwards; each token and text ends where
// inaccessible memory begins, but keywords that select something by themselves lie side by side, and only the last of
// them does; the token pointers after token_count lead into inaccessible memory; the tokens' reserved words are
// forbidden.
class CommandRecord {
 public:
  CommandRecord(const Tokens& tokens, const Form& form);
  [[nodiscard]] const CliCommand* get() const;

 private:
  static bool is_keyword(const Token& token);
  const CliToken* add(const Token& token);
  const CliToken* put(const Token& token, GuardedBlock& block, std::size_t index);
  const void* add_value(const Token& token);

  std::vector<GuardedBlock> blocks_;
  GuardedBlock record_;
};

// The record for a completion hook, of which nothing in front of context_id can be read.
class HookCommandRecord {
 public:
  explicit HookCommandRecord(const Form& form);
  [[nodiscard]] const CliCommand* get() const;

 private:
  GuardedBlock record_;
};

}  // namespace kvel::cli::test
