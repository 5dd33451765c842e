// The match rules of class-maps, line by line: exact tokens, with keyword ids as plain numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "kvel/keywords.h"
#include "shell/matcher/help.h"
#include "tests/shell/consecutive_words.h"
#include "tests/shell/matching.h"

namespace kvel::shell::match_rule_grammar_test {
namespace {

using test::number_token;
using test::string_token;
using test::texts;
using test::Tokens;
using test::word_token;
using ::testing::ElementsAre;

// One mode of class-maps, and its carried name.
struct Inside {
  const char* mode;
  KeywordId name;
};
constexpr Inside kLayer34{"class-map-l3", 8};
constexpr Inside kManagement{"class-map-management", 183};
constexpr Inside kLoadBalancing{"class-map-http-lb", 18};
constexpr Inside kHttpInspection{"class-map-http-inspection", 103};
constexpr Inside kFtpInspection{"class-map-ftp-inspection", 173};

struct Line {
  std::string line;
  Tokens tokens;  // without the carried name
};

class MatchRule : public ::testing::Test {
 protected:
  std::vector<ModeLevel> stack_in(const Inside& inside) const {
    std::vector<ModeLevel> stack = test::stack_of(grammar, {"config"});
    stack.push_back({grammar.find_mode(inside.mode).value(), {string_token(inside.name, "web")}});
    return stack;
  }

  void check(const Inside& inside, std::string_view handler, const Line& expected, bool negated = false) {
    SCOPED_TRACE(expected.line);
    const auto matched = match(grammar, stack_in(inside), expected.line);
    ASSERT_TRUE(matched) << describe(matched.error());
    EXPECT_EQ(matched->command->handler, handler);
    EXPECT_EQ(matched->negated, negated);
    EXPECT_EQ(matched->level, 1U);
    EXPECT_FALSE(matched->opens);
    Tokens tokens{string_token(inside.name, "web")};
    tokens.insert(tokens.end(), expected.tokens.begin(), expected.tokens.end());
    EXPECT_EQ(matched->tokens, tokens);
    for (const Token& token : expected.tokens)
      reached.insert(token.keyword);
  }

  // The line, the same at a line of its own, and the "no" forms of both.
  void check_rule(const Inside& inside, KeywordId line, std::string_view handler, const Line& expected) {
    check(inside, handler, expected);
    check(inside, handler, {"no " + expected.line, expected.tokens}, true);
    Tokens placed{number_token(line, 4294967295)};
    placed.insert(placed.end(), expected.tokens.begin(), expected.tokens.end());
    check(inside, handler, {"4294967295 " + expected.line, placed});
    check(inside, handler, {"no 4294967295 " + expected.line, placed}, true);
  }

  void check_words(const Inside& inside, KeywordId line, std::string_view handler, const std::string& before,
                   KeywordId first, const std::vector<const char*>& words) {
    for (const char* word : words)
      check_rule(inside, line, handler, {before + word, {word_token(first++)}});
  }

  std::string refusal(const Inside& inside, const std::string& line) {
    const auto matched = match(grammar, stack_in(inside), line);
    return matched ? "accepted" : describe(matched.error());
  }
  void refuses(const Inside& inside, const std::string& line, const std::string& error_message) {
    EXPECT_THAT(refusal(inside, line), ::testing::StartsWith(error_message)) << line;
  }

  std::vector<std::string> help(const Inside& inside, const std::string& prefix) {
    return texts(help_at(grammar, stack_in(inside), prefix).value());
  }

