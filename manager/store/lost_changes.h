// Whether the log that lies beside a store holds everything that was acknowledged.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "manager/store/log_mark.h"
#include "manager/store/log_scan.h"
#include "manager/store/store.h"

namespace kvel::manager {

struct LogFault {
  StoreFault fault = StoreFault::incomplete;
  std::string what;
};

// Why the log at `log_path` of the store with this id is to be refused: changes are missing (incomplete), or it is that
// of another store (damaged). Nothing when all is well: also when a transaction at the end is torn that nothing proves
// to have been acknowledged, as a power cut leaves it.
[[nodiscard]] std::optional<LogFault> why_log_refused(std::string_view log_path, std::string_view store_id,
                                                      const LogScan& log, const std::optional<LogMark>& mark);

}  // namespace kvel::manager
