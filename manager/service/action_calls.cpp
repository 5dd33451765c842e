// Changing the actions of a class: what the calls of all actions share.
#include <string>
#include <utility>

#include "manager/configuration/object_record.h"
#include "manager/model/action_check.h"
#include "manager/model/policy_record.h"
#include "manager/service/calls.h"
#include "manager/service/policy_places.h"
#include "manager/service/targets.h"

namespace kvel::manager {
namespace {

Status apply(const ActionEdit& edit, ActionList& actions) {
  switch (edit.what) {
    case ActionEdit::What::put:
      actions.put(edit.action);
      break;
    case ActionEdit::What::clear:
      (void)actions.remove(edit.kind);
      break;
    case ActionEdit::What::remove_kind:
      return actions.remove(edit.kind) ? Status::ok : Status::action_not_found;
    case ActionEdit::What::remove:
      return actions.remove(edit.action) ? Status::ok : Status::action_not_found;
  }
  return Status::ok;
}

std::string body_of(const PolicyClassContent& content) {
  std::string body;
  append_body(body, content);
  return body;
}

}  // namespace

Status Calls::change_actions(const ClassPlace& place, PolicyMapType type, const ActionEdits& edits) {
  for (const ActionEdit& edit : edits) {
    const bool comes = edit.what == ActionEdit::What::put;
    const Status status = comes ? check_action(edit.action) : Status::ok;
    if (!succeeded(status)) return status;
  }
  const Context& shown = context(place.context);
  const auto policy = find_policy_map(shown, place.policy, type);
  if (!policy) return policy.error();
  const auto found = find_acting_class(shown, **policy, place.policy, place.name);
  if (!found) return found.error();
  ActionList actions = (*found)->content.actions;
  for (const ActionEdit& edit : edits) {
    if (const Status status = apply(edit, actions); !succeeded(status)) return status;
  }
  if (const Status status = check_together(actions); !succeeded(status)) return status;
  return replace_actions(place, **found, std::move(actions));
}

Status Calls::replace_actions(const ClassPlace& place, const PolicyClass& acting, ActionList actions) {
  if (actions == acting.content.actions) return Status::ok;
  if (const Status status = check_targets(context(place.context), actions); !succeeded(status)) return status;
  const bool grows = actions.size() > acting.content.actions.size();
  PolicyClass changed = acting;
  changed.content.actions = std::move(actions);
  // A class is shown on one page. One that is longer from before may still become shorter.
  if (grows && body_of(changed.content).size() > kMaxPartsBytes) return Status::too_many_actions;
  Candidate next = candidate(place.context);
  next.put_class(place.policy, std::move(changed));
  return commit(next);
}

}  // namespace kvel::manager
