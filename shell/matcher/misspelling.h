// What an unknown word may have been meant for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

// Whether few enough letters differ for one to be a slip of the hand.
[[nodiscard]] bool is_misspelling(std::string_view typed, std::string_view word);

// The words that may follow the parses, at any level, and that `typed` may be a misspelling of: those nearest to it,
// sorted.
[[nodiscard]] std::vector<std::string> nearby_words(const Grammar& grammar, const Walk& walk, std::string_view typed);

// Which modes know a command that begins with this word, for a walk that is still at the beginning of a command:
// "class mode of a policy-map (type http-inspection)". Empty when there is none.
[[nodiscard]] std::string modes_that_know(const Grammar& grammar, const Walk& walk, std::string_view word);

}  // namespace kvel::shell
