// SQLite as the store uses it: a connection and prepared statements that close themselves, and errors translated.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "manager/store/store.h"

namespace kvel::manager {

class Statement {
 public:
  Statement() = default;
  explicit Statement(sqlite3_stmt* statement) : handle_(statement) {}

  // Parameters count from 1, columns from 0. A text must live until the statement has run.
  void bind(int parameter, std::int64_t number) { sqlite3_bind_int64(handle_.get(), parameter, number); }
  void bind(int parameter, std::string_view text) {
    sqlite3_bind_text64(handle_.get(), parameter, text.empty() ? "" : text.data(), text.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
  }
  [[nodiscard]] std::int64_t number(int column) const { return sqlite3_column_int64(handle_.get(), column); }
  // Valid until the next step.
  [[nodiscard]] std::string_view text(int column) const {
    const auto* start = reinterpret_cast<const char*>(sqlite3_column_text(handle_.get(), column));
    if (start == nullptr) return {};
    return {start, static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
  }

  // SQLITE_ROW, SQLITE_DONE or an error.
  [[nodiscard]] int step() { return sqlite3_step(handle_.get()); }
  void reset() { sqlite3_reset(handle_.get()); }
  // Runs a statement without rows to its end: SQLITE_OK or an error.
  [[nodiscard]] int run() {
    const int code = step();
    reset();
    return code == SQLITE_DONE ? SQLITE_OK : code;
  }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

class Connection {
 public:
  // Opens an existing file for reading and writing; nothing is read or written yet.
  [[nodiscard]] static StoreResult<Connection> open(const std::string& path);

  [[nodiscard]] StoreResult<Statement> prepare(std::string_view sql);
  [[nodiscard]] StoreResult<void> run(const char* sql);
  // The first column of the first row.
  [[nodiscard]] StoreResult<std::string> value(std::string_view sql);

  // What a result code means; the system's error number is that of the last failure, unless it was kept from before.
  [[nodiscard]] StoreError error(int code) const { return error(code, system_error_number()); }
  [[nodiscard]] StoreError error(int code, int error_number) const;
  [[nodiscard]] int system_error_number() const { return handle_ == nullptr ? 0 : sqlite3_system_errno(handle_.get()); }
  [[nodiscard]] StoreError damaged(std::string_view what) const;

  // Whether closing may move the log into the file and delete it.
  void set_tidy_close(bool tidy) {
    sqlite3_db_config(handle_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, tidy ? 0 : 1, nullptr);
  }
  // Moves the log into the file in this mode of SQLite's: SQLITE_OK when all of it has been moved.
  [[nodiscard]] int checkpoint(int mode);
  // From now on each commit writes the length of the log, in frames, to `frames`, which outlives the connection or its
  // last commit. SQLite no longer moves the log by itself.
  void on_commit(std::uint32_t& frames);
  [[nodiscard]] bool in_transaction() const { return sqlite3_get_autocommit(handle_.get()) == 0; }

 private:
  struct Close {
    void operator()(sqlite3* connection) const { sqlite3_close(connection); }
  };
  explicit Connection(std::string path) : path_(std::move(path)) {}

  std::string path_;
  std::unique_ptr<sqlite3, Close> handle_;
};

}  // namespace kvel::manager
