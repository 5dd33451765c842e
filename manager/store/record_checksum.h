// The checksum that each record carries on disk. SQLite checks its own structure, not the text in it.
#pragma once

#include <cstdint>
#include <string_view>

#include "manager/store/store.h"

namespace kvel::manager {

// CRC-32 (reflected 0xEDB88320, as in gzip) over context (2 bytes), kind (1), item (8), length of the owner (4), all
// big-endian, then the owner and the body.
[[nodiscard]] std::uint32_t record_checksum(const StoreKey& key, std::string_view body);

}  // namespace kvel::manager
