// The options of a class in a layer-3/4 policy-map, as cm_update_l3_opt_config carries them: buffer(8), big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"

namespace kvel::cli::policymap {

struct L3OptionFlags {
  be32 options;   // offset 0: bit 31 security access list; no other bit is set here
  be32 reserved;  // offset 4: 0
};
static_assert(sizeof(L3OptionFlags) == 8);
static_assert(offsetof(L3OptionFlags, options) == 0);
static_assert(offsetof(L3OptionFlags, reserved) == 4);

inline constexpr std::uint32_t kSecurityAccessList = 0x80000000;

}  // namespace kvel::cli::policymap
