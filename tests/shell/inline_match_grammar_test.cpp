// Matches written into policy-maps, line by line: exact tokens, keyword ids as plain numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/shell/consecutive_words.h"
#include "tests/shell/typed_lines.h"

namespace kvel::shell::inline_match_grammar_test {
namespace {

using test::number_token;
using test::Stack;
using test::string_token;
using test::Tokens;
using test::word_token;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

constexpr std::uint32_t kAddress = 0x0A010101;  // 10.1.1.1
constexpr std::uint32_t kMask = 0xFFFFFF00;

class InlineMatch : public test::TypedLines {
 protected:
  InlineMatch(const char* command, const char* handler, const char* mode, KeywordId name, KeywordId insert_before)
      : policy_map(inside({command})), handler_(handler), mode_(mode), name_(name), insert_before_(insert_before) {}

  // The rule under a name, placed before another entry, and after "no".
  void rule(const std::string& words, const Tokens& tokens) {
    Tokens all{string_token(name_, "m")};
    all.insert(all.end(), tokens.begin(), tokens.end());
    accepts_both(policy_map, "match m " + words, handler_, all);
    Tokens carried = policy_map.back().carried;
    carried.push_back(all.front());
    opens(policy_map, "match m " + words, mode_, carried);
    if (insert_before_ == kNoKeyword) return;
    all.insert(all.begin() + 1, string_token(insert_before_, "other"));
    accepts_both(policy_map, "match m insert-before other " + words, handler_, all);
    opens(policy_map, "match m insert-before other " + words, mode_, carried);
  }

  void refuses(const std::string& words, const std::string& error_message) const {
    EXPECT_THAT(refusal(policy_map, "match m " + words), StartsWith(error_message)) << words;
  }

  void removed_by_name() {
    accepts(policy_map, "no match m", handler_, {string_token(name_, "m")}, true);
    EXPECT_THAT(refusal(policy_map, "match m"),
                MatchesRegex("incomplete command(; expected: |\nexpected:\n  )(.|\n)*"));
    EXPECT_EQ(refusal(policy_map, "no match " + std::string(65, 'm')), "NAME is too long: at most 64 characters");
  }

  const Stack policy_map;

 private:
  const char* handler_;
  const char* mode_;
  KeywordId name_;
  KeywordId insert_before_;
};

class InlineLoadBalancing : public InlineMatch {
 protected:
  InlineLoadBalancing()
      : InlineMatch("policy-map type http-load-balancing p", "kvelpolicymap_config_inline_lb",
                    "policy-map-http-lb-match", 505, 610) {}
};

TEST_F(InlineLoadBalancing, Rules) {
  rule("http url /img/.*", {string_token(528, "/img/.*")});
  rule(R"(http url "/a b\\d" qualifier get)", {string_token(528, R"(/a b\d)"), string_token(529, "get")});
  rule("http cookie sid value ^a", {string_token(506, "sid"), string_token(507, "^a")});
  rule("http cookie sid value ^a advanced option",
       {string_token(506, "sid"), string_token(507, "^a"), word_token(532)});
  // The value of a header has the keyword of a cookie's; that of a class-map's header means a value alone.
  KeywordId keyword = 511;
  for (const char* name : test::kHeaders)
    rule(std::string("http header ") + name + " value x.*", {word_token(keyword++), string_token(507, "x.*")});
  rule("http header X-Realm value x", {string_token(509, "X-Realm"), string_token(507, "x")});
  rule("http value a.*b", {string_token(510, "a.*b")});
  rule("http source-address 10.1.1.1", {number_token(570, kAddress)});
  rule("http source-address 10.1.1.1 255.255.255.0", {number_token(570, kAddress), number_token(571, kMask)});
  EXPECT_EQ(reached, (std::set<KeywordId>{505, 506, 507, 509, 510, 511, 512, 513, 514, 515, 516, 517, 518, 519,
                                          520, 521, 522, 523, 524, 525, 526, 527, 528, 529, 532, 570, 571, 610}));
  removed_by_name();
}

TEST_F(InlineLoadBalancing, Refusals) {
  refuses("http url " + std::string(256, 'x'), "EXPRESSION is too long: at most 255 characters");
  refuses("http value " + std::string(256, 'x'), "EXPRESSION is too long: at most 255 characters");
  refuses("http cookie " + std::string(65, 'x') + " value y", "NAME is too long: at most 64 characters");
  refuses("http", "incomplete command; expected: cookie, header, source-address, url, value");
  refuses("class-map x", "unknown word \"class-map\"");
  refuses("ssl", "unknown word \"ssl\"");
  refuses("10 http url x", "unknown word \"10\"");
  EXPECT_EQ(help(policy_map, "match m "), (std::vector<std::string>{"http", "insert-before"}));
  EXPECT_EQ(help(policy_map, "no match m "), (std::vector<std::string>{"http", "insert-before", "<cr>"}));
  EXPECT_THAT(complete_at(grammar, policy_map, "match m insert-before ").hooks,
              ElementsAre("classmap_lb_completionhook"));
  EXPECT_EQ(prompt_of(inside({"policy-map type http-load-balancing p", "match m http value x"})),
            "config-policy-map-match p m");
}

class InlineHttpInspection : public InlineMatch {
 protected:
  InlineHttpInspection()
      : InlineMatch("policy-map type http-inspection p", "kvelpolicymap_configinspect_l7http",
                    "policy-map-http-inspection-match", 605, 595) {}

