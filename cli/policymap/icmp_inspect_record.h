// ICMP inspection of a class, as cm_update_l3_icmp_insp_config carries it: buffer(4), big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"

namespace kvel::cli::policymap {

struct IcmpInspectRecord {
  be32 error_mode;  // offset 0: 0 none, 1 or 2
};
static_assert(sizeof(IcmpInspectRecord) == 4);
static_assert(offsetof(IcmpInspectRecord, error_mode) == 0);

}  // namespace kvel::cli::policymap
