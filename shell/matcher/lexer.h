// Splits a command line into words. Words are separated by blanks and tabs. A double quote at the start of a word makes
// a quoted word that runs to the next double quote; inside it \" is a quote and \\ a backslash, and any
// other backslash is an ordinary character. A quote inside a word is an ordinary character. A word that is a JSON
// object with members, `{"name": ...}`, runs to its closing brace; what is in it is taken literally. A line whose first
// character is "!" or "#" is a comment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvel::shell {

inline constexpr std::size_t kMaxLineBytes = 65536;
inline constexpr std::size_t kMaxWords = 255;

enum class LexErrorKind : std::uint8_t {
  line_too_long,      // more than kMaxLineBytes bytes
  too_many_words,     // more than kMaxWords words
  control_character,  // a byte below 0x20 other than tab, 0x7F, or U+0080 to U+009F
  invalid_utf8,
  unclosed_quote,    // the column is that of the opening quote
  text_after_quote,  // a closing quote must be followed by a blank or the end of the line
};

struct LexError {
  LexErrorKind kind;
  std::size_t column;  // byte offset in the line
};

// Views into the line, or into the LexedLine for quoted words with escapes.
struct Word {
  std::string_view text;   // without quotes and escapes
  std::size_t column = 0;  // byte offset of its first character, the quote of a quoted word
  bool quoted = false;     // never a keyword, number or address
};

// The words of one line; views the line, which must outlive it.
struct LexedLine {
  std::string_view line;  // as given, without the line end
  std::vector<Word> words;
  bool comment = false;
  bool ends_in_blank = false;  // the last character is a blank outside quotes (or the line is empty)
  // The line cannot be split after the last of `words`: an unclosed quote or text after one. Harmless only within a
  // text parameter that takes the rest of the line verbatim. Any other error leaves `words` empty.
  std::optional<LexError> error;
  // With an unclosed quote: the quoted word as far as it goes, for completion.
  std::optional<Word> unfinished;
  std::vector<char> unescaped;  // storage for words with escapes

  LexedLine() = default;
  LexedLine(LexedLine&&) = default;
  LexedLine& operator=(LexedLine&&) = default;
  LexedLine(const LexedLine&) = delete;
  LexedLine& operator=(const LexedLine&) = delete;
  ~LexedLine() = default;

  // Nothing to do: an empty line, a line of blanks, a comment.
  [[nodiscard]] bool blank() const { return words.empty() && !error; }
};

// A trailing "\n", "\r\n" or "\r" is ignored.
[[nodiscard]] LexedLine lex(std::string_view line);

// Splits at every ";" outside quoted words and JSON objects; the pieces are views, blank ones included. A text may hold
// ";" only when quoted.
[[nodiscard]] std::vector<std::string_view> split_commands(std::string_view commands);

// `text` as a quoted word; and as a word, quoted when it would not be read as the same single word otherwise, when a
// key of it means something else at a prompt ("?"), or when readers may take a character for an escape (quotes,
// backslashes).
[[nodiscard]] std::string quote(std::string_view text);
[[nodiscard]] std::string quote_if_needed(std::string_view text);

}  // namespace kvel::shell
