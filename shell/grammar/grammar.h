// The compiled grammar: modes, forms, and an acyclic graph of places and symbols that matcher, help, renderer and
// random lines walk. A place is a list of the symbols that may stand next and whether the line may end there; every
// symbol occurrence (a state) leads to exactly one place. Immutable once built; safe to share between threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "shell/grammar/form.h"

namespace kvel::shell {

using StateId = std::uint32_t;

inline constexpr PlaceId kNoPlace = 0;  // nothing may stand here, and no line ends here
inline constexpr FormId kNoForm = 0xFFFF;

struct Mode {
  std::string_view name;     // "class-map-l3"
  std::string_view prompt;   // what a prompt shows for it: "config-class-map"; may be shared between modes
  PlaceId start = kNoPlace;  // its own forms, without those of every mode
};

// One occurrence of a symbol in one form (in its positive or its negated half). The word "no" belongs to no form.
struct State {
  const Symbol& symbol;  // the grammar's; shared by the two halves of a form
  PlaceId next = kNoPlace;
  FormId form = kNoForm;
  bool negated = false;
  std::uint8_t saying_count = 0;
  std::uint32_t first_saying = 0;  // into Grammar's list of sayings
};

struct Place {
  std::uint32_t first = 0;  // into Grammar's successor list
  std::uint32_t count = 0;
  bool can_end = false;
};

// Collects what the families declare.
class GrammarBuilder {
 public:
  // Declares a mode; the first one declared is the top.
  void mode(std::string_view name, std::string_view prompt) { modes_.push_back({name, prompt, kNoPlace}); }

  // Declares a form of one mode, of several modes, or of every mode. The reference stays valid while the builder lives.
  FormDraft& form(std::string_view in_mode, Pattern pattern) {
    return forms_.emplace_back(std::vector{in_mode}, std::move(pattern));
  }
  FormDraft& form(std::vector<std::string_view> in_modes, Pattern pattern) {
    return forms_.emplace_back(std::move(in_modes), std::move(pattern));
  }
  // Declares "words value" of one mode. Behind "no" the value may be left out, as there is only one.
  FormDraft& valued_form(std::string_view in_mode, const Pattern& words, const Pattern& value) {
    return form(in_mode, pattern::sequence(words, value)).negatable(pattern::sequence(words, pattern::optional(value)));
  }
  FormDraft& form_everywhere(Pattern pattern) {
    return forms_.emplace_back(std::vector<std::string_view>{}, std::move(pattern));
  }

 private:
  friend class GrammarCompiler;
  std::vector<Mode> modes_;
  std::deque<FormDraft> forms_;
};

class Grammar {
 public:
  // Compiles the declarations. Throws std::logic_error naming what is wrong when they refer to an unknown mode, declare
  // a mode twice, or a form has neither or both of a handler and a shell command. See consistency.h for the deeper
  // rules.
  explicit Grammar(const GrammarBuilder& declarations);
  Grammar(Grammar&&) = default;
  Grammar& operator=(Grammar&&) = delete;
  Grammar(const Grammar&) = delete;
  Grammar& operator=(const Grammar&) = delete;
  ~Grammar() = default;

  [[nodiscard]] std::span<const Mode> modes() const { return modes_; }
  [[nodiscard]] std::span<const Form> forms() const { return forms_; }
  [[nodiscard]] std::span<const State> states() const { return states_; }
  [[nodiscard]] const Mode& mode(ModeId id) const { return modes_[id]; }
  [[nodiscard]] const Form& form(FormId id) const { return forms_[id]; }
  [[nodiscard]] const State& state(StateId id) const { return states_[id]; }
  // What the word or parameter says of its command's record; of the positive half alone.
  [[nodiscard]] std::span<const Saying> sayings(const State& state) const {
    return std::span(sayings_).subspan(state.first_saying, state.saying_count);
  }
  [[nodiscard]] const Place& place(PlaceId id) const { return places_[id]; }
  [[nodiscard]] std::span<const StateId> successors(PlaceId id) const {
    return std::span(successors_).subspan(places_[id].first, places_[id].count);
  }

  static constexpr ModeId kTopMode = 0;
  // Where the forms of every mode begin, and where those of a mode alone do (Mode::start).
  [[nodiscard]] PlaceId everywhere_start() const { return everywhere_start_; }
  [[nodiscard]] std::optional<ModeId> find_mode(std::string_view name) const;
  // The forms that call `handler` or run the shell's own command of that id, in the order of their declaration.
  [[nodiscard]] std::span<const FormId> forms_of(std::string_view action) const;

  // Every handler, and every completion hook, that the grammar names: sorted, each once. The loader resolves them all.
  [[nodiscard]] std::vector<std::string_view> handlers() const;
  [[nodiscard]] std::vector<std::string_view> hooks() const;

 private:
  friend class GrammarCompiler;
  std::vector<Mode> modes_;
  std::vector<Form> forms_;
  std::vector<Symbol> symbols_;  // never grows once states refer to it
  std::vector<State> states_;
  std::vector<Saying> sayings_;
  std::vector<Place> places_;
  std::vector<StateId> successors_;
  PlaceId everywhere_start_ = kNoPlace;
  std::unordered_map<std::string_view, std::vector<FormId>> forms_by_action_;
};

// The grammar of kvelsh: every family of families.h. Built at the first call.
const Grammar& shell_grammar();

}  // namespace kvel::shell
