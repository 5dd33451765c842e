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

SharedClassMatch ClassMatches::find(const void* source) const {
  const auto found = made_.find(source);
  return found == made_.end() ? nullptr : found->second;
}

// Of this class-map: whether those that it nests are as they were, too.
bool ClassMatches::is_current(const ClassMatch& made, const ClassMap& class_map, const ClassMatches* before) {
  if (!class_map.rules.has_nested_class_maps()) return true;
  return std::all_of(made.rules().begin(), made.rules().end(), [&](const RuleMatch& rule) {
    const std::string* const nested = nested_class_map(rule.rule());
    return nested == nullptr || rule.nested() == of_class_map(*nested, before);
  });
}

SharedClassMatch ClassMatches::make(const std::shared_ptr<const ClassMap>& class_map, const ClassMatches* before) {
  std::vector<RuleMatch> rules;
  for (const auto& [line, rule] : class_map->rules) {
    const std::string* const nested = nested_class_map(*rule);  // one level deep, and never itself
    rules.emplace_back(line, *rule, nested == nullptr ? nullptr : of_class_map(*nested, before));
  }
  return std::make_shared<const ClassMatch>(class_map, class_map->settings->mode, std::move(rules));
}

SharedClassMatch ClassMatches::of_class_map(std::string_view name, const ClassMatches* before) {
  const std::shared_ptr<const ClassMap>& class_map = *context_->class_maps.find(name);
  if (auto made = find(class_map.get())) return made;
  SharedClassMatch match = before == nullptr ? nullptr : before->find(class_map.get());
  if (match == nullptr || !is_current(*match, *class_map, before)) match = make(class_map, before);
  return made_.try_emplace(class_map.get(), std::move(match)).first->second;
}

SharedClassMatch ClassMatches::of_inline_match(const ClassPointer& entry, const ClassMatches* before) {
  constexpr std::uint32_t kNoLine = 0;
  if (auto made = find(entry.get())) return made;
  SharedClassMatch match = before == nullptr ? nullptr : before->find(entry.get());
  if (match == nullptr) {
    std::vector<RuleMatch> rules;
    rules.emplace_back(kNoLine, *entry->content.rule, nullptr);
    match = std::make_shared<const ClassMatch>(entry, MatchMode::any, std::move(rules));
  }
  return made_.try_emplace(entry.get(), std::move(match)).first->second;
}

}  // namespace kvel::manager
