// The classes and inline matches of a policy-map: in their order, and by their names. The order is kept by positions,
// so that one class can come, move or go without a word about the others. Changes come in steps: what can fail is over
// before a change is committed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string_view>

#include "manager/model/policy_class.h"
#include "manager/model/text.h"

namespace kvel::manager {

class ClassList {
  using Entries = std::list<PolicyClass>;

 public:
  using Iterator = Entries::iterator;
  using ConstIterator = Entries::const_iterator;

 private:
  using ByName = std::map<std::string_view, Iterator>;  // views of the entries

 public:
  ClassList();

  // From one position to the next, when both are new. Class-default is at the last position of all.
  static constexpr std::uint64_t kStep = std::uint64_t{1} << 32U;
  static constexpr std::uint64_t kLastPosition = 0x7fff'ffff'ffff'ffff;

  // A class that is not in a list yet.
  class Prepared {
   public:
    [[nodiscard]] Iterator entry() { return entry_.begin(); }

   private:
    friend class ClassList;
    Entries entry_;
    ByName::node_type name_;
  };

  // A place for a class.
  struct Place {
    Iterator before;             // end(): the last but class-default
    std::uint64_t position = 0;  // 0: none is left, so that all classes need new ones
  };

  [[nodiscard]] static Prepared prepare(PolicyClassContent content);
  [[nodiscard]] Place place_before(Iterator before);

  // The name must be free.
  Iterator insert(Prepared prepared, const Place& place) noexcept;
  void move(Iterator entry, const Place& place) noexcept;
  void erase(Iterator entry) noexcept;
  void clear() noexcept;

  // The class that is always there and always the last; it is none of the others.
  [[nodiscard]] PolicyClass& class_default() { return class_default_; }
  [[nodiscard]] const PolicyClass& class_default() const { return class_default_; }

  // end() when there is none.
  [[nodiscard]] Iterator find(std::string_view name);
  // The first class whose name, by its bytes, is not below `name`, and those after it by their names.
  [[nodiscard]] ByName::const_iterator first_name(std::string_view name) const { return by_name_.lower_bound(name); }
  [[nodiscard]] ByName::const_iterator end_of_names() const { return by_name_.end(); }

  [[nodiscard]] Iterator begin() { return entries_.begin(); }
  [[nodiscard]] Iterator end() { return entries_.end(); }
  [[nodiscard]] ConstIterator begin() const { return entries_.begin(); }
  [[nodiscard]] ConstIterator end() const { return entries_.end(); }
  [[nodiscard]] std::size_t size() const { return entries_.size(); }

 private:
  void settle(Iterator entry, const Place& place) noexcept;

  Entries entries_;
  ByName by_name_;
  PolicyClass class_default_;
};

}  // namespace kvel::manager
