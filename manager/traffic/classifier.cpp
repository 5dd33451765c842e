#include "manager/traffic/classifier.h"

#include <algorithm>
#include <utility>

namespace kvel::manager {
namespace {

std::uint64_t identity_of(const PolicyMap& policy) { return policy.classes.class_default().number; }

// Null when there is none, or no table.
template <class Made>
std::shared_ptr<Made> find(const std::map<std::uint64_t, std::shared_ptr<Made>>& made, std::uint64_t identity) {
  const auto found = made.find(identity);
  return found == made.end() ? nullptr : found->second;
}

}  // namespace

Classifier::Classifier(Context& context, const Classifier* before) : context_(&context), class_matches_(context) {
  for (auto& [name, policy] : context.policy_maps) {
    const Application& application = policy.settings.application;
    if (!application.anywhere()) continue;
    AppliedPolicy& applied = *applied_.try_emplace(identity_of(policy), apply(name, policy, before)).first->second;
    Applied& places = policy.settings.type == PolicyMapType::management ? management_ : layer34_;
    if (application.global) places.global = &applied;
    for (const std::uint32_t vlan : application.vlans)
      places.on_vlan[vlan] = &applied;
  }
}

std::shared_ptr<AppliedPolicy> Classifier::apply(std::string_view name, PolicyMap& policy, const Classifier* before) {
  const FindPolicy find_layer7 = [this, before](std::string_view layer7) {
    const auto found = context_->policy_maps.position(layer7);  // an action refers to it
    return match_of(found->first, *context_->policy_maps.find(layer7), before);
  };
  SharedPolicyMatch match = match_of(name, policy, before);
  if (auto made = before == nullptr ? nullptr : find(before->applied_, identity_of(policy))) {
    const auto is_current = [&](const TrafficClass& each) { return each.is_current(find_layer7); };
    if (made->match == match && std::all_of(made->classes.begin(), made->classes.end(), is_current)) return made;
  }
  auto made = std::make_shared<AppliedPolicy>(AppliedPolicy{std::move(match), {}});
  made->classes.reserve(made->match->entries().size());
  for (const PolicyEntry& entry : made->match->entries())
    made->classes.emplace_back(policy.settings.type, *entry.policy_class, find_layer7);
  return made;
}

SharedPolicyMatch Classifier::match_of(std::string_view name, PolicyMap& policy, const Classifier* before) {
  const std::uint64_t identity = identity_of(policy);
  if (auto made = find(matches_, identity)) return made;
  PolicyEntries entries = entries_of(policy, before);
  auto match = before == nullptr ? nullptr : find(before->matches_, identity);
  if (match == nullptr || match->entries() != entries) {
    match = std::make_shared<const PolicyMatch>(name, policy, std::move(entries));
  }
  return matches_.try_emplace(identity, std::move(match)).first->second;
}

PolicyEntries Classifier::entries_of(PolicyMap& policy, const Classifier* before) {
  const ClassMatches* const made = before == nullptr ? nullptr : &before->class_matches_;
  PolicyEntries entries;
  entries.reserve(policy.classes.size() + 1);
  for (PolicyClass& entry : policy.classes) {
    entries.push_back({&entry, entry.version,
                       entry.content.rule ? class_matches_.of_inline_match(entry, made)
                                          : class_matches_.of_class_map(entry.content.name, made)});
  }
  PolicyClass& class_default = policy.classes.class_default();
  entries.push_back({&class_default, class_default.version, nullptr});
  return entries;
}

AppliedPolicy* Classifier::policy_for(const Flow& flow) {
  const Applied& places = flow.management ? management_ : layer34_;
  if (flow.vlan) {
    if (const auto found = places.on_vlan.find(*flow.vlan); found != places.on_vlan.end()) return found->second;
  }
  return places.global;
}

std::optional<Decision> Classifier::decide(const Flow& flow) {
  if (!flow.unclassifiable.empty()) return std::nullopt;
  AppliedPolicy* const policy = policy_for(flow);
  if (policy == nullptr) return std::nullopt;
  return policy->classes[policy->match->find(flow)].decide(flow);
}

Classifier& Classifiers::at(Configuration& configuration, std::uint16_t context_number) {
  Kept& kept = classifiers_[context_number];
  Context& context = configuration.edit(context_number);
  if (kept.classifier == nullptr || kept.change != context.last_change) {
    kept.classifier = std::make_unique<Classifier>(context, kept.classifier.get());
    kept.change = context.last_change;
  }
  return *kept.classifier;
}

}  // namespace kvel::manager
