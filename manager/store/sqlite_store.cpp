#include "manager/store/sqlite_store.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <utility>

#include "manager/store/lost_changes.h"
#include "manager/store/record_checksum.h"
#include "manager/store/store_error.h"
#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

// The marks of our files in SQLite's own header: "KVEL", and the version of the schema and of the records in it. The
// main file carries both from its first byte on; a later version moves its log into the file when it raises its number.
// Version 1 had no id of the store.
constexpr std::uint32_t kApplicationId = 0x4b56454c;
constexpr std::uint32_t kVersion = 2;
constexpr std::uint32_t kVersionWithoutId = 1;
constexpr std::size_t kVersionOffset = 60;
constexpr std::size_t kApplicationIdOffset = 68;
constexpr std::string_view kMagic{"SQLite format 3\0", 16};

constexpr std::string_view kRecordsTable =
    "CREATE TABLE records (context INTEGER NOT NULL, kind INTEGER NOT NULL, owner TEXT NOT NULL, item INTEGER NOT NULL,"
    " body TEXT NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY (context, kind, owner, item)) STRICT, WITHOUT ROWID";

// One row: a random number as kStoreIdSize characters, by which a store knows what belongs to it.
constexpr std::string_view kStoreTable = "CREATE TABLE store (id TEXT NOT NULL) STRICT";
constexpr std::string_view kFirstId = "INSERT INTO store VALUES (lower(hex(randomblob(16))))";

// Settings of the connection only; none of them writes. Exclusive locking keeps the log's index in our own memory.
constexpr const char* kSettings =
    "PRAGMA locking_mode=EXCLUSIVE; PRAGMA synchronous=FULL; PRAGMA trusted_schema=OFF; PRAGMA cell_size_check=ON;"
    "PRAGMA cache_size=-16384";

std::uint32_t big_endian_word(const StoreFile::Head& head, std::size_t offset) {
  return wire::read_word<std::uint32_t>(head.data() + offset);
}

// The first look, before SQLite may touch anything.
std::optional<StoreError> why_head_refused(const StoreFile& file) {
  StoreFile::Head head{};
  const auto size = file.read_head(head);
  if (!size) return size.error();
  const std::string_view start(head.data(), std::min(*size, kMagic.size()));
  if (start != kMagic) return store_error(StoreFault::damaged, file.path(), "this is not a store of this system");
  if (*size < head.size()) return store_error(StoreFault::damaged, file.path(), "it is damaged: cut off in its header");
  if (big_endian_word(head, kApplicationIdOffset) != kApplicationId) {
    return store_error(StoreFault::foreign, file.path(), "this is a database of another program");
  }
  const std::uint32_t version = big_endian_word(head, kVersionOffset);
  if (version > kVersion) {
    return store_error(StoreFault::newer, file.path(),
                       fmt::format("written by a newer version (format {}, this version reads {})", version, kVersion));
  }
  if (version < kVersionWithoutId) {
    return store_error(StoreFault::damaged, file.path(), fmt::format("it is damaged: no format {} exists", version));
  }
  return std::nullopt;
}

StoreResult<void> write_new_store(const std::string& path) {
  auto connection = Connection::open(path);
  if (!connection) return tl::unexpected(connection.error());
  if (auto done = connection->run(kSettings); !done) return done;
  if (auto mode = connection->value("PRAGMA journal_mode=WAL"); !mode) return tl::unexpected(mode.error());
  const std::string sql = fmt::format("BEGIN; PRAGMA application_id={}; PRAGMA user_version={}; {}; {}; {}; COMMIT",
                                      kApplicationId, kVersion, kRecordsTable, kStoreTable, kFirstId);
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

std::string describe(const StoreKey& key) {
  return fmt::format("the record of {:?}, item {}, kind {}, context {}", key.owner, key.item, key.kind, key.context);
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
  if (auto done = store->prepare_statements(); !done) return tl::unexpected(done.error());
  return store;
}

SqliteStore::~SqliteStore() {
  if (connection_ == nullptr) return;
  const bool was_ours = log_ != nullptr;
  const bool is_tidy = was_ours && log_->prepare_close();
  if (was_ours) connection_->set_tidy_close(is_tidy);
  for (Statement* statement : {&begin_, &commit_, &rollback_, &write_, &erase_part_, &erase_object_})
    *statement = Statement();
  connection_.reset();
  if (is_tidy) log_->remove_mark();
  // Reading alone makes an empty log; a refused store gets rid of it again.
  if (!was_ours && !had_log_) ::unlink(file_.log_path().c_str());
}

// Version and tables as the log leaves them, in case it is ahead of the file.
StoreResult<void> SqliteStore::check_format() {
  const auto version = connection_->value("PRAGMA user_version");
  if (!version) return tl::unexpected(version.error());
  const bool has_id = *version == std::to_string(kVersion);
  if (!has_id && *version != std::to_string(kVersionWithoutId)) {
    return tl::unexpected(
        store_error(StoreFault::newer, file_.path(),
                    fmt::format("written by another version (format {}, this version reads {})", *version, kVersion)));
  }
  const auto schema =
      connection_->value("SELECT group_concat(type || ' ' || name || ': ' || sql, '; ') FROM sqlite_schema");
  if (!schema) return tl::unexpected(schema.error());
  std::string expected = fmt::format("table records: {}", kRecordsTable);
  if (has_id) expected += fmt::format("; table store: {}", kStoreTable);
  if (*schema != expected) {
    return tl::unexpected(connection_->damaged("its tables are not those of this format"));
  }
  if (!has_id) return {};
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
      {&write_,
       "INSERT INTO records VALUES (?1, ?2, ?3, ?4, ?5, ?6)"
       " ON CONFLICT DO UPDATE SET body = excluded.body, checksum = excluded.checksum"},
      {&erase_part_, "DELETE FROM records WHERE context = ?1 AND kind = ?2 AND owner = ?3 AND item = ?4"},
      {&erase_object_, "DELETE FROM records WHERE context = ?1 AND kind = ?2 AND owner = ?3"},
  };
  for (const auto& [statement, sql] : statements) {
    auto prepared = connection_->prepare(sql);
    if (!prepared) return tl::unexpected(prepared.error());
    *statement = *std::move(prepared);
  }
  if (options_.page_limit == 0) return {};
  return connection_->run(fmt::format("PRAGMA max_page_count={}", options_.page_limit).c_str());
}

