// Applied policy-maps.
#include "shell/configuration/service_policy.h"

#include <algorithm>

#include "kvel/host.h"
#include "kvel/rpc.h"
#include "shell/configuration/record_command.h"
#include "shell/configuration/response.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/service_policy.h"

namespace kvel::shell {

namespace {

constexpr const char* kApplied = "applied";
constexpr const char* kAppliedGlobally = "global";

ConfigCommand application_command(const Grammar& grammar, const ObjectRecord& application) {
  return command_of_record(grammar, kConfigMode, kApplicationRecord, application)
      .value_or(ConfigCommand{kConfigMode, {}, {}});
}

}  // namespace

tl::expected<void, CallFailure> apply_policy(int context, std::uint32_t session_id, const std::string& policy,
                                             std::uint32_t vlan, bool add) {
  const std::int32_t status =
      tnrpc_call("kvel_apply_policy", 5, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_SESSION, session_id,
                 TNRPC_ARG_STRING, policy.c_str(), TNRPC_ARG_U32, vlan, TNRPC_ARG_U8, add ? 1 : 0);
  if (!succeeded(status)) return tl::unexpected(failure(status));
  return {};
}

tl::expected<std::vector<std::string>, CallFailure> applied_policies(int context) {
  std::vector<std::string> names;
  const auto fetched = for_each_object(context, KVEL_DOMAIN_POLICY_MAP, [&](const ObjectRecord& policy_map) {
    if (policy_map.contains(kApplied)) names.push_back(policy_map.at("name").get<std::string>());
  });
  if (!fetched) return tl::unexpected(fetched.error());
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<ConfigCommand> application_commands(const Grammar& grammar, const ObjectRecord& policy_map) {
  std::vector<ConfigCommand> commands;
  const auto applied = policy_map.find(kApplied);
  if (applied == policy_map.end()) return commands;
  ObjectRecord application{{kAppliedPolicyMember, policy_map.at("name")}};
  if (*applied == kAppliedGlobally) return {application_command(grammar, application)};
  if (!applied->is_array()) return {ConfigCommand{kConfigMode, {}, {}}};
  for (const ObjectRecord& vlan : *applied) {
    application[std::string(kAppliedVlanMember)] = vlan;
    commands.push_back(application_command(grammar, application));
  }
  return commands;
}

}  // namespace kvel::shell
