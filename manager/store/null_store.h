// The store that keeps nothing: for a shell whose configuration ends with it.
#pragma once

#include "manager/store/store.h"

namespace kvel::manager {

class NullStore final : public Store {
 public:
  [[nodiscard]] StoreHead head() const override { return head_; }
  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override;
  [[nodiscard]] StoreResult<void> commit(const StoreCommit& commit) override;

 private:
  StoreHead head_;
};

}  // namespace kvel::manager
