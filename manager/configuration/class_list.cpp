#include "manager/configuration/class_list.h"

#include <utility>

#include "manager/model/text.h"

namespace kvel::manager {
namespace {

ClassPointer class_default_without_actions(std::uint64_t number) {
  return std::make_shared<const PolicyClass>(
      PolicyClass{number, ClassList::kLastPosition, {std::string(kClassDefault), std::nullopt, {}}});
}

}  // namespace

ClassList::ClassList(std::uint64_t class_default_number)
    : class_default_(class_default_without_actions(class_default_number)) {}

void ClassList::put(ClassPointer entry) {
  if (entry->position == kLastPosition) {
    class_default_ = std::move(entry);
    return;
  }
  if (const ClassPointer present = find(entry->content.name)) leave_position(*present);
  by_name_.insert_or_assign(collections::SharedString(entry->content.name), entry);
  const std::uint64_t position = entry->position;
  by_position_.insert_or_assign(position, std::move(entry));
}

// Where several classes change their positions one by one, another may be there already.
void ClassList::leave_position(const PolicyClass& entry) {
  const ClassPointer* const there = by_position_.find(entry.position);
  if (there != nullptr && (*there)->number == entry.number) by_position_.erase(entry.position);
}

void ClassList::erase(std::string_view name) {
  if (name == kClassDefault) {
    class_default_ = class_default_without_actions(class_default_->number);
    return;
  }
  const ClassPointer present = find(name);
  if (present == nullptr) return;
  leave_position(*present);
  by_name_.erase(name);
}

std::uint64_t ClassList::position_before(const PolicyClass& next) const {
  if (next.position == kLastPosition) {
    const std::uint64_t previous = by_position_.empty() ? 0 : by_position_.back().key;
    const bool has_gap = previous < kLastPosition - kStep;
    return has_gap ? previous + kStep : 0;
  }
  const auto* const entry_before = by_position_.find_before(next.position);
  const std::uint64_t previous = entry_before == nullptr ? 0 : (*entry_before)->position;
  const std::uint64_t gap = next.position - previous;
  return gap < 2 ? 0 : previous + gap / 2;
}

void ClassList::space_out() {
  ClassList spaced;
  spaced.class_default_ = class_default_;
  std::uint64_t position = 0;
  for (const auto& [old_position, entry] : by_position_)
    spaced.put(std::make_shared<const PolicyClass>(PolicyClass{entry->number, position += kStep, entry->content}));
  *this = std::move(spaced);
}

ClassPointer ClassList::find(std::string_view name) const {
  const ClassPointer* const found = by_name_.find(name);
  return found == nullptr ? nullptr : *found;
}

}  // namespace kvel::manager
