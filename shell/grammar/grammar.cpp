// Questions to the compiled grammar, and the one grammar of the shell.
#include "shell/grammar/grammar.h"

#include <algorithm>

#include "shell/grammar/command_groups.h"

namespace kvel::shell {

namespace {

void sort_unique(std::vector<std::string_view>& names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
}

}  // namespace

std::optional<ModeId> Grammar::find_mode(std::string_view name) const {
  for (std::size_t i = 0; i < modes_.size(); ++i) {
    if (modes_[i].name == name) return static_cast<ModeId>(i);
  }
  return std::nullopt;
}

std::span<const CommandIndex> Grammar::commands_of(std::string_view action) const {
  const auto found = commands_by_action_.find(action);
  if (found == commands_by_action_.end()) return {};
  return found->second;
}

std::vector<std::string_view> Grammar::handlers() const {
  std::vector<std::string_view> names;
  for (const Command& command : commands_) {
    if (!command.handler.empty()) names.push_back(command.handler);
    if (!command.text_handler.empty()) names.push_back(command.text_handler);
  }
  sort_unique(names);
  return names;
}

std::vector<std::string_view> Grammar::hooks() const {
  std::vector<std::string_view> names;
  for (const Edge& edge : edges_) {
    if (!edge.symbol.hook.empty()) names.push_back(edge.symbol.hook);
    names.insert(names.end(), edge.symbol.more_hooks.begin(), edge.symbol.more_hooks.end());
  }
  sort_unique(names);
  return names;
}

const Grammar& shell_grammar() {
  static const Grammar grammar = [] {
    GrammarBuilder declarations;
    for (const auto declare : kCommandGroups)
      declare(declarations);
    return Grammar(declarations);
  }();
  return grammar;
}

}  // namespace kvel::shell
