// "?" and tab.
#include "shell/matcher/help.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "shell/matcher/lexer.h"
#include "shell/matcher/match.h"
#include "shell/matcher/refusal.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

namespace {

// The prefix taken apart: whole words, and the word under the cursor.
class Cursor {
 public:
  Cursor(const Grammar& grammar, ModeStack stack, std::string_view prefix)
      : grammar_(grammar), stack_(stack), line_(lex(prefix)), walk_(grammar, stack, line_.line) {
    whole_words_ = line_.words.size();
    if (line_.unfinished) {
      typed_ = line_.unfinished;
    } else if (!line_.ends_in_blank && !line_.error && whole_words_ > 0) {
      typed_ = line_.words[--whole_words_];
    }
  }

  // Takes the whole words; a mismatch when no line begins with them.
  std::optional<Mismatch> take_words() {
    for (std::size_t i = 0; i < whole_words_; ++i) {
      if (!walk_.advance(line_.words[i])) return refuse_word(grammar_, stack_, walk_, line_, line_.words[i]);
    }
    const bool in_text =
        std::any_of(walk_.parses().begin(), walk_.parses().end(), [](const Parse& parse) { return parse.in_text; });
    if (line_.error && !line_.unfinished && !in_text) return Mismatch(*line_.error);
    return std::nullopt;
  }

  // The candidates under the cursor, of the innermost mode that has any.
  struct Candidates {
    std::vector<const Symbol*> symbols;
    bool end = false;
  };
  Candidates candidates() const {
    for (std::size_t level = stack_.size(); level-- > 0;) {
      Candidates found = candidates_of(level);
      if (!found.symbols.empty() || found.end) return found;
    }
    return {};
  }

  // Those of the modes around that one.
  std::vector<const Symbol*> outer_symbols() const {
    std::vector<const Symbol*> symbols;
    bool answered = false;
    for (std::size_t level = stack_.size(); level-- > 0;) {
      const Candidates found = candidates_of(level);
      if (answered) symbols.insert(symbols.end(), found.symbols.begin(), found.symbols.end());
      answered = answered || !found.symbols.empty() || found.end;
    }
    return symbols;
  }

  const LexedLine& line() const { return line_; }
  const std::optional<Word>& typed() const { return typed_; }

  Mismatch refusal() const { return refuse_word(grammar_, stack_, walk_, line_, *typed_); }

 private:
  Candidates candidates_of(std::size_t level) const {
    Candidates found;
    for (const Parse& parse : walk_.parses()) {
      if (parse.level == level) add_candidates(parse, found);
    }
    return found;
  }

  void add_candidates(const Parse& parse, Candidates& found) const {
    if (parse.in_text && has_room(parse)) found.symbols.push_back(&walk_.last_symbol(parse));
    for (const EdgeId edge : grammar_.edges_from(parse.node)) {
      const Symbol& symbol = grammar_.edge(edge).symbol;
      if (is_candidate(symbol)) found.symbols.push_back(&symbol);
    }
    if (!typed_ && grammar_.node(parse.node).can_end) found.end = true;
  }

  // Whether the text that the parse is in may go on after the blanks at the cursor.
  bool has_room(const Parse& parse) const {
    const std::size_t begin = line_.words[walk_.steps(parse).size() - 1].column;
    return typed_ || line_.line.size() - begin < walk_.last_symbol(parse).high;
  }

  bool is_candidate(const Symbol& symbol) const {
    if (!typed_) return true;
    if (symbol.is_word()) return !typed_->quoted && symbol.text.starts_with(typed_->text);
    return may_be_prefix(symbol, typed_->text, typed_->quoted);
  }

  const Grammar& grammar_;
  ModeStack stack_;
  LexedLine line_;
  Walk walk_;
  std::size_t whole_words_ = 0;
  std::optional<Word> typed_;
};

}  // namespace

tl::expected<std::vector<Expected>, Mismatch> help_at(const Grammar& grammar, ModeStack stack,
                                                      std::string_view prefix) {
  Cursor cursor(grammar, stack, prefix);
  std::vector<Expected> help;
  if (cursor.line().comment) return help;
  if (auto mismatch = cursor.take_words()) return tl::unexpected(*std::move(mismatch));
  const Cursor::Candidates candidates = cursor.candidates();
  for (const Symbol* symbol : candidates.symbols)
    help.push_back(expected_symbol(*symbol));
  if (candidates.end) {
    // What could end may still be ambiguous, until more words distinguish the candidates.
    auto matched = match(grammar, stack, cursor.line());
    if (matched) help.push_back(expected_end());
    if (help.empty()) return tl::unexpected(std::move(matched).error());
  }
  if (help.empty() && cursor.typed()) return tl::unexpected(cursor.refusal());
  arrange(help);
  return help;
}

std::vector<Expected> outer_help_at(const Grammar& grammar, ModeStack stack, std::string_view prefix) {
  Cursor cursor(grammar, stack, prefix);
  if (cursor.line().comment || cursor.take_words()) return {};
  std::vector<Expected> help;
  for (const Symbol* symbol : cursor.outer_symbols()) {
    if (symbol->is_word()) help.push_back(expected_symbol(*symbol));
  }
  arrange(help);
  const std::vector<const Symbol*> inner = cursor.candidates().symbols;
  std::erase_if(help, [&](const Expected& expected) {
    return std::any_of(inner.begin(), inner.end(),
                       [&](const Symbol* symbol) { return symbol->is_word() && symbol->text == expected.text; });
  });
  return help;
}

Completion complete_at(const Grammar& grammar, ModeStack stack, std::string_view prefix) {
  Cursor cursor(grammar, stack, prefix);
  Completion completion;
  completion.column = prefix.size();
  if (cursor.typed()) {
    completion.column = cursor.typed()->column;
    completion.partial = cursor.typed()->text;
    completion.quoted = cursor.typed()->quoted;
  }
  if (cursor.line().comment || cursor.take_words()) return completion;
  const std::vector<const Symbol*> symbols = cursor.candidates().symbols;
  completion.in_text = cursor.typed() && !symbols.empty() &&
                       std::all_of(symbols.begin(), symbols.end(),
                                   [](const Symbol* symbol) { return symbol->kind == SymbolKind::text; });
  std::vector<Expected> words;
  for (const Symbol* symbol : symbols) {
    if (symbol->is_word()) {
      words.push_back(expected_symbol(*symbol));
    } else if (!symbol->hook.empty()) {
      completion.hooks.push_back(symbol->hook);
      completion.hooks.insert(completion.hooks.end(), symbol->more_hooks.begin(), symbol->more_hooks.end());
    }
  }
  arrange(words);
  for (Expected& word : words)
    completion.words.push_back(std::move(word.text));
  std::sort(completion.hooks.begin(), completion.hooks.end());
  completion.hooks.erase(std::unique(completion.hooks.begin(), completion.hooks.end()), completion.hooks.end());
  return completion;
}

}  // namespace kvel::shell
