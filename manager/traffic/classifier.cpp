#include "manager/traffic/classifier.h"

namespace kvel::manager {

Classifier::Classifier(Context& context) : context_(&context), class_matches_(context) {
  for (auto& [name, policy] : context.policy_maps) {
    const Application& application = policy.settings.application;
    if (!application.anywhere()) continue;
    AppliedPolicy& applied = policies_.emplace_back(AppliedPolicy{PolicyMatch(name, policy, class_matches_), {}});
    applied.classes.reserve(applied.match.entries().size());
    for (const PolicyEntry& entry : applied.match.entries()) {
      applied.classes.emplace_back(*entry.policy_class, [this](std::string_view layer7_name) -> const PolicyMatch& {
        return layer7(layer7_name);
      });
    }
    Applied& places = policy.settings.type == PolicyMapType::management ? management_ : layer34_;
    if (application.global) places.global = &applied;
    for (const std::uint32_t vlan : application.vlans)
      places.on_vlan[vlan] = &applied;
  }
}

const PolicyMatch& Classifier::layer7(std::string_view name) {
  if (const auto found = layer7_.find(name); found != layer7_.end()) return found->second;
  PolicyMap& policy = *context_->policy_maps.find(name);  // an action refers to it
  const std::string_view lasting_name = context_->policy_maps.position(name)->first;
  return layer7_.try_emplace(lasting_name, lasting_name, policy, class_matches_).first->second;
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
  return policy->classes[policy->match.find(flow)].decide(flow);
}

Classifier& Classifiers::at(Configuration& configuration, std::uint16_t context) {
  if (change_ != configuration.last_change()) {
    classifiers_.clear();
    change_ = configuration.last_change();
  }
  auto& classifier = classifiers_[context];
  if (classifier == nullptr) classifier = std::make_unique<Classifier>(configuration.edit(context));
  return *classifier;
}

}  // namespace kvel::manager
