// The rules of a class-map or of an inline match, made ready to be held against flows.
#pragma once

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "manager/configuration/configuration.h"
#include "manager/traffic/rule_match.h"

namespace kvel::manager {

class ClassMatch {
 public:
  // Keeps what it is made of, where the rules are.
  ClassMatch(std::shared_ptr<const void> source, MatchMode mode, std::vector<RuleMatch> rules)
      : source_(std::move(source)), mode_(mode), rules_(std::move(rules)) {}

  // All rules of a match-all class, at least one of a match-any class. Without rules nothing matches.
  [[nodiscard]] bool matches(const Flow& flow) const;

  [[nodiscard]] MatchMode mode() const { return mode_; }
  [[nodiscard]] const std::vector<RuleMatch>& rules() const { return rules_; }

 private:
  std::shared_ptr<const void> source_;
  MatchMode mode_;
  std::vector<RuleMatch> rules_;
};

using SharedClassMatch = std::shared_ptr<const ClassMatch>;

// The class-maps of a context that are in use, each made ready once.
class ClassMatches {
 public:
  explicit ClassMatches(const Context& context) : context_(&context) {}

  // The class-map must exist. What was made of it `before` is taken over if it has not changed since; so is an inline
  // match.
  SharedClassMatch of_class_map(std::string_view name, const ClassMatches* before = nullptr);
  SharedClassMatch of_inline_match(const ClassPointer& entry, const ClassMatches* before = nullptr);

 private:
  [[nodiscard]] SharedClassMatch find(const void* source) const;
  bool is_current(const ClassMatch& made, const ClassMap& class_map, const ClassMatches* before);
  SharedClassMatch make(const std::shared_ptr<const ClassMap>& class_map, const ClassMatches* before);

  const Context* context_;
  std::map<const void*, SharedClassMatch> made_;  // by the class-map, or the class of an inline match
};

}  // namespace kvel::manager
