// The hidden classes of a context: one for each inline match, named by the policy-map's name followed directly by
// the match's. Clients cut the name to 63 bytes when they name its actions, so it is known by that as well.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "manager/model/policy_map.h"

namespace kvel::manager {

inline constexpr std::size_t kCutNameBytes = 63;

[[nodiscard]] inline std::string_view cut_name(std::string_view hidden_name) {
  return hidden_name.substr(0, kCutNameBytes);
}

struct HiddenClass {
  PolicyMap* policy = nullptr;
  ClassList::Iterator match;

  // The name of the policy-map.
  [[nodiscard]] std::string_view policy_name() const {
    const std::string_view hidden_name = match->hidden_name;
    return hidden_name.substr(0, hidden_name.size() - match->content.name.size());
  }
};

class HiddenClasses {
  using ByName = std::map<std::string_view, HiddenClass>;  // views of the matches

 public:
  using Prepared = ByName::node_type;

  // The match must have its hidden name already and stay where it is in memory.
  [[nodiscard]] static Prepared prepare(PolicyMap& policy, ClassList::Iterator match) {
    ByName one;
    one.try_emplace(match->hidden_name, HiddenClass{&policy, match});
    return one.extract(one.begin());
  }
  void insert(Prepared prepared) noexcept { by_name_.insert(std::move(prepared)); }
  void erase(std::string_view hidden_name) noexcept { by_name_.erase(hidden_name); }

  [[nodiscard]] const HiddenClass* find(std::string_view hidden_name) const {
    const auto found = by_name_.find(hidden_name);
    return found == by_name_.end() ? nullptr : &found->second;
  }
  // Whether a name is that of a hidden class, cut or not, so that no class-map can have it.
  [[nodiscard]] bool collides(std::string_view name) const {
    const auto first = by_name_.lower_bound(name);
    if (first == by_name_.end()) return false;
    return first->first == name || (name.size() == kCutNameBytes && first->first.starts_with(name));
  }
  // Whether a match of the policy-map has a hidden class whose name collides with this one once both are cut.
  [[nodiscard]] bool is_ambiguous(const PolicyMap& policy, std::string_view hidden_name) const {
    const std::string_view cut = cut_name(hidden_name);
    if (cut.size() < kCutNameBytes) return false;
    for (auto entry = by_name_.lower_bound(cut); entry != by_name_.end() && entry->first.starts_with(cut); ++entry) {
      if (entry->second.policy == &policy) return true;
    }
    return false;
  }

 private:
  ByName by_name_;
};

// The match of the policy-map that the name of its hidden class means, cut or not; end() when there is none.
[[nodiscard]] ClassList::Iterator find_by_hidden_name(PolicyMap& policy, std::string_view policy_name,
                                                      std::string_view hidden_name);

}  // namespace kvel::manager
