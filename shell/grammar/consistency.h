// The rules that a grammar must satisfy beyond being well-formed. A test validates the shell's grammar with them.
#pragma once

#include <string>
#include <vector>

#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Each violation as one sentence that names mode and words; empty when the grammar is sound:
//  - every word is printable, without blanks, quotes, ";" and "|", and does not begin with a comment sign; no command
//    begins with "no";
//  - every symbol has a help text that begins with a capital and has no full stop; the same word at the same node has
//    the same help;
//  - every parameter has a label and a possible range; a text is the last part of its command;
//  - every parameter of a command that creates a record binds a member of it;
//  - no two commands of a mode, and no two parses of one command, match the same line with equal precedence;
//  - every mode can be reached from the top; carried tokens are produced by the command that carries them, but for the
//    fixed ones, which have a keyword and a text;
//  - no command together with its carried tokens exceeds 255 tokens.
[[nodiscard]] std::vector<std::string> grammar_problems(const Grammar& grammar);

}  // namespace kvel::shell
