#include "manager/store/sqlite_store.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <utility>

#include "manager/store/lost_changes.h"
#include "manager/store/record_checksum.h"
#include "manager/store/record_reader.h"
#include "manager/store/store_error.h"
#include "manager/store/store_format.h"

namespace kvel::manager {
namespace {

// Settings of the connection only; none of them writes. Exclusive locking keeps the log's index in our own memory.
constexpr const char* kSettings =
    "PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=FULL; PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON;"
    "PRAGMA cache_size=-16384";

StoreResult<void> write_new_store(const std::string& path) {
  auto connection = Connection::open(path);
  if (!connection) return tl::unexpected(connection.error());
  if (auto done = connection->run(kSettings); !done) return done;
  if (auto mode = connection->value("PRAGMA journal_mode=WAL"); !mode) return tl::unexpected(mode.error());
  const std::string sql = "BEGIN; " + sql_for_new_store() + "; COMMIT";
  if (auto done = connection->run(sql.c_str()); !done) return done;
  return connection->run("PRAGMA wal_checkpoint(TRUNCATE)");
}

// A store appears under its name whole or not at all.
StoreResult<void> make_store(StoreFile& file) {
  auto successor = file.make_successor();
  if (!successor) return tl::unexpected(successor.error());
  StoreResult<void> result = write_new_store(successor->path());
  if (result) result = file.replace_with(*successor);
  if (!result) successor->discard();
  return result;
}

bool exists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

}  // namespace

SqliteStore::SqliteStore(StoreFile file, SqliteOptions options)
    : file_(std::move(file)), options_(std::move(options)), had_log_(exists(file_.log_path())) {}

StoreResult<std::unique_ptr<SqliteStore>> SqliteStore::open(const std::filesystem::path& path, SqliteOptions options) {
  auto file = StoreFile::open(path, options.makes_folder);
  if (!file) return tl::unexpected(file.error());
  if (file->is_empty()) {
    if (auto made = make_store(*file); !made) {
      file->remove();
      return tl::unexpected(made.error());
    }
  }
  if (auto error = why_head_refused(*file)) return tl::unexpected(*std::move(error));

  std::unique_ptr<SqliteStore> store(new SqliteStore(*std::move(file), std::move(options)));
  const auto found = scan_log(store->file_.path(), store->file_.log_path());
  if (!found) return tl::unexpected(found.error());
  store->log_found_ = *found;
  auto connection = Connection::open(store->file_.path());
  if (!connection) return tl::unexpected(connection.error());
  store->connection_ = std::make_unique<Connection>(*std::move(connection));
  store->connection_->set_tidy_close(false);
  if (auto done = store->connection_->run(kSettings); !done) return tl::unexpected(done.error());
  if (auto checked = store->check_format(); !checked) return tl::unexpected(checked.error());
  if (auto checked = store->check_log(); !checked) return tl::unexpected(checked.error());
  if (auto checked = store->check_structure(); !checked) return tl::unexpected(checked.error());
  return store;
}

SqliteStore::~SqliteStore() {
  if (connection_ == nullptr) return;
  const bool was_ours = log_ != nullptr;
  const bool is_tidy = was_ours && log_->prepare_close();
  if (was_ours) connection_->set_tidy_close(is_tidy);
  for (Statement* statement : {&begin_, &commit_, &rollback_, &write_object_, &erase_object_, &write_part_,
                               &erase_part_, &erase_parts_, &write_head_})
    *statement = Statement();
  connection_.reset();
  if (is_tidy) log_->remove_mark();
  // Reading alone makes an empty log; a refused store gets rid of it again.
  if (!was_ours && !had_log_) ::unlink(file_.log_path().c_str());
}

// Format and tables as the log leaves them, in case it is ahead of the file.
StoreResult<void> SqliteStore::check_format() {
  const auto format = connection_->value("PRAGMA user_version");
  if (!format) return tl::unexpected(format.error());
  for (const std::uint32_t known : {kFormatWithoutId, kFormatWithoutNumbers, kFormat}) {
    if (*format == std::to_string(known)) format_ = known;
  }
  if (format_ == 0) {
    return tl::unexpected(
        store_error(StoreFault::newer, file_.path(),
                    fmt::format("written by another version (format {}, this version reads {})", *format, kFormat)));
  }
  const auto schema = connection_->value(kSchemaQuery);
  if (!schema) return tl::unexpected(schema.error());
  if (*schema != schema_of(format_)) {
    return tl::unexpected(connection_->damaged("its tables are not those of this format"));
  }
  auto head = read_head(*connection_, format_);
  if (!head) return tl::unexpected(std::move(head).error());
  head_ = *head;
  if (format_ == kFormatWithoutId) return {};
  const auto id = connection_->value("SELECT id FROM store");
  if (!id) return tl::unexpected(id.error());
  if (id->size() != kStoreIdSize) return tl::unexpected(connection_->damaged("it has no id"));
  id_ = *id;
  return {};
}

StoreResult<void> SqliteStore::check_log() {
  const auto fault = why_log_refused(file_.log_path(), id_, log_found_, MarkFile::open(file_.mark_path()).read());
  if (!fault) return {};
  if (!options_.accepts_loss || fault->fault != StoreFault::incomplete) {
    return tl::unexpected(store_error(fault->fault, file_.path(), fault->what));
  }
  accepts_this_loss_ = true;
  warn(fmt::format("store {}: {}; going on without them", file_.path(), fault->what));
  return {};
}

void SqliteStore::warn(const std::string& what) const {
  if (options_.warn) options_.warn(what);
}

StoreResult<void> SqliteStore::check_structure() {
  const auto verdict = connection_->value("PRAGMA quick_check(1)");
  if (!verdict) return tl::unexpected(verdict.error());
  if (*verdict != "ok") return tl::unexpected(connection_->damaged(*verdict));
  return {};
}

StoreResult<void> SqliteStore::prepare_statements() {
  const std::pair<Statement*, std::string_view> statements[] = {
      {&begin_, "BEGIN IMMEDIATE"},
      {&commit_, "COMMIT"},
      {&rollback_, "ROLLBACK"},
      {&write_object_,
       "INSERT INTO objects VALUES (?1, ?2, ?3, ?4, ?5, ?6)"
       " ON CONFLICT DO UPDATE SET context = excluded.context, kind = excluded.kind, name = excluded.name,"
       " body = excluded.body, checksum = excluded.checksum"},
      {&erase_object_, "DELETE FROM objects WHERE number = ?1"},
      {&write_part_,
       "INSERT INTO parts VALUES (?1, ?2, ?3, ?4)"
       " ON CONFLICT DO UPDATE SET body = excluded.body, checksum = excluded.checksum"},
      {&erase_part_, "DELETE FROM parts WHERE object = ?1 AND item = ?2"},
      {&erase_parts_, "DELETE FROM parts WHERE object = ?1"},
      {&write_head_, "UPDATE head SET revision = ?1, next_number = ?2"},
  };
  for (const auto& [statement, sql] : statements) {
    auto prepared = connection_->prepare(sql);
    if (!prepared) return tl::unexpected(prepared.error());
    *statement = *std::move(prepared);
  }
  if (options_.page_limit == 0) return {};
  return connection_->run(fmt::format("PRAGMA max_page_count={}", options_.page_limit).c_str());
}

// Writes the records of an older format anew in this one, all or nothing.
StoreResult<void> SqliteStore::upgrade() {
  if (auto done = write_anew(); !done) {
    if (connection_->in_transaction()) (void)connection_->run("ROLLBACK");
    return done;
  }
  // What cannot be moved now is in the log, and valid there.
  (void)connection_->checkpoint(SQLITE_CHECKPOINT_TRUNCATE);
  const auto found = scan_log(file_.path(), file_.log_path());
  if (!found) return tl::unexpected(found.error());
  log_found_ = *found;
  return check_format();
}

StoreResult<void> SqliteStore::write_anew() {
  if (auto done = connection_->run(("BEGIN; " + sql_for_new_tables(format_)).c_str()); !done) return done;
  if (auto done = prepare_statements(); !done) return done;
  int code = SQLITE_OK;
  const auto write = [&](const StoreKey& key, std::string_view body) -> tl::expected<void, std::string> {
    if (code == SQLITE_OK) code = apply({key, body});
    return {};
  };
  if (auto read = read_records(*connection_, format_, write); !read) return read;
  if (code == SQLITE_OK) code = write_head({0, head_.next_number});
  if (code != SQLITE_OK) return tl::unexpected(connection_->error(code));
  return connection_->run(fmt::format("{}; COMMIT", kWithoutOldTables).c_str());
}

// The point from which on the store may be written. A copy made with SQLite's tools may have lost the log mode.
StoreResult<void> SqliteStore::accept() {
  if (log_ != nullptr) return {};
  const auto mode = connection_->value("PRAGMA journal_mode=WAL");
  if (!mode) return tl::unexpected(mode.error());
  if (*mode != "wal") {
    return tl::unexpected(store_error(StoreFault::failed, file_.path(), "it cannot be given a write-ahead log"));
  }
  if (format_ != kFormat) {
    had_log_ = true;  // whatever comes now
    if (auto done = upgrade(); !done) return done;
  } else if (auto done = prepare_statements(); !done) {
    return done;
  }
  log_ = std::make_unique<LogKeeper>(file_, *connection_, id_, log_found_);
  if (!log_->has_mark()) {
    warn(fmt::format("store {}: there can be no {}: should the log be lost, that cannot be noticed", file_.path(),
                     file_.mark_path()));
  }
  for (const std::string& warning : file_.warnings())
    warn(warning);
  if (log_found_.state == LogScan::State::empty && !accepts_this_loss_) return {};
  // Behind the last whole transaction there may be a torn one, which is not to be mistaken for damage later. When
  // there is no space for that now, there will be.
  auto emptied = log_->empty();
  return accepts_this_loss_ ? emptied : StoreResult<void>();
}

StoreResult<void> SqliteStore::load(const Visitor& visit, const Validator& validate) {
  auto head = read_head(*connection_, format_);
  if (!head) return tl::unexpected(std::move(head).error());
  head_ = *head;
  if (auto read = read_records(*connection_, format_, visit); !read) return read;
  if (auto sound = validate(); !sound) return tl::unexpected(connection_->damaged(sound.error()));
  return accept();
}

int SqliteStore::apply(const StoreChange& change) {
  const auto& [key, body] = change;
  const auto object = static_cast<std::int64_t>(key.object);
  if (!body) {
    if (key.item != 0) return run(erase_part_, object, static_cast<std::int64_t>(key.item));
    const int code = run(erase_parts_, object);
    return code == SQLITE_OK ? run(erase_object_, object) : code;
  }
  const std::int64_t checksum = record_checksum(key, *body);
  if (key.item != 0) return run(write_part_, object, static_cast<std::int64_t>(key.item), *body, checksum);
  return run(write_object_, object, std::int64_t{key.context}, std::int64_t{key.kind}, key.owner, *body, checksum);
}

template <class... Values>
int SqliteStore::run(Statement& statement, const Values&... values) {
  int parameter = 0;
  (statement.bind(++parameter, values), ...);
  return statement.run();
}

int SqliteStore::write_head(const StoreHead& head) {
  return run(write_head_, static_cast<std::int64_t>(head.revision), static_cast<std::int64_t>(head.next_number));
}

int SqliteStore::commit_all(const StoreCommit& commit) {
  if (const int code = begin_.run(); code != SQLITE_OK) return code;
  for (const StoreChange& change : commit.changes) {
    if (const int code = apply(change); code != SQLITE_OK) return code;
  }
  if (const int code = write_head({commit.base + 1, commit.next_number}); code != SQLITE_OK) return code;
  return commit_.run();
}

StoreResult<void> SqliteStore::commit(const StoreCommit& commit) {
  if (commit.changes.empty()) return {};
  if (auto accepted = accept(); !accepted) return accepted;
  if (const std::string_view what = log_->what_happened(); !what.empty()) {
    return tl::unexpected(store_error(StoreFault::replaced, file_.path(), what));
  }
  if (commit.base != head_.revision) {
    return tl::unexpected(store_error(StoreFault::conflict, file_.path(),
                                      fmt::format("it is at revision {}, not {}", head_.revision, commit.base)));
  }
  if (listener_) listener_();
  const int code = commit_all(commit);
  if (code == SQLITE_OK) {
    log_->committed();
    head_ = {commit.base + 1, commit.next_number};
    return {};
  }
  // Some failures have rolled back already. The message, which needs memory, comes after the store is sound again.
  const int error_number = connection_->system_error_number();
  if (connection_->in_transaction()) (void)rollback_.run();
  // Such a change lies in the log as if it had been made, and a kill would bring it to light. The log is emptied, if
  // the disk lets it be.
  const bool is_in_log = code == SQLITE_IOERR_FSYNC && !log_->empty();
  StoreError error = connection_->error(code, error_number);
  if (is_in_log) {
    log_->refused_in_log();
    error.fault = StoreFault::unknown;
    error.message += "; the refused change may be there when the store is opened again";
  }
  return tl::unexpected(std::move(error));
}

StoreResult<void> SqliteStore::settle() {
  if (log_ == nullptr || !log_->has_changes()) return {};
  if (const std::string_view what = log_->what_happened(); !what.empty()) {
    return tl::unexpected(store_error(StoreFault::replaced, file_.path(), what));
  }
  return log_->empty();
}

}  // namespace kvel::manager
