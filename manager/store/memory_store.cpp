#include "manager/store/memory_store.h"

namespace kvel::manager {

StoreResult<void> MemoryStore::load(const Visitor& /*visit*/, const Judge& /*judge*/) { return {}; }

StoreResult<void> MemoryStore::commit(std::span<const Change> /*changes*/) { return {}; }

}  // namespace kvel::manager
