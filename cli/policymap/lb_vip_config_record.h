// The load-balancing settings of a class in a layer-3/4 policy-map, as cm_update_l3_lb_config carries them:
// buffer(160), big-endian. A field counts only when its presence bit is set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"

namespace kvel::cli::policymap {

struct LbVipConfigRecord {
  be32 in_service;       // offset 0: 1 the virtual address is in service
  be32 icmp_reply;       // offset 4: 1 always, 2 when active
  be32 advertise;        // offset 8: the route; 1 always, 2 when active
  be32 metric;           // offset 12: of the route
  be32 reserved;         // offset 16: 0
  ObjectName object;     // offset 20
  ObjectName policy;     // offset 85: the load-balancing policy-map
  char padding[2] = {};  // offset 150: 0
  be32 option;           // offset 152: 1
  be32 presence;         // offset 156: VipPresence
};
static_assert(sizeof(LbVipConfigRecord) == 160);
static_assert(offsetof(LbVipConfigRecord, in_service) == 0);
static_assert(offsetof(LbVipConfigRecord, icmp_reply) == 4);
static_assert(offsetof(LbVipConfigRecord, advertise) == 8);
static_assert(offsetof(LbVipConfigRecord, metric) == 12);
static_assert(offsetof(LbVipConfigRecord, reserved) == 16);
static_assert(offsetof(LbVipConfigRecord, object) == 20);
static_assert(offsetof(LbVipConfigRecord, policy) == 85);
static_assert(offsetof(LbVipConfigRecord, padding) == 150);
static_assert(offsetof(LbVipConfigRecord, option) == 152);
static_assert(offsetof(LbVipConfigRecord, presence) == 156);

enum VipPresence : std::uint32_t {
  kInServiceGiven = 0x80000000,
  kIcmpReplyGiven = 0x40000000,
  kAdvertiseGiven = 0x20000000,
  kMetricGiven = 0x10000000,
  kObjectGiven = 0x04000000,
  kPolicyGiven = 0x02000000,
  kOptionGiven = 0x01000000,
};

}  // namespace kvel::cli::policymap
