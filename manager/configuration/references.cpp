#include "manager/configuration/references.h"

#include <algorithm>
#include <tuple>

#include "manager/model/action_target.h"
#include "manager/model/text.h"

namespace kvel::manager {
namespace {

struct TargetsOf {
  std::vector<Target>& targets;

  void operator()(const RulePointer& rule) const {
    if (const std::string* name = nested_class_map(*rule)) targets.push_back({ObjectKind::class_map, *name});
  }
  void operator()(const std::shared_ptr<const SslProxySettings>& service) const {
    if (!service->parameter_map.empty()) targets.push_back({ObjectKind::parameter_map, service->parameter_map});
  }
  void operator()(const ClassPointer& entry) const {
    const auto& [name, rule, actions] = entry->content;
    if (!rule && name != kClassDefault) targets.push_back({ObjectKind::class_map, name});
    for (const PolicyAction& action : actions) {
      if (const auto target = target_of(action)) targets.push_back({target->kind, target->name});
    }
  }
  // These name nothing.
  void operator()(std::monostate) const {}
  void operator()(const std::shared_ptr<const ClassMapSettings>&) const {}
  void operator()(const std::shared_ptr<const PolicyMapSettings>&) const {}
  void operator()(const std::shared_ptr<const ParameterMapSettings>&) const {}
};

bool is_among(const std::vector<Target>& targets, const Target& wanted) {
  return std::any_of(targets.begin(), targets.end(),
                     [&](const Target& target) { return target.kind == wanted.kind && target.name == wanted.name; });
}

}  // namespace

std::vector<Target> targets_of(const Record& record) {
  std::vector<Target> targets;
  std::visit(TargetsOf{targets}, record);
  return targets;
}

bool ReferenceIndex::Less::operator()(const Reference& left, const Lowest& right) const {
  return std::tuple(left.target_kind, left.target.view(), static_cast<std::uint8_t>(left.user_kind)) <
         std::tuple(right.target_kind, right.target, right.user_kind);
}

void ReferenceIndex::apply(const Change& change) {
  const auto before = targets_of(change.before);
  const auto after = targets_of(change.after);
  const auto reference_to = [&change](const Target& target) {
    return Reference{target.kind, Name(target.name), change.key.kind, change.key.name, change.key.item};
  };
  for (const Target& target : before) {
    if (!is_among(after, target)) references_.erase(reference_to(target));
  }
  for (const Target& target : after) {
    if (!is_among(before, target)) references_.insert_or_assign(reference_to(target), {});
  }
}

bool ReferenceIndex::in_use(ObjectKind kind, std::string_view name) const {
  const auto first = references_.lower_bound(Lowest{kind, name, 0});
  return first != references_.end() && first.key().target_kind == kind && first.key().target == name;
}

bool ReferenceIndex::in_use_by(ObjectKind user, ObjectKind kind, std::string_view name) const {
  const auto first = references_.lower_bound(Lowest{kind, name, static_cast<std::uint8_t>(user)});
  return first != references_.end() && first.key().target_kind == kind && first.key().target == name &&
         first.key().user_kind == user;
}

std::vector<ReferenceIndex::Reference> ReferenceIndex::to(ObjectKind kind, std::string_view name) const {
  std::vector<Reference> found;
  for (auto entry = references_.lower_bound(Lowest{kind, name, 0}); entry != references_.end(); ++entry) {
    if (entry.key().target_kind != kind || entry.key().target != name) break;
    found.push_back(entry.key());
  }
  return found;
}

}  // namespace kvel::manager
