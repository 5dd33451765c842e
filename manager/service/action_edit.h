// What a call does to the actions of a class, once it has been made out of its arguments.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "manager/model/policy_action.h"

namespace kvel::manager {

struct ActionEdit {
  enum class What : std::uint8_t {
    put,          // the action comes, in the place of what it excludes
    clear,        // no action of the kind is left
    remove_kind,  // the action of the kind goes: it must be there
    remove,       // exactly this action goes: it must be there
  };
  What what;
  ActionKind kind = 0;    // to clear or to remove
  PolicyAction action{};  // to put or to remove
};
using ActionEdits = std::vector<ActionEdit>;

[[nodiscard]] inline ActionEdit put_action(PolicyAction action) {
  return {ActionEdit::What::put, 0, std::move(action)};
}
[[nodiscard]] inline ActionEdit remove_action(PolicyAction action) {
  return {ActionEdit::What::remove, 0, std::move(action)};
}
template <class Action>
[[nodiscard]] ActionEdit clear_kind() {
  return {ActionEdit::What::clear, kActionKind<Action>};
}
template <class Action>
[[nodiscard]] ActionEdit remove_kind() {
  return {ActionEdit::What::remove_kind, kActionKind<Action>};
}

}  // namespace kvel::manager
