// Blame for a refused word.
#include "shell/matcher/refusal.h"

#include <algorithm>
#include <optional>

#include "shell/matcher/misspelling.h"

namespace kvel::shell {

namespace {

// The more specific reason for a refusal comes first.
int severity(MismatchKind kind) {
  switch (kind) {
    case MismatchKind::out_of_range:
      return 4;
    case MismatchKind::too_long:
      return 3;
    case MismatchKind::empty_value:
      return 2;
    case MismatchKind::bad_address:
      return 1;
    default:
      return 0;
  }
}

Mismatch mismatch_at(const Grammar& grammar, const Walk& walk, const Word& word, MismatchKind kind) {
  Mismatch mismatch(kind);
  mismatch.column = word.column;
  mismatch.word = word.text;
  mismatch.expected = expected_at(grammar, walk, walk.innermost());
  if (kind != MismatchKind::unknown_word || word.quoted) return mismatch;
  mismatch.elsewhere = modes_that_know(grammar, walk, word.text);
  if (mismatch.elsewhere.empty()) mismatch.nearby = nearby_words(grammar, walk, word.text);
  return mismatch;
}

Mismatch refuse_this_word(const Grammar& grammar, const Walk& walk, const Word& word) {
  const Symbol* refusing = nullptr;
  MismatchKind kind = MismatchKind::unknown_word;
  bool only_numbers = true;
  bool only_addresses = true;
  bool nothing = true;
  for (const Parse& parse : walk.parses()) {
    if (parse.level != walk.innermost()) continue;
    for (const EdgeId edge : grammar.edges_from(parse.node)) {
      const Symbol& symbol = grammar.edge(edge).symbol;
      nothing = false;
      only_numbers = only_numbers && symbol.kind == SymbolKind::number;
      only_addresses = only_addresses && (symbol.kind == SymbolKind::address || symbol.kind == SymbolKind::mask ||
                                          symbol.kind == SymbolKind::network);
      if (symbol.is_word()) continue;
      const auto refusal = parse_parameter(symbol, walk.string_value(symbol, word), word.quoted).refusal;
      if (refusal && severity(*refusal) > severity(kind)) kind = *refusal, refusing = &symbol;
    }
    if (grammar.node(parse.node).can_end) only_numbers = only_addresses = false;
  }
  if (nothing) {
    kind = MismatchKind::unexpected_word;
  } else if (kind == MismatchKind::unknown_word && !word.quoted) {
    if (only_numbers) kind = MismatchKind::not_a_number;
    if (only_addresses) kind = MismatchKind::bad_address;
  }
  Mismatch mismatch = mismatch_at(grammar, walk, word, kind);
  if (kind == MismatchKind::too_long || kind == MismatchKind::empty_value) {
    mismatch.word = walk.string_value(*refusing, word);
    mismatch.limit = refusing->high;
    mismatch.expected = {expected_symbol(*refusing)};
  }
  return mismatch;
}

class Misspelling {
 public:
  Misspelling(const Grammar& grammar, ModeStack stack, const LexedLine& line, std::size_t failed, const Word& word)
      : grammar_(grammar), stack_(stack), line_(line), failed_(failed), word_(word) {}

  // The mismatch at word `index`, when another spelling of it carries the walk past the refused word.
  std::optional<Mismatch> at(std::size_t index) const {
    Walk before(grammar_, stack_, line_.line);
    if (!advance_to(before, 0, index)) return std::nullopt;
    const Word& suspect = line_.words[index];
    for (const Parse& parse : before.parses()) {
      if (parse.level != before.innermost()) continue;
      for (const EdgeId edge : grammar_.edges_from(parse.node)) {
        const Symbol& symbol = grammar_.edge(edge).symbol;
        if (symbol.is_word() && is_misspelling(suspect.text, symbol.text) && explains(index, symbol.text)) {
          return mismatch_at(grammar_, before, suspect, MismatchKind::unknown_word);
        }
      }
    }
    return std::nullopt;
  }

 private:
  bool advance_to(Walk& walk, std::size_t from, std::size_t to) const {
    for (std::size_t i = from; i < to; ++i) {
      if (!walk.advance(line_.words[i])) return false;
    }
    return true;
  }

  bool explains(std::size_t index, std::string_view spelling) const {
    Walk walk(grammar_, stack_, line_.line);
    return advance_to(walk, 0, index) && walk.advance({spelling, line_.words[index].column, false}) &&
           advance_to(walk, index + 1, failed_) && walk.advance(word_);
  }

  const Grammar& grammar_;
  ModeStack stack_;
  const LexedLine& line_;
  std::size_t failed_;
  const Word& word_;
};

}  // namespace

Mismatch refuse_word(const Grammar& grammar, ModeStack stack, const Walk& walk, const LexedLine& line,
                     const Word& word) {
  Mismatch mismatch = refuse_this_word(grammar, walk, word);
  if (mismatch.kind != MismatchKind::unknown_word && mismatch.kind != MismatchKind::unexpected_word) return mismatch;
  const Misspelling misspelling(grammar, stack, line, walk.words_taken(), word);
  for (const Parse& parse : walk.parses()) {
    if (parse.level != walk.innermost()) continue;
    const std::vector<Step> steps = walk.steps(parse);
    for (std::size_t index = steps.size(); index-- > 0;) {
      if (steps[index].precedence != Precedence::string || line.words[index].quoted) continue;
      if (auto earlier = misspelling.at(index)) return *std::move(earlier);
    }
  }
  return mismatch;
}

}  // namespace kvel::shell
