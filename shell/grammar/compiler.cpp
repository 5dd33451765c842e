// Turns the declared patterns into the graph of places and states. A pattern is compiled from its end to its beginning,
// each part knowing what may follow it, so that alternatives share the place behind them.
#include <stdexcept>
#include <string>
#include <utility>

#include "shell/grammar/grammar.h"
#include "shell/grammar/pattern.h"

namespace kvel::shell {

namespace {

constexpr Symbol kNoWord{.kind = SymbolKind::word,
                         .text = "no",
                         .help = "Undo a command: delete an object or return a setting to its default"};

std::size_t symbol_count(const Pattern& pattern) {
  std::size_t count = pattern.kind == Pattern::Kind::symbol ? 1 : 0;
  for (const Pattern& part : pattern.parts)
    count += symbol_count(part);
  return count;
}

}  // namespace

class GrammarCompiler {
 public:
  GrammarCompiler(const GrammarBuilder& declarations, Grammar& grammar)
      : declarations_(declarations), grammar_(grammar) {}

  void compile() {
    grammar_.places_.emplace_back();  // kNoPlace
    grammar_.modes_ = declarations_.modes_;
    check_modes();
    if (declarations_.forms_.size() >= kNoForm) throw std::logic_error("too many forms");
    grammar_.forms_.reserve(declarations_.forms_.size());
    reserve_symbols();
    std::vector<Opening> openings(grammar_.modes_.size());
    Opening everywhere;
    for (const FormDraft& draft : declarations_.forms_) {
      const auto [positive, negated] = add_form(draft);
      const Form& form = grammar_.forms_.back();
      if (form.in_every_mode()) everywhere.add(positive, negated);
      for (const ModeId mode : form.modes)
        openings[mode].add(positive, negated);
    }
    for (std::size_t mode = 0; mode < openings.size(); ++mode)
      grammar_.modes_[mode].start = open(openings[mode]);
    grammar_.everywhere_start_ = open(everywhere);
  }

 private:
  // What may follow a part: the states of a place that is entered into the grammar once somebody leads there.
  struct Next {
    std::vector<StateId> states;
    bool can_end = false;
    PlaceId place = kNoPlace;
  };

  // The half of a form that is being compiled.
  struct Half {
    FormId form;
    bool negated;
  };

  // How the lines of a mode may begin.
  struct Opening {
    std::vector<StateId> positive;
    std::vector<StateId> negated;

    void add(const std::vector<StateId>& more_positive, const std::vector<StateId>& more_negated) {
      positive.insert(positive.end(), more_positive.begin(), more_positive.end());
      negated.insert(negated.end(), more_negated.begin(), more_negated.end());
    }
  };

  void check_modes() const {
    if (grammar_.modes_.empty()) throw std::logic_error("the grammar has no mode");
    for (std::size_t i = 0; i < grammar_.modes_.size(); ++i) {
      if (grammar_.find_mode(grammar_.modes_[i].name) != i) {
        throw std::logic_error("mode declared twice: " + std::string(grammar_.modes_[i].name));
      }
    }
  }

  void reserve_symbols() {
    std::size_t symbols = 0;
    std::size_t states = declarations_.modes_.size() + 1;
    for (const FormDraft& draft : declarations_.forms_) {
      const std::size_t positive = symbol_count(draft.pattern_);
      const std::size_t negated = draft.no_pattern_ ? symbol_count(*draft.no_pattern_) : 0;
      symbols += positive + negated;
      states += positive + (draft.no_pattern_ ? negated : positive);
    }
    grammar_.symbols_.reserve(symbols);
    grammar_.states_.reserve(states);
  }

  ModeId mode_named(std::string_view name) const {
    if (const auto mode = grammar_.find_mode(name)) return *mode;
    throw std::logic_error("unknown mode: " + std::string(name));
  }

