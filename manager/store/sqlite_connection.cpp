#include "manager/store/sqlite_connection.h"

#include <fmt/format.h>

#include "manager/store/store_error.h"

namespace kvel::manager {
namespace {

// The low byte of a result code is its class, the rest the detail.
constexpr int result_class(int code) { return code & 0xff; }

StoreFault fault_of(int code, int error_number) {
  switch (result_class(code)) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return StoreFault::busy;
    case SQLITE_FULL:
      return StoreFault::full;
    case SQLITE_READONLY:
      return StoreFault::read_only;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return StoreFault::damaged;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      return StoreFault::no_access;
    case SQLITE_IOERR:
      return error_number == 0 ? StoreFault::failed : fault_of_errno(error_number);
    default:
      return StoreFault::failed;
  }
}

}  // namespace

StoreResult<Connection> Connection::open(const std::string& path) {
  Connection connection(path);
  sqlite3* handle = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(path.c_str(), &handle, kFlags, nullptr);
  connection.handle_.reset(handle);
  if (code != SQLITE_OK) return tl::unexpected(connection.error(code));
  return connection;
}

StoreResult<Statement> Connection::prepare(std::string_view sql) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) return tl::unexpected(error(code));
  return Statement(statement);
}

StoreResult<void> Connection::run(const char* sql) {
  const int code = sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) return tl::unexpected(error(code));
  return {};
}

StoreResult<std::string> Connection::value(std::string_view sql) {
  auto statement = prepare(sql);
  if (!statement) return tl::unexpected(statement.error());
  const int code = statement->step();
  if (code == SQLITE_DONE) return std::string();
  if (code != SQLITE_ROW) return tl::unexpected(error(code));
  return std::string(statement->text(0));
}

int Connection::checkpoint(int mode) {
  int frames = 0;
  int moved = 0;
  const int code = sqlite3_wal_checkpoint_v2(handle_.get(), nullptr, mode, &frames, &moved);
  return code == SQLITE_OK && moved < frames ? SQLITE_BUSY : code;
}

void Connection::on_commit(std::uint32_t& frames) {
  sqlite3_wal_hook(
      handle_.get(),
      [](void* count, sqlite3*, const char*, int now) {
        *static_cast<std::uint32_t*>(count) = static_cast<std::uint32_t>(now);
        return SQLITE_OK;
      },
      &frames);
}

StoreError Connection::error(int code, int error_number) const {
  const StoreFault fault = fault_of(code, error_number);
  if (fault == StoreFault::busy) return store_error(fault, path_, "it is in use");
  return store_error(fault, path_, fmt::format("{} (SQLite {})", sqlite3_errstr(code), code));
}

StoreError Connection::damaged(std::string_view what) const {
  return store_error(StoreFault::damaged, path_, fmt::format("it is damaged: {}", what));
}

}  // namespace kvel::manager
