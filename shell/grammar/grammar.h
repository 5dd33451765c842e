// The compiled grammar: modes, commands, and an acyclic graph of nodes and edges that matcher, help, renderer and
// random lines walk. A node has the edges that may follow, and knows whether the line may end there; an edge is one
// occurrence of a symbol and leads to exactly one node. Immutable once built; safe to share between threads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "shell/grammar/command.h"

namespace kvel::shell {

using EdgeId = std::uint32_t;

inline constexpr NodeId kNoNode = 0;  // nothing follows, and no line ends here
inline constexpr CommandIndex kNoCommand = 0xFFFF;

struct Mode {
  std::string_view name;    // "class-map-l3"
  std::string_view prompt;  // what a prompt shows for it: "config-class-map"; may be shared between modes
  NodeId start = kNoNode;   // its own commands, without those of every mode
  // How a message names it, "class mode of a policy-map" (empty: by its name), and the type of object that it is of, as
  // the word of the grammar (empty: of any type, or of the one that has no word).
  std::string_view title{};
  std::string_view type{};
};

// One occurrence of a symbol in one command (in its positive or its negated form). The word "no" belongs to no command.
struct Edge {
  const Symbol& symbol;  // the grammar's; shared by the two forms of a command
  NodeId target = kNoNode;
  CommandIndex command = kNoCommand;
  bool negated = false;
  std::uint8_t binding_count = 0;
  std::uint32_t first_binding = 0;  // into Grammar's bindings
};

struct Node {
  std::uint32_t first = 0;  // into Grammar's edge lists
  std::uint32_t count = 0;
  bool can_end = false;
};

// Collects what the command groups declare.
class GrammarBuilder {
 public:
  // Declares a mode; the first one declared is the top.
  void mode(std::string_view name, std::string_view prompt, std::string_view title = {}, std::string_view type = {}) {
    modes_.push_back({name, prompt, kNoNode, title, type});
  }

  // Declares a command of one mode, of several modes, or of every mode. The reference stays valid while the builder
  // lives.
  CommandDeclaration& command(std::string_view in_mode, Pattern pattern) {
    return commands_.emplace_back(std::vector{in_mode}, std::move(pattern));
  }
  CommandDeclaration& command(std::vector<std::string_view> in_modes, Pattern pattern) {
    return commands_.emplace_back(std::move(in_modes), std::move(pattern));
  }
  // Declares "words value" of one mode. After "no" the value may be left out, as there is only one.
  CommandDeclaration& valued_command(std::string_view in_mode, const Pattern& words, const Pattern& value) {
    return command(in_mode, pattern::sequence(words, value))
        .negatable(pattern::sequence(words, pattern::optional(value)));
  }
  CommandDeclaration& command_everywhere(Pattern pattern) {
    return commands_.emplace_back(std::vector<std::string_view>{}, std::move(pattern));
  }

 private:
  friend class GrammarCompiler;
  std::vector<Mode> modes_;
  std::deque<CommandDeclaration> commands_;
};

class Grammar {
 public:
  // Compiles the declarations. Throws std::logic_error naming what is wrong when they refer to an unknown mode, declare
  // a mode twice, or a command has neither or both of a handler and a shell command. See consistency.h for the deeper
  // rules.
  explicit Grammar(const GrammarBuilder& declarations);
  Grammar(Grammar&&) = default;
  Grammar& operator=(Grammar&&) = delete;
  Grammar(const Grammar&) = delete;
  Grammar& operator=(const Grammar&) = delete;
  ~Grammar() = default;

  [[nodiscard]] std::span<const Mode> modes() const { return modes_; }
  [[nodiscard]] std::span<const Command> commands() const { return commands_; }
  [[nodiscard]] std::span<const Edge> edges() const { return edges_; }
  [[nodiscard]] const Mode& mode(ModeId id) const { return modes_[id]; }
  [[nodiscard]] const Command& command(CommandIndex index) const { return commands_[index]; }
  [[nodiscard]] const Edge& edge(EdgeId id) const { return edges_[id]; }
  // What the word or parameter binds in its command's record; of the positive form alone.
  [[nodiscard]] std::span<const Binding> bindings(const Edge& edge) const {
    return std::span(bindings_).subspan(edge.first_binding, edge.binding_count);
  }
  [[nodiscard]] const Node& node(NodeId id) const { return nodes_[id]; }
  [[nodiscard]] std::span<const EdgeId> edges_from(NodeId id) const {
    return std::span(edge_lists_).subspan(nodes_[id].first, nodes_[id].count);
  }

  static constexpr ModeId kTopMode = 0;
  // Where the commands of every mode begin, and where those of a mode alone do (Mode::start).
  [[nodiscard]] NodeId everywhere_start() const { return everywhere_start_; }
  [[nodiscard]] std::optional<ModeId> find_mode(std::string_view name) const;
  // The commands that call `handler` or run the shell's own command of that id, in the order of their declaration.
  [[nodiscard]] std::span<const CommandIndex> commands_of(std::string_view action) const;

  // Every handler, and every completion hook, that the grammar names: sorted, each once. The loader resolves them all.
  [[nodiscard]] std::vector<std::string_view> handlers() const;
  [[nodiscard]] std::vector<std::string_view> hooks() const;

 private:
  friend class GrammarCompiler;
  std::vector<Mode> modes_;
  std::vector<Command> commands_;
  std::vector<Symbol> symbols_;  // never grows once edges refer to it
  std::vector<Edge> edges_;
  std::vector<Binding> bindings_;
  std::vector<Node> nodes_;
  std::vector<EdgeId> edge_lists_;
  NodeId everywhere_start_ = kNoNode;
  std::unordered_map<std::string_view, std::vector<CommandIndex>> commands_by_action_;
};

// The grammar of kvelsh: every group of command_groups.h. Built at the first call.
const Grammar& shell_grammar();

}  // namespace kvel::shell
