#include "manager/model/class_list.h"

#include <iterator>
#include <utility>

namespace kvel::manager {
PolicyClass::PolicyClass(PolicyClassContent initial) : content(std::move(initial)), number(next_version()) {}

ClassList::ClassList() : class_default_({std::string(kClassDefault), std::nullopt, {}}) {
  class_default_.position = kLastPosition;
}

ClassList::Prepared ClassList::prepare(PolicyClassContent content) {
  Prepared prepared;
  prepared.entry_.emplace_back(std::move(content));
  ByName index;
  index.try_emplace(prepared.entry_.front().content.name, prepared.entry_.begin());
  prepared.name_ = index.extract(index.begin());
  return prepared;
}

ClassList::Place ClassList::place_before(Iterator before) {
  const std::uint64_t previous = before == entries_.begin() ? 0 : std::prev(before)->position;
  if (before == entries_.end()) {
    const bool has_gap = previous < kLastPosition - kStep;
    return {before, has_gap ? previous + kStep : 0};
  }
  const std::uint64_t gap = before->position - previous;
  return {before, gap < 2 ? 0 : previous + gap / 2};
}

ClassList::Iterator ClassList::insert(Prepared prepared, const Place& place) noexcept {
  const Iterator entry = prepared.entry();
  entries_.splice(place.before, prepared.entry_);
  by_name_.insert(std::move(prepared.name_));
  settle(entry, place);
  return entry;
}

void ClassList::move(Iterator entry, const Place& place) noexcept {
  entries_.splice(place.before, entries_, entry);
  settle(entry, place);
}

void ClassList::settle(Iterator entry, const Place& place) noexcept {
  entry->position = place.position;
  if (place.position != 0) return;
  std::uint64_t position = 0;
  for (PolicyClass& each : entries_)
    each.position = position += kStep;
}

void ClassList::erase(Iterator entry) noexcept {
  by_name_.erase(entry->content.name);
  entries_.erase(entry);
}

void ClassList::clear() noexcept {
  by_name_.clear();
  entries_.clear();
  class_default_.mentioned.clear();
}

ClassList::Iterator ClassList::find(std::string_view name) {
  const auto found = by_name_.find(name);
  return found == by_name_.end() ? entries_.end() : found->second;
}

}  // namespace kvel::manager
