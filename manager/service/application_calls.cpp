// The call that applies a policy-map to traffic, and takes it away.
#include <algorithm>
#include <utility>

#include "manager/service/applications.h"
#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kAllTraffic = 0;

Status apply(Application& application, std::uint32_t vlan) {
  if (vlan == kAllTraffic ? !application.vlans.empty() : application.global) return Status::policy_applied_otherwise;
  if (vlan == kAllTraffic) {
    application.global = true;
  } else if (!application.on(vlan)) {
    application.vlans.insert(std::lower_bound(application.vlans.begin(), application.vlans.end(), vlan), vlan);
  }
  return Status::ok;
}

Status take_away(Application& application, std::uint32_t vlan) {
  const bool is_applied = vlan == kAllTraffic ? application.global : application.on(vlan);
  if (!is_applied) return Status::policy_not_applied;
  if (vlan == kAllTraffic) {
    application.global = false;
  } else {
    application.vlans.erase(std::lower_bound(application.vlans.begin(), application.vlans.end(), vlan));
  }
  return Status::ok;
}

}  // namespace

Status Calls::apply_policy(std::uint16_t context_number, rpc::SessionId /*session*/, std::string_view policy,
                           std::uint32_t vlan, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  if (vlan > kMaxVlan) return Status::invalid_vlan;
  const Context& shown = context(context_number);
  const PolicyMap* const present = shown.find<PolicyMap>(policy);
  if (present == nullptr) return Status::policy_map_not_found;
  if (!can_be_applied(present->settings->type)) return Status::policy_not_applicable;

  PolicyMapSettings settings = *present->settings;
  const Status status = add == 1 ? apply(settings.application, vlan) : take_away(settings.application, vlan);
  if (!succeeded(status)) return status;
  if (is_application_taken(shown, policy, settings)) return Status::application_taken;
  return put<PolicyMap>(context_number, policy, std::move(settings));
}

}  // namespace kvel::manager
