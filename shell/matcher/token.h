// What a matched line is turned into: keyword ids with their values, and the stack of modes that a session is in.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Nothing for a word; a string for a name, string or text; a number for a number, address or mask.
using TokenValue = std::variant<std::monostate, std::string, std::uint32_t>;

struct Token {
  KeywordId keyword = kNoKeyword;
  TokenValue value;

  friend bool operator==(const Token&, const Token&) = default;
};

// One level of the session's stack of modes. `carried` holds the tokens of all outer levels too: it is, as a whole,
// what precedes the tokens of a command of this mode.
struct ModeLevel {
  ModeId mode = Grammar::kTopMode;
  std::vector<Token> carried;
  std::vector<std::string> names{};  // what the prompt shows of them, the outer levels' first

  friend bool operator==(const ModeLevel&, const ModeLevel&) = default;
};

// The top mode first, the current mode last; never empty.
using ModeStack = std::span<const ModeLevel>;

}  // namespace kvel::shell
