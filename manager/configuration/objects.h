// The configured objects as immutable values. They are held by shared pointers and never changed: a change makes a new
// object that shares with the old one what stays. They refer to one another by name (references.h).
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "collections/persistent_map.h"
#include "collections/shared_string.h"
#include "manager/configuration/class_list.h"
#include "manager/configuration/rule_table.h"
#include "manager/model/class_map.h"
#include "manager/model/object_kind.h"
#include "manager/model/parameter_map.h"
#include "manager/model/policy_map.h"
#include "manager/model/ssl_proxy.h"

namespace kvel::manager {

using Name = collections::SharedString;

// Of an object or of a class: no other one of a store has it, also after this one is gone, so that a new object of the
// same name is told from an old one. Its records are kept under it.
using Number = std::uint64_t;

struct ClassMap {
  using Settings = ClassMapSettings;
  static constexpr ObjectKind kKind = ObjectKind::class_map;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
  RuleTable rules;
};

struct PolicyMap {
  using Settings = PolicyMapSettings;
  static constexpr ObjectKind kKind = ObjectKind::policy_map;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
  ClassList classes;
  // Another one whenever a class has moved among the others; at first that of the policy-map.
  Number order = 0;
};

struct ParameterMap {
  using Settings = ParameterMapSettings;
  static constexpr ObjectKind kKind = ObjectKind::parameter_map;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
};

struct SslProxy {
  using Settings = SslProxySettings;
  static constexpr ObjectKind kKind = ObjectKind::ssl_proxy;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
};

// The objects of one kind in one context, in the byte order of their names.
template <class Object>
using ObjectTable = collections::PersistentMap<Name, std::shared_ptr<const Object>>;

// The object of a name, as long as the table or a copy of it lives; null when there is none.
template <class Object>
[[nodiscard]] const Object* find_object(const ObjectTable<Object>& table, std::string_view name) {
  const auto* const found = table.find(name);
  return found == nullptr ? nullptr : found->get();
}

}  // namespace kvel::manager
