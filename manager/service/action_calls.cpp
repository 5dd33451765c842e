// Changing the actions of a class: what the calls of all actions share.
#include <string>
#include <utility>

#include "manager/model/action_check.h"
#include "manager/model/policy_record.h"
#include "manager/model/record_body.h"
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

}  // namespace

Status Calls::change_actions(const ClassPlace& place, PolicyMapType type, const ActionEdits& edits) {
  for (const ActionEdit& edit : edits) {
    const bool comes = edit.what == ActionEdit::What::put;
    const Status status = comes ? check_action(edit.action) : Status::ok;
    if (!succeeded(status)) return status;
  }
  Context& context = configuration_.edit(place.context);
  const auto policy = find_policy_map(context, place.policy, type);
  if (!policy) return policy.error();
  const auto found = find_acting_class(context, **policy, place.policy, place.name);
  if (!found) return found.error();
  ActionList actions = (*found)->content.actions;
  for (const ActionEdit& edit : edits) {
    if (const Status status = apply(edit, actions); !succeeded(status)) return status;
  }
  if (const Status status = check_together(actions); !succeeded(status)) return status;
  return replace_actions(place, **found, std::move(actions));
}

Status Calls::replace_actions(const ClassPlace& place, PolicyClass& acting, ActionList actions) {
  if (actions == acting.content.actions) return Status::ok;
  auto mentioned = refer_to_targets(configuration_.edit(place.context), actions);
  if (!mentioned) return mentioned.error();
  PolicyClassContent content{acting.content.name, acting.content.rule, std::move(actions)};
  const RecordKey key{place.context, static_cast<std::uint8_t>(ObjectKind::policy_map), place.policy, acting.position};
  // Class-default is there without being written; what it does is written.
  const bool is_written = acting.position != ClassList::kLastPosition || !content.actions.empty();
  std::string body;
  if (is_written) append_body(body, content);
  // A class is shown on one page. One that is longer from before may still become shorter.
  const bool grows = content.actions.size() > acting.content.actions.size();
  if (grows && body.size() > kMaxPartsBytes) return Status::too_many_actions;
  const Status status = commit(is_written ? Change{key, body} : Change{key, std::nullopt});
  if (!succeeded(status)) return status;
  acting.change(std::move(content));
  acting.mentioned.swap(*mentioned);
  return Status::ok;
}

}  // namespace kvel::manager
