// The configured objects as immutable values. They are held by shared pointers and never changed: a change makes a new
// object that shares with the old one what stays. They refer to one another by name (references.h).
#pragma once

#include <cstdint>
#include <memory>

#include "collections/persistent_map.h"
#include "collections/shared_string.h"
#include "manager/configuration/class_list.h"
#include "manager/configuration/rule_table.h"
#include "manager/model/class_map.h"
#include "manager/model/parameter_map.h"
#include "manager/model/policy_map.h"
#include "manager/model/ssl_proxy.h"

namespace kvel::manager::value {

using Name = collections::SharedString;

// Of an object or of a class: no other one of a store has it, also after this one is gone, so that a new object of the
// same name is told from an old one. Its records are kept under it.
using Number = std::uint64_t;

struct ClassMap {
  using Settings = ClassMapSettings;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
  RuleTable rules;
};

struct PolicyMap {
  using Settings = PolicyMapSettings;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
  ClassList classes;
};

struct ParameterMap {
  using Settings = ParameterMapSettings;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
};

struct SslProxy {
  using Settings = SslProxySettings;
  Number number = 0;
  std::shared_ptr<const Settings> settings;
};

// The objects of one kind in one context, in the byte order of their names.
template <class Object>
using ObjectTable = collections::PersistentMap<Name, std::shared_ptr<const Object>>;

}  // namespace kvel::manager::value
