// What a line that failed was meant for, as far as its words say: that decides what the lines below it may still
// change.
#pragma once

#include <cstddef>
#include <optional>

#include "shell/grammar/grammar.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

struct Purpose {
  bool may_open = true;              // perhaps to enter a mode
  std::optional<std::size_t> level;  // index in the stack of the mode that it belongs to; nothing: not known
};

// Of a line that matches no command. A misspelt first word counts as what it is near to; a word that nobody knows may
// have been meant for anything.
[[nodiscard]] Purpose purpose_of(const Grammar& grammar, ModeStack stack, const LexedLine& line);

// Whether the line is a command of the top mode, and of no other: the word "class", which is short for "class-map" at
// the top, is one of policy-maps. A command of every mode is one, except that "exit" belongs to the mode that it
// leaves. The line must not be blank().
[[nodiscard]] bool is_top_command(const Grammar& grammar, const LexedLine& line);

}  // namespace kvel::shell
