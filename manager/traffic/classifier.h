// Decides which class of which applied policy-map a flow belongs to. Made ready from the configuration of one context,
// and good until that changes. The next one takes over whatever was made of parts that are as they were.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "manager/model/configuration.h"
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
  // Makes counters in the context; they stay when this goes. `before` is the classifier of the context as it was, if
  // there was one; it is only read, and does not decide or count any more.
  explicit Classifier(Context& context, const Classifier* before = nullptr);
  Classifier(const Classifier&) = delete;
  Classifier& operator=(const Classifier&) = delete;
  ~Classifier() = default;

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

  SharedPolicyMatch match_of(std::string_view name, PolicyMap& policy, const Classifier* before);
  std::shared_ptr<AppliedPolicy> apply(std::string_view name, PolicyMap& policy, const Classifier* before);
  PolicyEntries entries_of(PolicyMap& policy, const Classifier* before);

  Context* context_;
  ClassMatches class_matches_;
  // By the number of class-default, which no other policy-map ever has.
  std::map<std::uint64_t, SharedPolicyMatch> matches_;
  std::map<std::uint64_t, std::shared_ptr<AppliedPolicy>> applied_;
  Applied layer34_;
  Applied management_;
};

// The classifiers of all contexts, each made when it is asked for the first time after a change of its context.
class Classifiers {
 public:
  [[nodiscard]] Classifier& at(Configuration& configuration, std::uint16_t context);

 private:
  struct Kept {
    std::unique_ptr<Classifier> classifier;
    std::uint32_t change = 0;  // the last one of the context when it was made
  };
  std::map<std::uint16_t, Kept> classifiers_;
};

}  // namespace kvel::manager
