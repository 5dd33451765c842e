// The rules of consistency.h.
#include "shell/grammar/consistency.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <tuple>

#include "kvel/command.h"

namespace kvel::shell {

namespace {

class Audit {
 public:
  explicit Audit(const Grammar& grammar) : grammar_(grammar) {}

  std::vector<std::string> run() {
    for (const State& state : grammar_.states())
      check_symbol(state);
    for (const Form& form : grammar_.forms())
      check_form(form);
    for (std::size_t mode = 0; mode < grammar_.modes().size(); ++mode)
      check_lines(static_cast<ModeId>(mode));
    check_reachability();
    std::sort(problems_.begin(), problems_.end());
    problems_.erase(std::unique(problems_.begin(), problems_.end()), problems_.end());
    return std::move(problems_);
  }

 private:
  void report(std::string problem) { problems_.push_back(std::move(problem)); }

  static std::string action_of(const Form& form) { return std::string(form.action()); }

  static bool is_plain_word(std::string_view word) {
    return !word.empty() && word.front() != '!' && word.front() != '#' &&
           std::all_of(word.begin(), word.end(), [](char c) { return c > 0x20 && c < 0x7F; }) &&
           word.find_first_of("\";|") == std::string_view::npos;
  }

  void check_symbol(const State& state) {
    const Symbol& symbol = state.symbol;
    const std::string who =
        symbol.label() + (state.form == kNoForm ? "" : " of " + action_of(grammar_.form(state.form)));
    if (symbol.help.empty()) {
      report(who + ": no help text");
    } else if (std::islower(static_cast<unsigned char>(symbol.help.front())) != 0 || symbol.help.back() == '.') {
      report(who + ": help text must begin with a capital and have no full stop");
    }
    const bool recorded = state.form != kNoForm && !state.negated && !grammar_.form(state.form).record.empty();
    if (recorded && !symbol.is_word() && grammar_.sayings(state).empty()) {
      report(who + ": says nothing of the record that its form leaves behind");
    }
    switch (symbol.kind) {
      case SymbolKind::word:
        if (!is_plain_word(symbol.text)) report(who + ": not a plain word");
        return;
      case SymbolKind::number:
        if (symbol.low > symbol.high) report(who + ": impossible range");
        return;
      case SymbolKind::text:
        if (!grammar_.successors(state.next).empty()) report(who + ": something follows a text");
        [[fallthrough]];
      case SymbolKind::name:
      case SymbolKind::string:
        if (symbol.high == 0) report(who + ": impossible length");
        [[fallthrough]];
      case SymbolKind::address:
      case SymbolKind::mask:
        if (symbol.text.empty()) report(who + ": no label");
    }
  }

  void check_form(const Form& form) {
    for (const PlaceId start : {form.start, form.no_start}) {
      for (const StateId first : grammar_.successors(start)) {
        const Symbol& symbol = grammar_.state(first).symbol;
        if (symbol.is_word() && symbol.text == "no") report(action_of(form) + ": begins with \"no\"");
      }
      if (longest(start) + most_carried() > KVEL_MAX_TOKENS) report(action_of(form) + ": more than 255 tokens");
    }
    if (!form.opens && !form.carries.empty()) report(action_of(form) + ": carries tokens but opens no mode");
    if (form.opens && !form.positive) report(action_of(form) + ": opens a mode but has no positive form");
    for (const FixedToken& token : form.fixed) {
      if (token.keyword == kNoKeyword || token.text.empty() || token.shown.empty()) {
        report(action_of(form) + ": carries a fixed token without keyword or text");
      }
    }
    for (const KeywordId keyword : form.carries) {
      if (keyword == kNoKeyword || !produces(form, keyword)) {
        report(action_of(form) + ": does not produce the token " + std::to_string(keyword) + " that it carries");
      }
    }
  }

  // The most tokens that a line from here can yield.
  std::size_t longest(PlaceId place) {
    if (const auto known = longest_.find(place); known != longest_.end()) return known->second;
    std::size_t most = 0;
    for (const StateId id : grammar_.successors(place)) {
      const State& state = grammar_.state(id);
      most = std::max(most, longest(state.next) + (state.symbol.keyword == kNoKeyword ? 0 : 1));
    }
    return longest_[place] = most;
  }

