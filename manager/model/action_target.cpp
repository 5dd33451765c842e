#include "manager/model/action_target.h"

namespace kvel::manager {
namespace {

using Target = std::optional<ActionTarget>;

Target policy_map(std::string_view name, PolicyMapType type) {
  if (name.empty()) return std::nullopt;
  return ActionTarget{ObjectKind::policy_map, name, type};
}
Target ssl_proxy(std::string_view name) { return ActionTarget{ObjectKind::ssl_proxy, name, {}}; }
Target parameter_map(std::string_view name, ParameterMapType type) {
  return ActionTarget{ObjectKind::parameter_map, name, type};
}

Target find_target(const LoadBalanceAction& action) {
  return policy_map(action.policy, PolicyMapType::http_load_balancing);
}
Target find_target(const InspectHttpAction& action) {
  return policy_map(action.policy, PolicyMapType::http_inspection);
}
Target find_target(const InspectFtpAction& action) { return policy_map(action.policy, PolicyMapType::ftp_inspection); }
Target find_target(const SslProxyServerAction& action) { return ssl_proxy(action.name); }
Target find_target(const SslProxyClientAction& action) { return ssl_proxy(action.name); }
Target find_target(const ConnectionParametersAction& action) {
  return parameter_map(action.name, ParameterMapType::connection);
}
Target find_target(const ApplicationParametersAction& action) {
  return parameter_map(action.name, ParameterMapType::http);
}
template <class Action>
Target find_target(const Action& /*action*/) {
  return std::nullopt;
}

}  // namespace

Target target_of(const PolicyAction& action) {
  return std::visit([](const auto& kind) { return find_target(kind); }, action);
}

}  // namespace kvel::manager
