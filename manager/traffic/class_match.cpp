#include "manager/traffic/class_match.h"

#include <algorithm>
#include <utility>

namespace kvel::manager {

bool ClassMatch::matches(const Flow& flow) const {
  const auto takes = [&](const RuleMatch& rule) { return rule.matches(flow); };
  if (rules_.empty()) return false;
  return mode_ == MatchMode::all ? std::all_of(rules_.begin(), rules_.end(), takes)
                                 : std::any_of(rules_.begin(), rules_.end(), takes);
}

SharedClassMatch ClassMatches::find(Number number) const {
  const auto found = made_.find(number);
  return found == made_.end() ? nullptr : found->second;
}

// Whether it decides as this class-map does, with those that this one nests.
bool ClassMatches::is_current(const ClassMatch& made, const ClassMap& class_map, const ClassMatches* before) {
  if (made.mode() != class_map.settings->mode) return false;
  if (!made.source().is_same_version(class_map.rules.by_line())) return false;
  if (!class_map.rules.has_nested_class_maps()) return true;
  return std::all_of(made.rules().begin(), made.rules().end(), [&](const RuleMatch& rule) {
    const std::string* const nested = nested_class_map(rule.rule());
    return nested == nullptr || rule.nested() == of_class_map(*nested, before);
  });
}

SharedClassMatch ClassMatches::make(const ClassMap& class_map, const ClassMatches* before) {
  std::vector<RuleMatch> rules;
  for (const auto& [line, rule] : class_map.rules) {
    const std::string* const nested = nested_class_map(*rule);  // one level deep, and never itself
    rules.emplace_back(line, *rule, nested == nullptr ? nullptr : of_class_map(*nested, before));
  }
  return std::make_shared<const ClassMatch>(class_map.rules.by_line(), class_map.settings->mode, std::move(rules));
}

SharedClassMatch ClassMatches::of_class_map(std::string_view name, const ClassMatches* before) {
  const ClassMap& class_map = *context_->find<ClassMap>(name);
  if (auto made = find(class_map.number)) return made;
  SharedClassMatch match = before == nullptr ? nullptr : before->find(class_map.number);
  if (match == nullptr || !is_current(*match, class_map, before)) match = make(class_map, before);
  return made_.try_emplace(class_map.number, std::move(match)).first->second;
}

SharedClassMatch ClassMatches::of_inline_match(const PolicyClass& entry, const ClassMatches* before) {
  constexpr std::uint32_t kNoLine = 0;
  SharedClassMatch match = before == nullptr ? nullptr : before->find(entry.number);
  if (match == nullptr || match->rules().front().rule() != *entry.content.rule) {
    std::vector<RuleMatch> rules;
    rules.emplace_back(kNoLine, *entry.content.rule, nullptr);
    match = std::make_shared<const ClassMatch>(RuleTable::ByLine(), MatchMode::any, std::move(rules));
  }
  return made_.try_emplace(entry.number, std::move(match)).first->second;
}

}  // namespace kvel::manager