  // An upper bound of what a stack of modes carries: every mode entered once.
  std::size_t most_carried() const {
    std::vector<std::size_t> carried(grammar_.modes().size(), 0);
    for (const Form& form : grammar_.forms()) {
      if (form.opens) carried[*form.opens] = std::max(carried[*form.opens], form.carries.size() + form.fixed.size());
    }
    std::size_t sum = 0;
    for (const std::size_t count : carried)
      sum += count;
    return sum;
  }

  bool produces(const Form& form, KeywordId keyword) const {
    return std::any_of(grammar_.states().begin(), grammar_.states().end(), [&](const State& state) {
      return state.form == form.id && !state.negated && state.symbol.keyword == keyword;
    });
  }

  // Whether one typed word can be read as both with equal claim.
  static bool overlap(const Symbol& a, const Symbol& b) {
    const auto is_address = [](const Symbol& s) { return s.kind == SymbolKind::address || s.kind == SymbolKind::mask; };
    const auto is_one_word = [](const Symbol& s) { return s.kind == SymbolKind::name || s.kind == SymbolKind::string; };
    if (a.is_word() && b.is_word()) return a.text == b.text;
    if (a.kind == SymbolKind::number && b.kind == SymbolKind::number) return a.low <= b.high && b.low <= a.high;
    if (a.kind == SymbolKind::text && b.kind == SymbolKind::text) return true;
    return (is_address(a) && is_address(b)) || (is_one_word(a) && is_one_word(b));
  }

  // Walks all lines that two readings share; `apart` once the readings have taken different symbols.
  void check_lines(ModeId mode) {
    seen_.clear();
    std::vector<StateId> starts;
    for (const PlaceId place : {grammar_.mode(mode).start, grammar_.everywhere_start()}) {
      const auto states = grammar_.successors(place);
      starts.insert(starts.end(), states.begin(), states.end());
    }
    compare(std::string(grammar_.mode(mode).name) + ":", starts, starts, false);
  }

  void compare(const std::string& line, std::span<const StateId> left, std::span<const StateId> right, bool apart) {
    for (const StateId a : left) {
      for (const StateId b : right)
        compare_states(line, a, b, apart);
    }
  }

  void compare_states(const std::string& line, StateId a, StateId b, bool apart) {
    if (!apart && a > b) return;  // seen from the other side
    const State& one = grammar_.state(a);
    const State& other = grammar_.state(b);
    if (!overlap(one.symbol, other.symbol)) return;
    const std::string longer = line + " " + one.symbol.label();
    if (one.symbol.is_word() && one.symbol.help != other.symbol.help) report(longer + ": two help texts for one word");
    apart = apart || a != b;
    if (!seen_.emplace(one.next, other.next, apart).second) return;
    if (apart && grammar_.place(one.next).can_end && grammar_.place(other.next).can_end) {
      report(longer + ": two readings of one line");
    }
    compare(longer, grammar_.successors(one.next), grammar_.successors(other.next), apart);
  }

  void check_reachability() {
    std::set<ModeId> reached{Grammar::kTopMode};
    for (bool grown = true; grown;) {
      grown = false;
      for (const Form& form : grammar_.forms()) {
        const bool typable = form.in_every_mode() || std::any_of(form.modes.begin(), form.modes.end(),
                                                                 [&](ModeId mode) { return reached.contains(mode); });
        if (typable && form.opens) grown = reached.insert(*form.opens).second || grown;
      }
    }
    for (std::size_t mode = 0; mode < grammar_.modes().size(); ++mode) {
      if (!reached.contains(static_cast<ModeId>(mode))) {
        report("mode " + std::string(grammar_.mode(static_cast<ModeId>(mode)).name) + ": cannot be reached");
      }
    }
  }

  const Grammar& grammar_;
  std::vector<std::string> problems_;
  std::map<PlaceId, std::size_t> longest_;
  std::set<std::tuple<PlaceId, PlaceId, bool>> seen_;
};

}  // namespace

std::vector<std::string> grammar_problems(const Grammar& grammar) { return Audit(grammar).run(); }

}  // namespace kvel::shell
