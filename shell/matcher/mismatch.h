// Why a line matches no command: where, and what was expected there; and how that is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "shell/matcher/lexer.h"

namespace kvel::shell {

enum class MismatchKind : std::uint8_t {
  line_too_long,
  too_many_words,
  control_character,
  invalid_utf8,
  unclosed_quote,
  text_after_quote,
  unknown_word,     // none of the words and parameters expected there
  unexpected_word,  // the command was complete before it
  ambiguous,        // abbreviates several words; `expected` lists them
  incomplete,       // the line ends too early; the column is after its end
  not_a_number,
  out_of_range,
  bad_address,
  too_long,     // `limit` is the most bytes
  empty_value,  // ""
  misplaced,    // a word that is not allowed there, though it is elsewhere; `reason` says why
};

// One alternative that may be typed at a node: a word, a parameter's label, or the end of the line.
struct Expected {
  enum class Kind : std::uint8_t { word, parameter, end };
  Kind kind = Kind::word;
  std::string text;  // the word, "NAME", "<1-255>", "<cr>"
  std::string help;
  bool unsupported = false;  // a word whose command only says that it is not supported

  friend bool operator==(const Expected&, const Expected&) = default;
};

struct Mismatch {
  MismatchKind kind = MismatchKind::unknown_word;
  std::size_t column = 0;  // byte offset of the first bad word in the line
  std::string word;        // that word, without its quotes; empty when the line ends there
  std::size_t limit = 0;
  std::string reason;
  std::vector<Expected> expected;   // words sorted (unsupported ones last), then parameters, then the end of the line
  std::vector<std::string> nearby;  // of an unknown word: words of the grammar that it may be a misspelling of
  std::string elsewhere;            // and the modes that know it, as "class mode of a policy-map"; empty: none does

  explicit Mismatch(MismatchKind mismatch_kind) : kind(mismatch_kind) {}
  explicit Mismatch(const LexError& error);
};

inline constexpr std::size_t kMismatchWidth = 79;
// How a message begins that says why a command failed, the shell's and the handlers'.
inline constexpr std::string_view kErrorPrefix = "Error: ";

// What is wrong, without "Error: " and the last line end: unknown word "x"; expected: a, b, NAME
// A list that does not fit in a line of a terminal follows in lines of its own, one for each entry.
[[nodiscard]] std::string describe(const Mismatch& mismatch);

// Two lines for a terminal or a log, each with its line end: the line, and a caret under the column. Unprintable bytes
// are shown as "?"; of a line wider than `width` columns the part around the caret is shown.
[[nodiscard]] std::string mark_column(std::string_view line, std::size_t column, std::size_t width = kMismatchWidth);

// These two, and after them "Error: " and the description.
[[nodiscard]] std::string format_mismatch(const Mismatch& mismatch, std::string_view line,
                                          std::size_t width = kMismatchWidth);

}  // namespace kvel::shell
