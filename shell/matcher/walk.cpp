// The parallel parses of a line. Parses that reach the same edge are combined at once, so that their number is
// bounded by the edges that one word can reach.
#include "shell/matcher/walk.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kvel::shell {

Walk::Walk(const Grammar& grammar, ModeStack stack, std::string_view line) : grammar_(grammar), line_(line) {
  parses_.reserve(stack.size() + 1);
  for (std::size_t level = stack.size(); level-- > 0;) {
    parses_.push_back({.node = grammar.mode(stack[level].mode).start, .level = level});
  }
  parses_.push_back({.node = grammar.everywhere_start(), .level = stack.size() - 1});
}

std::string_view Walk::string_value(const Symbol& symbol, const Word& word) const {
  if (symbol.kind != SymbolKind::text || word.quoted) return word.text;
  const std::string_view rest = line_.substr(word.column);
  return rest.substr(0, rest.find_last_not_of(" \t") + 1);
}

void Walk::find_exact_words(const Word& word) {
  exact_.clear();
  if (word.quoted) return;
  for (const Parse& parse : parses_) {
    if (parse.in_text) continue;
    for (const EdgeId edge : grammar_.edges_from(parse.node)) {
      const Symbol& symbol = grammar_.edge(edge).symbol;
      if (symbol.is_word() && symbol.text == word.text) {
        exact_.push_back({parse.history, parse.level});
        break;
      }
    }
  }
}

bool Walk::excludes_abbreviations(const Parse& parse) const {
  return std::any_of(exact_.begin(), exact_.end(),
                     [&](const Exclusion& exact) { return exact.history == parse.history; });
}

bool Walk::excludes_parameters(const Parse& parse) const {
  return std::any_of(exact_.begin(), exact_.end(), [&](const Exclusion& exact) {
    return exact.history == parse.history && exact.level == parse.level;
  });
}

bool Walk::advance(const Word& word) {
  find_exact_words(word);
  next_.clear();
  histories_.clear();
  for (const Parse& parse : parses_) {
    if (parse.in_text) {
      add(parse);
      continue;
    }
    const bool no_abbreviations = excludes_abbreviations(parse);
    const bool no_parameters = excludes_parameters(parse);
    for (const EdgeId edge : grammar_.edges_from(parse.node)) {
      const Symbol& symbol = grammar_.edge(edge).symbol;
      if (symbol.is_word()) {
        if (word.quoted || !symbol.text.starts_with(word.text)) continue;
        const bool in_full = symbol.text.size() == word.text.size();
        if (!in_full && (no_abbreviations || symbol.in_full)) continue;
        take(parse, edge, in_full ? Precedence::exact_word : Precedence::abbreviated_word, {}, false);
        continue;
      }
      if (no_parameters) continue;
      const ParsedParameter value = parse_parameter(symbol, string_value(symbol, word), word.quoted);
      if (value.refusal) continue;
      const Precedence precedence = symbol.kind == SymbolKind::text ? Precedence::text
                                    : symbol.is_string()            ? Precedence::string
                                                                    : Precedence::number;
      take(parse, edge, precedence, value, precedence == Precedence::text && !word.quoted);
    }
  }
  if (next_.empty()) return false;
  std::swap(parses_, next_);
  ++words_taken_;
  return true;
}

void Walk::take(const Parse& parse, EdgeId edge, Precedence precedence, const ParsedParameter& value, bool in_text) {
  steps_.push_back({parse.step, edge, parse.node, precedence, value.number, value.mask});
  Parse taken = parse;
  taken.node = grammar_.edge(edge).target;
  taken.step = static_cast<std::uint32_t>(steps_.size() - 1);
  taken.history = history_after(parse, grammar_.edge(edge).symbol, precedence);
  taken.in_text = in_text;
  add(taken);
}

std::uint32_t Walk::history_after(const Parse& parse, const Symbol& symbol, Precedence precedence) {
  const std::string_view text = symbol.is_word() ? symbol.text : std::string_view();
  for (std::size_t i = 0; i < histories_.size(); ++i) {
    const Continuation& known = histories_[i];
    if (known.history == parse.history && known.precedence == precedence && known.text == text) {
      return static_cast<std::uint32_t>(i);
    }
  }
  histories_.push_back({parse.history, precedence, text});
  return static_cast<std::uint32_t>(histories_.size() - 1);
}

void Walk::add(const Parse& parse) {
  const EdgeId edge = steps_[parse.step].edge;
  for (Parse& present : next_) {
    if (present.level == parse.level && steps_[present.step].edge == edge) {
      present = combine(present, parse);
      return;
    }
  }
  next_.push_back(parse);
}

