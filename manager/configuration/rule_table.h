// The rules of a class-map: by line, and by what they match, so that both a free line and the same rule are found at
// once among thousands. A value: copies share what they have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "collections/persistent_map.h"
#include "manager/model/match_rule.h"

namespace kvel::manager {

using RulePointer = std::shared_ptr<const MatchRule>;

class RuleTable {
  struct LessMatch {
    bool operator()(const RulePointer& left, const RulePointer& right) const { return *left < *right; }
    bool operator()(const RulePointer& left, const MatchRule& right) const { return *left < right; }
    bool operator()(const MatchRule& left, const RulePointer& right) const { return left < *right; }
  };

 public:
  using ByLine = collections::PersistentMap<std::uint32_t, RulePointer>;
  static constexpr std::uint32_t kMaxLine = std::numeric_limits<std::uint32_t>::max();

  // Puts the rule at the line, in the place of one that is there. No other line may have the same rule.
  void put(std::uint32_t line, RulePointer rule);
  void erase(std::uint32_t line);

  [[nodiscard]] bool has_line(std::uint32_t line) const { return by_line_.contains(line); }
  // Null when there is none.
  [[nodiscard]] RulePointer at(std::uint32_t line) const {
    const RulePointer* const found = by_line_.find(line);
    return found == nullptr ? nullptr : *found;
  }
  [[nodiscard]] std::optional<std::uint32_t> line_of(const MatchRule& match) const;
  // The smallest multiple of 10 after all lines, if there is one.
  [[nodiscard]] std::optional<std::uint32_t> next_line() const;
  [[nodiscard]] bool has_nested_class_maps() const;

  // Rules with their lines, in the order of these.
  [[nodiscard]] const ByLine& by_line() const { return by_line_; }
  [[nodiscard]] auto begin() const { return by_line_.begin(); }
  [[nodiscard]] auto end() const { return by_line_.end(); }
  [[nodiscard]] bool empty() const { return by_line_.empty(); }
  [[nodiscard]] std::size_t size() const { return by_line_.size(); }

 private:
  ByLine by_line_;
  collections::PersistentMap<RulePointer, std::uint32_t, LessMatch> by_match_;
};

}  // namespace kvel::manager
