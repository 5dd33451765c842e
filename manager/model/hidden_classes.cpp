#include "manager/model/hidden_classes.h"

namespace kvel::manager {

ClassList::Iterator find_by_hidden_name(PolicyMap& policy, std::string_view policy_name, std::string_view hidden_name) {
  ClassList& classes = policy.classes;
  if (!hidden_name.starts_with(policy_name)) return classes.end();
  const std::string_view match_name = hidden_name.substr(policy_name.size());
  for (auto name = classes.first_name(match_name); name != classes.end_of_names(); ++name) {
    const auto& [class_name, entry] = *name;
    if (!class_name.starts_with(match_name)) break;
    if (!entry->content.rule) continue;
    if (entry->hidden_name == hidden_name || cut_name(entry->hidden_name) == hidden_name) return entry;
    // Only a cut name can begin others.
    if (hidden_name.size() != kCutNameBytes) break;
  }
  return classes.end();
}

}  // namespace kvel::manager
