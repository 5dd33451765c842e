// Who refers to whom. An object that others can name counts them, by their kind; the one that names it holds a
// Reference, and the count follows the life of that. A deletion asks in_use().
#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "manager/model/object_kind.h"

namespace kvel::manager {

class Referenced {
 public:
  Referenced() = default;
  Referenced(const Referenced&) = delete;  // references know its address
  Referenced& operator=(const Referenced&) = delete;
  ~Referenced() = default;

  [[nodiscard]] bool in_use() const {
    for (const std::uint32_t count : users_) {
      if (count != 0) return true;
    }
    return false;
  }
  // References held by objects of one kind.
  [[nodiscard]] std::uint32_t users(ObjectKind kind) const { return users_[index(kind)]; }

 private:
  friend class Reference;
  static std::size_t index(ObjectKind kind) { return canonical_rank(kind) - 1U; }

  std::array<std::uint32_t, kCanonicalOrder.size()> users_{};
};

// One reference, held by an object of the kind `user`. The target must outlive it.
class Reference {
 public:
  Reference() = default;
  Reference(Referenced& target, ObjectKind user) noexcept : target_(&target), user_(user) {
    ++target.users_[Referenced::index(user)];
  }
  Reference(Reference&& other) noexcept : target_(std::exchange(other.target_, nullptr)), user_(other.user_) {}
  Reference& operator=(Reference&& other) noexcept {
    std::swap(target_, other.target_);
    std::swap(user_, other.user_);
    return *this;
  }
  ~Reference() {
    if (target_ != nullptr) --target_->users_[Referenced::index(user_)];
  }

 private:
  Referenced* target_ = nullptr;
  ObjectKind user_ = ObjectKind::policy_map;
};

}  // namespace kvel::manager
