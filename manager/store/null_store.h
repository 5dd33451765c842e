// The store that keeps nothing: for a shell whose configuration ends with it.
#pragma once

#include "manager/store/store.h"

namespace kvel::manager {

class NullStore final : public Store {
 public:
  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override;
  [[nodiscard]] StoreResult<void> commit(std::span<const StoreChange> changes) override;
};

}  // namespace kvel::manager