  const Grammar& grammar = shell_grammar();
  std::set<KeywordId> reached;
};

constexpr std::uint32_t kAddress = 0x0A010101;  // 10.1.1.1
constexpr std::uint32_t kMask = 0xFFFFFF00;

class Layer34 : public MatchRule {
 protected:
  void rule(std::string_view handler, const Line& line) { check_rule(kLayer34, 201, handler, line); }
};

TEST_F(Layer34, VirtualAddress) {
  const auto vip = [this](const std::string& words, const Tokens& tokens) {
    Tokens all{number_token(203, kAddress), number_token(204, kMask)};
    all.insert(all.end(), tokens.begin(), tokens.end());
    rule("kvelclassmap_configvip", {"match virtual-address 10.1.1.1 255.255.255.0 " + words, all});
  };
  vip("any", {word_token(232)});
  vip("protocol 50", {word_token(209), number_token(226, 50)});
  vip("tcp any", {word_token(205), word_token(209)});
  vip("tcp equal 80", {word_token(205), word_token(263), number_token(251, 80)});
  vip("tcp range 1 65535", {word_token(205), word_token(229), number_token(230, 1), number_token(231, 65535)});
  vip("udp any", {word_token(206), word_token(236)});
  vip("udp equal 0", {word_token(206), word_token(276), number_token(270, 0)});
  vip("udp range 0 5", {word_token(206), word_token(233), number_token(234, 0), number_token(235, 5)});

  const std::vector<std::pair<const char*, KeywordId>> tcp{
      {"matip-type-a", 252}, {"nntp", 253}, {"ftp", 254},      {"irc", 255},   {"smtp", 256},
      {"telnet", 257},       {"http", 258}, {"https", 259},    {"rtsp", 260},  {"pop2", 261},
      {"pop3", 262},         {"www", 264},  {"ftp-data", 265}, {"domain", 266}};
  for (const auto& [service, keyword] : tcp)
    vip(std::string("tcp equal ") + service, {word_token(205), word_token(263), word_token(keyword)});
  const std::vector<std::pair<const char*, KeywordId>> udp{
      {"domain", 271}, {"wap-wsp", 272}, {"wap-wsp-s", 273}, {"wap-wsp-wtp", 274}, {"wap-wsp-wtp-s", 275}};
  for (const auto& [service, keyword] : udp)
    vip(std::string("udp equal ") + service, {word_token(206), word_token(276), word_token(keyword)});

  rule("kvelclassmap_configvip", {"match virtual-address 10.1.1.1/24 any",
                                  {number_token(203, kAddress), number_token(204, kMask), word_token(232)}});
  rule("kvelclassmap_configvip",
       {"match virtual-address 10.1.1.1 any", {number_token(203, kAddress), word_token(232)}});
  EXPECT_EQ(reached, (std::set<KeywordId>{201, 203, 204, 205, 206, 209, 226, 229, 230, 231, 232, 233, 234,
                                          235, 236, 251, 252, 253, 254, 255, 256, 257, 258, 259, 260, 261,
                                          262, 263, 264, 265, 266, 270, 271, 272, 273, 274, 275, 276}));
}

TEST_F(Layer34, SourceAndDestinationAddress) {
  const char* const handler = "kvelclassmap_configsrcdstaddr";
  // Without a mask the handler would take every source; one host is meant.
  rule(handler, {"match source-address 10.1.1.1", {number_token(211, kAddress), number_token(212, 0xFFFFFFFF)}});
  rule(handler, {"match source-address 10.1.1.1/24", {number_token(211, kAddress), number_token(212, 0xFFFFFF00)}});
  rule(handler, {"match source-address 0.0.0.0/0", {number_token(211, 0), number_token(212, 0)}});
  rule(handler,
       {"match destination-address 10.1.1.1/32", {number_token(213, kAddress), number_token(214, 0xFFFFFFFF)}});
  rule(handler,
       {"match source-address 10.1.1.1 255.255.255.0", {number_token(211, kAddress), number_token(212, kMask)}});
  rule(handler, {"match destination-address 10.1.1.1", {number_token(213, kAddress)}});
  // The mask comes after the address, which sets a mask of its own.
  rule(handler,
       {"match destination-address 10.1.1.1 255.255.255.0", {number_token(213, kAddress), number_token(214, kMask)}});
}

TEST_F(Layer34, Port) {
  const auto port = [this](const std::string& words, const Tokens& tokens) {
    rule("kvelclassmap_configport", {"match port " + words, tokens});
  };
  port("tcp any", {word_token(216), word_token(241)});
  port("tcp equal 65535", {word_token(216), word_token(217), number_token(237, 65535)});
  port("tcp equal 0", {word_token(216), word_token(217), number_token(237, 0)});
  port("tcp range 80 90", {word_token(216), word_token(218), number_token(219, 80), number_token(220, 90)});
  port("udp any", {word_token(221), word_token(242)});
  port("udp equal 53", {word_token(221), word_token(222), number_token(238, 53)});
  port("udp range 90 80", {word_token(221), word_token(223), number_token(224, 90), number_token(225, 80)});
  const std::vector<std::pair<const char*, KeywordId>> tcp{
      {"matip-type-a", 252}, {"nntp", 253},     {"ftp", 254},   {"smtp", 256}, {"telnet", 257},
      {"http", 258},         {"https", 259},    {"rtsp", 260},  {"pop2", 261}, {"pop3", 262},
      {"www", 264},          {"ftp-data", 265}, {"domain", 266}};
  for (const auto& [service, keyword] : tcp)
    port(std::string("tcp equal ") + service, {word_token(216), word_token(217), word_token(keyword)});
  const std::vector<std::pair<const char*, KeywordId>> udp{
      {"domain", 271}, {"wap-wsp", 272}, {"wap-wsp-s", 273}, {"wap-wsp-wtp", 274}, {"wap-wsp-wtp-s", 275}};
  for (const auto& [service, keyword] : udp)
    port(std::string("udp equal ") + service, {word_token(221), word_token(222), word_token(keyword)});
  refuses(kLayer34, "match port tcp equal irc", "unknown word \"irc\"");  // the handler does not read it
}

TEST_F(Layer34, TheOthers) {
  rule("kvelclassmap_configanything", {"match any", {}});
  rule("kvelclassmap_configacl", {"match access-list inside", {string_token(210, "inside")}});
  check(kLayer34, "kvelclassmap_configdefaultinsp", {"match default-inspection", {}});
  check(kLayer34, "kvelclassmap_configdefaultinsp", {"7 match default-inspection", {number_token(201, 7)}});
}

TEST_F(Layer34, RefusesWhatIsOutOfRange) {
  refuses(kLayer34, "0 match any", "\"0\" is out of range");
  refuses(kLayer34, "4294967296 match any", "\"4294967296\" is out of range");
  refuses(kLayer34, "match port tcp equal 65536", "\"65536\" is out of range");
  refuses(kLayer34, "match port tcp range 0 65536", "\"65536\" is out of range");
  refuses(kLayer34, "match port udp range 65536 1", "\"65536\" is out of range");
  refuses(kLayer34, "match virtual-address 10.1.1.1 tcp equal 65536", "\"65536\" is out of range");
  refuses(kLayer34, "match virtual-address 10.1.1.1 udp range 1 65536", "\"65536\" is out of range");
  refuses(kLayer34, "match virtual-address 10.1.1.1 protocol 256", "\"256\" is out of range");
  refuses(kLayer34, "match virtual-address 10.1.1.256 any", "\"10.1.1.256\" is not an IPv4 address");
  refuses(kLayer34, "match virtual-address 10.1.1.1", "incomplete command; expected: any, protocol, tcp, udp, MASK");
  refuses(kLayer34, "match virtual-address 10.1.1.1 tcp", "incomplete command; expected: any, equal, range");
  refuses(kLayer34, "match source-address 10.1.1", "\"10.1.1\" is not an IPv4 address");
  for (const char* bad : {"10.1.1.1/33", "10.1.1.1/", "10.1.1/8", "10.1.1.1/08", "10.1.1.1/8/8", "10.1.1.1/-1"})
    refuses(kLayer34, std::string("match source-address ") + bad,
            "\"" + std::string(bad) + "\" is not an IPv4 address");
  refuses(kLayer34, "match source-address 10.1.1.1/8 255.0.0.0", "unexpected word \"255.0.0.0\"");
  refuses(kLayer34, "match port", "incomplete command; expected: tcp, udp");
  refuses(kLayer34, "match port icmp any", "unknown word \"icmp\"");
  refuses(kLayer34, "match access-list " + std::string(65, 'x'), "NAME is too long: at most 64 characters");
  refuses(kLayer34, "match access-list \"\"", "NAME must not be empty");
  refuses(kLayer34, "match any more", "unexpected word \"more\"");
  refuses(kLayer34, "no match default-inspection", "unknown word \"default-inspection\"");
}

TEST_F(Layer34, Help) {
  EXPECT_EQ(help(kLayer34, "match "),
            (std::vector<std::string>{"access-list", "any", "destination-address", "port", "source-address",
                                      "virtual-address", "default-inspection"}));
  EXPECT_EQ(help(kLayer34, "10 "), std::vector<std::string>{"match"});
  EXPECT_EQ(help(kLayer34, "no 10 "), (std::vector<std::string>{"match", "<cr>"}));
  EXPECT_EQ(help(kLayer34, "match source-address "), (std::vector<std::string>{"ADDRESS", "ADDRESS/LENGTH"}));
  EXPECT_EQ(help(kLayer34, "match source-address 10.1.1.1 "), (std::vector<std::string>{"MASK", "<cr>"}));
  EXPECT_EQ(help(kLayer34, "match source-address 10.1.1.1/"), (std::vector<std::string>{"ADDRESS/LENGTH"}));
  EXPECT_EQ(help(kLayer34, "match virtual-address 10.1.1.1 "),
            (std::vector<std::string>{"any", "protocol", "tcp", "udp", "MASK"}));
  EXPECT_EQ(help(kLayer34, "match port udp equal "),
            (std::vector<std::string>{"domain", "wap-wsp", "wap-wsp-s", "wap-wsp-wtp", "wap-wsp-wtp-s", "<0-65535>"}));
}

TEST_F(MatchRule, Management) {
  const auto rule = [this](const std::string& words, const Tokens& tokens) {
    Tokens all{word_token(181), word_token(184)};
    all.insert(all.end(), tokens.begin(), tokens.end());
    const std::string line = "match protocol " + words;
    check(kManagement, "kvelclassmap_config_mgmtproto", {line, all});
    check(kManagement, "kvelclassmap_config_mgmtproto", {"no " + line, all}, true);
    all.insert(all.begin(), number_token(194, 30));
    check(kManagement, "kvelclassmap_config_mgmtproto", {"30 " + line, all});
    check(kManagement, "kvelclassmap_config_mgmtproto", {"no 30 " + line, all}, true);
  };
  const std::vector<std::pair<const char*, KeywordId>> services{{"ssh", 185},   {"telnet", 186}, {"http", 187},
                                                                {"https", 188}, {"icmp", 189},   {"ftp", 190},
                                                                {"tftp", 191},  {"snmp", 200}};
  for (const auto& [service, keyword] : services)
    rule(service, {word_token(keyword)});
  rule("ssh source any", {word_token(185), word_token(197), word_token(180)});
  rule("ssh source address 10.1.1.1 mask 255.255.255.0",
       {word_token(185), word_token(197), word_token(198), number_token(192, kAddress), word_token(199),
        number_token(193, kMask)});
  rule("ssh source address 10.1.1.1/24", {word_token(185), word_token(197), word_token(198),
                                          number_token(192, kAddress), word_token(199), number_token(193, kMask)});
  EXPECT_EQ(reached,
            (std::set<KeywordId>{180, 181, 184, 185, 186, 187, 188, 189, 190, 191, 192, 193, 194, 197, 198, 199, 200}));

  refuses(kManagement, "match protocol gopher", "unknown word \"gopher\"");
  refuses(kManagement, "match protocol ssh source address 10.1.1.1", "incomplete command; expected: mask");
  refuses(kManagement, "match protocol ssh source address 10.1.1.1 mask 255.255.256.0", "\"255.255.256.0\" is not");
  refuses(kManagement, "0 match protocol ssh", "\"0\" is out of range");
  EXPECT_EQ(help(kManagement, "match protocol "),
            (std::vector<std::string>{"ftp", "http", "https", "icmp", "snmp", "ssh", "telnet", "tftp"}));
}

TEST_F(MatchRule, LoadBalancing) {
  const auto rule = [this](std::string_view handler, const Line& line) {
    check_rule(kLoadBalancing, 19, handler, line);
  };
  const char* const url = "kvelclassmap_config_httplburl";
  rule(url, {"match http url /img/.*", {string_token(528, "/img/.*")}});
  rule(url, {R"(match http url "/a b\\d" qualifier get)", {string_token(528, R"(/a b\d)"), string_token(529, "get")}});
  const char* const cookie = "kvelclassmap_config_httplbcookie";
  rule(cookie, {"match http cookie sid value ^a", {string_token(506, "sid"), string_token(507, "^a")}});
  rule(cookie, {"match http cookie sid value ^a advanced option",
                {string_token(506, "sid"), string_token(507, "^a"), word_token(532)}});
  const char* const header = "kvelclassmap_config_httplbhdr";
  KeywordId keyword = 511;
  for (const char* name : test::kHeaders) {
    rule(header,
         {std::string("match http header ") + name + " value x.*", {word_token(keyword++), string_token(510, "x.*")}});
  }
  rule(header, {"match http header X-Realm value x", {string_token(509, "X-Realm"), string_token(510, "x")}});
  rule(header, {"match http header \"Host\" value x", {string_token(509, "Host"), string_token(510, "x")}});
  const char* const source = "kvelclassmap_config_httplbsrcaddr";
  rule(source, {"match http source-address 10.1.1.1", {number_token(570, kAddress)}});
  rule(source,
       {"match http source-address 10.1.1.1 255.255.255.0", {number_token(570, kAddress), number_token(571, kMask)}});
  rule(source, {"match http source-address 10.1.1.1/24", {number_token(570, kAddress), number_token(571, kMask)}});
  rule("kvelclassmap_config_httplbcmap", {"match class-map images", {string_token(101, "images")}});
  check(kLoadBalancing, "kvelclassmap_config_httplb", {"match http", {}});
  check(kLoadBalancing, "kvelclassmap_config_httplb", {"5 match http", {number_token(19, 5)}});
  check(kLoadBalancing, "kvelclassmap_config_httplbssl", {"match ssl", {}});
  check(kLoadBalancing, "kvelclassmap_config_httplbssl", {"5 match ssl", {number_token(19, 5)}});
  EXPECT_EQ(reached, (std::set<KeywordId>{19,  101, 506, 507, 509, 510, 511, 512, 513, 514, 515, 516, 517, 518,
                                          519, 520, 521, 522, 523, 524, 525, 526, 527, 528, 529, 532, 570, 571}));
}

TEST_F(MatchRule, Inline) {
  struct Row {
    const char* line;
    const char* handler;
    Tokens tokens;
  };
  const std::vector<Row> rows{
      {"inline-match img match http url \"/i.*\"",
       "kvelclassmap_config_httplburl",
       {string_token(505, "img"), string_token(528, "/i.*")}},
      {"inline-match img insert-before other 20 match http url /i.* qualifier q",
       "kvelclassmap_config_httplburl",
       {string_token(505, "img"), string_token(577, "other"), number_token(504, 20), string_token(528, "/i.*"),
        string_token(529, "q")}},
      {"inline-match c match http cookie sid value ^a advanced option",
       "kvelclassmap_config_httplbcookie",
       {string_token(505, "c"), string_token(506, "sid"), string_token(507, "^a"), word_token(532)}},
      {"inline-match h 7 match http header Host value w",
       "kvelclassmap_config_httplbhdr",
       {string_token(505, "h"), number_token(504, 7), word_token(517), string_token(510, "w")}},
      {"inline-match s match http source-address 10.0.0.0 255.0.0.0",
       "kvelclassmap_config_httplbsrcaddr",
       {string_token(505, "s"), number_token(570, 0x0A000000), number_token(571, 0xFF000000)}},
  };
  const std::vector<ModeLevel> top = test::stack_of(grammar, {"config"});
  for (const Row& row : rows) {
    for (const bool negated : {false, true}) {
      const std::string line = (negated ? "no " : "") + std::string(row.line);
      SCOPED_TRACE(line);
      const auto matched = match(grammar, top, line);
      ASSERT_TRUE(matched) << describe(matched.error());
      EXPECT_EQ(matched->command->handler, row.handler);
      EXPECT_EQ(matched->negated, negated);
      EXPECT_FALSE(matched->opens);
      EXPECT_EQ(matched->tokens, row.tokens);
    }
  }
}

TEST_F(MatchRule, LoadBalancingRefusals) {
  const std::string longest(255, 'x');
  EXPECT_EQ(refusal(kLoadBalancing, "match http url " + longest), "accepted");
  refuses(kLoadBalancing, "match http url x" + longest, "EXPRESSION is too long: at most 255 characters");
  refuses(kLoadBalancing, "match http cookie a value x" + longest, "EXPRESSION is too long: at most 255 characters");
  refuses(kLoadBalancing, "match http header Host value x" + longest, "EXPRESSION is too long");
  const std::string name(64, 'n');
  EXPECT_EQ(refusal(kLoadBalancing, "match http cookie " + name + " value x"), "accepted");
  refuses(kLoadBalancing, "match http cookie n" + name + " value x", "NAME is too long: at most 64 characters");
  refuses(kLoadBalancing, "match http header n" + name + " value x", "NAME is too long: at most 64 characters");
  refuses(kLoadBalancing, "match http url x qualifier n" + name, "WORD is too long: at most 64 characters");
  refuses(kLoadBalancing, "match class-map n" + name, "NAME is too long: at most 64 characters");
  refuses(kLoadBalancing, "match http url \"\"", "EXPRESSION must not be empty");
  refuses(kLoadBalancing, "match http header Host", "incomplete command; expected: value");
  refuses(kLoadBalancing, "match http source-address host", "\"host\" is not an IPv4 address");
  EXPECT_EQ(help(kLoadBalancing, "match "), (std::vector<std::string>{"class-map", "http", "ssl"}));
  EXPECT_EQ(help(kLoadBalancing, "match http "),
            (std::vector<std::string>{"cookie", "header", "source-address", "url", "<cr>"}));
  const Completion child = complete_at(grammar, stack_in(kLoadBalancing), "match class-map ");
  EXPECT_THAT(child.hooks, ElementsAre("classmap_lb_completionhook"));
}

class HttpInspection : public MatchRule {
 protected:
  void rule(std::string_view handler, const Line& line) { check_rule(kHttpInspection, 106, handler, line); }

