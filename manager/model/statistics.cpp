#include "manager/model/statistics.h"

#include <algorithm>

namespace kvel::manager {
namespace {

using Group = std::optional<ActionGroup>;

template <class... Actions>
bool is_one_of(const PolicyAction& action) {
  return (std::holds_alternative<Actions>(action) || ...);
}

void clear(Counters& counters) { counters = {.current_connections = counters.current_connections}; }

bool counts(const CountedAction& counted, const PolicyAction& action) {
  if (group_of(action) != counted.group) return false;
  return !counted.translation || *counted.translation == action;
}

}  // namespace

Group group_of(const PolicyAction& action) {
  if (is_one_of<SecurityAclAction>(action)) return ActionGroup::security_acl;
  if (is_one_of<StaticNatAction, DynamicNatAction>(action)) return ActionGroup::nat;
  if (is_one_of<VipInServiceAction, VipIcmpReplyAction, VipAdvertiseAction, VipMetricAction, VipObjectAction,
                LoadBalanceAction, VipOptionAction>(action)) {
    return ActionGroup::load_balance;
  }
  if (is_one_of<InspectHttpAction>(action)) return ActionGroup::inspect_http;
  if (is_one_of<InspectFtpAction>(action)) return ActionGroup::inspect_ftp;
  if (is_one_of<InspectDnsAction>(action)) return ActionGroup::inspect_dns;
  if (is_one_of<InspectIcmpAction>(action)) return ActionGroup::inspect_icmp;
  if (is_one_of<InspectRtspAction>(action)) return ActionGroup::inspect_rtsp;
  return std::nullopt;
}

std::vector<CountedAction> counted_actions(const ActionList& actions) {
  std::vector<CountedAction> counted;
  for (const PolicyAction& action : actions) {
    const Group group = group_of(action);
    if (!group) continue;
    CountedAction one{*group, std::nullopt};
    if (*group == ActionGroup::nat) one.translation = action;
    counted.push_back(std::move(one));
  }
  std::sort(counted.begin(), counted.end());
  counted.erase(std::unique(counted.begin(), counted.end()), counted.end());
  return counted;
}

void ClassStatistics::keep_only(const ActionList& actions) noexcept {
  std::erase_if(actions_, [&](const auto& counted) {
    return std::none_of(actions.begin(), actions.end(),
                        [&](const PolicyAction& action) { return counts(counted.first, action); });
  });
}

void ClassStatistics::clear() noexcept {
  manager::clear(counters);
  for (auto& [action, statistics] : actions_) {
    manager::clear(statistics.counters);
    statistics.requests = {};
    statistics.commands = {};
    for (auto& [number, rule] : statistics.layer7)
      rule = {};
  }
}

}  // namespace kvel::manager