  void length(const std::string& words, const Token& kind, const std::vector<KeywordId>& keywords, std::uint32_t most) {
    const auto typed = [](std::uint32_t number) { return std::to_string(number); };
    rule(words + " greater-than 0", {kind, number_token(keywords[0], 0)});
    rule(words + " greater-than " + typed(most - 1), {kind, number_token(keywords[0], most - 1)});
    rule(words + " less-than 1", {kind, number_token(keywords[1], 1)});
    rule(words + " less-than " + typed(most), {kind, number_token(keywords[1], most)});
    rule(words + " equal " + typed(most), {kind, number_token(keywords[2], most)});
    rule(words + " range 0 " + typed(most), {kind, number_token(keywords[3], 0), number_token(keywords[4], most)});
    refuses(words + " greater-than " + typed(most), "\"" + typed(most) + "\" is out of range");
    refuses(words + " less-than 0", "\"0\" is out of range");
    const std::string above = std::to_string(std::uint64_t{most} + 1);
    for (const char* comparison : {" greater-than ", " less-than ", " equal ", " range ", " range 0 "})
      refuses(words + comparison + above, "\"" + above + "\" is out of range");
  }

  // Words with consecutive keywords, after one that has the keyword `kind`.
  void codes(const std::string& before, KeywordId kind, KeywordId first, const std::vector<const char*>& words) {
    for (const char* word : words)
      rule(before + " " + word, {word_token(kind), word_token(first++)});
  }
};

TEST_F(InlineHttpInspection, HeadersAndExpressions) {
  KeywordId keyword = 44;
  for (const char* name : test::kHeaders)
    rule(std::string("header ") + name + " value a|b", {word_token(keyword++), string_token(116, "a|b")});
  rule("header X-Realm value x", {string_token(115, "X-Realm"), string_token(116, "x")});
  rule("url \\.exe$", {string_token(123, "\\.exe$")});
  rule("content virus", {string_token(145, "virus")});
  rule("content virus offset 255", {string_token(145, "virus"), number_token(146, 255)});
  rule("advanced kind-21", {word_token(166)});
  rule("advanced kind-22", {word_token(165)});
  EXPECT_EQ(reached, (std::set<KeywordId>{44, 45, 46, 47, 48,  49,  50,  51,  52,  53,  54,  55,  56,
                                          57, 58, 59, 60, 115, 116, 123, 145, 146, 165, 166, 595, 605}));
  removed_by_name();
}

TEST_F(InlineHttpInspection, Lengths) {
  length("header-length request", word_token(113), {61, 62, 63, 65, 66}, 255);
  length("header-length response", word_token(114), {61, 62, 63, 65, 66}, 255);
  length("url-length", word_token(122), {124, 125, 126, 128, 129}, 65535);
  length("content-length", word_token(142), {132, 133, 134, 136, 137}, 4294967295);
}

TEST_F(InlineHttpInspection, CodedWords) {
  codes("mime-type", 131, 1001, test::kMimeTypes);
  EXPECT_EQ(*reached.rbegin(), 1045U);
  codes("transfer-encoding", 161, 1101, {"chunked"});
  codes("transfer-encoding", 161, 1103, {"deflate", "gzip", "identity", "trailers"});
  EXPECT_EQ(*reached.rbegin(), 1106U);
  refuses("transfer-encoding compress", "unknown word \"compress\"");
  codes("request-method", 148, 1201, test::kRequestMethods);
  codes("extension-method", 149, 1201, test::kRequestMethods);
  EXPECT_EQ(*reached.rbegin(), 1227U);
  codes("port-misuse", 150, 1251, {"instant-messaging", "peer-to-peer", "tunnelling"});
  EXPECT_EQ(*reached.rbegin(), 1253U);
  refuses("request-method brew", "unknown word \"brew\"");
  refuses("mime-type", "incomplete command");
}

TEST_F(InlineHttpInspection, Help) {
  EXPECT_EQ(help(policy_map, "match m "),
            (std::vector<std::string>{"advanced", "content", "content-length", "extension-method", "header",
                                      "header-length", "insert-before", "mime-type", "port-misuse", "request-method",
                                      "transfer-encoding", "url", "url-length"}));
  refuses("http", "unknown word \"http\"");
  refuses("content x offset 256", "\"256\" is out of range");
  refuses("url " + std::string(256, 'x'), "EXPRESSION is too long: at most 255 characters");
}

class InlineFtpInspection : public InlineMatch {
 protected:
  InlineFtpInspection()
      : InlineMatch("policy-map type ftp-inspection p", "kvelpolicymap_configmatch_insftpreq",
                    "policy-map-ftp-inspection-match", 656, kNoKeyword) {}
};

TEST_F(InlineFtpInspection, Rules) {
  const std::vector<std::pair<const char*, KeywordId>> commands{
      {"appe", 900}, {"cdup", 889}, {"dele", 890}, {"retr", 891}, {"help", 892}, {"mkd", 893}, {"stor", 894},
      {"rmd", 895},  {"rnfr", 896}, {"rnto", 897}, {"site", 898}, {"stou", 899}, {"syst", 901}};
  for (const auto& [word, keyword] : commands)
    rule(std::string("ftp-command ") + word, {word_token(keyword)});
  EXPECT_EQ(reached, (std::set<KeywordId>{656, 889, 890, 891, 892, 893, 894, 895, 896, 897, 898, 899, 900, 901}));
  removed_by_name();
  refuses("ftp-command list", "unknown word \"list\"");
  refuses("insert-before x ftp-command retr", "unknown word \"insert-before\"");
}

TEST_F(InlineFtpInspection, OtherTypesHaveNoneOfThem) {
  EXPECT_THAT(refusal(inside({"policy-map p"}), "match m http url x"), StartsWith("unknown word \"match\""));
  EXPECT_THAT(refusal(inside({"policy-map type management p"}), "match m http url x"),
              StartsWith("unknown word \"match\""));
}

}  // namespace
}  // namespace kvel::shell::inline_match_grammar_test