  void length(std::string_view handler, const std::string& words, const Tokens& before,
              const std::vector<KeywordId>& keywords, std::uint32_t most) {
    const auto line = [&](const std::string& comparison, const Tokens& tokens) {
      Tokens all = before;
      all.insert(all.end(), tokens.begin(), tokens.end());
      rule(handler, {words + comparison, all});
    };
    const auto typed = [](std::uint32_t number) { return std::to_string(number); };
    line(" greater-than 0", {number_token(keywords[0], 0)});
    line(" greater-than " + typed(most - 1), {number_token(keywords[0], most - 1)});
    line(" less-than 1", {number_token(keywords[1], 1)});
    line(" less-than " + typed(most), {number_token(keywords[1], most)});
    line(" equal 0", {number_token(keywords[2], 0)});
    line(" equal " + typed(most), {number_token(keywords[2], most)});
    line(" range 0 " + typed(most), {number_token(keywords[3], 0), number_token(keywords[4], most)});
    line(" range " + typed(most) + " 0", {number_token(keywords[3], most), number_token(keywords[4], 0)});
    refuses(kHttpInspection, words + " greater-than " + typed(most), "\"" + typed(most) + "\" is out of range");
    refuses(kHttpInspection, words + " less-than 0", "\"0\" is out of range");
    const std::string above = std::to_string(std::uint64_t{most} + 1);
    for (const char* comparison : {" greater-than ", " less-than ", " equal ", " range ", " range 0 "})
      refuses(kHttpInspection, words + comparison + above, "\"" + above + "\" is out of range");
  }
};

TEST_F(HttpInspection, Lengths) {
  length("kvelclassmap_config_httpinsp_hdrlen", "match header-length request", {word_token(113)}, {61, 62, 63, 65, 66},
         255);
  length("kvelclassmap_config_httpinsp_hdrlen", "match header-length response", {word_token(114)}, {61, 62, 63, 65, 66},
         255);
  length("kvelclassmap_config_httpinsp_url", "match url-length", {}, {124, 125, 126, 128, 129}, 65535);
  length("kvelclassmap_config_httpinsp_cntlen", "match content-length", {}, {132, 133, 134, 136, 137}, 4294967295);
  refuses(kHttpInspection, "match header-length equal 5", "unknown word \"equal\"; expected: request, response");
}

TEST_F(HttpInspection, HeadersAndExpressions) {
  KeywordId keyword = 44;
  for (const char* name : test::kHeaders) {
    rule("kvelclassmap_config_httpinsp_hdr",
         {std::string("match header ") + name + " value a|b", {word_token(keyword++), string_token(116, "a|b")}});
  }
  rule("kvelclassmap_config_httpinsp_hdr",
       {"match header X-Realm value x", {string_token(115, "X-Realm"), string_token(116, "x")}});
  rule("kvelclassmap_config_httpinsp_url", {"match url \\.exe$", {string_token(123, "\\.exe$")}});
  rule("kvelclassmap_config_httpinsp_content", {"match content virus", {string_token(145, "virus")}});
  rule("kvelclassmap_config_httpinsp_content",
       {"match content virus offset 255", {string_token(145, "virus"), number_token(146, 255)}});
  check(kHttpInspection, "kvelclassmap_config_httpinspect", {"match http", {}});
  check(kHttpInspection, "kvelclassmap_config_httpinspect", {"9 match http", {number_token(106, 9)}});
  refuses(kHttpInspection, "match content virus offset 256", "\"256\" is out of range");
  refuses(kHttpInspection, "match url " + std::string(256, 'x'), "EXPRESSION is too long: at most 255 characters");
  refuses(kHttpInspection, "match content " + std::string(256, 'x'), "EXPRESSION is too long");
  refuses(kHttpInspection, "match header a value " + std::string(256, 'x'), "EXPRESSION is too long");
}

TEST_F(HttpInspection, CodedWords) {
  check_words(kHttpInspection, 106, "kvelclassmap_config_httpinsp_mime", "match mime-type ", 1001, test::kMimeTypes);
  EXPECT_EQ(*reached.rbegin(), 1045U);
  check_words(kHttpInspection, 106, "kvelclassmap_config_httpinsp_encoding", "match transfer-encoding ", 1101,
              {"chunked", "compress", "deflate", "gzip", "identity", "trailers"});
  EXPECT_EQ(*reached.rbegin(), 1106U);
  check_words(kHttpInspection, 106, "kvelclassmap_config_httpinsp_method", "match request-method ", 1201,
              test::kRequestMethods);
  EXPECT_EQ(*reached.rbegin(), 1227U);
  check_words(kHttpInspection, 106, "kvelclassmap_config_httpinsp_p80misuse", "match port-misuse ", 1251,
              {"instant-messaging", "peer-to-peer", "tunnelling"});
  EXPECT_EQ(*reached.rbegin(), 1253U);
  refuses(kHttpInspection, "match mime-type text/*", "unknown word \"text/*\"");
  refuses(kHttpInspection, "match request-method brew", "unknown word \"brew\"");
}

TEST_F(HttpInspection, Help) {
  EXPECT_EQ(help(kHttpInspection, "match "),
            (std::vector<std::string>{"content", "content-length", "header", "header-length", "http", "mime-type",
                                      "port-misuse", "request-method", "transfer-encoding", "url", "url-length"}));
  EXPECT_EQ(help(kHttpInspection, "match content-length "),
            (std::vector<std::string>{"equal", "greater-than", "less-than", "range"}));
  EXPECT_EQ(help(kHttpInspection, "match content-length greater-than "), std::vector<std::string>{"<0-4294967294>"});
  EXPECT_EQ(help(kHttpInspection, "match mime-type video/"),
            (std::vector<std::string>{"video/mp4", "video/mpeg", "video/quicktime", "video/sgi", "video/x-fli"}));
}

TEST_F(MatchRule, FtpInspection) {
  check_words(kFtpInspection, 176, "kvelclassmap_config_ftpinspect", "match ftp-command ", 876,
              {"appe", "cdup", "dele", "retr", "help", "mkd", "stor", "rmd", "rnfr", "rnto", "site", "stou", "syst"});
  EXPECT_EQ(*reached.rbegin(), 888U);
  refuses(kFtpInspection, "match ftp-command list", "unknown word \"list\"");
  EXPECT_EQ(help(kFtpInspection, "match "), std::vector<std::string>{"ftp-command"});
}

TEST_F(MatchRule, LinesAreRemovedByTheirNumber) {
  check(kLayer34, "kvelclassmap_config_lineno", {"no 10", {number_token(201, 10)}}, true);
  check(kManagement, "kvelclassmap_config_mgmt_lineno", {"no 10", {number_token(194, 10)}}, true);
  check(kLoadBalancing, "kvelclassmap_delete_match_linenum", {"no 1", {number_token(19, 1)}}, true);
  check(kHttpInspection, "kvelclassmap_delete_match_linenum", {"no 4294967295", {number_token(106, 4294967295)}}, true);
  check(kFtpInspection, "kvelclassmap_delete_match_linenum", {"no 10", {number_token(176, 10)}}, true);
  for (const Inside& inside : {kLayer34, kManagement, kLoadBalancing, kHttpInspection, kFtpInspection}) {
    refuses(inside, "10", "incomplete command; expected: match");
    refuses(inside, "no 0", "\"0\" is out of range");
    refuses(inside, "no 4294967296", "\"4294967296\" is out of range");
  }
}

// Rules belong into a class-map, and each kind into its type.
TEST_F(MatchRule, RulesOfOtherTypesAreUnknown) {
  const auto outside = match(grammar, test::stack_of(grammar, {"config"}), "match any");
  ASSERT_FALSE(outside);
  EXPECT_EQ(outside.error().column, 0U);
  refuses(kManagement, "match any", "unknown word \"any\"");
  refuses(kLoadBalancing, "match any", "unknown word \"any\"");
  refuses(kHttpInspection, "match ftp-command retr", "unknown word \"ftp-command\"");
  refuses(kFtpInspection, "match url x", "unknown word \"url\"");
  refuses(kLayer34, "match http url x", "unknown word \"http\"");
}

// Every line of the example is known, and together they show every kind of rule.
TEST_F(MatchRule, TheExampleShowsEachKindOnce) {
  std::ifstream file(KVEL_ROOT "/examples/class-map-rules.kvel");
  ASSERT_TRUE(file);
  std::vector<ModeLevel> stack = test::stack_of(grammar, {"config"});
  std::multiset<std::string_view> shown;
  for (std::string line; std::getline(file, line);) {
    const LexedLine words = lex(line);
    if (words.blank()) continue;
    const auto matched = match(grammar, stack, words);
    ASSERT_TRUE(matched) << line << ": " << describe(matched.error());
    if (!matched->negated && !matched->command->record.empty()) shown.insert(matched->command->record);
    if (matched->command->handler.empty()) continue;
    stack.resize(matched->level + 1);
    if (matched->opens) stack.push_back(*matched->opens);
  }
  EXPECT_EQ(shown, (std::multiset<std::string_view>{"virtual-address",
                                                    "source-address",
                                                    "destination-address",
                                                    "port",
                                                    "any",
                                                    "access-list",
                                                    "management",
                                                    "http-url",
                                                    "http-cookie",
                                                    "http-header",
                                                    "http-source-address",
                                                    "class-map",
                                                    "header-length",
                                                    "header",
                                                    "url",
                                                    "url-length",
                                                    "mime-type",
                                                    "content",
                                                    "content-length",
                                                    "request-method",
                                                    "port-misuse",
                                                    "transfer-encoding",
                                                    "ftp-method"}));
}

}  // namespace
}  // namespace kvel::shell::match_rule_grammar_test
