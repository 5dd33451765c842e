// Who refers to whom, by name: derived from the fields that name an object, and kept with the configuration that they
// are in. A target need not be there.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>
#include <vector>

#include "collections/persistent_map.h"
#include "manager/configuration/change.h"
#include "manager/model/object_kind.h"

namespace kvel::manager {

// What a record names.
struct Target {
  ObjectKind kind = ObjectKind::class_map;
  std::string_view name;  // the record's
};
[[nodiscard]] std::vector<Target> targets_of(const Record& record);

class ReferenceIndex {
 public:
  // One record that refers to a target. An object with its kind comes before the objects that refer to it.
  struct Reference {
    ObjectKind target_kind = ObjectKind::class_map;
    Name target;
    ObjectKind user_kind = ObjectKind::class_map;
    Name user;
    std::uint64_t item = 0;  // of the user's record

    friend auto operator<=>(const Reference&, const Reference&) = default;
  };

  // Takes over what a change makes of the references of its record.
  void apply(const Change& change);

  [[nodiscard]] bool in_use(ObjectKind kind, std::string_view name) const;
  // By an object of this kind.
  [[nodiscard]] bool in_use_by(ObjectKind user, ObjectKind kind, std::string_view name) const;
  // The references to an object, by kinds and names of those that refer to it.
  [[nodiscard]] std::vector<Reference> to(ObjectKind kind, std::string_view name) const;

 private:
  // The lowest key of the references to a target, by users of a kind and above.
  struct Lowest {
    ObjectKind target_kind;
    std::string_view target;
    std::uint8_t user_kind;
  };
  struct Less {
    bool operator()(const Reference& left, const Reference& right) const { return left < right; }
    bool operator()(const Reference& left, const Lowest& right) const;
    bool operator()(const Lowest& left, const Reference& right) const { return !(*this)(right, left); }
  };
  struct Nothing {
    friend bool operator==(Nothing, Nothing) = default;
  };

  collections::PersistentMap<Reference, Nothing, Less> references_;
};

}  // namespace kvel::manager
