#include "manager/traffic/policy_match.h"

#include <algorithm>

namespace kvel::manager {

PolicyMatch::PolicyMatch(std::string_view name, PolicyMap& policy, ClassMatches& class_matches)
    : name_(name), settings_(&policy.settings) {
  entries_.reserve(policy.classes.size() + 1);
  for (PolicyClass& entry : policy.classes) {
    const PolicyClassContent& content = entry.content;
    entries_.push_back({&entry, content.rule ? &class_matches.of_inline_match(*content.rule)
                                             : &class_matches.of_class_map(content.name)});
  }
  entries_.push_back({&policy.classes.class_default(), nullptr});

  if (!can_be_applied(policy.settings.type)) return;
  index_.emplace();
  for (std::size_t number = 0; number + 1 < entries_.size(); ++number)
    index_->add(number, *entries_[number].match);
  index_->finish();
}

std::size_t PolicyMatch::find(const Flow& flow) const {
  if (index_) return index_->find(flow).value_or(entries_.size() - 1);
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const PolicyEntry& entry) { return entry.matches(flow); });
  return static_cast<std::size_t>(found - entries_.begin());
}

}  // namespace kvel::manager
