// Parts that the match rules of several class-map types share.
#include "shell/grammar/class_map_matches.h"

#include <array>

#include "kvel/http_headers.h"

namespace kvel::shell {

using namespace pattern;

namespace {

constexpr std::uint32_t kHighestLine = 4294967295;

constexpr std::array kHeaderNames{
#define KVEL_HTTP_HEADER_NAME(name) std::string_view(name),
    KVEL_HTTP_HEADERS(KVEL_HTTP_HEADER_NAME)
#undef KVEL_HTTP_HEADER_NAME
};

constexpr std::array<std::string_view, kHeaderNames.size()> kHeaderHelp{
    "Proxies that the message has passed",
    "Program that sends the request",
    "Codings of the message on its way",
    "Page that led to this one",
    "Directives to older caches",
    "Condition: only these versions",
    "Host that is asked",
    "Mail address of the user",
    "What the client expects of the server",
    "Digest of the body",
    "Options of this connection",
    "Directives to caches",
    "Credentials of the user",
    "Languages that the client prefers",
    "Codings that the client accepts",
    "Character sets that the client accepts",
    "Media types that the client accepts",
};

}  // namespace

Pattern match_rule(KeywordId line, Pattern what, KeywordId match) {
  return sequence(optional(rule_line(line)), word("match", "Add a rule: what traffic to match", match),
                  std::move(what));
}

Pattern rule_line(KeywordId line) {
  return number(1, kHighestLine, "Line of the rule in the class-map", line).binds("line");
}

Pattern network(KeywordId address, KeywordId mask, std::string_view mask_help) {
  return choice(sequence(pattern::address("ADDRESS", "IPv4 address", address).binds("address"),
                         optional(pattern::mask("MASK", mask_help, mask).binds("mask"))),
                pattern::network(kNetworkHelp, address, mask).binds("address").binds("mask"));
}

Pattern network_or_host(KeywordId address, KeywordId mask) {
  constexpr std::string_view kHelp = "IPv4 address";
  return choice(sequence(pattern::address("ADDRESS", kHelp, address).binds("address"),
                         pattern::mask("MASK", "Mask of the address; one host when left out", mask).binds("mask")),
                host("ADDRESS", kHelp, address, mask).binds("address").binds("mask", "255.255.255.255"),
                pattern::network(kNetworkHelp, address, mask).binds("address").binds("mask"));
}

Pattern expression(std::string_view help, KeywordId keyword) {
  return string("EXPRESSION", help, keyword, kMaxExpressionBytes);
}

Pattern http_header(KeywordId first_well_known, KeywordId name, KeywordId value) {
  Pattern names = choice();
  for (std::size_t index = 0; index < kHeaderNames.size(); ++index) {
    const KeywordId keyword = first_well_known + static_cast<KeywordId>(index);
    names.parts.push_back(word(kHeaderNames.at(index), kHeaderHelp.at(index), keyword).binds("name"));
  }
  names.parts.push_back(string("NAME", "Name of any other header", name, kMaxNameBytes).binds("name"));
  return sequence(word("header", "A header of the request"), std::move(names), word("value", "Value of the header"),
                  expression("Regular expression that the value matches", value).binds("value"));
}

}  // namespace kvel::shell
