// Everything that is configured: contexts with their objects. An object of one context is invisible in another.
#pragma once

#include <cstdint>
#include <map>

#include "manager/model/class_map.h"
#include "manager/model/hidden_classes.h"
#include "manager/model/object_kind.h"
#include "manager/model/object_table.h"
#include "manager/model/parameter_map.h"
#include "manager/model/policy_map.h"
#include "manager/model/ssl_proxy.h"

namespace kvel::manager {

struct Context {
  Context() = default;
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  // Objects of a kind refer to one another: all references go before the first object does.
  ~Context() {
    for (auto& [name, policy_map] : policy_maps)
      policy_map.classes.clear();
    for (auto& [name, class_map] : class_maps)
      class_map.rules.clear();
  }

  // Those that are referred to come first, so that they go last.
  ObjectTable<ParameterMap> parameter_maps;
  ObjectTable<SslProxy> ssl_proxies;
  ObjectTable<ClassMap> class_maps;
  ObjectTable<PolicyMap> policy_maps;
  HiddenClasses hidden_classes;
  std::uint32_t last_change = 0;  // of it: a number of Configuration::changed(); 0: none in this process

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
  Configuration();

  // Every context exists; one that was never changed is empty.
  [[nodiscard]] const Context& context(std::uint16_t number) const;
  // The context for changing it; may throw std::bad_alloc.
  [[nodiscard]] Context& edit(std::uint16_t number) { return contexts_[number]; }
  // Every context that was ever changed, by its number.
  [[nodiscard]] std::map<std::uint16_t, Context>& edit_all() { return contexts_; }

  // A number for each change, from a different beginning in each process; never 0.
  [[nodiscard]] std::uint32_t first_change() const { return first_change_; }
  [[nodiscard]] std::uint32_t last_change() const { return last_change_; }
  std::uint32_t changed() noexcept { return ++last_change_; }
  // The same, of a change to this context.
  void changed(std::uint16_t number) noexcept {
    changed();
    if (const auto found = contexts_.find(number); found != contexts_.end()) found->second.last_change = last_change_;
  }

 private:
  std::map<std::uint16_t, Context> contexts_;
  const std::uint32_t first_change_;
  std::uint32_t last_change_ = first_change_;
};

}  // namespace kvel::manager
