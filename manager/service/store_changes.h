// The difference of two configurations as the changes of records that the store takes.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "manager/configuration/change.h"
#include "manager/store/store.h"

namespace kvel::manager {

// Refers to the changes that it was made from, which must outlive it.
class StoreChanges {
 public:
  explicit StoreChanges(const Changes& changes);
  StoreChanges(const StoreChanges&) = delete;
  StoreChanges& operator=(const StoreChanges&) = delete;

  // Records that go come first: another one may take their place.
  [[nodiscard]] const std::vector<StoreChange>& changes() const { return changes_; }

 private:
  std::vector<StoreChange> changes_;
  std::deque<std::string> bodies_;
};

}  // namespace kvel::manager
