// Which object a name meant when its mode was entered, so that what is typed there later goes to no other one.
#pragma once

#include <cstdint>
#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"

namespace kvel::shell {

// What the manager knows an object by. Numbers of different processes cannot be compared: a manager that was started
// anew is known by `process`, and gives objects new numbers.
struct ObjectIdentity {
  std::uint32_t process = 0;  // 0: the manager has not said
  std::uint32_t made = 0;
  std::uint32_t type = 0;
  std::uint64_t entry = 0;  // of a class or match of a policy-map, or 0

  friend bool operator==(const ObjectIdentity&, const ObjectIdentity&) = default;
};

// Whether both can be the same object, and the same class of it where both have one.
[[nodiscard]] bool may_be_same(const ObjectIdentity& before, const ObjectIdentity& now);

// The object of that name now, and of a policy-map the class or match of the name `entry` unless that is empty.
[[nodiscard]] tl::expected<ObjectIdentity, CallFailure> identify_object(int context, std::uint32_t kind,
                                                                        const std::string& name,
                                                                        const std::string& entry = {});

}  // namespace kvel::shell
