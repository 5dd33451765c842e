// The rules of a class-map or of an inline match, made ready to be held against flows.
#pragma once

#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "manager/model/configuration.h"
#include "manager/traffic/rule_match.h"

namespace kvel::manager {

class ClassMatch {
 public:
  ClassMatch(MatchMode mode, std::vector<RuleMatch> rules) : mode_(mode), rules_(std::move(rules)) {}

  // All rules of a match-all class, at least one of a match-any class. Without rules nothing matches.
  [[nodiscard]] bool matches(const Flow& flow) const;

  [[nodiscard]] MatchMode mode() const { return mode_; }
  [[nodiscard]] const std::vector<RuleMatch>& rules() const { return rules_; }

 private:
  MatchMode mode_;
  std::vector<RuleMatch> rules_;
};

// The class-maps of a context that are in use, each made ready once.
class ClassMatches {
 public:
  explicit ClassMatches(const Context& context) : context_(&context) {}

  // The class-map must exist. What is returned stays where it is.
  const ClassMatch& of_class_map(std::string_view name);
  const ClassMatch& of_inline_match(const MatchRule& rule);

 private:
  const Context* context_;
  std::map<const ClassMap*, ClassMatch> class_maps_;
  std::vector<std::unique_ptr<ClassMatch>> inline_matches_;
};

}  // namespace kvel::manager
