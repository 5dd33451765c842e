// The settings of HTTP parameter-maps: how requests and responses are parsed, and how connections are shared.
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/families.h"
#include "shell/grammar/parameter_settings.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kMostDelimiters = 4;

const ParameterMapType& http_type() { return kParameterMapTypes[1]; }

Pattern bytes(std::string_view help, KeywordId keyword) {
  return number(0, kHighestSetting, help, keyword, "bytes").says("bytes");
}

}  // namespace

void declare_http_parameters(GrammarBuilder& grammar) {
  ParameterSettings settings(grammar, http_type());
  const auto enabled = [&settings](std::string_view kind, std::string_view help, KeywordId keyword) {
    settings.setting(kind, word(kind, help, keyword).says("mode", "enabled"));
  };
  enabled("connection-reuse", "Let requests share connections to the servers", kw::http_connection_reuse);
  enabled("case-insensitive", "Do not tell capital letters from small ones", kw::http_case_insensitive);
  enabled("persistence-rebalance", "Balance every request of a connection", kw::http_persistence_rebalance);
  settings.valued(
      "length-exceed",
      word("length-exceed", "What becomes of messages that are too long to be parsed", kw::http_length_exceed),
      choice(word("drop", "Drop them", kw::http_length_exceed_drop).says("action", "drop"),
             word("continue", "Go on with them unparsed", kw::http_length_exceed_continue).says("action", "continue")));
  settings.valued("header-max-parse",
                  word("header-maximum-parse-length", "How much of a header is parsed", kw::http_header_max_parse),
                  bytes("Length", kw::http_header_max_parse_length));
  settings.valued("content-max-parse",
                  word("content-maximum-parse-length", "How much of a content is parsed", kw::http_content_max_parse),
                  bytes("Length", kw::http_content_max_parse_length));
  settings.valued("cookie-delimiters",
                  word("cookie-delimiters", "What divides the cookies in a URL", kw::http_cookie_delimiters),
                  string("TEXT", "1 to 4 characters", kw::http_cookie_delimiters_text, kMostDelimiters).says("text"));
}

}  // namespace kvel::shell
