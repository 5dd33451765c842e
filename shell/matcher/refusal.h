// Finds out why a word cannot be taken. Private to the matcher.
#pragma once

#include "shell/matcher/lexer.h"
#include "shell/matcher/mismatch.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

// `word` is the word that `walk` refused after the words of `line` before it. Mostly that word is to blame; but where
// an earlier one was read as a name although it is a misspelt word of the grammar, and the line fails for that alone,
// that one is.
[[nodiscard]] Mismatch refuse_word(const Grammar& grammar, ModeStack stack, const Walk& walk, const LexedLine& line,
                                   const Word& word);

}  // namespace kvel::shell
