// One place where a policy-map is applied, as the record that its command leaves behind: for the grammar and for
// spelling a configuration.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvel::shell {

inline constexpr std::uint32_t kHighestVlan = 4094;

inline constexpr std::string_view kApplicationRecord = "application";
inline constexpr std::string_view kAppliedPolicyMember = "policy";
inline constexpr std::string_view kAppliedVlanMember = "vlan";  // left out: all traffic

}  // namespace kvel::shell
