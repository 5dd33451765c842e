// The rules of a class-map: by line, and by what they match, so that both a free line and the same rule are found at
// once among thousands. Insertion comes in two steps, as in an object table.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "manager/model/match_rule.h"
#include "manager/model/reference.h"
#include "manager/model/version.h"

namespace kvel::manager {

struct Rule {
  MatchRule match;
  Reference nested;  // to the class-map that the rule nests
};

class RuleTable {
  using ByLine = std::map<std::uint32_t, Rule>;
  using Entry = ByLine::value_type;
  struct LessMatch {
    using is_transparent = void;
    bool operator()(const Entry* left, const Entry* right) const { return left->second.match < right->second.match; }
    bool operator()(const Entry* left, const MatchRule& right) const { return left->second.match < right; }
    bool operator()(const MatchRule& left, const Entry* right) const { return left < right->second.match; }
  };
  using ByMatch = std::set<const Entry*, LessMatch>;

 public:
  static constexpr std::uint32_t kMaxLine = std::numeric_limits<std::uint32_t>::max();

  // A rule with its line that is not in a table yet.
  class Prepared {
   public:
    [[nodiscard]] const MatchRule& match() const { return rule_.mapped().match; }

   private:
    friend class RuleTable;
    ByLine::node_type rule_;
    ByMatch::node_type match_;
  };

  [[nodiscard]] static Prepared prepare(std::uint32_t line, MatchRule match);
  // The line must be free and the rule new.
  void insert(Prepared prepared) noexcept;
  // The rule at this line must be there and nest the target.
  void refer(std::uint32_t line, Reference nested) noexcept { by_line_.find(line)->second.nested = std::move(nested); }
  void erase(std::uint32_t line) noexcept;
  void clear() noexcept;

  [[nodiscard]] bool has_line(std::uint32_t line) const { return by_line_.contains(line); }
  [[nodiscard]] std::optional<std::uint32_t> line_of(const MatchRule& match) const;
  // The smallest multiple of 10 after all lines, if there is one.
  [[nodiscard]] std::optional<std::uint32_t> next_line() const;
  [[nodiscard]] bool has_nested_class_maps() const;

  // Rules with their lines, in the order of these.
  [[nodiscard]] ByLine::const_iterator begin() const { return by_line_.begin(); }
  [[nodiscard]] ByLine::const_iterator end() const { return by_line_.end(); }
  [[nodiscard]] ByLine::const_iterator after(std::uint32_t line) const { return by_line_.upper_bound(line); }
  [[nodiscard]] bool empty() const { return by_line_.empty(); }
  [[nodiscard]] std::size_t size() const { return by_line_.size(); }

  [[nodiscard]] std::uint64_t version() const { return version_; }

 private:
  ByLine by_line_;
  ByMatch by_match_;  // points into by_line_
  std::uint64_t version_ = next_version();
};

}  // namespace kvel::manager
