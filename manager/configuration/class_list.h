// The classes and inline matches of a policy-map: in their order, and by their names. The order is kept by positions,
// so that one class can come, move or go without a word about the others. A value: copies share what they have in
// common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "collections/persistent_map.h"
#include "collections/shared_string.h"
#include "manager/model/policy_class.h"

namespace kvel::manager {

// One class: a class-map that the policy-map takes, or an inline match with a rule of its own; and the actions.
struct PolicyClass {
  std::uint64_t number = 0;    // no other class of the store has it; of class-default that of the policy-map
  std::uint64_t position = 0;  // among the classes of the policy-map
  PolicyClassContent content;

  friend bool operator==(const PolicyClass&, const PolicyClass&) = default;
};
using ClassPointer = std::shared_ptr<const PolicyClass>;

class ClassList {
 public:
  using ByPosition = collections::PersistentMap<std::uint64_t, ClassPointer>;
  using ByName = collections::PersistentMap<collections::SharedString, ClassPointer>;

  // From one position to the next, when both are new. Class-default is at the last position of all.
  static constexpr std::uint64_t kStep = std::uint64_t{1} << 32U;
  static constexpr std::uint64_t kLastPosition = 0x7fff'ffff'ffff'ffff;

  ClassList() : ClassList(0) {}
  explicit ClassList(std::uint64_t class_default_number);

  // Puts a class at its position, where no other may be, in the place of the one of its name; or class-default.
  void put(ClassPointer entry);
  // Class-default is left without actions.
  void erase(std::string_view name);

  // A position between this class, which may be class-default, and the one before it; 0 when there is none.
  [[nodiscard]] std::uint64_t position_before(const PolicyClass& next) const;
  // Gives all classes new positions, a step apart.
  void space_out();

  // Null when there is none. Class-default is none of these.
  [[nodiscard]] ClassPointer find(std::string_view name) const;
  [[nodiscard]] const ByName& by_name() const { return by_name_; }
  // The class that is always there and always the last.
  [[nodiscard]] const ClassPointer& class_default() const { return class_default_; }

  // In their order, by their positions.
  [[nodiscard]] const ByPosition& by_position() const { return by_position_; }
  [[nodiscard]] auto begin() const { return by_position_.begin(); }
  [[nodiscard]] auto end() const { return by_position_.end(); }
  [[nodiscard]] std::size_t size() const { return by_position_.size(); }

 private:
  void leave_position(const PolicyClass& entry);

  ByPosition by_position_;
  ByName by_name_;
  ClassPointer class_default_;
};

}  // namespace kvel::manager
