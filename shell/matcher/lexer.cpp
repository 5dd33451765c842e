// Splitting of lines into words, and the quoting that undoes it.
#include "shell/matcher/lexer.h"

#include "encoding/utf8.h"

namespace kvel::shell {

namespace {

constexpr bool is_blank(char c) { return c == ' ' || c == '\t'; }

// The offset after the quoted word that opens at `start`, its closing quote included; npos when it is not closed.
std::size_t end_of_quoted(std::string_view line, std::size_t start) {
  for (std::size_t i = start + 1; i < line.size(); ++i) {
    if (line[i] == '"') return i + 1;
    if (line[i] == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\')) ++i;
  }
  return std::string_view::npos;
}

// The offset after the JSON object that opens at `start`; npos when none does, or when it is not closed. Anything is
// taken for one that begins with a quoted name and ends where its brackets are closed.
std::size_t end_of_object(std::string_view line, std::size_t start) {
  if (line[start] != '{') return std::string_view::npos;
  const std::size_t first = line.find_first_not_of(" \t", start + 1);
  if (first == std::string_view::npos || line[first] != '"') return std::string_view::npos;
  std::size_t depth = 0;
  bool in_string = false;
  for (std::size_t i = start; i < line.size(); ++i) {
    if (in_string) {
      if (line[i] == '\\')
        ++i;
      else if (line[i] == '"')
        in_string = false;
    } else if (line[i] == '"') {
      in_string = true;
    } else if (line[i] == '{' || line[i] == '[') {
      ++depth;
    } else if ((line[i] == '}' || line[i] == ']') && --depth == 0) {
      return i + 1;
    }
  }
  return std::string_view::npos;
}

class Lexer {
 public:
  explicit Lexer(std::string_view line) {
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    line_ = line;
    lexed_.line = line;
  }

  LexedLine run() {
    if (line_.size() > kMaxLineBytes) return refuse(LexErrorKind::line_too_long, kMaxLineBytes);
    if (auto error = check_characters()) return refuse(error->kind, error->column);
    skip_blanks();
    if (at_ < line_.size() && (line_[at_] == '!' || line_[at_] == '#')) {
      lexed_.comment = true;
      return std::move(lexed_);
    }
    lexed_.ends_in_blank = line_.empty() || is_blank(line_.back());
    for (; at_ < line_.size(); skip_blanks()) {
      if (lexed_.words.size() == kMaxWords) return refuse(LexErrorKind::too_many_words, at_);
      if (line_[at_] != '"') {
        take_plain_word();
      } else if (!take_quoted_word()) {
        break;
      }
    }
    return std::move(lexed_);
  }

 private:
  LexedLine refuse(LexErrorKind kind, std::size_t column) {
    lexed_.words.clear();
    lexed_.error = LexError{kind, column};
    return std::move(lexed_);
  }

  std::optional<LexError> check_characters() const {
    for (std::size_t i = 0; i < line_.size();) {
      const encoding::DecodedCharacter character = encoding::decode_utf8(line_, i);
      if (character.length == 0) return LexError{LexErrorKind::invalid_utf8, i};
      if (encoding::is_control(character.code) && character.code != '\t')
        return LexError{LexErrorKind::control_character, i};
      i += character.length;
    }
    return std::nullopt;
  }

  void skip_blanks() {
    while (at_ < line_.size() && is_blank(line_[at_]))
      ++at_;
  }

  void take_plain_word() {
    const std::size_t start = at_;
    const std::size_t end = end_of_object(line_, start);
    if (end != std::string_view::npos && (end == line_.size() || is_blank(line_[end]))) at_ = end;
    while (at_ < line_.size() && !is_blank(line_[at_]))
      ++at_;
    lexed_.words.push_back({line_.substr(start, at_ - start), start, false});
  }

  // False when the line cannot be split any further.
  bool take_quoted_word() {
    const std::size_t start = at_;
    const std::size_t end = end_of_quoted(line_, start);
    if (end == std::string_view::npos) {
      lexed_.error = LexError{LexErrorKind::unclosed_quote, start};
      lexed_.unfinished = Word{unescape(line_.substr(start + 1)), start, true};
      lexed_.ends_in_blank = false;
      return false;
    }
    if (end < line_.size() && !is_blank(line_[end])) {
      lexed_.error = LexError{LexErrorKind::text_after_quote, end};
      return false;
    }
    lexed_.words.push_back({unescape(line_.substr(start + 1, end - start - 2)), start, true});
    at_ = end;
    return true;
  }

  std::string_view unescape(std::string_view quoted) {
    if (quoted.find('\\') == std::string_view::npos) return quoted;
    lexed_.unescaped.reserve(line_.size());  // once: the views into it stay valid
    const std::size_t first = lexed_.unescaped.size();
    for (std::size_t i = 0; i < quoted.size(); ++i) {
      if (quoted[i] == '\\' && i + 1 < quoted.size() && (quoted[i + 1] == '"' || quoted[i + 1] == '\\')) ++i;
      lexed_.unescaped.push_back(quoted[i]);
    }
    return {lexed_.unescaped.data() + first, lexed_.unescaped.size() - first};
  }

  std::string_view line_;
  std::size_t at_ = 0;
  LexedLine lexed_;
};

}  // namespace

LexedLine lex(std::string_view line) { return Lexer(line).run(); }

std::vector<std::string_view> split_commands(std::string_view commands) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  bool word_begins = true;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (commands[i] == ';') {
      pieces.push_back(commands.substr(start, i - start));
      start = i + 1;
      word_begins = true;
    } else if (commands[i] == '"' && word_begins) {
      const std::size_t end = end_of_quoted(commands, i);
      if (end == std::string_view::npos) break;
      i = end - 1;
      word_begins = false;
    } else {
      const std::size_t end = word_begins ? end_of_object(commands, i) : std::string_view::npos;
      word_begins = is_blank(commands[i]);
      if (end != std::string_view::npos) i = end - 1;
    }
  }
  pieces.push_back(commands.substr(start));
  return pieces;
}

std::string quote(std::string_view text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted.push_back('\\');
    quoted.push_back(c);
  }
  quoted.push_back('"');
  return quoted;
}

std::string quote_if_needed(std::string_view text) {
  const bool needed = text.empty() || text.front() == '{' || text.find_first_of(" \t?\"\\") != std::string_view::npos;
  return needed ? quote(text) : std::string(text);
}

}  // namespace kvel::shell
