// A copy of a store as of one moment, in one file, also while a manager runs on it.
#pragma once

#include <filesystem>

#include "manager/store/store.h"

namespace kvel::manager {

// Writes the configuration in `store` to the new file `copy` (mode 0600), which is a store of its own and on disk when
// this succeeds. An existing file is never replaced. After an error nothing is left. A running manager goes on without
// a pause: it only leaves its log where it is meanwhile.
[[nodiscard]] StoreResult<void> back_up_store(const std::filesystem::path& store, const std::filesystem::path& copy);

}  // namespace kvel::manager
