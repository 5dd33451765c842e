// The HTTP load-balancing rules by URL, cookie, header and source address, which serve the inline matches of a
// policy-map too.
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_load_balancing_test {
namespace {

// ---- what the four rules share

// A rule and its call when none of its own keywords is typed.
struct SharedRule {
  const char* handler;
  std::string call;  // <name>, <before>, <line> and <inline> stand for what the tests vary
  bool has_insert_before;
};

const std::array kSharedRules = {
    SharedRule{"kvelclassmap_config_httplburl",
               "call cm_update_lbclass_to_url(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, '', '', u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbcookie",
               "call cm_update_lbclass_to_cookie(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, u32 0, '', '', "
               "u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbhdr",
               "call cm_update_lbclass_to_header(u16 7, '<name>', '<before>', u32 <line>, u32 <inline>, '', '', u8 1)",
               true},
    SharedRule{"kvelclassmap_config_httplbsrcaddr",
               "call cm_update_lbclass_to_srcaddr(u16 7, '<name>', u32 <line>, u32 0, u32 4294967295, u32 0, "
               "u32 <inline>, u8 1)",
               false},
};

struct Shared {
  std::string name = {};
  std::string before = {};
  std::string line = "0";
  std::string in_policy = "0";
};

Events sent(const SharedRule& rule, const Shared& shared) {
  std::string call = rule.call;
  const auto put = [&call](std::string_view place, const std::string& value) {
    const std::size_t at = call.find(place);
    if (at != std::string::npos) call.replace(at, place.size(), value);
  };
  put("<line>", shared.line);
  put("<inline>", shared.in_policy);
  put("<before>", shared.before);
  put("<name>", shared.name);
  return {"bind 2", call, "return 0"};
}

using ClassMapLoadBalancing = PluginTest;

TEST_F(ClassMapLoadBalancing, ARuleOfAClassMap) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{18, "web"}, {19, 20}}), sent(rule, {.name = "web", .line = "20", .in_policy = "0"}))
        << rule.handler;
  }
}

TEST_F(ClassMapLoadBalancing, AnInlineMatchOfAPolicyMap) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{505, "web"}, {504, 20}}), sent(rule, {.name = "web", .line = "20", .in_policy = "1"}))
        << rule.handler;
  }
}

TEST_F(ClassMapLoadBalancing, EverySharedKeyword) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{18, "web"}}), sent(rule, {.name = "web"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, "web"}}), sent(rule, {.name = "web", .in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, ""}}), sent(rule, {.in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{505, nullptr}}), sent(rule, {.in_policy = "1"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{19, 20}}), sent(rule, {.line = "20"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{504, 20}}), sent(rule, {.line = "20"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{19, 20}, {504, 30}}), sent(rule, {.line = "30"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{504, 30}, {19, 20}}), sent(rule, {.line = "20"})) << rule.handler;
  }
}

// Either name replaces the other; the flag stays once it is set.
TEST_F(ClassMapLoadBalancing, TheNameOfAClassMapLeavesTheInlineFlag) {
  for (const SharedRule& rule : kSharedRules) {
    EXPECT_EQ(run(rule.handler, {{505, "inline"}, {18, "ab"}}), sent(rule, {.name = "ab", .in_policy = "1"}))
        << rule.handler;
    EXPECT_EQ(run(rule.handler, {{18, "web"}, {505, "ab"}}), sent(rule, {.name = "ab", .in_policy = "1"}))
        << rule.handler;
  }
}

TEST_F(ClassMapLoadBalancing, NamesOfInlineMatchesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (const SharedRule& rule : kSharedRules) {
    for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy"}) {
      EXPECT_EQ(run(rule.handler, {{505, typed}}), sent(rule, {.name = longest, .in_policy = "1"})) << rule.handler;
    }
  }
}

