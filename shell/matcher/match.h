// Finds the command that a command line matches. Words may be abbreviated unless they forbid it. At each node a word
// typed in full leaves out the parameters of its mode and every abbreviation; among the parses that complete the
// line, words win over numbers and addresses, these over names and strings, these over texts, from left to right. Two
// different words with equal precedence make the line ambiguous. A line that the current mode does not know is looked
// for in the modes around it, inner ones first.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/mismatch.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

struct Match {
  const Command* command = nullptr;  // lives as long as the grammar
  std::size_t level = 0;  // index in the stack of the mode that knows the line; the last one for commands of every mode
  bool negated = false;
  std::vector<Token> tokens;       // the carried tokens of that level, then the line's own; at most 255
  std::size_t carried_count = 0;   // how many of them are carried
  std::optional<ModeLevel> opens;  // the level to push on stack[0..level]; never in the negated form
};

// `line` must not be blank(). The match owns its tokens and needs neither the line nor the stack any more.
[[nodiscard]] tl::expected<Match, Mismatch> match(const Grammar& grammar, ModeStack stack, const LexedLine& line);
[[nodiscard]] tl::expected<Match, Mismatch> match(const Grammar& grammar, ModeStack stack, std::string_view line);

}  // namespace kvel::shell
