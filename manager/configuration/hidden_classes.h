// The hidden classes of a context: one for each inline match, named by the policy-map's name followed directly by
// the match's. Clients cut the name to 63 bytes when they name its actions, so it is known by that as well. Derived
// from the classes of the policy-maps, and kept with the configuration that they are in.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "collections/persistent_map.h"
#include "manager/configuration/change.h"
#include "manager/configuration/objects.h"

namespace kvel::manager {

inline constexpr std::size_t kCutNameBytes = 63;

[[nodiscard]] inline std::string_view cut_name(std::string_view hidden_name) {
  return hidden_name.substr(0, kCutNameBytes);
}

[[nodiscard]] inline std::string hidden_name_of(std::string_view policy, std::string_view match) {
  return std::string(policy).append(match);
}

// Where the match of a hidden class is.
struct HiddenClass {
  Name policy;
  Name match;

  friend bool operator==(const HiddenClass&, const HiddenClass&) = default;
};

class HiddenClasses {
 public:
  // Takes over what a change makes of the matches of a policy-map.
  void apply(const Change& change);
  void erase(std::string_view hidden_name) { by_name_.erase(hidden_name); }

  [[nodiscard]] const HiddenClass* find(std::string_view hidden_name) const { return by_name_.find(hidden_name); }
  // Whether a name is that of a hidden class, cut or not, so that no class-map can have it.
  [[nodiscard]] bool collides(std::string_view name) const;
  // Whether a match of the policy-map has a hidden class whose name collides with this one once both are cut.
  [[nodiscard]] bool is_ambiguous(std::string_view policy, std::string_view hidden_name) const;

 private:
  collections::PersistentMap<Name, HiddenClass> by_name_;
};

// The match of the policy-map that the name of its hidden class means, cut or not; null when there is none.
[[nodiscard]] ClassPointer find_by_hidden_name(const PolicyMap& policy, std::string_view policy_name,
                                               std::string_view hidden_name);

}  // namespace kvel::manager
