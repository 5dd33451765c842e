#include "manager/store/store_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

// The main file carries both marks from its first byte on: "KVEL", and the number of the format.
constexpr std::uint32_t kApplicationId = 0x4b56454c;
constexpr std::size_t kFormatOffset = 60;
constexpr std::size_t kApplicationIdOffset = 68;
constexpr std::string_view kMagic{"SQLite format 3\0", 16};

constexpr std::string_view kObjectsTable =
    "CREATE TABLE objects (number INTEGER PRIMARY KEY, context INTEGER NOT NULL, kind INTEGER NOT NULL,"
    " name TEXT NOT NULL, body TEXT NOT NULL, checksum INTEGER NOT NULL) STRICT";
constexpr std::string_view kPartsTable =
    "CREATE TABLE parts (object INTEGER NOT NULL, item INTEGER NOT NULL, body TEXT NOT NULL,"
    " checksum INTEGER NOT NULL, PRIMARY KEY (object, item)) STRICT, WITHOUT ROWID";
// One row: a random number as kStoreIdSize characters, by which a store knows what belongs to it. Never written again,
// so that no log has it.
constexpr std::string_view kIdTable = "CREATE TABLE store (id TEXT NOT NULL) STRICT";
constexpr std::string_view kFirstId = "INSERT INTO store VALUES (lower(hex(randomblob(16))))";
// One row: how many commits there have been, and the first number that no object had so far.
constexpr std::string_view kHeadTable =
    "CREATE TABLE head (revision INTEGER NOT NULL, next_number INTEGER NOT NULL) STRICT";
constexpr std::string_view kFirstHead = "INSERT INTO head VALUES (0, 1)";

// Of the formats before numbers.
constexpr std::string_view kRecordsTable =
    "CREATE TABLE records (context INTEGER NOT NULL, kind INTEGER NOT NULL, owner TEXT NOT NULL, item INTEGER NOT NULL,"
    " body TEXT NOT NULL, checksum INTEGER NOT NULL, PRIMARY KEY (context, kind, owner, item)) STRICT, WITHOUT ROWID";

std::uint32_t big_endian_word(const StoreFile::Head& head, std::size_t offset) {
  return wire::read_word<std::uint32_t>(head.data() + offset);
}

}  // namespace

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
  const std::uint32_t format = big_endian_word(head, kFormatOffset);
  if (format > kFormat) {
    return store_error(StoreFault::newer, file.path(),
                       fmt::format("written by a newer version (format {}, this version reads {})", format, kFormat));
  }
  if (format < kFormatWithoutId) {
    return store_error(StoreFault::damaged, file.path(), fmt::format("it is damaged: no format {} exists", format));
  }
  return std::nullopt;
}

std::string schema_of(std::uint32_t format) {
  if (format == kFormatWithoutId) return fmt::format("table records: {}", kRecordsTable);
  if (format == kFormatWithoutNumbers) {
    return fmt::format("table records: {}; table store: {}", kRecordsTable, kIdTable);
  }
  return fmt::format("table head: {}; table objects: {}; table parts: {}; table store: {}", kHeadTable, kObjectsTable,
                     kPartsTable, kIdTable);
}

std::string sql_for_new_store() {
  return fmt::format("PRAGMA application_id={}; {}", kApplicationId, sql_for_new_tables(kFormatWithoutId));
}

std::string sql_for_new_tables(std::uint32_t older) {
  std::string sql = fmt::format("PRAGMA user_version={}; {}; {}; {}; {}", kFormat, kObjectsTable, kPartsTable,
                                kHeadTable, kFirstHead);
  if (older == kFormatWithoutId) sql += fmt::format("; {}; {}", kIdTable, kFirstId);
  return sql;
}

}  // namespace kvel::manager
