// One match rule made ready to be held against flows: its expression is compiled, its nested class-map is found. What
// each kind of rule means is defined in rule_match.cpp and nowhere else; docs/flows.md describes it in words.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "manager/model/match_rule.h"
#include "manager/traffic/flow.h"

namespace kvel::manager {

class ClassMatch;

// Why a rule does not match. Nothing is written down where nobody asks.
class Why;

class RuleMatch {
 public:
  // `nested` is the class-map that the rule nests, if it nests one.
  RuleMatch(std::uint32_t line, MatchRule rule, std::shared_ptr<const ClassMatch> nested);

  [[nodiscard]] bool matches(const Flow& flow) const;
  // The same; when it does not, `reason` explains it as a sentence without its full stop.
  [[nodiscard]] bool matches(const Flow& flow, std::string& reason) const;

  [[nodiscard]] std::uint32_t line() const { return line_; }  // 0: of an inline match
  [[nodiscard]] const MatchRule& rule() const { return rule_; }
  [[nodiscard]] const std::shared_ptr<const ClassMatch>& nested() const { return nested_; }

 private:
  bool decide(const Flow& flow, Why& why) const;

  std::uint32_t line_;
  MatchRule rule_;  // a copy, so that the rules of a class lie together in memory
  std::shared_ptr<const ClassMatch> nested_;
  bool is_too_large_;  // its expression, so that it matches nothing
};

}  // namespace kvel::manager
