// Decides which class of which applied policy-map a flow belongs to. Made ready from the configuration of one context,
// and good until that changes. The next one takes over whatever was made of parts that are as they were.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "manager/configuration/configuration.h"
#include "manager/traffic/class_match.h"
#include "manager/traffic/policy_match.h"
#include "manager/traffic/traffic_class.h"

namespace kvel::manager {

// A policy-map that is applied to traffic.
struct AppliedPolicy {
  SharedPolicyMatch match;
  std::vector<TrafficClass> classes;  // of the entries of the policy-map
};

class Classifier {
 public:
  // Keeps the context. Makes counters in the table; they stay when this goes. `before` is the classifier of the context
  // as it was, if there was one; it is only read, and does not decide or count any more.
  Classifier(std::shared_ptr<const Context> context, StatisticsTable& statistics, const Classifier* before = nullptr);
  Classifier(const Classifier&) = delete;
  Classifier& operator=(const Classifier&) = delete;
  ~Classifier() = default;

  [[nodiscard]] const std::shared_ptr<const Context>& context() const { return context_; }

  // The policy-map that is asked about the flow: of its type the one on its VLAN, otherwise the one for all traffic.
  [[nodiscard]] AppliedPolicy* policy_for(const Flow& flow);

  // Nothing when no policy-map can be asked.
  [[nodiscard]] std::optional<Decision> decide(const Flow& flow);
  // The decision must be this classifier's.
  static void count(const Decision& decision) noexcept { decision.traffic_class->count(decision); }

 private:
  // The policy-maps of one type by where they are applied.
  struct Applied {
    AppliedPolicy* global = nullptr;
    std::unordered_map<std::uint32_t, AppliedPolicy*> on_vlan;
  };

  using PolicyPointer = std::shared_ptr<const PolicyMap>;
  SharedPolicyMatch match_of(const Name& name, const PolicyPointer& policy, const Classifier* before);
  std::shared_ptr<AppliedPolicy> apply(const Name& name, const PolicyPointer& policy, StatisticsTable& statistics,
                                       const Classifier* before);
  PolicyEntries entries_of(const PolicyMap& policy, const Classifier* before);

  const std::shared_ptr<const Context> context_;
  ClassMatches class_matches_;
  // By the number of the policy-map.
  std::map<Number, SharedPolicyMatch> matches_;
  std::map<Number, std::shared_ptr<AppliedPolicy>> applied_;
  Applied layer34_;
  Applied management_;
};

// The classifiers of all contexts, each made when it is asked for the first time after a change of its context.
class Classifiers {
 public:
  // Good until the next change of the configuration.
  [[nodiscard]] Classifier& at(const Configuration& configuration, std::uint16_t context, StatisticsTable& statistics);

 private:
  std::map<std::uint16_t, std::unique_ptr<Classifier>> classifiers_;
};

}  // namespace kvel::manager
