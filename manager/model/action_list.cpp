#include "manager/model/action_list.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace kvel::manager {
namespace {

// Kinds as bits.
using KindSet = std::uint64_t;
static_assert(PolicyAction::kKinds <= 64);

template <class... Actions>
constexpr KindSet kKinds = ((KindSet{1} << kActionKind<Actions>) | ...);

constexpr KindSet kRepeatable = kKinds<StaticNatAction, DynamicNatAction>;

// A class sends its traffic one way, and gives one verdict.
constexpr KindSet kExclusive[] = {
    kKinds<ServerfarmAction, DropAction, ForwardAction, GroupAction>,
    kKinds<PermitAction, ResetAction>,
    kKinds<DenyAction, MaskReplyAction>,
};

constexpr KindSet excluded_by(ActionKind kind) {
  const KindSet own = KindSet{1} << kind;
  for (const KindSet group : kExclusive) {
    if ((group & own) != 0) return group;
  }
  return (kRepeatable & own) != 0 ? 0 : own;
}

}  // namespace

bool exclude_each_other(const PolicyAction& one, const PolicyAction& other) {
  return (excluded_by(one.index()) >> other.index() & 1U) != 0;
}

void ActionList::put(PolicyAction action) {
  std::erase_if(actions_, [&](const PolicyAction& present) { return exclude_each_other(action, present); });
  const auto place = std::lower_bound(actions_.begin(), actions_.end(), action);
  if (place == actions_.end() || *place != action) actions_.insert(place, std::move(action));
}

bool ActionList::remove(ActionKind kind) {
  return std::erase_if(actions_, [&](const PolicyAction& action) { return action.index() == kind; }) != 0;
}

bool ActionList::remove(const PolicyAction& action) {
  const auto place = std::lower_bound(actions_.begin(), actions_.end(), action);
  if (place == actions_.end() || *place != action) return false;
  actions_.erase(place);
  return true;
}

}  // namespace kvel::manager
