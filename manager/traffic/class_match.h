// The rules of a class-map or of an inline match, made ready to be held against flows.
#pragma once

#include <map>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "manager/configuration/configuration.h"
#include "manager/traffic/rule_match.h"

namespace kvel::manager {

class ClassMatch {
 public:
  // `source` is the version of the class-map's rules that these are made of; an inline match has none.
  ClassMatch(RuleTable::ByLine source, MatchMode mode, std::vector<RuleMatch> rules)
      : source_(std::move(source)), mode_(mode), rules_(std::move(rules)) {}

  // All rules of a match-all class, at least one of a match-any class. Without rules nothing matches.
  [[nodiscard]] bool matches(const Flow& flow) const;

  [[nodiscard]] const RuleTable::ByLine& source() const { return source_; }
  [[nodiscard]] MatchMode mode() const { return mode_; }
  [[nodiscard]] const std::vector<RuleMatch>& rules() const { return rules_; }

 private:
  RuleTable::ByLine source_;
  MatchMode mode_;
  std::vector<RuleMatch> rules_;
};

using SharedClassMatch = std::shared_ptr<const ClassMatch>;

// The class-maps of a context that are in use, each made ready once.
class ClassMatches {
 public:
  explicit ClassMatches(const Context& context) : context_(&context) {}

  // The class-map must exist. What was made of it `before` is taken over if its rules and its match mode are the same,
  // whatever else of it has changed; so is an inline match with the same rule.
  SharedClassMatch of_class_map(std::string_view name, const ClassMatches* before = nullptr);
  SharedClassMatch of_inline_match(const PolicyClass& entry, const ClassMatches* before = nullptr);

 private:
  [[nodiscard]] SharedClassMatch find(Number number) const;
  bool is_current(const ClassMatch& made, const ClassMap& class_map, const ClassMatches* before);
  SharedClassMatch make(const ClassMap& class_map, const ClassMatches* before);

  const Context* context_;
  std::map<Number, SharedClassMatch> made_;  // by the number of the class-map, or of the inline match
};

}  // namespace kvel::manager
