// Decides which class of which applied policy-map a flow belongs to. Made ready from the configuration of one context,
// and good until the configuration changes.
#pragma once

#include <cstdint>
#include <list>
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
  PolicyMatch match;
  std::vector<TrafficClass> classes;  // of the entries of the policy-map
};

class Classifier {
 public:
  // Makes counters in the context; they stay when this goes.
  explicit Classifier(Context& context);
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

  const PolicyMatch& layer7(std::string_view name);

  Context* context_;
  ClassMatches class_matches_;
  std::map<std::string_view, PolicyMatch> layer7_;
  std::list<AppliedPolicy> policies_;
  Applied layer34_;
  Applied management_;
};

// The classifiers of all contexts, each made when it is asked for the first time after a change.
class Classifiers {
 public:
  [[nodiscard]] Classifier& at(Configuration& configuration, std::uint16_t context);

 private:
  std::uint32_t change_ = 0;  // the last one when they were made
  std::map<std::uint16_t, std::unique_ptr<Classifier>> classifiers_;
};

}  // namespace kvel::manager
