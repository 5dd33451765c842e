#include "manager/model/action_check.h"

#include "manager/model/application.h"
#include "manager/model/text.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kMaxPort = 65535;
constexpr std::uint32_t kMaxIcmpErrorMode = 2;
constexpr std::uint32_t kMaxNumber676 = 255;

Status check_name(std::string_view name) { return is_object_name(name) ? Status::ok : Status::invalid_name; }
// 0 means none.
Status check_vlan(std::uint32_t vlan) { return vlan <= kMaxVlan ? Status::ok : Status::invalid_vlan; }

Status check(const StaticNatAction& action) {
  if (!is_host_address(action.address)) return Status::invalid_address;
  if (action.mask == Ipv4{} || !is_mask(action.mask)) return Status::invalid_mask;
  return action.port <= kMaxPort ? check_vlan(action.vlan) : Status::invalid_port;
}
Status check(const DynamicNatAction& action) { return check_vlan(action.vlan); }
Status check(const LoadBalanceAction& action) { return check_name(action.policy); }
Status check(const InspectHttpAction& action) { return action.policy.empty() ? Status::ok : check_name(action.policy); }
Status check(const InspectFtpAction& action) { return action.policy.empty() ? Status::ok : check_name(action.policy); }
Status check(const InspectIcmpAction& action) {
  return action.number <= kMaxIcmpErrorMode ? Status::ok : Status::bad_arguments;
}
Status check(const Number676Action& action) {
  return action.number >= 1 && action.number <= kMaxNumber676 ? Status::ok : Status::bad_arguments;
}
Status check(const InsertHeaderAction& action) {
  if (!is_http_token(action.name, kMaxExpressionBytes)) return Status::invalid_token;
  return is_expression_text(action.value) ? Status::ok : Status::invalid_text;
}
Status check(const InspectDnsAction&) { return Status::ok; }
Status check(const VipMetricAction&) { return Status::ok; }

template <KindName Kind, PolicyMapType Type>
Status check(const NameAction<Kind, Type>& action) {
  return check_name(action.name);
}
template <KindName Kind, PolicyMapType Type>
Status check(const PlainAction<Kind, Type>&) {
  return Status::ok;
}
template <KindName Kind, PolicyMapType Type>
Status check(const WhenActiveAction<Kind, Type>&) {
  return Status::ok;
}
template <KindName Kind, PolicyMapType Type>
Status check(const LogAction<Kind, Type>&) {
  return Status::ok;
}

}  // namespace

Status check_action(const PolicyAction& action) {
  return std::visit([](const auto& kind) { return check(kind); }, action);
}

// One verdict does not take the place of the other here: that would open or close the appliance by the way.
Status check_together(const ActionList& actions) {
  const bool both =
      find_action<ManagementPermitAction>(actions) != nullptr && find_action<ManagementDenyAction>(actions) != nullptr;
  return both ? Status::permit_and_deny : Status::ok;
}

}  // namespace kvel::manager
