// Where a policy-map is applied to traffic: nowhere, to all traffic of its context, or to that of some VLANs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kvel::manager {

inline constexpr std::uint32_t kMaxVlan = 4094;

struct Application {
  bool global = false;               // then there are no VLANs
  std::vector<std::uint32_t> vlans;  // 1 to kMaxVlan, ascending

  [[nodiscard]] bool anywhere() const { return global || !vlans.empty(); }
  [[nodiscard]] bool on(std::uint32_t vlan) const { return std::binary_search(vlans.begin(), vlans.end(), vlan); }
  // Whether a flow could belong to both.
  [[nodiscard]] bool overlaps(const Application& other) const {
    const auto is_shared = [&](std::uint32_t vlan) { return other.on(vlan); };
    return (global && other.global) || std::any_of(vlans.begin(), vlans.end(), is_shared);
  }

  friend bool operator==(const Application&, const Application&) = default;
};

}  // namespace kvel::manager
