// The words of a mismatch, and its display under the line.
#include "shell/matcher/mismatch.h"

#include <algorithm>

#include "encoding/utf8.h"
#include "shell/matcher/display_width.h"
#include "shell/matcher/printable.h"

namespace kvel::shell {

namespace {

constexpr std::size_t kMaxWordShown = 40;
constexpr std::string_view kCut = "...";
constexpr std::size_t kTerminalWidth = 80;

MismatchKind kind_of(LexErrorKind kind) {
  switch (kind) {
    case LexErrorKind::line_too_long:
      return MismatchKind::line_too_long;
    case LexErrorKind::too_many_words:
      return MismatchKind::too_many_words;
    case LexErrorKind::control_character:
      return MismatchKind::control_character;
    case LexErrorKind::invalid_utf8:
      return MismatchKind::invalid_utf8;
    case LexErrorKind::unclosed_quote:
      return MismatchKind::unclosed_quote;
    case LexErrorKind::text_after_quote:
      break;
  }
  return MismatchKind::text_after_quote;
}

// One character as it is shown.
struct Cell {
  std::string text;
  std::size_t width = 1;
  std::size_t offset = 0;  // in the text it was taken from
};

std::vector<Cell> cells_of(std::string_view text) {
  std::vector<Cell> cells;
  for (std::size_t i = 0; i < text.size();) {
    const encoding::DecodedCharacter character = encoding::decode_utf8(text, i);
    const std::size_t length = std::max<std::size_t>(character.length, 1);
    if (text[i] == '\t') {
      cells.push_back({"\t", 8, i});
    } else if (character.length == 0 || is_unprintable(character.code)) {
      cells.push_back({"?", 1, i});
    } else {
      cells.push_back({std::string(text.substr(i, length)), display_width(character.code), i});
    }
    i += length;
  }
  return cells;
}

std::string printable_word(std::string_view word) {
  std::string shown = "\"";
  std::size_t width = 0;
  for (const Cell& cell : cells_of(word.substr(0, 4 * kMaxWordShown))) {
    width += cell.text == "\t" ? 1 : cell.width;
    if (width > kMaxWordShown) return shown.append(kCut).append("\"");
    shown += cell.text == "\t" ? " " : cell.text;
  }
  return shown + "\"";
}

// "a, b, NAME"
std::string list(const std::vector<Expected>& expected) {
  std::string listed;
  for (const Expected& entry : expected) {
    if (!listed.empty()) listed += ", ";
    listed += entry.text;
  }
  return listed;
}

// The reason with what may stand there instead: in its line where that fits, else below it, each in a line.
std::string with_list(const std::string& reason, const std::string& what, const std::vector<Expected>& expected) {
  std::string line = reason + "; " + what + ": " + list(expected);
  std::size_t width = kErrorPrefix.size();
  for (const Cell& cell : cells_of(line))
    width += cell.width;
  if (width <= kTerminalWidth) return line;
  std::string lines = reason + "\n" + what + ":";
  for (const Expected& entry : expected)
    lines += "\n  " + entry.text;
  return lines;
}

std::string unknown_word(const Mismatch& mismatch) {
  std::string text = "unknown word " + printable_word(mismatch.word);
  if (!mismatch.elsewhere.empty()) return text + ", which is a command of " + mismatch.elsewhere;
  for (std::size_t i = 0; i < mismatch.nearby.size(); ++i)
    text += (i == 0 ? " (did you mean " : " or ") + printable_word(mismatch.nearby[i]);
  return mismatch.nearby.empty() ? text : text + "?)";
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The part of the line around the caret, with the caret's own line.
struct Window {
  std::string line;
  std::string caret;
};

Window window_around(std::string_view line, std::size_t column, std::size_t width) {
  // Enough bytes on either side, so that the cost does not grow with the line.
  const std::size_t reach = 4 * width;
  std::size_t first_byte = column > reach ? column - reach : 0;
  first_byte = std::min(first_byte, line.size());
  while (first_byte > 0 && first_byte < line.size() && encoding::continues_character(line[first_byte]) &&
         first_byte < column) {
    ++first_byte;
  }
  const std::string_view part = line.substr(first_byte, column - first_byte + reach);
  const std::vector<Cell> cells = cells_of(part);
  std::size_t caret = 0;
  while (caret < cells.size() && first_byte + cells[caret].offset < column)
    ++caret;

  std::size_t total = 0;
  for (const Cell& cell : cells)
    total += cell.width;
  const std::size_t after_end = column > line.size() ? column - line.size() : 0;  // blanks between line and caret
  std::size_t begin = 0;
  std::size_t end = cells.size();
  if (first_byte > 0 || part.size() < line.size() - first_byte || total + after_end >= width) {
    const std::size_t room = width > 2 * kCut.size() + 2 ? width - 2 * kCut.size() : 2;
    std::size_t used = 0;
    begin = caret;
    while (begin > 0 && used + cells[begin - 1].width <= room / 2)
      used += cells[--begin].width;
    end = caret;
    while (end < cells.size() && used + cells[end].width <= room)
      used += cells[end++].width;
    while (begin > 0 && used + cells[begin - 1].width <= room)
      used += cells[--begin].width;
  }

  Window window;
  if (begin > 0 || first_byte > 0) {
    window.line = kCut;
    window.caret.assign(kCut.size(), ' ');
  }
  for (std::size_t i = begin; i < end; ++i) {
    window.line += cells[i].text;
    if (i < caret) window.caret += cells[i].text == "\t" ? "\t" : std::string(cells[i].width, ' ');
  }
  const std::size_t end_byte = end < cells.size() ? first_byte + cells[end].offset : first_byte + part.size();
  if (end_byte < line.size()) window.line += kCut;
  window.caret.append(after_end, ' ');
  window.caret += '^';
  return window;
}

}  // namespace

Mismatch::Mismatch(const LexError& error) : kind(kind_of(error.kind)), column(error.column) {}

std::string describe(const Mismatch& mismatch) {
  const auto expecting = [&](const std::string& text) { return with_list(text, "expected", mismatch.expected); };
  switch (mismatch.kind) {
    case MismatchKind::line_too_long:
      return "the line is longer than " + std::to_string(kMaxLineBytes) + " bytes";
    case MismatchKind::too_many_words:
      return "the line has more than " + std::to_string(kMaxWords) + " words";
    case MismatchKind::control_character:
      return "control character";
    case MismatchKind::invalid_utf8:
      return "not valid UTF-8";
    case MismatchKind::unclosed_quote:
      return "this quote is not closed";
    case MismatchKind::text_after_quote:
      return "a blank is missing after the closing quote";
    case MismatchKind::unknown_word:
      return expecting(unknown_word(mismatch));
    case MismatchKind::unexpected_word:
      return expecting("unexpected word " + printable_word(mismatch.word));
    case MismatchKind::ambiguous:
      return with_list("ambiguous word " + printable_word(mismatch.word), "it could be", mismatch.expected);
    case MismatchKind::incomplete:
      return expecting("incomplete command");
    case MismatchKind::not_a_number:
      return expecting(printable_word(mismatch.word) + " is not a number");
    case MismatchKind::out_of_range:
      return expecting(printable_word(mismatch.word) + " is out of range");
    case MismatchKind::bad_address:
      return expecting(printable_word(mismatch.word) + " is not an IPv4 address");
    case MismatchKind::too_long:
      return list(mismatch.expected) + " is too long: at most " + std::to_string(mismatch.limit) +
             (is_ascii(mismatch.word) ? " characters" : " bytes");
    case MismatchKind::misplaced:
      return mismatch.reason;
    case MismatchKind::empty_value:
      break;
  }
  return list(mismatch.expected) + " must not be empty";
}

std::string mark_column(std::string_view line, std::size_t column, std::size_t width) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  const Window window = window_around(line, column, width);
  return window.line + "\n" + window.caret + "\n";
}

std::string format_mismatch(const Mismatch& mismatch, std::string_view line, std::size_t width) {
  return mark_column(line, mismatch.column, width).append(kErrorPrefix).append(describe(mismatch)).append("\n");
}

}  // namespace kvel::shell
