// How classes and inline matches come into a policy-map, change, move and go.
#include <deque>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "manager/model/policy_record.h"
#include "manager/service/calls.h"
#include "manager/service/record_key.h"

namespace kvel::manager {
// Writes a class with this body at its new place: one that is `moved`, or else a new one.
Status Calls::commit_place(const ClassPlace& place, const ClassList& classes, const PolicyClass* moved,
                           const ClassList::Place& at, std::string_view body) {
  const auto key = [&](std::uint64_t position) {
    return key_of(ObjectKind::policy_map, place.context, place.policy, position);
  };
  std::vector<Change> changes;
  if (at.position != 0) {
    if (moved != nullptr) changes.push_back({key(moved->position), std::nullopt});
    changes.push_back({key(at.position), body});
    return commit(changes);
  }
  // There is no gap between the neighbours: all are written anew, in the order that they will have.
  std::deque<std::string> bodies;
  std::uint64_t position = 0;
  for (const PolicyClass& entry : classes)
    changes.push_back({key(entry.position), std::nullopt});
  for (auto entry = classes.begin();; ++entry) {
    if (entry == ClassList::ConstIterator(at.before)) changes.push_back({key(position += ClassList::kStep), body});
    if (entry == classes.end()) break;
    if (&*entry == moved) continue;
    append_body(bodies.emplace_back(), entry->content);
    changes.push_back({key(position += ClassList::kStep), bodies.back()});
  }
  return commit(changes);
}

Status Calls::insert_entry(const ClassPlace& place, PolicyMap& policy, ClassList::Prepared prepared,
                           ClassList::Iterator before) {
  if (!lines_suffice(policy.classes.size() + 1, policy.settings.interval)) return Status::lines_used_up;
  std::string body;
  append_body(body, prepared.entry()->content);
  const ClassList::Place at = policy.classes.place_before(before);
  const Status status = commit_place(place, policy.classes, nullptr, at, body);
  if (!succeeded(status)) return status;
  policy.classes.insert(std::move(prepared), at);
  if (at.position == 0) policy.reordered = configuration_.last_change();
  return status;
}

// Gives a class its new rule and actions, and another place unless `before` is none or where it is already.
Status Calls::change_entry(const ClassPlace& place, PolicyMap& policy, ClassList::Iterator entry,
                           PolicyClassContent content, std::optional<ClassList::Iterator> before) {
  const bool moves = before && *before != std::next(entry);
  if (!moves && content == entry->content) return Status::ok;
  std::string body;
  append_body(body, content);
  if (!moves) {
    const Status status = commit({key_of(ObjectKind::policy_map, place.context, place.policy, entry->position), body});
    if (succeeded(status)) entry->change(std::move(content));
    return status;
  }
  const ClassList::Place at = policy.classes.place_before(*before);
  const Status status = commit_place(place, policy.classes, &*entry, at, body);
  if (!succeeded(status)) return status;
  entry->change(std::move(content));
  policy.classes.move(entry, at);
  policy.reordered = configuration_.last_change();
  return Status::ok;
}

Status Calls::erase_entry(const ClassPlace& place, PolicyMap& policy, ClassList::Iterator entry) {
  const Status status =
      commit({key_of(ObjectKind::policy_map, place.context, place.policy, entry->position), std::nullopt});
  if (!succeeded(status)) return status;
  if (entry->content.rule) configuration_.edit(place.context).hidden_classes.erase(entry->hidden_name);
  policy.classes.erase(entry);
  return Status::ok;
}

}  // namespace kvel::manager
