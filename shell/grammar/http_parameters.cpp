// The settings of HTTP parameter-maps: how requests and responses are parsed, and how connections are shared.
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/parameter_settings.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kMostDelimiters = 4;

const ParameterMapType& http_type() { return kParameterMapTypes[1]; }

Pattern bytes(std::string_view help, KeywordId keyword) {
  return number(0, kHighestSetting, help, keyword, "bytes").binds("bytes");
}

}  // namespace

void declare_http_parameters(GrammarBuilder& grammar) {
  ParameterSettings settings(grammar, http_type());
  const auto enabled = [&settings](std::string_view kind, std::string_view help, KeywordId keyword) {
    settings.setting(kind, word(kind, help, keyword).binds("mode", "enabled"));
  };
  enabled("connection-reuse", "Let requests share connections to the servers", kw::http_connection_reuse);
  enabled("case-insensitive", "Compare without regard to case", kw::http_case_insensitive);
  enabled("persistence-rebalance", "Balance every request of a connection", kw::http_persistence_rebalance);
  settings.valued(
      "length-exceed",
      word("length-exceed", "What is done with messages that are too long to be parsed", kw::http_length_exceed),
      choice(word("drop", "Drop them", kw::http_length_exceed_drop).binds("action", "drop"),
             word("continue", "Forward them without parsing", kw::http_length_exceed_continue)
                 .binds("action", "continue")));
  settings.valued(
      "header-max-parse",
      word("header-maximum-parse-length", "Maximum length of the headers to parse", kw::http_header_max_parse),
      bytes("Length", kw::http_header_max_parse_length));
  settings.valued(
      "content-max-parse",
      word("content-maximum-parse-length", "Maximum length of the content to parse", kw::http_content_max_parse),
      bytes("Length", kw::http_content_max_parse_length));
  settings.valued("cookie-delimiters",
                  word("cookie-delimiters", "Delimiters of the cookies in a URL", kw::http_cookie_delimiters),
                  string("TEXT", "1 to 4 characters", kw::http_cookie_delimiters_text, kMostDelimiters).binds("text"));
}

}  // namespace kvel::shell
