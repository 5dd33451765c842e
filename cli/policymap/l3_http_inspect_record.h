// HTTP inspection of a class in a layer-3/4 policy-map, as cm_update_l3_http_insp_config carries it: buffer(156),
// big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"

namespace kvel::cli::policymap {

struct L3HttpInspectRecord {
  be32 option;             // offset 0: 1
  be32 url_logging;        // offset 4: 1
  char reserved[81] = {};  // offset 8: 0
  ObjectName policy;       // offset 89: the HTTP-inspection policy-map
  char padding[2] = {};    // offset 154: 0
};
static_assert(sizeof(L3HttpInspectRecord) == 156);
static_assert(offsetof(L3HttpInspectRecord, option) == 0);
static_assert(offsetof(L3HttpInspectRecord, url_logging) == 4);
static_assert(offsetof(L3HttpInspectRecord, reserved) == 8);
static_assert(offsetof(L3HttpInspectRecord, policy) == 89);
static_assert(offsetof(L3HttpInspectRecord, padding) == 154);

}  // namespace kvel::cli::policymap