// Gives a store of the first format its id.
StoreResult<void> SqliteStore::upgrade() {
  const std::string sql = fmt::format("BEGIN; PRAGMA user_version={}; {}; {}; COMMIT", kVersion, kStoreTable, kFirstId);
  if (auto done = connection_->run(sql.c_str()); !done) {
    if (connection_->in_transaction()) (void)rollback_.run();
    return done;
  }
  // What cannot be moved now is in the log, and valid there.
  (void)connection_->checkpoint(SQLITE_CHECKPOINT_TRUNCATE);
  const auto found = scan_log(file_.path(), file_.log_path());
  if (!found) return tl::unexpected(found.error());
  log_found_ = *found;
  return check_format();
}

// The point from which on the store may be written. A copy made with SQLite's tools may have lost the log mode.
StoreResult<void> SqliteStore::accept() {
  if (log_ != nullptr) return {};
  const auto mode = connection_->value("PRAGMA journal_mode=WAL");
  if (!mode) return tl::unexpected(mode.error());
  if (*mode != "wal") {
    return tl::unexpected(store_error(StoreFault::failed, file_.path(), "it cannot be given a write-ahead log"));
  }
  if (id_.empty()) {
    had_log_ = true;  // whatever comes now
    if (auto done = upgrade(); !done) return done;
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
  auto select = connection_->prepare(
      "SELECT context, kind, owner, item, body, checksum FROM records ORDER BY context, kind, owner, item");
  if (!select) return tl::unexpected(select.error());
  int code = SQLITE_OK;
  while ((code = select->step()) == SQLITE_ROW) {
    const StoreKey key{static_cast<std::uint16_t>(select->number(0)), static_cast<std::uint8_t>(select->number(1)),
                       select->text(2), static_cast<std::uint64_t>(select->number(3))};
    const std::string_view body = select->text(4);
    if (key.context != select->number(0) || key.kind != select->number(1) || select->number(3) < 0 ||
        select->number(5) != record_checksum(key, body)) {
      return tl::unexpected(connection_->damaged(describe(key) + " has been altered (checksum)"));
    }
    if (auto taken = visit(key, body); !taken) return tl::unexpected(connection_->damaged(taken.error()));
  }
  if (code != SQLITE_DONE) return tl::unexpected(connection_->error(code));
  *select = Statement();
  if (auto sound = validate(); !sound) return tl::unexpected(connection_->damaged(sound.error()));
  return accept();
}

int SqliteStore::apply(const StoreChange& change) {
  const StoreKey& key = change.key;
  Statement& statement = change.body ? write_ : key.item == 0 ? erase_object_ : erase_part_;
  statement.bind(1, key.context);
  statement.bind(2, key.kind);
  statement.bind(3, key.owner);
  if (&statement != &erase_object_) statement.bind(4, static_cast<std::int64_t>(key.item));
  if (change.body) {
    statement.bind(5, *change.body);
    statement.bind(6, record_checksum(key, *change.body));
  }
  return statement.run();
}

int SqliteStore::commit_all(std::span<const StoreChange> changes) {
  // A statement outside a transaction is one of its own.
  if (changes.size() == 1) return apply(changes.front());
  if (const int code = begin_.run(); code != SQLITE_OK) return code;
  for (const StoreChange& change : changes) {
    if (const int code = apply(change); code != SQLITE_OK) return code;
  }
  return commit_.run();
}

StoreResult<void> SqliteStore::commit(std::span<const StoreChange> changes) {
  if (changes.empty()) return {};
  if (auto accepted = accept(); !accepted) return accepted;
  if (const std::string_view what = log_->what_happened(); !what.empty()) {
    return tl::unexpected(store_error(StoreFault::replaced, file_.path(), what));
  }
  if (listener_) listener_();
  const int code = commit_all(changes);
  if (code == SQLITE_OK) {
    log_->committed();
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
