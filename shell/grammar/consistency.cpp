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
    for (const Edge& edge : grammar_.edges())
      check_symbol(edge);
    for (const Command& command : grammar_.commands())
      check_command(command);
    for (std::size_t mode = 0; mode < grammar_.modes().size(); ++mode)
      check_lines(static_cast<ModeId>(mode));
    check_reachability();
    std::sort(problems_.begin(), problems_.end());
    problems_.erase(std::unique(problems_.begin(), problems_.end()), problems_.end());
    return std::move(problems_);
  }

 private:
  void report(std::string problem) { problems_.push_back(std::move(problem)); }

  static std::string action_of(const Command& command) { return std::string(command.action()); }

  static bool is_plain_word(std::string_view word) {
    return !word.empty() && word.front() != '!' && word.front() != '#' &&
           std::all_of(word.begin(), word.end(), [](char c) { return c > 0x20 && c < 0x7F; }) &&
           word.find_first_of("\";|") == std::string_view::npos;
  }

  void check_symbol(const Edge& edge) {
    const Symbol& symbol = edge.symbol;
    const std::string who =
        symbol.label() + (edge.command == kNoCommand ? "" : " of " + action_of(grammar_.command(edge.command)));
    if (symbol.help.empty()) {
      report(who + ": no help text");
    } else if (std::islower(static_cast<unsigned char>(symbol.help.front())) != 0 || symbol.help.back() == '.') {
      report(who + ": help text must begin with a capital and have no full stop");
    }
    const bool recorded = edge.command != kNoCommand && !edge.negated && !grammar_.command(edge.command).record.empty();
    if (recorded && !symbol.is_word() && grammar_.bindings(edge).empty()) {
      report(who + ": binds no member of the record of its command");
    }
    switch (symbol.kind) {
      case SymbolKind::word:
        if (!is_plain_word(symbol.text)) report(who + ": not a plain word");
        return;
      case SymbolKind::number:
        if (symbol.low > symbol.high) report(who + ": impossible range");
        return;
      case SymbolKind::text:
        if (!grammar_.edges_from(edge.target).empty()) report(who + ": something follows a text");
        [[fallthrough]];
      case SymbolKind::name:
      case SymbolKind::string:
        if (symbol.high == 0) report(who + ": impossible length");
        [[fallthrough]];
      case SymbolKind::address:
      case SymbolKind::mask:
      case SymbolKind::network:
        if (symbol.text.empty()) report(who + ": no label");
    }
  }

  void check_command(const Command& command) {
    for (const NodeId start : {command.start, command.negated_start}) {
      for (const EdgeId first : grammar_.edges_from(start)) {
        const Symbol& symbol = grammar_.edge(first).symbol;
        if (symbol.is_word() && symbol.text == "no") report(action_of(command) + ": begins with \"no\"");
      }
      if (longest(start) + most_carried() > KVEL_MAX_TOKENS) report(action_of(command) + ": more than 255 tokens");
    }
    if (!command.opens && !command.carries.empty()) report(action_of(command) + ": carries tokens but opens no mode");
    if (command.opens && !command.positive) report(action_of(command) + ": opens a mode but has no positive form");
    for (const FixedToken& token : command.fixed) {
      if (token.keyword == kNoKeyword || token.text.empty() || token.shown.empty()) {
        report(action_of(command) + ": carries a fixed token without keyword or text");
      }
    }
    for (const KeywordId keyword : command.carries) {
      if (keyword == kNoKeyword || !produces(command, keyword)) {
        report(action_of(command) + ": does not produce the token " + std::to_string(keyword) + " that it carries");
      }
    }
  }

  // The most tokens that a line from here can yield.
  std::size_t longest(NodeId node) {
    if (const auto known = longest_.find(node); known != longest_.end()) return known->second;
    std::size_t most = 0;
    for (const EdgeId id : grammar_.edges_from(node)) {
      const Edge& edge = grammar_.edge(id);
      most = std::max(most, longest(edge.target) + edge.symbol.token_count());
    }
    return longest_[node] = most;
  }

  // An upper bound of what a stack of modes carries: every mode entered once.
  std::size_t most_carried() const {
    std::vector<std::size_t> carried(grammar_.modes().size(), 0);
    for (const Command& command : grammar_.commands()) {
      if (command.opens)
        carried[*command.opens] = std::max(carried[*command.opens], command.carries.size() + command.fixed.size());
    }
    std::size_t sum = 0;
    for (const std::size_t count : carried)
      sum += count;
    return sum;
  }

  bool produces(const Command& command, KeywordId keyword) const {
    return std::any_of(grammar_.edges().begin(), grammar_.edges().end(), [&](const Edge& edge) {
      return edge.command == command.index && !edge.negated && edge.symbol.keyword == keyword;
    });
  }

  // Whether one typed word can be read as both with equal precedence.
  static bool overlap(const Symbol& a, const Symbol& b) {
    const auto is_address = [](const Symbol& s) { return s.kind == SymbolKind::address || s.kind == SymbolKind::mask; };
    const auto is_one_word = [](const Symbol& s) { return s.kind == SymbolKind::name || s.kind == SymbolKind::string; };
    if (a.is_word() && b.is_word()) return a.text == b.text;
    if (a.kind == SymbolKind::number && b.kind == SymbolKind::number) return a.low <= b.high && b.low <= a.high;
    if (a.kind == SymbolKind::text && b.kind == SymbolKind::text) return true;
    if (a.kind == SymbolKind::network && b.kind == SymbolKind::network) return true;
    return (is_address(a) && is_address(b)) || (is_one_word(a) && is_one_word(b));
  }

  // Walks all lines that two parses share; `apart` once the parses have taken different symbols.
  void check_lines(ModeId mode) {
    seen_.clear();
    std::vector<EdgeId> starts;
    for (const NodeId node : {grammar_.mode(mode).start, grammar_.everywhere_start()}) {
      const auto edges = grammar_.edges_from(node);
      starts.insert(starts.end(), edges.begin(), edges.end());
    }
    compare(std::string(grammar_.mode(mode).name) + ":", starts, starts, false);
  }

  void compare(const std::string& line, std::span<const EdgeId> left, std::span<const EdgeId> right, bool apart) {
    for (const EdgeId a : left) {
      for (const EdgeId b : right)
        compare_edges(line, a, b, apart);
    }
  }

  void compare_edges(const std::string& line, EdgeId a, EdgeId b, bool apart) {
    if (!apart && a > b) return;  // seen from the other side
    const Edge& one = grammar_.edge(a);
    const Edge& other = grammar_.edge(b);
    if (!overlap(one.symbol, other.symbol)) return;
    const std::string longer = line + " " + one.symbol.label();
    if (one.symbol.is_word() && one.symbol.help != other.symbol.help) report(longer + ": two help texts for one word");
    apart = apart || a != b;
    if (!seen_.emplace(one.target, other.target, apart).second) return;
    if (apart && grammar_.node(one.target).can_end && grammar_.node(other.target).can_end) {
      report(longer + ": two parses of one line");
    }
    compare(longer, grammar_.edges_from(one.target), grammar_.edges_from(other.target), apart);
  }

  void check_reachability() {
    std::set<ModeId> reached{Grammar::kTopMode};
    for (bool grown = true; grown;) {
      grown = false;
      for (const Command& command : grammar_.commands()) {
        const bool typable =
            command.in_every_mode() || std::any_of(command.modes.begin(), command.modes.end(),
                                                   [&](ModeId mode) { return reached.contains(mode); });
        if (typable && command.opens) grown = reached.insert(*command.opens).second || grown;
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
  std::map<NodeId, std::size_t> longest_;
  std::set<std::tuple<NodeId, NodeId, bool>> seen_;
};

}  // namespace

std::vector<std::string> grammar_problems(const Grammar& grammar) { return Audit(grammar).run(); }

}  // namespace kvel::shell
