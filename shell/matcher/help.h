// What may be typed next: the lists of "?" and tab.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/mismatch.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

// The words and parameters that may follow at the end of `prefix`, with "<cr>" where the line may end: after a blank
// the next ones, else those that the last word may be the beginning of. Of several modes that know the prefix the
// innermost answers. A mismatch when no line begins like this.
[[nodiscard]] tl::expected<std::vector<Expected>, Mismatch> help_at(const Grammar& grammar, ModeStack stack,
                                                                    std::string_view prefix);

// What the modes further out know instead: words that may be typed there all the same, without those that help_at()
// lists.
[[nodiscard]] std::vector<Expected> outer_help_at(const Grammar& grammar, ModeStack stack, std::string_view prefix);

struct Completion {
  std::size_t column = 0;  // byte offset in the prefix where the word under the cursor begins; its length if none
  std::string partial;     // what is typed of it, without quotes and escapes
  bool quoted = false;     // it begins with a quote: only names can complete it
  bool in_text = false;    // a text that takes the rest of the line has begun
  std::vector<std::string> words;       // that begin with it, sorted, the unsupported ones after the others
  std::vector<std::string_view> hooks;  // completion hooks of the names that may be typed there, each once
};

// Never fails: a prefix that no line begins with completes to nothing. Insert names with quote_if_needed().
[[nodiscard]] Completion complete_at(const Grammar& grammar, ModeStack stack, std::string_view prefix);

}  // namespace kvel::shell
