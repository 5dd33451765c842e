// One application of a policy-map to traffic, as the record that its command creates: for the grammar and for
// rendering a configuration.
#pragma once

#include <cstdint>
#include <string_view>

namespace kvel::shell {

inline constexpr std::uint32_t kHighestVlan = 4094;

inline constexpr std::string_view kApplicationRecord = "application";
inline constexpr std::string_view kAppliedPolicyMember = "policy";
inline constexpr std::string_view kAppliedVlanMember = "vlan";  // left out: all traffic

}  // namespace kvel::shell
