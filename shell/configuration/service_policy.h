// Policy-maps that are applied to traffic: the shell's own calls for them, and applications as commands.
#pragma once

#include <cstdint>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "shell/configuration/config_command.h"
#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

inline constexpr std::uint32_t kAllTraffic = 0;

// Applies a policy-map to a VLAN or to kAllTraffic, or removes it there.
[[nodiscard]] tl::expected<void, CallFailure> apply_policy(int context, std::uint32_t session_id,
                                                           const std::string& policy, std::uint32_t vlan, bool add);

// The names of the policy-maps that are applied anywhere, sorted.
[[nodiscard]] tl::expected<std::vector<std::string>, CallFailure> applied_policies(int context);

// The commands that apply a policy-map as in its record; none when it is not applied.
[[nodiscard]] std::vector<ConfigCommand> application_commands(const Grammar& grammar, const ObjectRecord& policy_map);

}  // namespace kvel::shell
