// Parsing and rendering of parameter values: the only code that knows how a number or an address is written. For the
// matcher, and for what brings records of the configuration back to what was typed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "shell/grammar/symbol.h"
#include "shell/matcher/mismatch.h"

namespace kvel::shell {

struct ParsedParameter {
  std::optional<MismatchKind> refusal;  // unknown_word: not even of the parameter's shape
  std::uint32_t number = 0;             // of a number, address or mask that is not refused
  std::uint32_t mask = 0;               // that goes with an address (Symbol::mask_keyword)
};

// `symbol` is a parameter; `quoted`: typed in quotes, which only strings may be. A text is given as a whole.
[[nodiscard]] ParsedParameter parse_parameter(const Symbol& symbol, std::string_view typed, bool quoted);

// Whether `typed` is the beginning of a value of the parameter.
[[nodiscard]] bool may_be_prefix(const Symbol& symbol, std::string_view typed, bool quoted);

// The value as it is typed. Strings are put in quotes where they would not be read as one word (for a text: as the rest
// of the line) otherwise, or always when `quoted`.
[[nodiscard]] std::string render_number(const Symbol& symbol, std::uint32_t value);
[[nodiscard]] std::string render_string(const Symbol& symbol, std::string_view value, bool quoted);

}  // namespace kvel::shell
