#include "manager/traffic/policy_match.h"

#include <algorithm>
#include <utility>

namespace kvel::manager {

PolicyMatch::PolicyMatch(Name name, PolicyMapType type, PolicyEntries entries)
    : name_(std::move(name)), type_(type), entries_(std::move(entries)) {
  if (!can_be_applied(type_)) return;
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
