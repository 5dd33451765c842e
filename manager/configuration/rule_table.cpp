#include "manager/configuration/rule_table.h"

#include <utility>

namespace kvel::manager {

void RuleTable::put(std::uint32_t line, RulePointer rule) {
  erase(line);
  by_match_.insert_or_assign(rule, line);
  by_line_.insert_or_assign(line, std::move(rule));
}

void RuleTable::erase(std::uint32_t line) {
  const RulePointer present = at(line);
  if (present == nullptr) return;
  by_match_.erase(*present);
  by_line_.erase(line);
}

std::optional<std::uint32_t> RuleTable::line_of(const MatchRule& match) const {
  const std::uint32_t* const found = by_match_.find(match);
  if (found == nullptr) return std::nullopt;
  return *found;
}

std::optional<std::uint32_t> RuleTable::next_line() const {
  constexpr std::uint32_t kStep = 10;
  const std::uint64_t last = by_line_.empty() ? 0 : by_line_.back().key;
  const std::uint64_t next = (last / kStep + 1) * kStep;
  if (next > kMaxLine) return std::nullopt;
  return static_cast<std::uint32_t>(next);
}

bool RuleTable::has_nested_class_maps() const {
  // Rules of one kind lie together.
  const auto first = by_match_.lower_bound(MatchRule(NestedClassMapRule{}));
  return first != by_match_.end() && nested_class_map(*first.key()) != nullptr;
}

}  // namespace kvel::manager
