// The checksum that each record carries on disk. SQLite checks its own structure, not the text in it.
#pragma once

#include <cstdint>
#include <string_view>

#include "manager/store/store.h"

namespace kvel::manager {

// CRC-32 (reflected 0xEDB88320, as in gzip) over the number of the object (8 bytes) and the item (8); of an object
// itself the context (2), the kind (1), the length of the owner (4), and the owner; then the body. All numbers are
// big-endian.
[[nodiscard]] std::uint32_t record_checksum(const StoreKey& key, std::string_view body);

// The same of the formats before numbers: over context, kind, item, length of the owner, owner, body.
[[nodiscard]] std::uint32_t checksum_without_numbers(const StoreKey& key, std::string_view body);

}  // namespace kvel::manager
