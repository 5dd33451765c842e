#include "manager/configuration/hidden_classes.h"

namespace kvel::manager {
namespace {

const PolicyClass* match_in(const Record& record) {
  const auto* const entry = std::get_if<ClassPointer>(&record);
  return entry != nullptr && (*entry)->content.rule ? entry->get() : nullptr;
}

}  // namespace

void HiddenClasses::apply(const Change& change) {
  const PolicyClass* const before = match_in(change.before);
  const PolicyClass* const after = match_in(change.after);
  if (before != nullptr && after != nullptr && before->content.name == after->content.name) return;
  const std::string_view policy = change.key.name;
  if (before != nullptr) by_name_.erase(std::string_view(hidden_name_of(policy, before->content.name)));
  if (after != nullptr) {
    by_name_.insert_or_assign(Name(hidden_name_of(policy, after->content.name)),
                              HiddenClass{change.key.name, Name(after->content.name)});
  }
}

bool HiddenClasses::collides(std::string_view name) const {
  const auto first = by_name_.lower_bound(name);
  if (first == by_name_.end()) return false;
  return first.key() == name || (name.size() == kCutNameBytes && first.key().view().starts_with(name));
}

bool HiddenClasses::is_ambiguous(std::string_view policy, std::string_view hidden_name) const {
  const std::string_view cut = cut_name(hidden_name);
  if (cut.size() < kCutNameBytes) return false;
  for (auto entry = by_name_.lower_bound(cut); entry != by_name_.end(); ++entry) {
    if (!entry.key().view().starts_with(cut)) break;
    if (entry.value().policy == policy) return true;
  }
  return false;
}

ClassPointer find_by_hidden_name(const PolicyMap& policy, std::string_view policy_name, std::string_view hidden_name) {
  if (!hidden_name.starts_with(policy_name)) return nullptr;
  const std::string_view match_name = hidden_name.substr(policy_name.size());
  const auto& by_name = policy.classes.by_name();
  for (auto entry = by_name.lower_bound(match_name); entry != by_name.end(); ++entry) {
    if (!entry.key().view().starts_with(match_name)) break;
    const ClassPointer& found = entry.value();
    if (!found->content.rule) continue;
    const std::string found_name = hidden_name_of(policy_name, found->content.name);
    if (found_name == hidden_name || cut_name(found_name) == hidden_name) return found;
    // Only a cut name can begin others.
    if (hidden_name.size() != kCutNameBytes) break;
  }
  return nullptr;
}

}  // namespace kvel::manager
