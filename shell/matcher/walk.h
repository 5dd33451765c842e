// The walk of a line through the grammar, word by word, along all parses at once. Private to the matcher: matching,
// help and completion look at the nodes that the parses have reached.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "shell/grammar/grammar.h"
#include "shell/matcher/lexer.h"
#include "shell/matcher/mismatch.h"
#include "shell/matcher/parameter.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

// The precedence of a symbol that matches a word, the higher one first.
enum class Precedence : std::uint8_t { exact_word, abbreviated_word, number, string, text };

inline constexpr std::uint32_t kNone = 0xFFFFFFFF;

// One symbol taken by a parse; a chain back to the beginning of the line. The index of its word is its distance from
// there.
struct Step {
  std::uint32_t previous = kNone;
  EdgeId edge = 0;
  NodeId from = kNoNode;
  Precedence precedence = Precedence::exact_word;
  std::uint32_t number = 0;  // of a number, address or mask
  std::uint32_t mask = 0;    // that goes with an address
};

// One parse of the words so far.
struct Parse {
  NodeId node = kNoNode;
  std::size_t level = 0;            // index in the mode stack
  std::uint32_t step = kNone;       // its last step
  std::uint32_t ambiguity = kNone;  // its first word that a dropped parse matched with equal precedence
  std::uint32_t history = 0;        // equal for parses that have taken the same words so far
  bool in_text = false;             // takes the rest of the line
};

class Walk {
 public:
  Walk(const Grammar& grammar, ModeStack stack, std::string_view line);

  // Takes the next word, which lies in the line. False when no parse can take it; the parses then stay as they
  // were.
  [[nodiscard]] bool advance(const Word& word);

  [[nodiscard]] std::span<const Parse> parses() const { return parses_; }
  // The innermost level that a parse is at.
  [[nodiscard]] std::size_t innermost() const;
  [[nodiscard]] std::size_t words_taken() const { return words_taken_; }

  // The best of the parses that `eligible` accepts, null when there is none. It carries the ambiguities of all that
  // tie with it.
  template <typename Eligible>
  [[nodiscard]] const Parse* best(Eligible eligible) {
    best_ = Parse{};
    bool found = false;
    for (const Parse& parse : parses_) {
      if (!eligible(parse)) continue;
      best_ = found ? combine(best_, parse) : parse;
      found = true;
    }
    return found ? &best_ : nullptr;
  }

  // The steps of a parse, from the line's begin.
  [[nodiscard]] std::vector<Step> steps(const Parse& parse) const;

  // What a parse that has taken a word took last.
  [[nodiscard]] const Symbol& last_symbol(const Parse& parse) const {
    return grammar_.edge(steps_[parse.step].edge).symbol;
  }

  // The first word that a parse leaves ambiguous, with the edges that match it; null when there is none.
  struct Ambiguity {
    std::size_t word = 0;
    std::vector<EdgeId> edges;  // of different words
  };
  [[nodiscard]] const Ambiguity* ambiguity(const Parse& parse) const {
    return parse.ambiguity == kNone ? nullptr : &ambiguities_[parse.ambiguity];
  }

  // The typed value of a string parameter that begins at `word`: the word, or the rest of the line for a text.
  [[nodiscard]] std::string_view string_value(const Symbol& symbol, const Word& word) const;

 private:
  // What the words typed in full exclude, among the parses of one history.
  struct Exclusion {
    std::uint32_t history;
    std::size_t level;
  };
  // One way to go on from a history, and the history that it leads to.
  struct Continuation {
    std::uint32_t history;
    Precedence precedence;
    std::string_view text;  // of a word
  };

  void find_exact_words(const Word& word);
  [[nodiscard]] bool excludes_abbreviations(const Parse& parse) const;
  [[nodiscard]] bool excludes_parameters(const Parse& parse) const;
  void take(const Parse& parse, EdgeId edge, Precedence precedence, const ParsedParameter& value, bool in_text);
  void add(const Parse& parse);
  [[nodiscard]] std::uint32_t history_after(const Parse& parse, const Symbol& symbol, Precedence precedence);
  [[nodiscard]] Parse combine(const Parse& kept, const Parse& other);
  void inherit(Parse& winner, const Parse& from, std::size_t words);
  void mark_ambiguous(Parse& parse, std::size_t word, std::span<const EdgeId> edges);

  const Grammar& grammar_;
  std::string_view line_;
  std::size_t words_taken_ = 0;
  std::vector<Parse> parses_;
  std::vector<Parse> next_;
  std::vector<Step> steps_;
  std::vector<Ambiguity> ambiguities_;
  std::vector<Exclusion> exact_;
  std::vector<Continuation> histories_;
  Parse best_;
};

// The list of what may follow the parses at `level`.
[[nodiscard]] std::vector<Expected> expected_at(const Grammar& grammar, const Walk& walk, std::size_t level);

// Brings a list into its order: words sorted, the unsupported ones after the others, then parameters as declared, then
// the end; each text once.
void arrange(std::vector<Expected>& expected);
[[nodiscard]] Expected expected_symbol(const Symbol& symbol);
[[nodiscard]] Expected expected_end();

}  // namespace kvel::shell
