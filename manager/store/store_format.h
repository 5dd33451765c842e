// What a store looks like on disk: the marks in SQLite's own header, and the tables.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "manager/store/store_error.h"
#include "manager/store/store_file.h"

namespace kvel::manager {

// Formats. A later one moves the log into the file when it raises the number of a store.
inline constexpr std::uint32_t kFormatWithoutId = 1;       // records by names, and nothing else
inline constexpr std::uint32_t kFormatWithoutNumbers = 2;  // the same, and the id of the store
inline constexpr std::uint32_t kFormat = 3;                // objects and parts by numbers, and the head

// The first look, before SQLite may touch anything: why the file is none of ours, or cannot be read.
[[nodiscard]] std::optional<StoreError> why_head_refused(const StoreFile& file);

// The schema of a format as this query gives it.
inline constexpr const char* kSchemaQuery =
    "SELECT group_concat(line, '; ')"
    " FROM (SELECT type || ' ' || name || ': ' || sql AS line FROM sqlite_schema ORDER BY name)";
[[nodiscard]] std::string schema_of(std::uint32_t format);

// Statements that make a new store of what is an empty database.
[[nodiscard]] std::string sql_for_new_store();
// Those that add the tables of this format to a store of an older one, and those that take its own away.
[[nodiscard]] std::string sql_for_new_tables(std::uint32_t older);
inline constexpr const char* kWithoutOldTables = "DROP TABLE records";

}  // namespace kvel::manager