  // Enters the form; returns the first states of its positive and of its negated half.
  std::pair<std::vector<StateId>, std::vector<StateId>> add_form(const FormDraft& draft) {
    if (draft.handler_.empty() == draft.shell_command_.empty()) {
      throw std::logic_error("a form needs either a handler or a command of the shell: \"" +
                             std::string(draft.handler_) + "\", \"" + std::string(draft.shell_command_) + "\"");
    }
    if (!draft.text_handler_.empty() && draft.shell_command_.empty()) {
      throw std::logic_error("only a command of the shell has a handler for its text: \"" +
                             std::string(draft.text_handler_) + "\"");
    }
    Form& form = grammar_.forms_.emplace_back();
    form.id = static_cast<FormId>(grammar_.forms_.size() - 1);
    form.modes.reserve(draft.modes_.size());
    for (const std::string_view mode : draft.modes_)
      form.modes.push_back(mode_named(mode));
    form.handler = draft.handler_;
    form.shell_command = draft.shell_command_;
    form.text_handler = draft.text_handler_;
    form.command_id = draft.command_id_.value_or(kFirstAssignedCommandId + form.id);
    form.positive = draft.positive_;
    form.negatable = draft.negatable_;
    if (!draft.opens_.empty()) form.opens = mode_named(draft.opens_);
    form.carries = draft.carries_;
    form.fixed = draft.fixed_;
    form.fresh_module = draft.fresh_module_;
    form.filterable = draft.filterable_;
    form.record = draft.record_;
    form.unsaid = draft.unsaid_;
    grammar_.forms_by_action_[form.action()].push_back(form.id);

    Next positive;
    Next negated;
    const std::size_t own_symbols = grammar_.symbols_.size();
    next_symbol_ = own_symbols;
    if (form.positive) {
      compile(draft.pattern_, end_of_line(), {form.id, false}, positive);
      form.start = enter(positive);
    }
    if (form.negatable) {
      next_symbol_ = draft.no_pattern_ ? grammar_.symbols_.size() : own_symbols;
      compile(draft.no_pattern_ ? *draft.no_pattern_ : draft.pattern_, end_of_line(), {form.id, true}, negated);
      form.no_start = enter(negated);
    }
    if (positive.can_end || negated.can_end) throw std::logic_error("a form without words");
    return {std::move(positive.states), std::move(negated.states)};
  }

  // All lines end at one place.
  Next end_of_line() {
    Next end{.states = {}, .can_end = true, .place = end_place_};
    end_place_ = enter(end);
    return end;
  }

  // Adds to `first` what the pattern can begin with, when it leads to `next`, whose place is entered.
  void compile(const Pattern& pattern, const Next& next, Half half, Next& first) {
    switch (pattern.kind) {
      case Pattern::Kind::symbol:
        grammar_.states_.push_back({entered(pattern.symbol), next.place, half.form, half.negated});
        if (!half.negated) enter_sayings(pattern.sayings);
        first.states.push_back(static_cast<StateId>(grammar_.states_.size() - 1));
        return;
      case Pattern::Kind::sequence:
        compile_sequence(pattern.parts, next, half, first);
        return;
      case Pattern::Kind::choice:
      case Pattern::Kind::optional:
        for (const Pattern& part : pattern.parts)
          compile(part, next, half, first);
        if (pattern.kind == Pattern::Kind::optional) add(first, next);
    }
  }

  void compile_sequence(const std::vector<Pattern>& parts, const Next& next, Half half, Next& first) {
    if (parts.empty()) return add(first, next);
    Next behind;  // the parts compiled so far
    for (std::size_t i = parts.size(); --i > 0;) {
      Next here;
      compile(parts[i], i + 1 == parts.size() ? next : behind, half, here);
      enter(here);
      behind = std::move(here);
    }
    compile(parts.front(), parts.size() == 1 ? next : behind, half, first);
  }

  // The grammar's copy of the symbol. Compiling a pattern a second time meets its symbols in the same order.
  const Symbol& entered(const Symbol& symbol) {
    if (next_symbol_ == grammar_.symbols_.size()) grammar_.symbols_.push_back(symbol);
    return grammar_.symbols_[next_symbol_++];
  }

  // Those of the state entered last.
  void enter_sayings(const std::vector<Saying>& sayings) {
    State& state = grammar_.states_.back();
    state.first_saying = static_cast<std::uint32_t>(grammar_.sayings_.size());
    state.saying_count = static_cast<std::uint8_t>(sayings.size());
    grammar_.sayings_.insert(grammar_.sayings_.end(), sayings.begin(), sayings.end());
  }

  static void add(Next& first, const Next& next) {
    first.states.insert(first.states.end(), next.states.begin(), next.states.end());
    first.can_end = first.can_end || next.can_end;
  }

  PlaceId enter(Next& next) {
    if (next.place == kNoPlace) next.place = add_place(next.states, next.can_end);
    return next.place;
  }

  PlaceId add_place(const std::vector<StateId>& states, bool can_end) {
    grammar_.places_.push_back(
        {static_cast<std::uint32_t>(grammar_.successors_.size()), static_cast<std::uint32_t>(states.size()), can_end});
    grammar_.successors_.insert(grammar_.successors_.end(), states.begin(), states.end());
    return static_cast<PlaceId>(grammar_.places_.size() - 1);
  }

  PlaceId open(Opening& opening) {
    if (!opening.negated.empty()) {
      grammar_.states_.push_back({kNoWord, add_place(opening.negated, false), kNoForm, true});
      opening.positive.push_back(static_cast<StateId>(grammar_.states_.size() - 1));
    }
    return add_place(opening.positive, false);
  }

  const GrammarBuilder& declarations_;
  Grammar& grammar_;
  PlaceId end_place_ = kNoPlace;
  std::size_t next_symbol_ = 0;
};

Grammar::Grammar(const GrammarBuilder& declarations) { GrammarCompiler(declarations, *this).compile(); }

}  // namespace kvel::shell
