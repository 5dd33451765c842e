#include "manager/traffic/classifier.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace kvel::manager {
namespace {

// Null when there is none, or no table.
template <class Made>
std::shared_ptr<Made> find(const std::map<Number, std::shared_ptr<Made>>& made, Number number) {
  const auto found = made.find(number);
  return found == made.end() ? nullptr : found->second;
}

}  // namespace

Classifier::Classifier(std::shared_ptr<const Context> context, StatisticsTable& statistics, const Classifier* before)
    : context_(std::move(context)), class_matches_(*context_) {
  for (const auto& [name, policy] : context_->policy_maps) {
    const Application& application = policy->settings->application;
    if (!application.anywhere()) continue;
    AppliedPolicy& applied =
        *applied_.try_emplace(policy->number, apply(name, policy, statistics, before)).first->second;
    Applied& places = policy->settings->type == PolicyMapType::management ? management_ : layer34_;
    if (application.global) places.global = &applied;
    for (const std::uint32_t vlan : application.vlans)
      places.on_vlan[vlan] = &applied;
  }
}

std::shared_ptr<AppliedPolicy> Classifier::apply(const Name& name, const PolicyPointer& policy,
                                                 StatisticsTable& statistics, const Classifier* before) {
  const FindPolicy find_layer7 = [this, before](std::string_view layer7) {
    const auto found = context_->policy_maps.lower_bound(layer7);  // an action refers to it
    return match_of(found.key(), found.value(), before);
  };
  SharedPolicyMatch match = match_of(name, policy, before);
  if (auto made = before == nullptr ? nullptr : find(before->applied_, policy->number)) {
    const auto is_current = [&](const TrafficClass& each) { return each.is_current(find_layer7); };
    if (made->match == match && std::all_of(made->classes.begin(), made->classes.end(), is_current)) return made;
  }
  auto made = std::make_shared<AppliedPolicy>(AppliedPolicy{std::move(match), {}});
  made->classes.reserve(made->match->entries().size());
  for (const PolicyEntry& entry : made->match->entries())
    made->classes.emplace_back(policy->settings->type, *entry.policy_class, statistics, find_layer7);
  return made;
}

SharedPolicyMatch Classifier::match_of(const Name& name, const PolicyPointer& policy, const Classifier* before) {
  if (auto made = find(matches_, policy->number)) return made;
  PolicyEntries entries = entries_of(*policy, before);
  auto match = before == nullptr ? nullptr : find(before->matches_, policy->number);
  if (match == nullptr || match->type() != policy->settings->type || match->entries() != entries) {
    match = std::make_shared<const PolicyMatch>(name, policy->settings->type, std::move(entries));
  }
  return matches_.try_emplace(policy->number, std::move(match)).first->second;
}

PolicyEntries Classifier::entries_of(const PolicyMap& policy, const Classifier* before) {
  const ClassMatches* const made = before == nullptr ? nullptr : &before->class_matches_;
  PolicyEntries entries;
  entries.reserve(policy.classes.size() + 1);
  for (const auto& [position, entry] : policy.classes) {
    entries.push_back({entry, entry->content.rule ? class_matches_.of_inline_match(*entry, made)
                                                  : class_matches_.of_class_map(entry->content.name, made)});
  }
  entries.push_back({policy.classes.class_default(), nullptr});
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

Classifier& Classifiers::at(const Configuration& configuration, std::uint16_t number, StatisticsTable& statistics) {
  const auto& context = configuration.context(number);
  auto& classifier = classifiers_[number];
  if (classifier == nullptr || classifier->context() != context) {
    classifier = std::make_unique<Classifier>(context, statistics, classifier.get());
  }
  return *classifier;
}

}  // namespace kvel::manager
