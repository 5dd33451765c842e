// The objects of one kind in one context, by name. Insertion comes in two steps, so that everything that can fail is
// over before a change is committed.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace kvel::manager {

template <class Object>
class ObjectTable {
  using Map = std::map<std::string, Object, std::less<>>;  // by the bytes of the name

 public:
  // An object with its name that is not in a table yet.
  using Prepared = typename Map::node_type;
  using ConstIterator = typename Map::const_iterator;

  [[nodiscard]] Object* find(std::string_view name) {
    const auto found = objects_.find(name);
    return found == objects_.end() ? nullptr : &found->second;
  }
  [[nodiscard]] const Object* find(std::string_view name) const {
    const auto found = objects_.find(name);
    return found == objects_.end() ? nullptr : &found->second;
  }

  // The same with its name; end() when there is none.
  [[nodiscard]] ConstIterator position(std::string_view name) const { return objects_.find(name); }

  template <class... Arguments>
  [[nodiscard]] static Prepared prepare(std::string_view name, Arguments&&... arguments) {
    Map one;
    one.try_emplace(std::string(name), std::forward<Arguments>(arguments)...);
    return one.extract(one.begin());
  }
  // The name must be free. Objects stay where they are in memory until they are erased.
  Object& insert(Prepared object) noexcept { return objects_.insert(std::move(object)).position->second; }
  // Nobody may refer to the object any more.
  void erase(std::string_view name) noexcept {
    const auto found = objects_.find(name);
    if (found != objects_.end()) objects_.erase(found);
  }

  [[nodiscard]] auto begin() { return objects_.begin(); }
  [[nodiscard]] auto end() { return objects_.end(); }
  // Objects in the byte order of their names; `after` starts after a name, which need not exist.
  [[nodiscard]] ConstIterator begin() const { return objects_.begin(); }
  [[nodiscard]] ConstIterator after(std::string_view name) const { return objects_.upper_bound(name); }
  [[nodiscard]] ConstIterator end() const { return objects_.end(); }
  [[nodiscard]] std::size_t size() const { return objects_.size(); }

 private:
  Map objects_;
};

}  // namespace kvel::manager
