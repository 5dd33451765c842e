// kvelclassmap_config_desc: the description of a class-map.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_description_test {
namespace {

using namespace std::string_literals;

class ClassMapDescription : public PluginTest {
 protected:
  Events describe(const Tokens& tokens, const Form& form = {}) { return run("kvelclassmap_config_desc", tokens, form); }
};

std::string call(const std::string& name, const std::string& text, const char* add = "1") {
  return "call cm_update_classdesc(u16 7, session 0x01020304, '" + name + "', '" + text + "', u8 " + add + ")";
}
Events sent(const std::string& name, const std::string& text) { return {"bind 2", call(name, text), "return 0"}; }

TEST_F(ClassMapDescription, Sets) {
  EXPECT_EQ(describe({{8, "web"}, {5, "all of the web"}}),
            (Events{"bind 2", "call cm_update_classdesc(u16 7, session 0x01020304, 'web', 'all of the web', u8 1)",
                    "return 0"}));
}

TEST_F(ClassMapDescription, RemovesInTheNoForm) {
  EXPECT_EQ(describe({{8, "web"}}, kNo),
            (Events{"bind 2", "call cm_update_classdesc(u16 7, session 0x01020304, 'web', '', u8 0)", "return 0"}));
  EXPECT_EQ(describe({{8, "web"}, {5, "text"}}, kNo),
            (Events{"bind 2", "call cm_update_classdesc(u16 7, session 0x01020304, 'web', 'text', u8 0)", "return 0"}));
  for (std::uint32_t negated : {2U, 256U, 0x00010000U, 0x80000000U}) {
    EXPECT_EQ(describe({{8, "web"}}, {.negated = negated}), (Events{"bind 2", call("web", "", "0"), "return 0"}));
  }
}

TEST_F(ClassMapDescription, EveryKeyword) {
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(describe({{keyword, "web"}}), sent("web", "")) << "keyword " << keyword;
    EXPECT_EQ(describe({{keyword, "web"}, {5, "text"}}), sent("web", "text")) << "keyword " << keyword;
    EXPECT_EQ(describe({{5, "text"}, {keyword, "web"}}), sent("web", "text")) << "keyword " << keyword;
  }
  EXPECT_EQ(describe({{5, "text"}}), sent("", "text"));
}

// The neighbours of every keyword of the table, the other keywords of class-maps, and ids that equal one only when cut.
TEST_F(ClassMapDescription, IgnoresOtherKeywords) {
  const std::uint32_t others[] = {0,   3,   4,   6,   7,   9,   10,  15,  16,  17,         19,         102,        104,
                                  105, 172, 174, 178, 182, 184, 195, 196, 261, 0x00010005, 0x80000008, 0xffffffff, 264};
  for (std::uint32_t other : others) {
    EXPECT_EQ(describe({{other}, {8, "web"}, {5, "text"}}), sent("web", "text")) << "keyword " << other;
    EXPECT_EQ(describe({{8, "web"}, {other}, {5, "text"}}), sent("web", "text")) << "keyword " << other;
    EXPECT_EQ(describe({{8, "web"}, {5, "text"}, {other}}), sent("web", "text")) << "keyword " << other;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{8, "web"}, {5, "text"}}, {8, 18, 103, 173, 183, 5}))
    EXPECT_EQ(describe(tokens), sent("web", "text")) << range;
}

TEST_F(ClassMapDescription, ALaterTokenWins) {
  EXPECT_EQ(describe({{8, "a-long-name"}, {5, "a long text"}, {18, "ab"}, {5, "t"}}), sent("ab", "t"));
  EXPECT_EQ(describe({{8, "web"}, {5, "text"}, {5, nullptr}}), sent("web", ""));
  EXPECT_EQ(describe({{8, "web"}, {8, nullptr}, {5, "text"}}), sent("", "text"));
  EXPECT_EQ(describe({{5, std::string(300, 'd')}, {5, "text"}}), sent("", "text"));
}

TEST_F(ClassMapDescription, WithoutTokens) {
  EXPECT_EQ(describe({}), sent("", ""));
  EXPECT_EQ(describe({{8, nullptr}, {5, nullptr}}), sent("", ""));
}

