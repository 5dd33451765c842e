// The next configuration while a call makes it: a copy of the running one, and the changes of one context. Whoever
// drops it has changed nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>

#include "manager/configuration/configuration.h"

namespace kvel::manager {

class Candidate {
 public:
  Candidate(Configuration base, std::uint16_t context) : configuration_(std::move(base)), context_(context) {}

  [[nodiscard]] const Configuration& configuration() const { return configuration_; }
  // As it is now; a change makes another one.
  [[nodiscard]] const Context& context() const { return *configuration_.context(context_); }

  // Gives an object its settings, and makes it when it is not there.
  template <class Object>
  void put(std::string_view name, typename Object::Settings settings) {
    const Object* const present = context().find<Object>(name);
    const Number number = present == nullptr ? configuration_.take_number() : present->number;
    configuration_.apply({key_of(Object::kKind, name, number), present == nullptr ? Record() : present->settings,
                          std::make_shared<const typename Object::Settings>(std::move(settings))});
  }
  // With its parts. It must be there.
  template <class Object>
  void erase(std::string_view name) {
    Configuration without = configuration_;
    const Object& present = *context().find<Object>(name);
    without.apply({key_of(Object::kKind, name, present.number), present.settings, {}});
    apply(difference(configuration_, without));
  }

  // The class-map must be there.
  void put_rule(std::string_view class_map, std::uint32_t line, MatchRule rule);
  void erase_rule(std::string_view class_map, std::uint32_t line);

  // The policy-map must be there. A class without a number is a new one.
  void put_class(std::string_view policy, PolicyClass entry);
  void erase_class(std::string_view policy, std::string_view name);
  // Gives all classes new positions, a step apart.
  void space_out(std::string_view policy);

 private:
  [[nodiscard]] RecordKey key_of(ObjectKind kind, std::string_view name, Number object, std::uint64_t item = 0) const {
    return {kind, context_, Name(name), object, item};
  }
  void apply(const Changes& changes);

  Configuration configuration_;
  const std::uint16_t context_;
};

}  // namespace kvel::manager
