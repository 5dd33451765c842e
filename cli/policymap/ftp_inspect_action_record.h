// The action of an FTP-inspection policy-map, as cm_update_l7_ftp_insp_action carries it: buffer(4), big-endian.
#pragma once

#include <cstddef>

#include "cli/common/big_endian.h"

namespace kvel::cli::policymap {

struct FtpInspectActionRecord {
  be32 action;  // offset 0: 0 none, 5 deny, 6 mask the reply
};
static_assert(sizeof(FtpInspectActionRecord) == 4);
static_assert(offsetof(FtpInspectActionRecord, action) == 0);

}  // namespace kvel::cli::policymap
