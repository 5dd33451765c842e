// kvelpolicymap_configdescr and kvelpolicymap_configsequence: the description of a policy-map, and the interval of its
// line numbers. What they share with the actions is tested with those.
#include <array>
#include <cstdint>
#include <set>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::policy_map_description_test {
namespace {

constexpr std::array<std::uint32_t, 5> kNameKeywords = {352, 503, 603, 652, 665};
constexpr std::array<std::uint32_t, 5> kTextKeywords = {1501, 1502, 1503, 1504, 1505};

class PolicyMapDescription : public PluginTest {
 protected:
  Events describe(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configdescr", tokens, form);
  }
};

Events described(const std::string& name, const std::string& text, const std::string& add = "1") {
  return {"bind 2",
          "call cm_update_policydesc(u16 7, session 0x01020304, '" + name + "', '" + text + "', u8 " + add + ")",
          "return 0"};
}

TEST_F(PolicyMapDescription, Sets) {
  EXPECT_EQ(describe({{352, "edge"}, {1501, "all of the edge"}}),
            (Events{"bind 2", "call cm_update_policydesc(u16 7, session 0x01020304, 'edge', 'all of the edge', u8 1)",
                    "return 0"}));
}

TEST_F(PolicyMapDescription, ClearsInTheNoForm) {
  EXPECT_EQ(describe({{352, "edge"}}, kNo),
            (Events{"bind 2", "call cm_update_policydesc(u16 7, session 0x01020304, 'edge', '', u8 0)", "return 0"}));
  EXPECT_EQ(
      describe({{352, "edge"}, {1501, "text"}}, kNo),
      (Events{"bind 2", "call cm_update_policydesc(u16 7, session 0x01020304, 'edge', 'text', u8 0)", "return 0"}));
}

TEST_F(PolicyMapDescription, EveryKeyword) {
  for (std::uint32_t name : kNameKeywords) {
    for (std::uint32_t text : kTextKeywords) {
      EXPECT_EQ(describe({{name, "edge"}, {text, "text"}}), described("edge", "text")) << name << " " << text;
      EXPECT_EQ(describe({{text, "text"}, {name, "edge"}}), described("edge", "text")) << name << " " << text;
    }
  }
  for (std::uint32_t text : kTextKeywords) {
    EXPECT_EQ(describe({{text, "text"}}), described("", "text")) << text;
  }
}

TEST_F(PolicyMapDescription, ALaterTextReplacesTheWholeEarlierOne) {
  for (std::uint32_t earlier : kTextKeywords) {
    for (std::uint32_t later : kTextKeywords) {
      EXPECT_EQ(describe({{earlier, std::string(300, 'd')}, {later, "text"}}), described("", "text"));
      EXPECT_EQ(describe({{earlier, "text"}, {later, nullptr}}), described("", ""));
      EXPECT_EQ(describe({{earlier, "text"}, {later, ""}}), described("", ""));
    }
  }
}

TEST_F(PolicyMapDescription, TextsAreCutAt240Characters) {
  const std::string longest(240, 'd');
  for (std::uint32_t keyword : kTextKeywords) {
    EXPECT_EQ(describe({{keyword, ""}}), described("", "")) << keyword;
    EXPECT_EQ(describe({{keyword, nullptr}}), described("", "")) << keyword;
    EXPECT_EQ(describe({{keyword, std::string(239, 'd')}}), described("", std::string(239, 'd'))) << keyword;
    EXPECT_EQ(describe({{keyword, longest}}), described("", longest)) << keyword;
    EXPECT_EQ(describe({{keyword, longest + "e"}}), described("", longest)) << keyword;
    EXPECT_EQ(describe({{keyword, longest + std::string(60, 'e')}}), described("", longest)) << keyword;
    EXPECT_EQ(describe({{keyword, longest + std::string(65536, 'e')}}), described("", longest)) << keyword;
  }
}

TEST_F(PolicyMapDescription, BothFieldsFullAtOnce) {
  EXPECT_EQ(describe({{1501, std::string(250, 'd')}, {352, std::string(70, 'x')}}),
            described(std::string(64, 'x'), std::string(240, 'd')));
}

TEST_F(PolicyMapDescription, TextsTravelByteForByte) {
  EXPECT_EQ(describe({{1501, "\x01\t \"quoted\" %s%n\x7f\x80\xff"}}),
            described("", "\\x01\\x09 \"quoted\" %s%n\\x7f\\x80\\xff"));
  EXPECT_EQ(describe({{352, "#edge"}, {1501, "#"}}), described("#edge", "#"));
}

TEST_F(PolicyMapDescription, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {352, 503, 603, 652, 665, 1501, 1502, 1503, 1504, 1505};
  for (std::uint32_t keyword : {5, 351, 353, 502, 504, 602, 604, 651, 653, 664, 666, 1500, 1506}) {
    EXPECT_EQ(describe({{352, "edge"}, {1501, "text"}, {keyword}}), described("edge", "text")) << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{352, "edge"}, {1501, "text"}}, listed)) {
    EXPECT_EQ(describe(tokens), described("edge", "text")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(describe(tokens), described("", "")) << range;
  }
}

