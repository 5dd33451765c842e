// What traffic was counted at a class of a policy-map. Counters live in memory only and with their class: they begin at
// 0 when the manager starts and when a class or an action comes. docs/flows.md defines what each counts.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "manager/model/action_list.h"

namespace kvel::manager {

struct Counters {
  std::uint64_t current_connections = 0;  // a level: clearing leaves it
  std::uint64_t connections = 0;
  std::uint64_t dropped_connections = 0;
  std::uint64_t client_packets = 0;
  std::uint64_t server_packets = 0;
  std::uint64_t client_bytes = 0;
  std::uint64_t server_bytes = 0;
};

// Of HTTP inspection.
struct RequestCounters {
  std::uint64_t requests = 0;
  std::uint64_t allowed = 0;
  std::uint64_t dropped = 0;
  std::uint64_t logged = 0;
};

// Of FTP inspection.
struct CommandCounters {
  std::uint64_t masked_replies = 0;
  std::uint64_t dropped = 0;
};

// Of one class of the layer-7 policy-map that an action names.
struct LayerSevenCounters {
  std::uint64_t inspected = 0;  // requests held against the class
  std::uint64_t matched = 0;
  std::uint64_t dropped = 0;
  std::uint64_t dropped_on_error = 0;  // a request that could not be read for a rule of the class
};

// Actions that are counted and shown together, numbered as in the statistics stream.
enum class ActionGroup : std::uint8_t {
  security_acl = 0,
  nat = 1,
  load_balance = 2,
  inspect_http = 3,
  inspect_ftp = 4,
  inspect_dns = 5,
  inspect_icmp = 6,
  inspect_rtsp = 7,
};

[[nodiscard]] std::optional<ActionGroup> group_of(const PolicyAction& action);

// What has counters of its own: a group of actions, but each translation by itself.
struct CountedAction {
  ActionGroup group = ActionGroup::security_acl;
  std::optional<PolicyAction> translation;

  friend auto operator<=>(const CountedAction&, const CountedAction&) = default;
};

// In the order of groups, translations in their own.
[[nodiscard]] std::vector<CountedAction> counted_actions(const ActionList& actions);

struct ActionStatistics {
  Counters counters;
  RequestCounters requests;
  CommandCounters commands;
  // By the number of the class in the layer-7 policy-map (PolicyClass::number).
  std::map<std::uint64_t, LayerSevenCounters> layer7;
};

class ClassStatistics {
 public:
  // Connections of the class as a whole, whatever its actions.
  Counters counters;

  // Made when it is not there. Stays where it is in memory until its action goes.
  [[nodiscard]] ActionStatistics& at(const CountedAction& action) { return actions_[action]; }
  [[nodiscard]] const ActionStatistics* find(const CountedAction& action) const {
    const auto found = actions_.find(action);
    return found == actions_.end() ? nullptr : &found->second;
  }
  // Forgets what is counted of actions that are not among these.
  void keep_only(const ActionList& actions) noexcept;
  // Sets all but the levels to 0.
  void clear() noexcept;

 private:
  std::map<CountedAction, ActionStatistics> actions_;
};

}  // namespace kvel::manager