TEST_F(ClassMapLoadBalancing, TheInsertBeforeName) {
  const std::string longest(64, 'b');
  for (const SharedRule& rule : kSharedRules) {
    if (!rule.has_insert_before) continue;
    EXPECT_EQ(run(rule.handler, {{505, "web"}, {577, "other"}}),
              sent(rule, {.name = "web", .before = "other", .in_policy = "1"}))
        << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, "other"}}), sent(rule, {.before = "other"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, "other"}, {577, "ab"}}), sent(rule, {.before = "ab"})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, "other"}, {577, nullptr}}), sent(rule, {})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, std::string(63, 'b')}}), sent(rule, {.before = std::string(63, 'b')}))
        << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, longest}}), sent(rule, {.before = longest})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, longest + "c"}}), sent(rule, {.before = longest})) << rule.handler;
    EXPECT_EQ(run(rule.handler, {{577, longest + "cccccc"}}), sent(rule, {.before = longest})) << rule.handler;
  }
}

// ---- URL

class ClassMapBalancedUrl : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplburl", tokens, form);
  }
};

Events url(const std::string& word, const std::string& expression) {
  return {"bind 2",
          "call cm_update_lbclass_to_url(u16 7, '', '', u32 0, u32 0, '" + word + "', '" + expression + "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedUrl, AddsAndRemoves) {
  EXPECT_EQ(match({{18, "web"}, {19, 20}, {528, "/img/.*"}, {529, "word"}}),
            (Events{"bind 2", "call cm_update_lbclass_to_url(u16 7, 'web', '', u32 20, u32 0, 'word', '/img/.*', u8 1)",
                    "return 0"}));
  EXPECT_EQ(
      match({{505, "web"}, {504, 20}, {577, "other"}, {528, "/img/.*"}}, kNo),
      (Events{"bind 2", "call cm_update_lbclass_to_url(u16 7, 'web', 'other', u32 20, u32 1, '', '/img/.*', u8 0)",
              "return 0"}));
}

TEST_F(ClassMapBalancedUrl, ExpressionsAreCutAt255Characters) {
  const std::string longest(255, 'e');
  EXPECT_EQ(match({{528, ""}}), url("", ""));
  EXPECT_EQ(match({{528, nullptr}}), url("", ""));
  EXPECT_EQ(match({{528, std::string(254, 'e')}}), url("", std::string(254, 'e')));
  EXPECT_EQ(match({{528, longest}}), url("", longest));
  EXPECT_EQ(match({{528, longest + "f"}}), url("", longest));
  EXPECT_EQ(match({{528, longest + std::string(65536, 'f')}}), url("", longest));
  EXPECT_EQ(match({{528, longest + "f"}, {528, "ab"}}), url("", "ab"));
  EXPECT_EQ(match({{528, " [^?\x01%s%n\xff"}}), url("", " [^?\\x01%s%n\\xff"));
}

TEST_F(ClassMapBalancedUrl, TheFurtherWordIsCutAt64Characters) {
  const std::string longest(64, 'w');
  EXPECT_EQ(match({{529, "word"}}), url("word", ""));
  EXPECT_EQ(match({{529, nullptr}}), url("", ""));
  EXPECT_EQ(match({{529, std::string(63, 'w')}}), url(std::string(63, 'w'), ""));
  EXPECT_EQ(match({{529, longest}}), url(longest, ""));
  EXPECT_EQ(match({{529, longest + "v"}}), url(longest, ""));
  EXPECT_EQ(match({{529, longest + "vvvvvv"}}), url(longest, ""));
  EXPECT_EQ(match({{529, longest}, {529, "ab"}}), url("ab", ""));
  EXPECT_EQ(match({{529, "a b:\xff"}}), url("a b:\\xff", ""));
}

TEST_F(ClassMapBalancedUrl, EveryFieldFullAtOnce) {
  EXPECT_EQ(match({{529, std::string(70, 'w')},
                   {528, std::string(300, 'e')},
                   {577, std::string(70, 'b')},
                   {18, std::string(70, 'n')}}),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_url(u16 7, '" + std::string(64, 'n') + "', '" + std::string(64, 'b') +
                        "', u32 0, u32 0, '" + std::string(64, 'w') + "', '" + std::string(255, 'e') + "', u8 1)",
                    "return 0"}));
}

