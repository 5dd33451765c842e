// The difference of two configurations: a list of changes, each of one record with what it was and what it is. What is
// written to the store, what loading makes a configuration of, and what a rollback undoes is said in changes.
#pragma once

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "manager/configuration/objects.h"
#include "manager/model/object_kind.h"

namespace kvel::manager {

// What is stored under one key: an object without its parts, or one part of it. Monostate: nothing is there.
using Record = std::variant<std::monostate, std::shared_ptr<const ClassMapSettings>,
                            std::shared_ptr<const PolicyMapSettings>, std::shared_ptr<const ParameterMapSettings>,
                            std::shared_ptr<const SslProxySettings>, RulePointer, ClassPointer>;

// Of a pointer that is null where nothing is there.
template <class Pointer>
[[nodiscard]] Record record_of(Pointer pointer) {
  if (pointer == nullptr) return {};
  return pointer;
}

// Which record. The kind, the context and the name are those of the object; its number is enough to find it.
struct RecordKey {
  ObjectKind kind = ObjectKind::class_map;
  std::uint16_t context = 0;
  Name name;
  Number object = 0;
  std::uint64_t item = 0;  // 0: the object itself; of a class-map a line, of a policy-map the number of a class

  friend bool operator==(const RecordKey&, const RecordKey&) = default;
};

// The item of class-default, which has no number.
inline constexpr std::uint64_t kClassDefaultItem = ClassList::kLastPosition;

[[nodiscard]] inline std::uint64_t item_of(const PolicyClass& entry) {
  return entry.position == ClassList::kLastPosition ? kClassDefaultItem : entry.number;
}

struct Change {
  RecordKey key;
  Record before;
  Record after;
};
using Changes = std::vector<Change>;

}  // namespace kvel::manager
