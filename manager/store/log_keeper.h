// The write-ahead log of an open store: what has been acknowledged in it, the mark that says so, and when it is moved
// into the file.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "manager/store/log_mark.h"
#include "manager/store/log_scan.h"
#include "manager/store/sqlite_connection.h"
#include "manager/store/store_file.h"

namespace kvel::manager {

class LogKeeper {
 public:
  // The store is ours to write from here on. `found` is what its log held when it was opened.
  LogKeeper(StoreFile& file, Connection& connection, std::string_view store_id, const LogScan& found);
  LogKeeper(const LogKeeper&) = delete;
  LogKeeper& operator=(const LogKeeper&) = delete;
  ~LogKeeper() = default;  // after the connection has been closed, or together with it

  // Without one a lost log cannot be noticed.
  [[nodiscard]] bool has_mark() const { return mark_file_.is_open(); }
  [[nodiscard]] bool has_changes() const { return mark_.frames > 0; }

  // What others have done to the file or to its log, as a sentence; empty when nothing.
  [[nodiscard]] std::string_view what_happened() const;

  // A transaction is on disk: sets the mark, and moves a long log into the file. Cannot fail: what it does is not part
  // of the change.
  void committed() noexcept;
  // A transaction was refused and yet lies in the log, with its end.
  void refused_in_log() { has_refused_ = true; }

  // Moves all of the log into the file and empties it. An error leaves everything in the log; busy: a backup is being
  // made, which must not see the file change.
  [[nodiscard]] StoreResult<void> empty();

  // Before the connection is closed: whether that may delete the log, which is empty then.
  [[nodiscard]] bool prepare_close();
  // After it has been closed so.
  void remove_mark();

 private:
  [[nodiscard]] std::string_view what_happened_to_log() const;
  [[nodiscard]] off_t acknowledged_size() const { return mark_.frames == 0 ? 0 : log_size(mark_.frames, page_size_); }
  [[nodiscard]] int move_all() { return connection_.checkpoint(SQLITE_CHECKPOINT_PASSIVE); }

  StoreFile& file_;
  Connection& connection_;
  MarkFile mark_file_;
  Descriptor log_;
  dev_t log_device_ = 0;
  ino_t log_inode_ = 0;
  std::uint32_t page_size_ = 0;
  LogMark mark_;                  // what has been acknowledged in the log since it last began anew
  std::uint32_t frames_now_ = 0;  // by SQLite's word at its commit, until that is looked at
  bool has_refused_ = false;
};

}  // namespace kvel::manager
