// A disk that fails on demand: SQLite's own view of the file system, with errors in it.
#pragma once

#include <sqlite3.h>

namespace kvel::faults {

// While it lives, connections that SQLite opens go through it. One at a time. What is written goes to the real files;
// nothing is forced to a real disk, which no test of a process could see anyway.
class FailingDisk {
 public:
  enum class Failure {
    sync,         // a file cannot be forced to disk
    write,        // nothing is written, an input/output error
    full,         // nothing is written, no space left
    short_write,  // half is written, then there is no space left
  };

  FailingDisk();
  FailingDisk(const FailingDisk&) = delete;
  FailingDisk& operator=(const FailingDisk&) = delete;
  ~FailingDisk();

  // The operation after `before` others of its kind fails; a lasting failure is one of all after it too.
  void fail(Failure failure, int before, bool lasting);
  void repair();

  // Since fail() or repair(): how often something has failed.
  [[nodiscard]] int failures() const { return failures_; }

  // For the files of this disk: SQLite's result code of an operation, or SQLITE_OK to carry it out.
  [[nodiscard]] int before_sync();
  [[nodiscard]] int before_write(sqlite3_file* real, const void* bytes, int count, sqlite3_int64 offset);

 private:
  [[nodiscard]] bool strikes(bool concerned, int count);

  sqlite3_vfs vfs_{};
  bool armed_ = false;
  Failure failure_ = Failure::sync;
  int before_ = 0;
  bool lasting_ = false;
  int failures_ = 0;
  int syncs_ = 0;
  int writes_ = 0;
};

}  // namespace kvel::faults
