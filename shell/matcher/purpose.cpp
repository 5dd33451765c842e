// From the words of a failed line to its purpose.
#include "shell/matcher/purpose.h"

#include <algorithm>
#include <array>

#include "shell/grammar/shell_commands.h"
#include "shell/matcher/match.h"
#include "shell/matcher/misspelling.h"
#include "shell/matcher/walk.h"

namespace kvel::shell {

namespace {

// Collects what edges lead to.
class Purposes {
 public:
  explicit Purposes(const Grammar& grammar) : grammar_(grammar) {}

  void add(const Edge& edge, std::size_t level) {
    level_ = std::max(level_.value_or(0), level);
    if (edge.command == kNoCommand || edge.negated || !grammar_.command(edge.command).opens) return;
    opening_level_ = std::max(opening_level_.value_or(0), level);
  }

  [[nodiscard]] bool empty() const { return !level_; }
  [[nodiscard]] Purpose purpose() const {
    return opening_level_ ? Purpose{true, opening_level_} : Purpose{false, level_};
  }

 private:
  const Grammar& grammar_;
  std::optional<std::size_t> level_;          // the innermost
  std::optional<std::size_t> opening_level_;  // the innermost of those that enter a mode
};

// The words up to an error that leaves none; its own is cut off by it.
Purpose purpose_before_error(const Grammar& grammar, ModeStack stack, const LexedLine& line) {
  const LexedLine sound = lex(line.line.substr(0, line.error->column));
  LexedLine whole_words;
  whole_words.line = sound.line;
  whole_words.words = sound.words;
  if (!sound.ends_in_blank && !whole_words.words.empty()) whole_words.words.pop_back();
  return sound.error || whole_words.words.empty() ? Purpose{} : purpose_of(grammar, stack, whole_words);
}

bool is_matched_by(const Grammar& grammar, ModeId mode, const LexedLine& line, bool by_its_own) {
  const std::array<ModeLevel, 1> stack{ModeLevel{mode, {}}};
  const auto matched = match(grammar, stack, line);
  if (!matched) return false;
  if (!matched->command->in_every_mode()) return true;
  return !by_its_own && matched->command->shell_command != command::kExit;
}

}  // namespace

Purpose purpose_of(const Grammar& grammar, ModeStack stack, const LexedLine& line) {
  if (line.error && line.words.empty()) return purpose_before_error(grammar, stack, line);
  Walk walk(grammar, stack, line.line);
  const Word* refused = nullptr;
  for (const Word& word : line.words) {
    if (!walk.advance(word)) {
      refused = &word;
      break;
    }
  }
  Purposes purposes(grammar);
  for (const Parse& parse : walk.parses()) {
    // "no" belongs to no command yet; what is removed is not entered.
    if (walk.words_taken() > 0) {
      purposes.add(grammar.edge(walk.steps(parse).back().edge), parse.level);
      continue;
    }
    if (refused == nullptr || refused->quoted) continue;
    for (const EdgeId id : grammar.edges_from(parse.node)) {
      const Edge& edge = grammar.edge(id);
      if (edge.symbol.is_word() && is_misspelling(refused->text, edge.symbol.text)) purposes.add(edge, parse.level);
    }
  }
  return purposes.empty() ? Purpose{} : purposes.purpose();
}

bool is_top_command(const Grammar& grammar, const LexedLine& line) {
  if (!is_matched_by(grammar, Grammar::kTopMode, line, false)) return false;
  for (std::size_t mode = 0; mode < grammar.modes().size(); ++mode) {
    if (mode != Grammar::kTopMode && is_matched_by(grammar, static_cast<ModeId>(mode), line, true)) return false;
  }
  return true;
}

}  // namespace kvel::shell
