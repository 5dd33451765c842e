// The checks of what a user typed, one copy of each. Pure functions; the calling handler words the refusal.
#pragma once

#include <cstdint>

namespace kvel::cli {

// Whether an IPv4 address (first octet most significant) may be a host's: not 0.0.0.0/8, not loopback, not multicast or
// reserved, not broadcast.
bool is_valid_host_address(std::uint32_t address);

// Whether `text` is an HTTP token: one or more ASCII characters, no controls, no white space, no separators. A null
// pointer is none. Classified as ASCII classes, whatever the locale.
bool is_http_token(const char* text);

// Whether a network mask is a run of ones from the top bit down followed only by zeros. A mask of 0 is none.
constexpr bool is_contiguous_mask(std::uint32_t mask) { return mask != 0 && (~mask & (~mask + 1)) == 0; }

}  // namespace kvel::cli
