// A class of an applied policy-map with its actions, made ready to decide about flows and to count them. What can fail
// is over when a flow is decided: counting it cannot.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "manager/traffic/policy_match.h"
#include "manager/traffic/statistics_table.h"

namespace kvel::manager {

class TrafficClass;

// Why a connection is refused.
enum class Drop : std::uint8_t {
  vip_out_of_service,
  load_balancing,
  http_inspection,
  ftp_inspection,
  dns_inspection,
  management,
};
[[nodiscard]] std::string_view reason_of(Drop drop);  // as a whole sentence without its full stop

// The decision on a flow. It is counted at the classifier that made it, as long as that exists.
struct Decision {
  TrafficClass* traffic_class = nullptr;
  FlowEvent event = FlowEvent::whole;
  FlowTraffic traffic;
  bool is_http_request = false;
  // The places of the matching classes of the layer-7 policy-maps that were asked.
  std::optional<std::size_t> balanced;
  std::optional<std::size_t> http_inspected;
  std::optional<std::size_t> ftp_inspected;
  std::uint8_t drops = 0;  // a bit for each Drop

  void drop(Drop why) { drops = static_cast<std::uint8_t>(drops | 1U << static_cast<unsigned>(why)); }
  [[nodiscard]] bool is_dropped(Drop why) const { return (drops >> static_cast<unsigned>(why) & 1U) != 0; }
  [[nodiscard]] bool is_dropped() const { return drops != 0; }
  [[nodiscard]] std::optional<Drop> first_drop() const {
    if (drops == 0) return std::nullopt;
    return static_cast<Drop>(std::countr_zero(drops));
  }
};

// Finds the layer-7 policy-map of a name, made ready.
using FindPolicy = std::function<SharedPolicyMatch(std::string_view)>;

class TrafficClass {
 public:
  // A class of a policy-map of the type. Makes the counters that the class and its actions need.
  TrafficClass(PolicyMapType type, const PolicyClass& policy_class, StatisticsTable& statistics,
               const FindPolicy& find_policy);

  // Whether the layer-7 policy-maps that the actions name are still those that were found at first. For as long as the
  // class has not changed.
  [[nodiscard]] bool is_current(const FindPolicy& find_policy) const;

  // About a flow that belongs to the class.
  [[nodiscard]] Decision decide(const Flow& flow);
  void count(const Decision& decision) noexcept;

  // The layer-7 policy-map that was asked, and the place of its class that matched.
  struct Consulted {
    const PolicyMatch* policy;
    std::size_t matching;
  };
  [[nodiscard]] std::vector<Consulted> consulted(const Decision& decision) const;
  // The one of them that decided where the flow goes, or, if it is dropped, that it is; none: this class itself did.
  [[nodiscard]] std::optional<Consulted> ruling(const Decision& decision) const;

 private:
  // A layer-7 policy-map as one action asks it: with the action's counters of each of its classes.
  struct LayerSeven {
    SharedPolicyMatch policy;  // null: the action names none
    std::vector<LayerSevenCounters*> counters;

    [[nodiscard]] Consulted at(std::size_t matching) const { return {policy.get(), matching}; }
  };
  struct LoadBalancing {
    Counters* counters = nullptr;
    bool is_in_service = false;
    LayerSeven layer7;
  };
  struct HttpInspection {
    Counters* counters = nullptr;
    RequestCounters* requests = nullptr;
    bool logs_urls = false;
    LayerSeven layer7;
  };
  struct FtpInspection {
    Counters* counters = nullptr;
    CommandCounters* commands = nullptr;
    LayerSeven layer7;
  };
  struct DnsInspection {
    Counters* counters = nullptr;
    std::uint32_t max_length = 0;  // 0: no limit
  };

  static LayerSeven layer7_of(std::string_view policy, ActionStatistics& statistics, const FindPolicy& find_policy);

  void count_connection(const Decision& decision) noexcept;
  void count_balanced(const Decision& decision) noexcept;
  void count_request(const Decision& decision) noexcept;
  void count_command(const Decision& decision) noexcept;

  std::vector<Counters*> counters_;  // of the class and of each action
  bool is_refused_ = false;          // flows to the appliance itself
  // Apart, so that the many classes without these lie close together in memory.
  std::unique_ptr<LoadBalancing> load_balancing_;
  std::unique_ptr<HttpInspection> http_;
  std::unique_ptr<FtpInspection> ftp_;
  std::unique_ptr<DnsInspection> dns_;
};

}  // namespace kvel::manager
