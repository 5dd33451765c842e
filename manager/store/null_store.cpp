#include "manager/store/null_store.h"

namespace kvel::manager {

StoreResult<void> NullStore::load(const Visitor& /*visit*/, const Validator& /*validate*/) { return {}; }

StoreResult<void> NullStore::commit(const StoreCommit& commit) {
  head_ = {commit.base + 1, commit.next_number};
  return {};
}

}  // namespace kvel::manager
