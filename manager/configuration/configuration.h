// Everything that is configured, as a value: contexts with their objects. An object of one context is invisible in
// another. A copy is a pointer; a call makes the next configuration out of a copy, and what has to be written is the
// difference of the two.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string_view>

#include "collections/persistent_map.h"
#include "manager/configuration/change.h"
#include "manager/configuration/hidden_classes.h"
#include "manager/configuration/objects.h"
#include "manager/configuration/references.h"
#include "manager/model/object_kind.h"

namespace kvel::manager {

struct Context {
  ObjectTable<ParameterMap> parameter_maps;
  ObjectTable<SslProxy> ssl_proxies;
  ObjectTable<ClassMap> class_maps;
  ObjectTable<PolicyMap> policy_maps;
  // Derived from the objects.
  ReferenceIndex references;
  HiddenClasses hidden_classes;

  // The table of a type of objects.
  template <class Object>
  [[nodiscard]] const ObjectTable<Object>& table() const {
    if constexpr (Object::kKind == ObjectKind::parameter_map) {
      return parameter_maps;
    } else if constexpr (Object::kKind == ObjectKind::ssl_proxy) {
      return ssl_proxies;
    } else if constexpr (Object::kKind == ObjectKind::class_map) {
      return class_maps;
    } else {
      return policy_maps;
    }
  }
  template <class Object>
  [[nodiscard]] const Object* find(std::string_view name) const {
    return find_object(table<Object>(), name);
  }

  // Calls `use` with the table of a kind and returns what it returns.
  template <class Use>
  [[nodiscard]] auto with_table(ObjectKind kind, Use&& use) const -> decltype(use(class_maps)) {
    switch (kind) {
      case ObjectKind::class_map:
        return use(class_maps);
      case ObjectKind::parameter_map:
        return use(parameter_maps);
      case ObjectKind::ssl_proxy:
        return use(ssl_proxies);
      case ObjectKind::policy_map:
        break;
    }
    return use(policy_maps);
  }
};

class Configuration {
 public:
  using Contexts = collections::PersistentMap<std::uint16_t, std::shared_ptr<const Context>>;

  // Every context exists; one that was never changed is empty.
  [[nodiscard]] const std::shared_ptr<const Context>& context(std::uint16_t number) const;
  // Those that are not empty, or once were not.
  [[nodiscard]] const Contexts& contexts() const { return contexts_; }

  // For an object or a class that is to be made.
  [[nodiscard]] Number take_number() { return next_number_++; }
  // The first number that was not taken yet.
  [[nodiscard]] Number next_number() const { return next_number_; }
  // Numbers below this one are not taken any more.
  void reserve_numbers(Number next) { next_number_ = std::max(next_number_, next); }

  // Makes of what is there before the change what is there after it.
  void apply(const Change& change);

 private:
  Contexts contexts_;
  Number next_number_ = 1;
};

// The changes that make `after` of `before`, by contexts, kinds and names: of each object first itself, then its parts.
// What both share is passed over.
[[nodiscard]] Changes difference(const Configuration& before, const Configuration& after);

}  // namespace kvel::manager
