#include "manager/store/lost_changes.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>

namespace kvel::manager {
namespace {

// "the last 3 changes are lost"
std::string loss_text(std::string_view which, std::uint32_t count) {
  return fmt::format("{} {} change{} lost", which, count, count == 1 ? " is" : "s are");
}

}  // namespace

std::optional<LogFault> why_log_refused(std::string_view log_path, std::string_view store_id, const LogScan& log,
                                        const std::optional<LogMark>& mark) {
  const bool mark_is_of_log =
      mark && mark->frames > 0 && log.state == LogScan::State::sound && mark->salts == log.salts;
  const bool mark_is_ours = mark && mark->is_of(store_id);
  if (mark_is_of_log && !mark_is_ours) {
    return LogFault{StoreFault::damaged, fmt::format("the log beside it, {}, is that of another store", log_path)};
  }
  // A log that has begun anew since the mark was written had all of its changes moved into the file before.
  const bool mark_counts = mark_is_ours && mark->frames > 0 && (mark_is_of_log || log.state != LogScan::State::sound);
  const auto incomplete = [&](std::string_view what) {
    return LogFault{StoreFault::incomplete, fmt::format("its log, {}, {}", log_path, what)};
  };

  switch (log.state) {
    case LogScan::State::empty:
      if (!mark_counts) return std::nullopt;
      return incomplete(fmt::format("is missing or empty: {}", loss_text("the last", mark->changes)));
    case LogScan::State::unreadable:
      return incomplete(fmt::format("is damaged in its header: {}",
                                    mark_counts ? loss_text("the last", mark->changes) : "all changes in it are lost"));
    case LogScan::State::sound:
      break;
  }
  const bool lacks_marked = mark_counts && mark->frames > log.frames;
  const std::uint32_t marked = !lacks_marked ? 0 : mark->changes > log.changes ? mark->changes - log.changes : 1;
  const std::uint32_t seen = log.changes_behind > 1 ? log.changes_behind : 0;
  if (marked == 0 && seen == 0) return std::nullopt;
  return incomplete(fmt::format("is damaged or cut off behind frame {}: {}", log.frames,
                                seen > marked ? loss_text("at least", seen) : loss_text("the last", marked)));
}

}  // namespace kvel::manager