TEST_F(ClassMapBalancedUrl, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {18, 19, 504, 505, 528, 529, 577};
  for (std::uint32_t keyword : {17, 20, 101, 103, 106, 503, 506, 527, 530, 532, 576, 578}) {
    EXPECT_EQ(match({{528, "/img"}, {529, "word"}, {keyword}}), url("word", "/img")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{528, "/img"}, {529, "word"}}, listed)) {
    EXPECT_EQ(match(tokens), url("word", "/img")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(match(tokens), url("", "")) << range;
  }
}

// ---- cookie

class ClassMapBalancedCookie : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbcookie", tokens, form);
  }
};

Events cookie(const std::string& flag, const std::string& name, const std::string& value) {
  return {"bind 2",
          "call cm_update_lbclass_to_cookie(u16 7, '', '', u32 0, u32 0, u32 " + flag + ", '" + name + "', '" + value +
              "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedCookie, AddsAndRemoves) {
  EXPECT_EQ(match({{18, "web"}, {19, 20}, {506, "session"}, {507, "a.*"}}),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_cookie(u16 7, 'web', '', u32 20, u32 0, u32 0, 'session', 'a.*', u8 1)",
                    "return 0"}));
  EXPECT_EQ(match({{505, "web"}, {504, 20}, {577, "other"}, {506, "session"}, {507, "a.*"}, {532}}, kNo),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_cookie(u16 7, 'web', 'other', u32 20, u32 1, u32 1, 'session', 'a.*', "
                    "u8 0)",
                    "return 0"}));
}

TEST_F(ClassMapBalancedCookie, EveryKeyword) {
  EXPECT_EQ(match({{506, "session"}}), cookie("0", "session", ""));
  EXPECT_EQ(match({{507, "value"}}), cookie("0", "", "value"));
  EXPECT_EQ(match({{532}}), cookie("1", "", ""));
  EXPECT_EQ(match({{532}, {532}}), cookie("1", "", ""));
  EXPECT_EQ(match({{532}, {506, "session"}, {507, "value"}}), cookie("1", "session", "value"));
  EXPECT_EQ(match({{506, "a-long-name"}, {507, "a long value"}, {506, "ab"}, {507, "v"}}), cookie("0", "ab", "v"));
}

TEST_F(ClassMapBalancedCookie, ValuesAreCutAt255Characters) {
  const std::string longest(255, 'v');
  EXPECT_EQ(match({{507, nullptr}}), cookie("0", "", ""));
  EXPECT_EQ(match({{507, std::string(254, 'v')}}), cookie("0", "", std::string(254, 'v')));
  EXPECT_EQ(match({{507, longest}}), cookie("0", "", longest));
  EXPECT_EQ(match({{507, longest + "w"}}), cookie("0", "", longest));
  EXPECT_EQ(match({{507, longest + std::string(65536, 'w')}}), cookie("0", "", longest));
  EXPECT_EQ(match({{507, " a:(b)\t\x01%s%n\xff"}}), cookie("0", "", " a:(b)\\x09\\x01%s%n\\xff"));
}

TEST_F(ClassMapBalancedCookie, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {18, 19, 504, 505, 506, 507, 532, 577};
  for (std::uint32_t keyword : {17, 20, 101, 503, 508, 509, 510, 528, 531, 533, 576, 578}) {
    EXPECT_EQ(match({{506, "session"}, {507, "value"}, {keyword}}), cookie("0", "session", "value"))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{506, "session"}, {507, "value"}}, listed)) {
    EXPECT_EQ(match(tokens), cookie("0", "session", "value")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{532}}, listed)) {
    EXPECT_EQ(match(tokens), cookie("1", "", "")) << range;
  }
}

