// The parallel readings of a line. Readings that reach the same state are combined at once, so that their number is
// bounded by the states that one word can reach.
#include "shell/matcher/walk.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace kvel::shell {

Walk::Walk(const Grammar& grammar, ModeStack stack, std::string_view line) : grammar_(grammar), line_(line) {
  readings_.reserve(stack.size() + 1);
  for (std::size_t level = stack.size(); level-- > 0;) {
    readings_.push_back({.place = grammar.mode(stack[level].mode).start, .level = level});
  }
  readings_.push_back({.place = grammar.everywhere_start(), .level = stack.size() - 1});
}

std::string_view Walk::string_value(const Symbol& symbol, const Word& word) const {
  if (symbol.kind != SymbolKind::text || word.quoted) return word.text;
  const std::string_view rest = line_.substr(word.column);
  return rest.substr(0, rest.find_last_not_of(" \t") + 1);
}

void Walk::find_exact_words(const Word& word) {
  exact_.clear();
  if (word.quoted) return;
  for (const Reading& reading : readings_) {
    if (reading.in_text) continue;
    for (const StateId state : grammar_.successors(reading.place)) {
      const Symbol& symbol = grammar_.state(state).symbol;
      if (symbol.is_word() && symbol.text == word.text) {
        exact_.push_back({reading.history, reading.level});
        break;
      }
    }
  }
}

bool Walk::excludes_abbreviations(const Reading& reading) const {
  return std::any_of(exact_.begin(), exact_.end(),
                     [&](const Exclusion& exact) { return exact.history == reading.history; });
}

bool Walk::excludes_parameters(const Reading& reading) const {
  return std::any_of(exact_.begin(), exact_.end(), [&](const Exclusion& exact) {
    return exact.history == reading.history && exact.level == reading.level;
  });
}

bool Walk::advance(const Word& word) {
  find_exact_words(word);
  next_.clear();
  histories_.clear();
  for (const Reading& reading : readings_) {
    if (reading.in_text) {
      add(reading);
      continue;
    }
    const bool no_abbreviations = excludes_abbreviations(reading);
    const bool no_parameters = excludes_parameters(reading);
    for (const StateId state : grammar_.successors(reading.place)) {
      const Symbol& symbol = grammar_.state(state).symbol;
      if (symbol.is_word()) {
        if (word.quoted || !symbol.text.starts_with(word.text)) continue;
        const bool in_full = symbol.text.size() == word.text.size();
        if (!in_full && (no_abbreviations || symbol.in_full)) continue;
        take(reading, state, in_full ? Claim::exact_word : Claim::abbreviated_word, 0, false);
        continue;
      }
      if (no_parameters) continue;
      const ParameterReading value = read_parameter(symbol, string_value(symbol, word), word.quoted);
      if (value.refusal) continue;
      const Claim claim = symbol.kind == SymbolKind::text ? Claim::text
                          : symbol.is_string()            ? Claim::string
                                                          : Claim::number;
      take(reading, state, claim, value.number, claim == Claim::text && !word.quoted);
    }
  }
  if (next_.empty()) return false;
  std::swap(readings_, next_);
  ++words_taken_;
  return true;
}

void Walk::take(const Reading& reading, StateId state, Claim claim, std::uint32_t number, bool in_text) {
  steps_.push_back({reading.step, state, reading.place, claim, number});
  Reading taken = reading;
  taken.place = grammar_.state(state).next;
  taken.step = static_cast<std::uint32_t>(steps_.size() - 1);
  taken.history = history_after(reading, grammar_.state(state).symbol, claim);
  taken.in_text = in_text;
  add(taken);
}

std::uint32_t Walk::history_after(const Reading& reading, const Symbol& symbol, Claim claim) {
  const std::string_view text = symbol.is_word() ? symbol.text : std::string_view();
  for (std::size_t i = 0; i < histories_.size(); ++i) {
    const Continuation& known = histories_[i];
    if (known.history == reading.history && known.claim == claim && known.text == text) {
      return static_cast<std::uint32_t>(i);
    }
  }
  histories_.push_back({reading.history, claim, text});
  return static_cast<std::uint32_t>(histories_.size() - 1);
}

