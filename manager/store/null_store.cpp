#include "manager/store/null_store.h"

namespace kvel::manager {

StoreResult<void> NullStore::load(const Visitor& /*visit*/, const Validator& /*validate*/) { return {}; }

StoreResult<void> NullStore::commit(std::span<const StoreChange> /*changes*/) { return {}; }

}  // namespace kvel::manager
