#include "manager/configuration/candidate.h"

namespace kvel::manager {

void Candidate::put_rule(std::string_view class_map, std::uint32_t line, MatchRule rule) {
  const ClassMap& present = *context().find<ClassMap>(class_map);
  configuration_.apply({key_of(ObjectKind::class_map, class_map, present.number, line),
                        record_of(present.rules.at(line)), std::make_shared<const MatchRule>(std::move(rule))});
}

void Candidate::erase_rule(std::string_view class_map, std::uint32_t line) {
  const ClassMap& present = *context().find<ClassMap>(class_map);
  configuration_.apply(
      {key_of(ObjectKind::class_map, class_map, present.number, line), record_of(present.rules.at(line)), {}});
}

void Candidate::put_class(std::string_view policy, PolicyClass entry) {
  const PolicyMap& present = *context().find<PolicyMap>(policy);
  const bool is_class_default = entry.position == ClassList::kLastPosition;
  const ClassPointer before =
      is_class_default ? present.classes.class_default() : present.classes.find(entry.content.name);
  if (entry.number == 0) entry.number = configuration_.take_number();
  const RecordKey key = key_of(ObjectKind::policy_map, policy, present.number, item_of(entry));
  configuration_.apply({key, record_of(before), std::make_shared<const PolicyClass>(std::move(entry))});
}

void Candidate::erase_class(std::string_view policy, std::string_view name) {
  const PolicyMap& present = *context().find<PolicyMap>(policy);
  const ClassPointer before = present.classes.find(name);
  configuration_.apply({key_of(ObjectKind::policy_map, policy, present.number, before->number), before, {}});
}

void Candidate::space_out(std::string_view policy) {
  const PolicyMap& present = *context().find<PolicyMap>(policy);
  const Number number = present.number;
  const ClassList before = present.classes;
  ClassList spaced = before;
  spaced.space_out();
  for (const auto& [position, entry] : spaced) {
    configuration_.apply(
        {key_of(ObjectKind::policy_map, policy, number, entry->number), before.find(entry->content.name), entry});
  }
}

void Candidate::apply(const Changes& changes) {
  for (const Change& change : changes)
    configuration_.apply(change);
}

}  // namespace kvel::manager
