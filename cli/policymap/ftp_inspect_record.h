// FTP inspection of a class in a layer-3/4 policy-map, as cm_update_l3_ftp_insp_config carries it: buffer(72),
// big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"

namespace kvel::cli::policymap {

struct FtpInspectRecord {
  be32 strict;           // offset 0: 1, also with a policy-map
  ObjectName policy;     // offset 4: the FTP-inspection policy-map
  char padding[3] = {};  // offset 69: 0
};
static_assert(sizeof(FtpInspectRecord) == 72);
static_assert(offsetof(FtpInspectRecord, strict) == 0);
static_assert(offsetof(FtpInspectRecord, policy) == 4);
static_assert(offsetof(FtpInspectRecord, padding) == 69);

}  // namespace kvel::cli::policymap
