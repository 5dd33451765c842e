// Parts that the match rules of several class-map types share.
#pragma once

#include <cstdint>

#include "shell/grammar/pattern.h"

namespace kvel::shell {

inline constexpr std::uint32_t kMaxExpressionBytes = 255;

// "[LINE] match ...": a rule, at a line of its choice. `match` is a keyword only for management rules.
[[nodiscard]] Pattern match_rule(KeywordId line, Pattern what, KeywordId match = kNoKeyword);

// An address with an optional mask, or with the length of its prefix; they bind "address" and "mask".
[[nodiscard]] Pattern network(KeywordId address, KeywordId mask, std::string_view mask_help);
// The same, and without a mask the mask of one host is handed on.
[[nodiscard]] Pattern network_or_host(KeywordId address, KeywordId mask);

// The line of a rule, for removing the rule there.
[[nodiscard]] Pattern rule_line(KeywordId line);

// A regular expression.
[[nodiscard]] Pattern expression(std::string_view help, KeywordId keyword);

// "header {Via | ... | NAME} value EXPRESSION"; the well-known names have consecutive keywords.
[[nodiscard]] Pattern http_header(KeywordId first_well_known, KeywordId name, KeywordId value);

}  // namespace kvel::shell