void Walk::add(const Reading& reading) {
  const StateId state = steps_[reading.step].state;
  for (Reading& present : next_) {
    if (present.level == reading.level && steps_[present.step].state == state) {
      present = combine(present, reading);
      return;
    }
  }
  next_.push_back(reading);
}

std::size_t Walk::innermost() const {
  std::size_t level = 0;
  for (const Reading& reading : readings_)
    level = std::max(level, reading.level);
  return level;
}

std::vector<Step> Walk::steps(const Reading& reading) const {
  std::vector<Step> steps;
  for (std::uint32_t step = reading.step; step != kNone; step = steps_[step].previous)
    steps.push_back(steps_[step]);
  std::reverse(steps.begin(), steps.end());
  return steps;
}

// Decides at the first word that the two read differently. Of two different words with equal claim the first is kept
// and the other noted; parameters of equal claim decide nothing (a sound grammar has them differ further on).
Reading Walk::combine(const Reading& kept, const Reading& other) {
  const std::vector<Step> ours = steps(kept);
  const std::vector<Step> theirs = steps(other);
  const std::size_t common = std::min(ours.size(), theirs.size());
  for (std::size_t word = 0; word < common; ++word) {
    const Step& our = ours[word];
    const Step& their = theirs[word];
    if (our.claim != their.claim) {
      Reading winner = our.claim < their.claim ? kept : other;
      inherit(winner, our.claim < their.claim ? other : kept, word);
      return winner;
    }
    if (our.claim == Claim::abbreviated_word &&
        grammar_.state(our.state).symbol.text != grammar_.state(their.state).symbol.text) {
      Reading winner = kept;
      inherit(winner, other, word + 1);
      contest(winner, word, std::array{our.state, their.state});
      return winner;
    }
  }
  Reading winner = kept;
  inherit(winner, other, common);
  return winner;
}

// What was contested among the first `words` words of `from` is so for `heir` too: up to there the two are one reading.
void Walk::inherit(Reading& heir, const Reading& from, std::size_t words) {
  if (from.ambiguity == kNone || ambiguities_[from.ambiguity].word >= words) return;
  const Ambiguity inherited = ambiguities_[from.ambiguity];
  contest(heir, inherited.word, inherited.states);
}

// Only the first contested word of a reading counts.
void Walk::contest(Reading& reading, std::size_t word, std::span<const StateId> states) {
  Ambiguity contested{word, {}};
  if (reading.ambiguity != kNone) {
    const Ambiguity& known = ambiguities_[reading.ambiguity];
    if (known.word < word) return;
    if (known.word == word) contested.states = known.states;
  }
  for (const StateId state : states) {
    const std::string_view text = grammar_.state(state).symbol.text;
    const bool present = std::any_of(contested.states.begin(), contested.states.end(),
                                     [&](StateId other) { return grammar_.state(other).symbol.text == text; });
    if (!present) contested.states.push_back(state);
  }
  ambiguities_.push_back(std::move(contested));
  reading.ambiguity = static_cast<std::uint32_t>(ambiguities_.size() - 1);
}

Expected expected_symbol(const Symbol& symbol) {
  return {symbol.is_word() ? Expected::Kind::word : Expected::Kind::parameter, symbol.label(), symbol.full_help()};
}

Expected expected_end() { return {Expected::Kind::end, "<cr>", "End of the command"}; }

void arrange(std::vector<Expected>& expected) {
  std::stable_sort(expected.begin(), expected.end(), [](const Expected& a, const Expected& b) {
    if (a.kind != b.kind) return a.kind < b.kind;
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
  for (const Reading& reading : walk.readings()) {
    if (reading.level != level) continue;
    if (reading.in_text) expected.push_back(expected_symbol(walk.last_symbol(reading)));
    for (const StateId state : grammar.successors(reading.place)) {
      expected.push_back(expected_symbol(grammar.state(state).symbol));
    }
    if (grammar.place(reading.place).can_end) expected.push_back(expected_end());
  }
  arrange(expected);
  return expected;
}

}  // namespace kvel::shell