// ---- header

class ClassMapBalancedHeader : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbhdr", tokens, form);
  }
};

Events header(const std::string& name, const std::string& value) {
  return {"bind 2",
          "call cm_update_lbclass_to_header(u16 7, '', '', u32 0, u32 0, '" + name + "', '" + value + "', u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedHeader, AddsAndRemoves) {
  EXPECT_EQ(
      match({{18, "web"}, {19, 20}, {517}, {510, ".*example"}}),
      (Events{"bind 2", "call cm_update_lbclass_to_header(u16 7, 'web', '', u32 20, u32 0, 'Host', '.*example', u8 1)",
              "return 0"}));
  EXPECT_EQ(match({{505, "web"}, {504, 20}, {577, "other"}, {509, "X-Client"}, {510, "a.*"}}, kNo),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_header(u16 7, 'web', 'other', u32 20, u32 1, 'X-Client', 'a.*', u8 0)",
                    "return 0"}));
}

TEST_F(ClassMapBalancedHeader, EveryWellKnownName) {
  struct Row {
    std::uint32_t keyword_id;
    const char* name;
  };
  const std::array rows = {
      Row{511, "Via"},
      Row{512, "User-Agent"},
      Row{513, "Transfer-Encoding"},
      Row{514, "Referer"},
      Row{515, "Pragma"},
      Row{516, "If-Match"},
      Row{517, "Host"},
      Row{518, "From"},
      Row{519, "Expect"},
      Row{520, "Content-MD5"},
      Row{521, "Connection"},
      Row{522, "Cache-Control"},
      Row{523, "Authorization"},
      Row{524, "Accept-Language"},
      Row{525, "Accept-Encoding"},
      Row{526, "Accept-Charset"},
      Row{527, "Accept"},
  };
  for (const auto& [keyword, name] : rows) {
    EXPECT_EQ(match({{keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{510, "value"}, {keyword}}), header(name, "value")) << "keyword " << keyword;
    // Either kind of name replaces the other whole.
    EXPECT_EQ(match({{509, std::string(64, 'h')}, {keyword}}), header(name, "")) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {509, "H"}}), header("H", "")) << "keyword " << keyword;
    EXPECT_EQ(match({{513}, {keyword}}), header(name, "")) << "keyword " << keyword;
  }
}

TEST_F(ClassMapBalancedHeader, ValuesAreCutAt255Characters) {
  const std::string longest(255, 'v');
  EXPECT_EQ(match({{510, nullptr}}), header("", ""));
  EXPECT_EQ(match({{510, std::string(254, 'v')}}), header("", std::string(254, 'v')));
  EXPECT_EQ(match({{510, longest}}), header("", longest));
  EXPECT_EQ(match({{510, longest + "w"}}), header("", longest));
  EXPECT_EQ(match({{510, longest + std::string(65536, 'w')}}), header("", longest));
  EXPECT_EQ(match({{510, "a long value"}, {510, "v"}}), header("", "v"));
  EXPECT_EQ(match({{510, " a:(b)\t\x01%s%n\xff"}}), header("", " a:(b)\\x09\\x01%s%n\\xff"));
}

TEST_F(ClassMapBalancedHeader, IgnoresOtherKeywords) {
  std::set<std::uint32_t> listed = {18, 19, 504, 505, 509, 510, 577};
  for (std::uint32_t keyword = 511; keyword <= 527; ++keyword)
    listed.insert(keyword);
  for (std::uint32_t keyword : {17, 20, 44, 50, 60, 101, 115, 116, 503, 506, 507, 508, 528, 529, 532, 576, 578}) {
    EXPECT_EQ(match({{509, "X-Client"}, {510, "value"}, {keyword}}), header("X-Client", "value"))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{509, "X-Client"}, {510, "value"}}, listed)) {
    EXPECT_EQ(match(tokens), header("X-Client", "value")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(match(tokens), header("", "")) << range;
  }
}

