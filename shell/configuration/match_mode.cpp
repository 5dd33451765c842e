// Changes of the match mode.
#include "shell/configuration/match_mode.h"

#include <fmt/format.h>

#include <algorithm>
#include <variant>

#include "shell/grammar/class_map_types.h"

namespace kvel::shell {

std::string match_mode_change(std::string_view mode, std::span<const Token> tokens, bool matched_all,
                              std::size_t rules) {
  const auto* type = std::find_if(kClassMapTypes.begin(), kClassMapTypes.end(),
                                  [mode](const ClassMapType& row) { return row.mode == mode; });
  if (type == kClassMapTypes.end() || type->match_all == kNoKeyword) return {};
  const auto find = [&](KeywordId keyword) {
    return std::find_if(tokens.begin(), tokens.end(),
                        [keyword](const Token& token) { return token.keyword == keyword; });
  };
  const bool to_all = find(type->match_all) != tokens.end();
  if (!to_all && find(type->match_any) == tokens.end()) return {};
  const auto token = find(type->name);
  if (token == tokens.end()) return {};
  const auto& name = std::get<std::string>(token->value);
  if (matched_all == to_all || rules == 0) return {};
  return fmt::format("class-map '{}' is {} now: the match mode of {} changed", name, to_all ? "match-all" : "match-any",
                     rules == 1 ? "1 rule" : fmt::format("{} rules", rules));
}

}  // namespace kvel::shell
