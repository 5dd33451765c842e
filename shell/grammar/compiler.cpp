// Turns the declared patterns into the graph of nodes and edges. A pattern is compiled from its end to its beginning,
// each part knowing what may follow it, so that alternatives share the node after them.
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
    grammar_.nodes_.emplace_back();  // kNoNode
    grammar_.modes_ = declarations_.modes_;
    check_modes();
    if (declarations_.commands_.size() >= kNoCommand) throw std::logic_error("too many commands");
    grammar_.commands_.reserve(declarations_.commands_.size());
    reserve_symbols();
    std::vector<Opening> openings(grammar_.modes_.size());
    Opening everywhere;
    for (const CommandDeclaration& declaration : declarations_.commands_) {
      const auto [positive, negated] = add_command(declaration);
      const Command& command = grammar_.commands_.back();
      if (command.in_every_mode()) everywhere.add(positive, negated);
      for (const ModeId mode : command.modes)
        openings[mode].add(positive, negated);
    }
    for (std::size_t mode = 0; mode < openings.size(); ++mode)
      grammar_.modes_[mode].start = open(openings[mode]);
    grammar_.everywhere_start_ = open(everywhere);
  }

 private:
  // What may follow a part: the edges of a node that is added to the grammar once an edge leads there.
  struct Next {
    std::vector<EdgeId> edges;
    bool can_end = false;
    NodeId node = kNoNode;
  };

  // The form of a command that is being compiled.
  struct CommandForm {
    CommandIndex command;
    bool negated;
  };

  // How the lines of a mode may begin.
  struct Opening {
    std::vector<EdgeId> positive;
    std::vector<EdgeId> negated;

    void add(const std::vector<EdgeId>& more_positive, const std::vector<EdgeId>& more_negated) {
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
    std::size_t edges = declarations_.modes_.size() + 1;
    for (const CommandDeclaration& declaration : declarations_.commands_) {
      const std::size_t positive = symbol_count(declaration.pattern_);
      const std::size_t negated = declaration.no_pattern_ ? symbol_count(*declaration.no_pattern_) : 0;
      symbols += positive + negated;
      edges += positive + (declaration.no_pattern_ ? negated : positive);
    }
    grammar_.symbols_.reserve(symbols);
    grammar_.edges_.reserve(edges);
  }

  ModeId mode_named(std::string_view name) const {
    if (const auto mode = grammar_.find_mode(name)) return *mode;
    throw std::logic_error("unknown mode: " + std::string(name));
  }

  // Enters the command; returns the first edges of its positive and of its negated form.
  std::pair<std::vector<EdgeId>, std::vector<EdgeId>> add_command(const CommandDeclaration& declaration) {
    if (declaration.handler_.empty() == declaration.shell_command_.empty()) {
      throw std::logic_error("a command needs either a handler or a shell command: \"" +
                             std::string(declaration.handler_) + "\", \"" + std::string(declaration.shell_command_) +
                             "\"");
    }
    if (!declaration.text_handler_.empty() && declaration.shell_command_.empty()) {
      throw std::logic_error("only a shell command has a handler for its text: \"" +
                             std::string(declaration.text_handler_) + "\"");
    }
    Command& command = grammar_.commands_.emplace_back();
    command.index = static_cast<CommandIndex>(grammar_.commands_.size() - 1);
    command.modes.reserve(declaration.modes_.size());
    for (const std::string_view mode : declaration.modes_)
      command.modes.push_back(mode_named(mode));
    command.handler = declaration.handler_;
    command.shell_command = declaration.shell_command_;
    command.text_handler = declaration.text_handler_;
    command.command_id = declaration.command_id_.value_or(kFirstAssignedCommandId + command.index);
    command.positive = declaration.positive_;
    command.negatable = declaration.negatable_;
    if (!declaration.opens_.empty()) command.opens = mode_named(declaration.opens_);
    command.carries = declaration.carries_;
    command.fixed = declaration.fixed_;
    command.fresh_module = declaration.fresh_module_;
    command.filterable = declaration.filterable_;
    command.record = declaration.record_;
    command.defaults = declaration.defaults_;
    grammar_.commands_by_action_[command.action()].push_back(command.index);

    Next positive;
    Next negated;
    const std::size_t own_symbols = grammar_.symbols_.size();
    next_symbol_ = own_symbols;
    if (command.positive) {
      compile(declaration.pattern_, end_of_line(), {command.index, false}, positive);
      command.start = enter(positive);
    }
    if (command.negatable) {
      next_symbol_ = declaration.no_pattern_ ? grammar_.symbols_.size() : own_symbols;
      compile(declaration.no_pattern_ ? *declaration.no_pattern_ : declaration.pattern_, end_of_line(),
              {command.index, true}, negated);
      command.negated_start = enter(negated);
    }
    if (positive.can_end || negated.can_end) throw std::logic_error("a command without words");
    return {std::move(positive.edges), std::move(negated.edges)};
  }

  // All lines end at one node.
  Next end_of_line() {
    Next end{.edges = {}, .can_end = true, .node = end_node_};
    end_node_ = enter(end);
    return end;
  }

  // Adds to `first` what the pattern can begin with, when it leads to `next`, whose node is entered.
  void compile(const Pattern& pattern, const Next& next, CommandForm form, Next& first) {
    switch (pattern.kind) {
      case Pattern::Kind::symbol:
        grammar_.edges_.push_back({entered(pattern.symbol), next.node, form.command, form.negated});
        if (!form.negated) enter_bindings(pattern.bindings);
        first.edges.push_back(static_cast<EdgeId>(grammar_.edges_.size() - 1));
        return;
      case Pattern::Kind::sequence:
        compile_sequence(pattern.parts, next, form, first);
        return;
      case Pattern::Kind::choice:
      case Pattern::Kind::optional:
        for (const Pattern& part : pattern.parts)
          compile(part, next, form, first);
        if (pattern.kind == Pattern::Kind::optional) add(first, next);
    }
  }

  void compile_sequence(const std::vector<Pattern>& parts, const Next& next, CommandForm form, Next& first) {
    if (parts.empty()) return add(first, next);
    Next following;  // the parts compiled so far
    for (std::size_t i = parts.size(); --i > 0;) {
      Next here;
      compile(parts[i], i + 1 == parts.size() ? next : following, form, here);
      enter(here);
      following = std::move(here);
    }
    compile(parts.front(), parts.size() == 1 ? next : following, form, first);
  }

  // The grammar's copy of the symbol. Compiling a pattern a second time meets its symbols in the same order.
  const Symbol& entered(const Symbol& symbol) {
    if (next_symbol_ == grammar_.symbols_.size()) grammar_.symbols_.push_back(symbol);
    return grammar_.symbols_[next_symbol_++];
  }

  // Those of the edge entered last.
  void enter_bindings(const std::vector<Binding>& bindings) {
    Edge& edge = grammar_.edges_.back();
    edge.first_binding = static_cast<std::uint32_t>(grammar_.bindings_.size());
    edge.binding_count = static_cast<std::uint8_t>(bindings.size());
    grammar_.bindings_.insert(grammar_.bindings_.end(), bindings.begin(), bindings.end());
  }

  static void add(Next& first, const Next& next) {
    first.edges.insert(first.edges.end(), next.edges.begin(), next.edges.end());
    first.can_end = first.can_end || next.can_end;
  }

  NodeId enter(Next& next) {
    if (next.node == kNoNode) next.node = add_node(next.edges, next.can_end);
    return next.node;
  }

  NodeId add_node(const std::vector<EdgeId>& edges, bool can_end) {
    grammar_.nodes_.push_back(
        {static_cast<std::uint32_t>(grammar_.edge_lists_.size()), static_cast<std::uint32_t>(edges.size()), can_end});
    grammar_.edge_lists_.insert(grammar_.edge_lists_.end(), edges.begin(), edges.end());
    return static_cast<NodeId>(grammar_.nodes_.size() - 1);
  }

  NodeId open(Opening& opening) {
    if (!opening.negated.empty()) {
      grammar_.edges_.push_back({kNoWord, add_node(opening.negated, false), kNoCommand, true});
      opening.positive.push_back(static_cast<EdgeId>(grammar_.edges_.size() - 1));
    }
    return add_node(opening.positive, false);
  }

  const GrammarBuilder& declarations_;
  Grammar& grammar_;
  NodeId end_node_ = kNoNode;
  std::size_t next_symbol_ = 0;
};

Grammar::Grammar(const GrammarBuilder& declarations) { GrammarCompiler(declarations, *this).compile(); }

}  // namespace kvel::shell