TEST_F(PolicyMapDescription, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(describe({{665, "edge"}, {1505, std::string(240, 'd')}}, kNo).back(), "return 0");
  EXPECT_EQ(describe({}), described("", ""));
}

class PolicyMapInterval : public PluginTest {
 protected:
  Events renumber(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configsequence", tokens, form);
  }
};

Events renumbered(const std::string& name, const std::string& interval) {
  return {"bind 2",
          "call cm_set_policy_class_line_interval(u16 7, session 0x01020304, '" + name + "', u32 " + interval + ")",
          "return 0"};
}

TEST_F(PolicyMapInterval, SetsTheInterval) {
  EXPECT_EQ(renumber({{352, "edge"}, {12, 20}}),
            (Events{"bind 2", "call cm_set_policy_class_line_interval(u16 7, session 0x01020304, 'edge', u32 20)",
                    "return 0"}));
}

TEST_F(PolicyMapInterval, WithoutANumberItIsZero) {
  EXPECT_EQ(renumber({{352, "edge"}}), renumbered("edge", "0"));
  EXPECT_EQ(renumber({{12, nullptr}}), renumbered("", "0"));
  EXPECT_EQ(renumber({{12, 20}, {12, nullptr}}), renumbered("", "0"));
}

TEST_F(PolicyMapInterval, TheNumberIsNotChecked) {
  EXPECT_EQ(renumber({{12, 0}}), renumbered("", "0"));
  EXPECT_EQ(renumber({{12, 1}}), renumbered("", "1"));
  EXPECT_EQ(renumber({{12, 255}}), renumbered("", "255"));
  EXPECT_EQ(renumber({{12, 256}}), renumbered("", "256"));
  EXPECT_EQ(renumber({{12, 65536}}), renumbered("", "65536"));
  EXPECT_EQ(renumber({{12, 0x7fffffff}}), renumbered("", "2147483647"));
  EXPECT_EQ(renumber({{12, 0x80000000}}), renumbered("", "2147483648"));
  EXPECT_EQ(renumber({{12, 0xffffffff}}), renumbered("", "4294967295"));
  EXPECT_EQ(renumber({{12, 10}, {12, 20}}), renumbered("", "20"));
}

// The call knows no "no" form; the command is sent as it stands.
TEST_F(PolicyMapInterval, TheNoFormIsTheSame) {
  for (std::uint32_t negated : {1U, 256U, 0x80000000U}) {
    EXPECT_EQ(renumber({{352, "edge"}, {12, 20}}, {.negated = negated}), renumbered("edge", "20")) << negated;
  }
}

// The names of other policy types included.
TEST_F(PolicyMapInterval, IgnoresOtherKeywords) {
  for (std::uint32_t keyword : {8, 11, 13, 351, 353, 503, 603, 652, 665, 1501}) {
    EXPECT_EQ(renumber({{352, "edge"}, {12, 20}, {keyword}}), renumbered("edge", "20")) << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{352, "edge"}, {12, 20}}, {12, 352})) {
    EXPECT_EQ(renumber(tokens), renumbered("edge", "20")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, {12, 352})) {
    EXPECT_EQ(renumber(tokens), renumbered("", "0")) << range;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_description_test
