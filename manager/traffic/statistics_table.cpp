#include "manager/traffic/statistics_table.h"

namespace kvel::manager {

void StatisticsTable::clear(Number number) noexcept {
  const auto found = classes_.find(number);
  if (found != classes_.end()) found->second.clear();
}

void StatisticsTable::apply(const Change& change) noexcept {
  if (change.key.kind != ObjectKind::policy_map) return;
  const bool is_gone = std::holds_alternative<std::monostate>(change.after);
  if (change.key.item == 0) {
    if (is_gone) classes_.erase(change.key.object);  // of class-default
    return;
  }
  const bool is_class_default = change.key.item == kClassDefaultItem;
  const auto found = classes_.find(is_class_default ? change.key.object : change.key.item);
  if (found == classes_.end()) return;
  if (!is_gone) {
    found->second.keep_only(std::get<ClassPointer>(change.after)->content.actions);
  } else if (is_class_default) {
    found->second.keep_only({});
  } else {
    classes_.erase(found);
  }
}

}  // namespace kvel::manager
