// Reads the records of a database of any format, in the order in which a store visits them.
#pragma once

#include <cstdint>

#include "manager/store/sqlite_connection.h"
#include "manager/store/store.h"

namespace kvel::manager {

// An altered record, or an error of the visitor, refuses the store. In the formats without numbers objects are numbered
// from 1 on in the order in which they come.
[[nodiscard]] StoreResult<void> read_records(Connection& connection, std::uint32_t format, const Store::Visitor& visit);

// The head of a database of any format.
[[nodiscard]] StoreResult<StoreHead> read_head(Connection& connection, std::uint32_t format);

}  // namespace kvel::manager