// ---- source address

class ClassMapBalancedSource : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbsrcaddr", tokens, form);
  }
};

Events source(std::uint32_t address, std::uint32_t mask, const std::string& mask_given) {
  return {"bind 2",
          "call cm_update_lbclass_to_srcaddr(u16 7, '', u32 0, u32 " + std::to_string(address) + ", u32 " +
              std::to_string(mask) + ", u32 " + mask_given + ", u32 0, u8 1)",
          "return 0"};
}

TEST_F(ClassMapBalancedSource, AddsAndRemoves) {
  EXPECT_EQ(match({{18, "web"}, {19, 20}, {570, 0x0a010200}, {571, 0xffffff00}}),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_srcaddr(u16 7, 'web', u32 20, u32 167838208, u32 4294967040, u32 1, "
                    "u32 0, u8 1)",
                    "return 0"}));
  EXPECT_EQ(match({{505, "web"}, {504, 20}, {570, 0x0a010201}}, kNo),
            (Events{"bind 2",
                    "call cm_update_lbclass_to_srcaddr(u16 7, 'web', u32 20, u32 167838209, u32 4294967295, u32 0, "
                    "u32 1, u8 0)",
                    "return 0"}));
}

TEST_F(ClassMapBalancedSource, WithoutAMask) {
  EXPECT_EQ(match({{570, 0x0a010101}}), source(0x0a010101, 0xffffffff, "0"));
}

TEST_F(ClassMapBalancedSource, WithAMaskOfZero) {
  EXPECT_EQ(match({{570, 0x0a010101}, {571, 0}}), source(0x0a010101, 0, "1"));
}

TEST_F(ClassMapBalancedSource, EveryKeyword) {
  EXPECT_EQ(match({{571, 0xffff0000}}), source(0, 0xffff0000, "1"));
  EXPECT_EQ(match({{571, 0xffffffff}}), source(0, 0xffffffff, "1"));
  EXPECT_EQ(match({{571, 0xffff0000}, {570, 0x0a010101}}), source(0x0a010101, 0xffff0000, "1"));
  EXPECT_EQ(match({{570, nullptr}}), source(0, 0xffffffff, "0"));
  EXPECT_EQ(match({{571, nullptr}}), source(0, 0, "1"));
  EXPECT_EQ(match({{570, 0x0a010101}, {570, 0x0a010102}}), source(0x0a010102, 0xffffffff, "0"));
  EXPECT_EQ(match({{571, 0xff000000}, {571, 0xffff0000}}), source(0, 0xffff0000, "1"));
}

TEST_F(ClassMapBalancedSource, NothingIsChecked) {
  for (std::uint32_t address : {1U, 0x00ffffffU, 0x7f000001U, 0xe0000001U, 0xf0000001U, 0xffffffffU}) {
    EXPECT_EQ(match({{570, address}}), source(address, 0xffffffff, "0")) << address;
  }
  for (std::uint32_t mask : {1U, 0x000000ffU, 0xff00ff00U, 0x7fffffffU}) {
    EXPECT_EQ(match({{571, mask}}), source(0, mask, "1")) << mask;
  }
}

// The insert-before name is not for this rule.
TEST_F(ClassMapBalancedSource, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {18, 19, 504, 505, 570, 571};
  for (std::uint32_t keyword : {17, 20, 101, 211, 212, 503, 506, 569, 572, 577}) {
    EXPECT_EQ(match({{570, 0x0a010101}, {571, 0xffff0000}, {keyword}}), source(0x0a010101, 0xffff0000, "1"))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{570, 0x0a010101}, {571, 0xffff0000}}, listed)) {
    EXPECT_EQ(match(tokens), source(0x0a010101, 0xffff0000, "1")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(match(tokens), source(0, 0xffffffff, "0")) << range;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_load_balancing_test