std::size_t Walk::innermost() const {
  std::size_t level = 0;
  for (const Parse& parse : parses_)
    level = std::max(level, parse.level);
  return level;
}

std::vector<Step> Walk::steps(const Parse& parse) const {
  std::vector<Step> steps;
  for (std::uint32_t step = parse.step; step != kNone; step = steps_[step].previous)
    steps.push_back(steps_[step]);
  std::reverse(steps.begin(), steps.end());
  return steps;
}

// Decides at the first word that the two match differently. Of two different words with equal precedence the first is
// kept and the other noted; parameters of equal precedence decide nothing (a sound grammar has them differ further on).
Parse Walk::combine(const Parse& kept, const Parse& other) {
  const std::vector<Step> ours = steps(kept);
  const std::vector<Step> theirs = steps(other);
  const std::size_t common = std::min(ours.size(), theirs.size());
  for (std::size_t word = 0; word < common; ++word) {
    const Step& our = ours[word];
    const Step& their = theirs[word];
    if (our.precedence != their.precedence) {
      Parse winner = our.precedence < their.precedence ? kept : other;
      inherit(winner, our.precedence < their.precedence ? other : kept, word);
      return winner;
    }
    if (our.precedence == Precedence::abbreviated_word &&
        grammar_.edge(our.edge).symbol.text != grammar_.edge(their.edge).symbol.text) {
      Parse winner = kept;
      inherit(winner, other, word + 1);
      mark_ambiguous(winner, word, std::array{our.edge, their.edge});
      return winner;
    }
  }
  Parse winner = kept;
  inherit(winner, other, common);
  return winner;
}

// An ambiguity among the first `words` words of `from` is one of `winner` too: up to there the two are one
// parse.
void Walk::inherit(Parse& winner, const Parse& from, std::size_t words) {
  if (from.ambiguity == kNone || ambiguities_[from.ambiguity].word >= words) return;
  const Ambiguity inherited = ambiguities_[from.ambiguity];
  mark_ambiguous(winner, inherited.word, inherited.edges);
}

// Only the first ambiguous word of a parse is kept.
void Walk::mark_ambiguous(Parse& parse, std::size_t word, std::span<const EdgeId> edges) {
  Ambiguity contested{word, {}};
  if (parse.ambiguity != kNone) {
    const Ambiguity& known = ambiguities_[parse.ambiguity];
    if (known.word < word) return;
    if (known.word == word) contested.edges = known.edges;
  }
  for (const EdgeId edge : edges) {
    const std::string_view text = grammar_.edge(edge).symbol.text;
    const bool present = std::any_of(contested.edges.begin(), contested.edges.end(),
                                     [&](EdgeId other) { return grammar_.edge(other).symbol.text == text; });
    if (!present) contested.edges.push_back(edge);
  }
  ambiguities_.push_back(std::move(contested));
  parse.ambiguity = static_cast<std::uint32_t>(ambiguities_.size() - 1);
}

Expected expected_symbol(const Symbol& symbol) {
  return {symbol.is_word() ? Expected::Kind::word : Expected::Kind::parameter, symbol.label(), symbol.full_help(),
          symbol.unsupported};
}

Expected expected_end() { return {Expected::Kind::end, "<cr>", "End of the command"}; }

void arrange(std::vector<Expected>& expected) {
  std::stable_sort(expected.begin(), expected.end(), [](const Expected& a, const Expected& b) {
    if (a.kind != b.kind) return a.kind < b.kind;
    if (a.unsupported != b.unsupported) return b.unsupported;
    return a.kind == Expected::Kind::word && a.text < b.text;
  });
  std::vector<Expected> once;
  for (Expected& entry : expected) {
    const bool present = std::any_of(once.begin(), once.end(), [&](const Expected& other) {
      return other.kind == entry.kind && other.text == entry.text;
    });
    if (!present) once.push_back(std::move(entry));
  }
  expected = std::move(once);
}

std::vector<Expected> expected_at(const Grammar& grammar, const Walk& walk, std::size_t level) {
  std::vector<Expected> expected;
  for (const Parse& parse : walk.parses()) {
    if (parse.level != level) continue;
    if (parse.in_text) expected.push_back(expected_symbol(walk.last_symbol(parse)));
    for (const EdgeId edge : grammar.edges_from(parse.node)) {
      expected.push_back(expected_symbol(grammar.edge(edge).symbol));
    }
    if (grammar.node(parse.node).can_end) expected.push_back(expected_end());
  }
  arrange(expected);
  return expected;
}

}  // namespace kvel::shell
