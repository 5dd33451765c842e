// What HTTP-inspection rules look at, after "match": the same words for class-maps and for inline matches. Where these
// distinguish the rules by a keyword of the first word, that is given.
#pragma once

#include "kvel/keywords.h"
#include "shell/grammar/pattern.h"

namespace kvel::shell {

[[nodiscard]] Pattern header_length_rule();
[[nodiscard]] Pattern header_rule();
[[nodiscard]] Pattern url_rule();
[[nodiscard]] Pattern url_length_rule(KeywordId keyword = kNoKeyword);
[[nodiscard]] Pattern mime_type_rule(KeywordId keyword = kNoKeyword);
[[nodiscard]] Pattern content_rule();
[[nodiscard]] Pattern content_length_rule(KeywordId keyword = kNoKeyword);
[[nodiscard]] Pattern request_method_rule(KeywordId keyword = kNoKeyword);
[[nodiscard]] Pattern extension_method_rule(KeywordId keyword);  // of inline matches: the same by another keyword
[[nodiscard]] Pattern port_misuse_rule(KeywordId keyword = kNoKeyword);
[[nodiscard]] Pattern transfer_encoding_rule();
[[nodiscard]] Pattern inline_transfer_encoding_rule(KeywordId keyword);  // without "compress"

}  // namespace kvel::shell
