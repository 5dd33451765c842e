// The walk of a line through the grammar, word by word, along all readings at once. Private to the matcher: matching,
// help and completion look at where the readings stand.
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

// The claim of a symbol to a word, the stronger one first.
enum class Claim : std::uint8_t { exact_word, abbreviated_word, number, string, text };

inline constexpr std::uint32_t kNone = 0xFFFFFFFF;

// One symbol taken by a reading; a chain back to the line's begin. The index of its word is its distance from there.
struct Step {
  std::uint32_t previous = kNone;
  StateId state = 0;
  PlaceId from = kNoPlace;
  Claim claim = Claim::exact_word;
  std::uint32_t number = 0;  // of a number, address or mask
};

// One reading of the words so far.
struct Reading {
  PlaceId place = kNoPlace;
  std::size_t level = 0;            // index in the mode stack
  std::uint32_t step = kNone;       // its last step
  std::uint32_t ambiguity = kNone;  // its first word that another reading, given up for this one, read with equal claim
  std::uint32_t history = 0;        // equal for readings that have taken the same words so far
  bool in_text = false;             // takes the rest of the line
};

class Walk {
 public:
  Walk(const Grammar& grammar, ModeStack stack, std::string_view line);

  // Takes the next word, which lies in the line. False when no reading can take it; the readings then stay as they
  // were.
  [[nodiscard]] bool advance(const Word& word);

  [[nodiscard]] std::span<const Reading> readings() const { return readings_; }
  // The innermost level that a reading is at.
  [[nodiscard]] std::size_t innermost() const;
  [[nodiscard]] std::size_t words_taken() const { return words_taken_; }

  // The best of the readings that `eligible` accepts, null when there is none. It carries the ambiguities of all that
  // tie with it.
  template <typename Eligible>
  [[nodiscard]] const Reading* best(Eligible eligible) {
    best_ = Reading{};
    bool found = false;
    for (const Reading& reading : readings_) {
      if (!eligible(reading)) continue;
      best_ = found ? combine(best_, reading) : reading;
      found = true;
    }
    return found ? &best_ : nullptr;
  }

  // The steps of a reading, from the line's begin.
  [[nodiscard]] std::vector<Step> steps(const Reading& reading) const;

  // What a reading that has taken a word took last.
  [[nodiscard]] const Symbol& last_symbol(const Reading& reading) const {
    return grammar_.state(steps_[reading.step].state).symbol;
  }

  // The first word that a reading leaves ambiguous, with the states that claim it; null when there is none.
  struct Ambiguity {
    std::size_t word = 0;
    std::vector<StateId> states;  // of different words
  };
  [[nodiscard]] const Ambiguity* ambiguity(const Reading& reading) const {
    return reading.ambiguity == kNone ? nullptr : &ambiguities_[reading.ambiguity];
  }

  // The typed value of a string parameter that begins at `word`: the word, or the rest of the line for a text.
  [[nodiscard]] std::string_view string_value(const Symbol& symbol, const Word& word) const;

 private:
  // What the words typed in full exclude, among the readings of one history.
  struct Exclusion {
    std::uint32_t history;
    std::size_t level;
  };
  // One way to go on from a history, and the history that it leads to.
  struct Continuation {
    std::uint32_t history;
    Claim claim;
    std::string_view text;  // of a word
  };

  void find_exact_words(const Word& word);
  [[nodiscard]] bool excludes_abbreviations(const Reading& reading) const;
  [[nodiscard]] bool excludes_parameters(const Reading& reading) const;
  void take(const Reading& reading, StateId state, Claim claim, std::uint32_t number, bool in_text);
  void add(const Reading& reading);
  [[nodiscard]] std::uint32_t history_after(const Reading& reading, const Symbol& symbol, Claim claim);
  [[nodiscard]] Reading combine(const Reading& kept, const Reading& other);
  void inherit(Reading& heir, const Reading& from, std::size_t words);
  void contest(Reading& reading, std::size_t word, std::span<const StateId> states);

  const Grammar& grammar_;
  std::string_view line_;
  std::size_t words_taken_ = 0;
  std::vector<Reading> readings_;
  std::vector<Reading> next_;
  std::vector<Step> steps_;
  std::vector<Ambiguity> ambiguities_;
  std::vector<Exclusion> exact_;
  std::vector<Continuation> histories_;
  Reading best_;
};

// The list of what may stand behind the readings at `level`.
[[nodiscard]] std::vector<Expected> expected_at(const Grammar& grammar, const Walk& walk, std::size_t level);

// Brings a list into its order: words sorted, then parameters as declared, then the end; each text once.
void arrange(std::vector<Expected>& expected);
[[nodiscard]] Expected expected_symbol(const Symbol& symbol);
[[nodiscard]] Expected expected_end();

}  // namespace kvel::shell
