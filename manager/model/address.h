// IPv4 addresses and masks, and the rules for them.
#pragma once

#include <compare>
#include <cstdint>

namespace kvel::manager {

struct Ipv4 {
  std::uint32_t word = 0;  // the first octet is the most significant

  friend auto operator<=>(const Ipv4&, const Ipv4&) = default;
};

// What can be a host's: not 0.0.0.0/8, not loopback, not multicast, reserved or broadcast.
[[nodiscard]] constexpr bool is_host_address(Ipv4 address) {
  const std::uint32_t first_octet = address.word >> 24U;
  return first_octet != 0 && first_octet != 127 && first_octet < 224;
}

// A run of one bits followed by zero bits; either run may be empty.
[[nodiscard]] constexpr bool is_mask(Ipv4 mask) {
  const std::uint32_t rest = ~mask.word;
  return (rest & (rest + 1)) == 0;
}

}  // namespace kvel::manager
