// Whole lines in every mode of the shell's grammar. A line that matches is rendered again by the renderer and matches
// again with the same tokens, in the same mode and sense; what help offers after any beginning leads on to a line that
// matches; completion offers the words that help offers; a mismatch points into the line and is shown in three
// printable lines; quoting a word gives the word.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/help.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/match.h"
#include "shell/matcher/render.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/typed_line.h"

namespace {

using namespace kvel::shell;
using kvel::fuzz::invariant;

const Grammar& grammar() { return shell_grammar(); }

// ---- What is accepted

void render_again(const Match& matched, ModeStack stack, std::string_view line) {
  const Command& command = *matched.command;
  const std::string_view action = command.handler.empty() ? command.shell_command : command.handler;
  const std::vector<Token> own(matched.tokens.begin() + static_cast<std::ptrdiff_t>(matched.carried_count),
                               matched.tokens.end());
  const auto rendered = render(grammar(), stack[matched.level].mode, action, matched.negated, own);
  invariant(rendered.has_value(), "what matched can be rendered", line);
  const auto again = match(grammar(), stack.first(matched.level + 1), *rendered);
  invariant(again.has_value(), "what the renderer gives matches", *rendered);
  invariant(again->tokens == matched.tokens && again->carried_count == matched.carried_count &&
                again->negated == matched.negated && again->level == matched.level,
            "a line rendered again means the same", *rendered);
  const std::string_view action_again =
      again->command->handler.empty() ? again->command->shell_command : again->command->handler;
  invariant(action_again == action, "a line rendered again reaches the same action", *rendered);
  invariant(again->opens == matched.opens, "a line rendered again opens the same mode", *rendered);
}

void check_match(const Match& matched, ModeStack stack, std::string_view line) {
  invariant(matched.level < stack.size(), "a line belongs to one of the modes", line);
  const std::vector<Token>& carried = stack[matched.level].carried;
  invariant(matched.tokens.size() <= kMaxWords && matched.carried_count == carried.size() &&
                std::equal(carried.begin(), carried.end(), matched.tokens.begin()),
            "the carried tokens come first", line);
  invariant(!matched.negated || !matched.opens, "no negated line opens a mode", line);
  invariant(matched.opens.has_value() == (matched.command->opens.has_value() && !matched.negated),
            "a command that opens a mode opens it", line);
  render_again(matched, stack, line);
}

// ---- What is refused

bool is_printable(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return (code >= 0x20 && code != 0x7f) || byte == '\t';
  });
}

void check_mismatch(const Mismatch& mismatch, std::string_view line) {
  const LexedLine lexed = lex(line);
  const bool after_the_end = mismatch.kind == MismatchKind::incomplete;
  invariant(mismatch.column <= lexed.line.size() + (after_the_end ? 1 : 0), "the column lies in the line", line);
  if (!after_the_end && mismatch.kind != MismatchKind::line_too_long)
    invariant(mismatch.column < lexed.line.size(), "the column is that of a word", line);
  const std::string why = describe(mismatch);
  std::string in_one_line = why;
  std::replace(in_one_line.begin(), in_one_line.end(), '\n', ' ');
  invariant(!why.empty() && is_printable(in_one_line), "a description is printable", why);

  const std::string shown = format_mismatch(mismatch, line);
  std::vector<std::string_view> lines;
  for (std::string_view rest = shown; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    invariant(end != rest.npos, "every line of a mismatch has its end", shown);
    lines.push_back(rest.substr(0, end));
    rest.remove_prefix(end + 1);
  }
  invariant(lines.size() >= 3, "a mismatch is three lines, and perhaps a list", shown);
  invariant(is_printable(lines[0]) && is_printable(lines[1]), "a mismatch is printable", shown);
  invariant(lines[1].find_first_not_of(" \t") == lines[1].size() - 1 && lines[1].ends_with('^'), "there is one caret",
            shown);
  if (line.find('\t') == line.npos)
    invariant(lines[1].size() <= kMismatchWidth, "the caret is within the width", shown);
  invariant(shown.ends_with("^\nError: " + why + "\n"), "the description follows", shown);
}

// ---- What is offered

// A value for a parameter that help names: those that its label allows, the first that is allowed there.
std::vector<std::string> values_for(const Expected& parameter) {
  if (parameter.text.starts_with('<')) return {parameter.text.substr(1, parameter.text.find('-') - 1)};
  return {"x", "10.0.0.1", "255.255.255.0"};
}

