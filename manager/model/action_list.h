// The actions of one class: in the order of their kinds, and never two that exclude each other.
#pragma once

#include <cstddef>
#include <variant>
#include <vector>

#include "manager/model/policy_action.h"

namespace kvel::manager {

class ActionList {
 public:
  // Adds the action in the place of those that it excludes: those of its kind, unless a class may have many of it, and
  // the other verdicts of its group. What is there already stays.
  void put(PolicyAction action);
  // Takes away what is there of a kind, or exactly this action; false when there is nothing such.
  bool remove(ActionKind kind);
  bool remove(const PolicyAction& action);

  [[nodiscard]] std::vector<PolicyAction>::const_iterator begin() const { return actions_.begin(); }
  [[nodiscard]] std::vector<PolicyAction>::const_iterator end() const { return actions_.end(); }
  [[nodiscard]] bool empty() const { return actions_.empty(); }
  [[nodiscard]] std::size_t size() const { return actions_.size(); }

  friend bool operator==(const ActionList&, const ActionList&) = default;

 private:
  std::vector<PolicyAction> actions_;  // sorted
};

// The first action of a kind, or null.
template <class Action>
[[nodiscard]] const Action* find_action(const ActionList& actions) {
  for (const PolicyAction& action : actions) {
    if (const auto* found = std::get_if<Action>(&action)) return found;
  }
  return nullptr;
}

// Whether a class can have only one of these two actions, which may be the same.
[[nodiscard]] bool exclude_each_other(const PolicyAction& one, const PolicyAction& other);

}  // namespace kvel::manager
