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

const ClassMatch& ClassMatches::of_class_map(std::string_view name) {
  const ClassMap* const class_map = context_->class_maps.find(name);
  if (const auto found = class_maps_.find(class_map); found != class_maps_.end()) return found->second;
  std::vector<RuleMatch> rules;
  for (const auto& [line, rule] : class_map->rules) {
    const std::string* const nested = nested_class_map(rule.match);  // one level deep, and never itself
    rules.emplace_back(line, rule.match, nested == nullptr ? nullptr : &of_class_map(*nested));
  }
  return class_maps_.try_emplace(class_map, class_map->settings.mode, std::move(rules)).first->second;
}

const ClassMatch& ClassMatches::of_inline_match(const MatchRule& rule) {
  constexpr std::uint32_t kNoLine = 0;
  std::vector<RuleMatch> rules;
  rules.emplace_back(kNoLine, rule, nullptr);
  return *inline_matches_.emplace_back(std::make_unique<ClassMatch>(MatchMode::any, std::move(rules)));
}

}  // namespace kvel::manager