TEST_F(ClassMapDescription, TextsAreCutAt240Characters) {
  const std::string longest(240, 'd');
  EXPECT_EQ(describe({{8, "web"}, {5, ""}}), sent("web", ""));
  EXPECT_EQ(describe({{8, "web"}, {5, std::string(239, 'd')}}), sent("web", std::string(239, 'd')));
  EXPECT_EQ(describe({{8, "web"}, {5, longest}}), sent("web", longest));
  EXPECT_EQ(describe({{8, "web"}, {5, longest + "e"}}), sent("web", longest));
  EXPECT_EQ(describe({{8, "web"}, {5, longest + std::string(60, 'e')}}), sent("web", longest));
  EXPECT_EQ(describe({{8, "web"}, {5, longest + std::string(65536, 'e')}}), sent("web", longest));
}

TEST_F(ClassMapDescription, NamesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(describe({{keyword, std::string(63, 'x')}}), sent(std::string(63, 'x'), "")) << "keyword " << keyword;
    EXPECT_EQ(describe({{keyword, longest}}), sent(longest, "")) << "keyword " << keyword;
    EXPECT_EQ(describe({{keyword, longest + "y"}}), sent(longest, "")) << "keyword " << keyword;
    EXPECT_EQ(describe({{keyword, longest + "yyyyyy"}}), sent(longest, "")) << "keyword " << keyword;
  }
  // both fields full at once
  EXPECT_EQ(describe({{5, std::string(300, 'd')}, {8, std::string(70, 'x')}}), sent(longest, std::string(240, 'd')));
}

TEST_F(ClassMapDescription, TextsTravelByteForByte) {
  EXPECT_EQ(describe({{8, "web"}, {5, " a  \"b\"\t\xc3\xa9\xff %s%n "}}),
            sent("web", " a  \"b\"\\x09\\xc3\\xa9\\xff %s%n "));
}

TEST_F(ClassMapDescription, NamesAreNotChecked) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(describe({{8, "class-default"}, {5, "text"}}), sent("class-default", "text"));
  EXPECT_EQ(describe({{8, "#x"}, {5, "text"}}), sent("#x", "text"));
  EXPECT_EQ(describe({{8, "class-default"}}, kNo), (Events{"bind 2", call("class-default", "", "0"), "return 0"}));
}

TEST_F(ClassMapDescription, SkippedExecutionIsNotLookedAt) {
  EXPECT_EQ(describe({{8, "web"}, {5, "text"}}, {.skip_execution = 1}), sent("web", "text"));
}

TEST_F(ClassMapDescription, IdentityOfTheSession) {
  EXPECT_EQ(describe({{8, "web"}}, {.context_id = -1, .session_id = 0xfedcba98}),
            (Events{"bind 2", "call cm_update_classdesc(u16 65535, session 0xfedcba98, 'web', '', u8 1)", "return 0"}));
}

TEST_F(ClassMapDescription, AFailedBindIsSilent) {
  for (std::int32_t status : {1, 255, 256, 0x10000, -1, -996, -997, -998, -999, 0x40f30000, 0x40f3000a,
                              std::numeric_limits<std::int32_t>::min()}) {
    host.bind_status = status;
    EXPECT_EQ(describe({{8, "web"}, {5, "text"}}), (Events{"bind 2", "return 1"})) << status;
    EXPECT_EQ(describe({{8, "web"}}, kNo), (Events{"bind 2", "return 1"})) << status;
  }
}

TEST_F(ClassMapDescription, BackendSuccesses) {
  for (std::int32_t status : {0, 0x40f30000}) {
    host.answer({.status = status});
    EXPECT_EQ(describe({{8, "web"}, {5, "text"}}), sent("web", "text")) << status;
  }
}

// No status has a message of its own here, those of class-maps included.
TEST_F(ClassMapDescription, BackendFailures) {
  struct Row {
    std::int32_t status;
    const char* message;
  };
  const std::array rows = {
      Row{-999, "Error: Called API is invalid or non-existant\n"},
      Row{-998, "Error: Called API timed out\n"},
      Row{-997, "Error: Transport error\n"},
      Row{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Row{-1, "Error: Called API encountered error\n"},
      Row{0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
      Row{0x40f3000f, "Error: text of 0x40f3000f, 100%d %s\n"},
      Row{0x40f3009b, "Error: text of 0x40f3009b, 100%d %s\n"},
      Row{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Row{1, "Error: text of 0x00000001, 100%d %s\n"},
      Row{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Row& row : rows) {
    host.answer({.status = row.status});
    EXPECT_EQ(describe({{8, "web"}, {5, "text"}}),
              (Events{"bind 2", call("web", "text"), out(row.message), "return 1"}));
    host.answer({.status = row.status});
    EXPECT_EQ(describe({{8, "web"}}, kNo), (Events{"bind 2", call("web", "", "0"), out(row.message), "return 1"}));
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_description_test