// Whether one of the words in the first `typed` bytes of a line was typed too short to distinguish the commands.
bool is_typed_short(const Mismatch& mismatch, std::size_t typed) {
  return mismatch.kind == MismatchKind::ambiguous && mismatch.column < typed;
}

// Whether nothing is wrong with the line so far, except that a word in its first `typed` bytes may be too short.
bool is_sound(ModeStack stack, const std::string& line, std::size_t typed) {
  const auto matched = match(grammar(), stack, line);
  return matched || matched.error().kind == MismatchKind::incomplete || is_typed_short(matched.error(), typed);
}

// Goes where help leads, by `choice`, to the end of a line. Words that were typed short may have become ambiguous by
// then; nothing else may be wrong.
void follow_help(ModeStack stack, const std::string& prefix, std::uint64_t choice) {
  std::string line = prefix;
  for (std::size_t words = 0; words <= kMaxWords; ++words) {
    const auto help = help_at(grammar(), stack, line);
    if (!help) {
      invariant(words == 0 || is_typed_short(help.error(), prefix.size()), "what help offers can be gone on with",
                line);
      return;
    }
    if (help->empty()) return;  // a comment
    const Expected& offered = (*help)[choice % help->size()];
    choice = choice / help->size() * 31 + words;
    if (offered.kind == Expected::Kind::end) {
      invariant(match(grammar(), stack, line).has_value(), "where help offers the end the line matches", line);
      return;
    }
    const Completion at = complete_at(grammar(), stack, line);
    if (offered.kind == Expected::Kind::word) {
      line = line.substr(0, at.column) + offered.text;
      invariant(is_sound(stack, line, prefix.size()), "a word that help offers can be taken", line);
    } else if (at.column < line.size()) {
      return;  // a value has begun; its continuation is up to the user
    } else {
      const auto values = values_for(offered);
      const auto fitting = std::find_if(values.begin(), values.end(), [&](const std::string& value) {
        return is_sound(stack, line + value, prefix.size());
      });
      invariant(fitting != values.end(), "a parameter that help offers takes a value", line);
      line += *fitting;
    }
    const auto next = help_at(grammar(), stack, line + " ");
    if (!next && (match(grammar(), stack, line) || is_typed_short(next.error(), prefix.size())))
      return;  // nothing may follow
    if (next) line += " ";
  }
  invariant(false, "a line comes to an end", line);
}

void check_completion(ModeStack stack, std::string_view line) {
  const Completion completion = complete_at(grammar(), stack, line);
  invariant(completion.column <= line.size(), "the completed word lies in the line", line);
  const auto unsupported = std::is_sorted_until(completion.words.begin(), completion.words.end());
  invariant(std::is_sorted(unsupported, completion.words.end()),
            "words are sorted, and the unsupported ones after the others", line);
  for (const std::string& word : completion.words)
    invariant(word.starts_with(completion.partial), "a completion begins with what is typed", word);
  const auto help = help_at(grammar(), stack, line);
  std::vector<std::string> words;
  if (help) {
    for (const Expected& offered : *help) {
      if (offered.kind == Expected::Kind::word) words.push_back(offered.text);
    }
  }
  invariant(!help || completion.words == words, "completion and help offer the same words", line);
}

void check_words(std::string_view line) {
  std::string joined;
  for (const std::string_view piece : split_commands(line)) {
    if (piece.data() != line.data()) joined += ';';
    joined += piece;
  }
  invariant(joined == line, "the pieces of a line make the line", line);
  for (const Word& word : lex(line).words) {
    for (const std::string& rendered : {quote(word.text), quote_if_needed(word.text)}) {
      const std::string command = "show " + rendered;  // a word at the start of a line may make it a comment
      const LexedLine again = lex(command);
      invariant(!again.error && again.words.size() == 2 && again.words[1].text == word.text,
                "a word that is quoted is that word", command);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const auto choice = bytes.ConsumeIntegral<std::uint64_t>();
  const kvel::fuzz::TypedLine typed = kvel::fuzz::any_line(bytes);
  const ModeStack stack(*typed.modes);
  const std::string& line = typed.line;

  const LexedLine lexed = lex(line);
  if (!lexed.blank()) {
    const auto matched = match(grammar(), stack, lexed);
    if (matched) {
      check_match(*matched, stack, line);
    } else {
      check_mismatch(matched.error(), line);
    }
  }
  // A cursor is never after a line end.
  const std::string before_cursor = line.substr(0, line.find_last_not_of("\r\n") + 1);
  check_completion(stack, before_cursor);
  follow_help(stack, before_cursor, choice);
  check_words(line);
  return 0;
}
