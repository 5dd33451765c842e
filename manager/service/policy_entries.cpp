// How classes and inline matches come into a policy-map, change, move and go.
#include <utility>

#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

// The class after this one; class-default is after all others.
ClassPointer next_of(const ClassList& classes, const PolicyClass& entry) {
  const auto next = classes.by_position().upper_bound(entry.position);
  return next == classes.by_position().end() ? classes.class_default() : next.value();
}

// A position before a class of the policy-map. When there is no gap, all classes are moved apart.
std::uint64_t make_position(Candidate& next, std::string_view policy, const PolicyClass& before) {
  const auto classes = [&]() -> const ClassList& { return next.context().find<PolicyMap>(policy)->classes; };
  if (const std::uint64_t position = classes().position_before(before)) return position;
  next.space_out(policy);
  const ClassPointer moved = classes().find(before.content.name);
  return classes().position_before(moved == nullptr ? before : *moved);
}

}  // namespace

Status Calls::insert_entry(const ClassPlace& place, const PolicyMap& policy, PolicyClassContent content,
                           const PolicyClass& before) {
  if (!lines_suffice(policy.classes.size() + 1, policy.settings->interval)) return Status::lines_used_up;
  Candidate next = candidate(place.context);
  const std::uint64_t position = make_position(next, place.policy, before);
  next.put_class(place.policy, {0, position, std::move(content)});
  return commit(next);
}

// Gives a class its new rule and actions, and another place unless `before` is none or where it is already.
Status Calls::change_entry(const ClassPlace& place, const PolicyMap& policy, const PolicyClass& entry,
                           PolicyClassContent content, const ClassPointer& before) {
  const bool moves = before != nullptr && before != next_of(policy.classes, entry);
  Candidate next = candidate(place.context);
  const std::uint64_t position = moves ? make_position(next, place.policy, *before) : entry.position;
  next.put_class(place.policy, {entry.number, position, std::move(content)});
  return commit(next);
}

Status Calls::erase_entry(const ClassPlace& place, const PolicyClass& entry) {
  Candidate next = candidate(place.context);
  next.erase_class(place.policy, entry.content.name);
  return commit(next);
}

}  // namespace kvel::manager
