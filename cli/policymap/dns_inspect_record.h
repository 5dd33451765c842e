// DNS inspection of a class, as cm_update_l3_dns_insp_config carries it: buffer(12), big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"

namespace kvel::cli::policymap {

struct DnsInspectRecord {
  be32 has_max_length;  // offset 0: 1 with a maximum length
  be32 max_length;      // offset 4: of a message, in bytes
  be32 presence;        // offset 8: bit 31 the maximum length counts
};
static_assert(sizeof(DnsInspectRecord) == 12);
static_assert(offsetof(DnsInspectRecord, has_max_length) == 0);
static_assert(offsetof(DnsInspectRecord, max_length) == 4);
static_assert(offsetof(DnsInspectRecord, presence) == 8);

inline constexpr std::uint32_t kMaxLengthGiven = 0x80000000;

}  // namespace kvel::cli::policymap
