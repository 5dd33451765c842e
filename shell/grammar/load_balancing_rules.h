// What HTTP load-balancing rules look at, after "match": the same words for class-maps and for inline matches.
#pragma once

#include <vector>

#include "kvel/keywords.h"
#include "shell/grammar/pattern.h"

namespace kvel::shell {

// The word "http", which all of them begin with.
[[nodiscard]] Pattern http_request();

[[nodiscard]] Pattern http_url_rule();
[[nodiscard]] Pattern http_cookie_rule();
[[nodiscard]] Pattern http_header_rule(KeywordId value);
[[nodiscard]] Pattern http_source_address_rule();

// The defaults of the members of a source-address record.
[[nodiscard]] std::vector<MemberDefault> http_source_address_defaults();

}  // namespace kvel::shell
