#include "manager/model/rule_table.h"

namespace kvel::manager {

RuleTable::Prepared RuleTable::prepare(std::uint32_t line, MatchRule match) {
  ByLine rule;
  const auto entry = rule.try_emplace(line, Rule{std::move(match), {}}).first;
  ByMatch index;
  index.insert(&*entry);
  Prepared prepared;
  prepared.rule_ = rule.extract(rule.begin());
  prepared.match_ = index.extract(index.begin());
  return prepared;
}

void RuleTable::insert(Prepared prepared) noexcept {
  by_line_.insert(std::move(prepared.rule_));
  by_match_.insert(std::move(prepared.match_));
  version_ = next_version();
}

void RuleTable::erase(std::uint32_t line) noexcept {
  const auto entry = by_line_.find(line);
  if (entry == by_line_.end()) return;
  by_match_.erase(&*entry);
  by_line_.erase(entry);
  version_ = next_version();
}

void RuleTable::clear() noexcept {
  by_match_.clear();
  by_line_.clear();
  version_ = next_version();
}

std::optional<std::uint32_t> RuleTable::line_of(const MatchRule& match) const {
  const auto found = by_match_.find(match);
  if (found == by_match_.end()) return std::nullopt;
  return (*found)->first;
}

std::optional<std::uint32_t> RuleTable::next_line() const {
  constexpr std::uint32_t kStep = 10;
  const std::uint64_t last = by_line_.empty() ? 0 : by_line_.rbegin()->first;
  const std::uint64_t next = (last / kStep + 1) * kStep;
  if (next > kMaxLine) return std::nullopt;
  return static_cast<std::uint32_t>(next);
}

bool RuleTable::has_nested_class_maps() const {
  // Rules of one kind lie together.
  const auto first = by_match_.lower_bound(MatchRule(NestedClassMapRule{}));
  return first != by_match_.end() && nested_class_map((*first)->second.match) != nullptr;
}

}  // namespace kvel::manager
