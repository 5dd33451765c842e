// Questions to the compiled grammar, and the one grammar of the shell.
#include "shell/grammar/grammar.h"

#include <algorithm>

#include "shell/grammar/families.h"

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

std::span<const FormId> Grammar::forms_of(std::string_view action) const {
  const auto found = forms_by_action_.find(action);
  if (found == forms_by_action_.end()) return {};
  return found->second;
}

std::vector<std::string_view> Grammar::handlers() const {
  std::vector<std::string_view> names;
  for (const Form& form : forms_) {
    if (!form.handler.empty()) names.push_back(form.handler);
    if (!form.text_handler.empty()) names.push_back(form.text_handler);
  }
  sort_unique(names);
  return names;
}

std::vector<std::string_view> Grammar::hooks() const {
  std::vector<std::string_view> names;
  for (const State& state : states_) {
    if (!state.symbol.hook.empty()) names.push_back(state.symbol.hook);
  }
  sort_unique(names);
  return names;
}

const Grammar& shell_grammar() {
  static const Grammar grammar = [] {
    GrammarBuilder declarations;
    for (const auto declare : kFamilies)
      declare(declarations);
    return Grammar(declarations);
  }();
  return grammar;
}

}  // namespace kvel::shell
