#include "manager/store/log_keeper.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "manager/store/store_error.h"

namespace kvel::manager {
namespace {

// As long as SQLite lets it become by default; then it begins anew with the next change.
constexpr std::uint32_t kLongLog = 1000;

}  // namespace

LogKeeper::LogKeeper(StoreFile& file, Connection& connection, std::string_view store_id, const LogScan& found)
    : file_(file),
      connection_(connection),
      mark_file_(MarkFile::make(file.mark_path())),
      log_(::open(file.log_path().c_str(), O_RDONLY | O_CLOEXEC)),
      mark_{.salts = found.salts, .frames = found.frames, .changes = found.changes} {
  std::copy_n(store_id.begin(), std::min(store_id.size(), kStoreIdSize), mark_.store_id.begin());
  if (const auto size = connection_.value("PRAGMA page_size")) {
    page_size_ = static_cast<std::uint32_t>(std::strtoul(size->c_str(), nullptr, 10));
  }
  struct stat status {};
  if (::fstat(log_.get(), &status) == 0) {
    log_device_ = status.st_dev;
    log_inode_ = status.st_ino;
  }
  connection_.on_commit(frames_now_);
  mark_file_.write(mark_);
  file_.take_down();
}

std::string_view LogKeeper::what_happened_to_log() const {
  if (!log_.is_open()) return {};
  struct stat status {};
  if (::stat(file_.log_path().c_str(), &status) != 0) return "its log has been deleted or moved away";
  if (status.st_dev != log_device_ || status.st_ino != log_inode_) {
    return "another file has been put in the place of its log";
  }
  return status.st_size < acknowledged_size() ? "its log has been cut off" : "";
}

std::string_view LogKeeper::what_happened() const {
  const std::string_view file = file_.what_happened();
  return file.empty() ? what_happened_to_log() : file;
}

void LogKeeper::committed() noexcept {
  const std::uint32_t frames = std::exchange(frames_now_, 0);
  if (frames == 0) return;  // nothing was there to be changed
  // A log that was short has not begun anew.
  if (mark_.frames == 0 || mark_.frames >= kLongLog) {
    const LogSalts salts = read_log_salts(log_.get());
    if (std::exchange(mark_.salts, salts) != salts) mark_.changes = 0;
  }
  mark_.frames = frames;
  ++mark_.changes;
  // The end of a longer transaction that was refused may lie behind this one: it would look like changes behind a
  // damaged place.
  if (has_refused_ && ::truncate(file_.log_path().c_str(), log_size(frames, page_size_)) == 0) has_refused_ = false;
  mark_file_.write(mark_);
  if (frames < kLongLog || (has_mark() && !mark_file_.try_lock_alone())) return;
  (void)move_all();  // what cannot be moved is tried again at the next change
  file_.take_down();
  mark_file_.unlock();
}

// The mark must not promise a log any more when it is gone, not even after a power cut; and it must promise it as long
// as the file may lack what is in it.
StoreResult<void> LogKeeper::empty() {
  if (has_mark() && !mark_file_.try_lock_alone()) {
    return tl::unexpected(store_error(StoreFault::busy, file_.path(), "a backup of it is being made"));
  }
  StoreResult<void> result;
  const LogMark before = std::exchange(mark_, LogMark{.store_id = mark_.store_id});
  int code = move_all();
  if (code == SQLITE_OK && has_mark() && !(mark_file_.write(mark_) && mark_file_.sync())) {
    result = tl::unexpected(system_error(file_.path(), "its mark cannot be written", errno));
  } else {
    if (code == SQLITE_OK) code = connection_.checkpoint(SQLITE_CHECKPOINT_TRUNCATE);
    if (code != SQLITE_OK) result = tl::unexpected(connection_.error(code));
  }
  if (result) {
    has_refused_ = false;
  } else {
    mark_ = before;
    mark_file_.write(mark_);
  }
  file_.take_down();
  mark_file_.unlock();
  return result;
}

bool LogKeeper::prepare_close() {
  const std::string_view log = what_happened_to_log();
  struct stat status {};
  (void)::fstat(log_.get(), &status);
  // A log that only lost its name still holds everything.
  if (!file_.what_happened().empty() || status.st_size < acknowledged_size()) return false;
  if (status.st_size > 0 && !empty()) return false;
  return log.empty();
}

void LogKeeper::remove_mark() {
  if (has_mark() && mark_file_.try_lock_alone() && mark_file_.is_at(file_.mark_path()))
    ::unlink(file_.mark_path().c_str());
}

}  // namespace kvel::manager
