// The actions of a class or match in a load-balancing policy-map.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_load_balancing_action_test {
namespace {

using namespace std::string_literals;

constexpr std::size_t kSize = 732;

class PolicyMapSlbAction : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configslbactions", tokens, form);
  }
};

// The call of a command without names.
Events sent(std::initializer_list<Part> parts) {
  return {"bind 2", "call cm_lb_add_or_lookup_action(u16 7, u8 1, '', '', " + buffer(record(kSize, parts)) + ")",
          "return 0"};
}

// The call of a command with names only.
Events named(const std::string& policy, const std::string& action) {
  return {"bind 2",
          "call cm_lb_add_or_lookup_action(u16 7, u8 1, '" + policy + "', '" + action + "', buffer[732] 00*732)",
          "return 0"};
}

const Events kBadToken = {"bind 2", out("Error: Invalid HTTP token in header name\n"), "return 1"};

TEST_F(PolicyMapSlbAction, EveryFieldAtOnce) {
  const std::string bytes =
      hex("\xd4"                     // low byte of the number
          "\x00\x00\x00"s +          // zero
          field("farm", 65) +        // target name
          field("backup", 65) +      // second target name
          "\x00\x00"                 // zero
          "\x00\x00\x00\x01"         // option of 580
          "\x00\x00\x00\x01"         // option of 590
          "\xf0\x00\x00\x00"s +      // presence bits A
          field("", 65) +            // zero
          field("X-Client", 256) +   // HTTP header name
          field("value %is", 256) +  // value
          "\x00\x00\x00"             // zero
          "\xf7\x00\x00\x00"s        // presence bits B: all but 27
      );
  const Tokens tokens = {{503, "p1"},
                         {505, "c1"},
                         {576, "a1"},
                         {676, 0xa1b2c3d4},
                         {581},
                         {582},
                         {675, "group"},
                         {578, "farm"},
                         {579, "backup"},
                         {580},
                         {590},
                         {588, "X-Client"},
                         {589, "value %is"},
                         {585},
                         {587}};
  EXPECT_EQ(act(tokens),
            (Events{"bind 2", "call cm_lb_add_or_lookup_action(u16 7, u8 1, 'p1', 'a1', buffer[732] " + bytes + ")",
                    "return 0"}));
  EXPECT_EQ(act(tokens, kNo),
            (Events{"bind 2", "call cm_lb_add_or_lookup_action(u16 7, u8 0, 'p1', 'a1', buffer[732] " + bytes + ")",
                    "return 0"}));
}

TEST_F(PolicyMapSlbAction, EveryKeyword) {
  EXPECT_EQ(act({{676, 5}}), sent({{0, "\x05"}}));
  EXPECT_EQ(act({{578, "farm"}}), sent({{4, "farm"}, {144, "\x80\0\0\0"s}, {728, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{675, "group"}}), sent({{4, "group"}, {728, "\x01\0\0\0"s}}));
  EXPECT_EQ(act({{581}}), sent({{4, "\0\0\0\1"s}, {728, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{582}}), sent({{4, "\0\0\0\1"s}, {728, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{579, "backup"}}), sent({{69, "backup"}, {144, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{580}}), sent({{136, "\0\0\0\1"s}, {144, "\x20\0\0\0"s}}));
  EXPECT_EQ(act({{590}}), sent({{140, "\0\0\0\1"s}, {144, "\x10\0\0\0"s}}));
  EXPECT_EQ(act({{588, "X-Client"}}), sent({{213, "X-Client"}, {728, "\x04\0\0\0"s}}));
  EXPECT_EQ(act({{589, "value"}}), sent({{469, "value"}}));
  EXPECT_EQ(act({{585}}), sent({{728, "\x80\0\0\0"s}}));
  EXPECT_EQ(act({{587}}), sent({{728, "\x02\0\0\0"s}}));
}

TEST_F(PolicyMapSlbAction, OnlyTheLowByteOfTheNumberTravels) {
  EXPECT_EQ(act({{676, 0}}), sent({}));
  EXPECT_EQ(act({{676, nullptr}}), sent({}));
  EXPECT_EQ(act({{676, 255}}), sent({{0, "\xff"}}));
  EXPECT_EQ(act({{676, 256}}), sent({}));
  EXPECT_EQ(act({{676, 257}}), sent({{0, "\x01"}}));
  EXPECT_EQ(act({{676, 0x12345678}}), sent({{0, "\x78"}}));
  EXPECT_EQ(act({{676, 4294967295}}), sent({{0, "\xff"}}));
  EXPECT_EQ(act({{676, 255}, {676, 2}}), sent({{0, "\x02"}}));
  EXPECT_EQ(act({{676, 255}, {676, nullptr}}), sent({}));
}

// ---- the target, which three kinds of keywords share

TEST_F(PolicyMapSlbAction, ALaterTargetNameReplacesTheWholeEarlierOne) {
  const std::string longest(64, 'x');
  EXPECT_EQ(act({{578, longest}, {578, "ab"}}), sent({{4, "ab"}, {144, "\x80\0\0\0"s}, {728, "\x40\0\0\0"s}}));
  EXPECT_EQ(act({{675, longest}, {675, "ab"}}), sent({{4, "ab"}, {728, "\x01\0\0\0"s}}));
  // The presence bits of both stay.
  EXPECT_EQ(act({{578, longest}, {675, "ab"}}), sent({{4, "ab"}, {144, "\x80\0\0\0"s}, {728, "\x41\0\0\0"s}}));
  EXPECT_EQ(act({{675, longest}, {578, "ab"}}), sent({{4, "ab"}, {144, "\x80\0\0\0"s}, {728, "\x41\0\0\0"s}}));
}

// A flag writes the first four bytes of the target and leaves the rest; a name after it writes all of it.
TEST_F(PolicyMapSlbAction, FlagsAndTargetNamesShareTheirBytes) {
  EXPECT_EQ(act({{578, "serverfarm"}, {581}}), sent({{4,
                                                      "\0\0\0\1"
                                                      "erfarm"s},
                                                     {144, "\x80\0\0\0"s},
                                                     {728, "\x60\0\0\0"s}}));
  EXPECT_EQ(act({{578, "serverfarm"}, {582}}), sent({{4,
                                                      "\0\0\0\1"
                                                      "erfarm"s},
                                                     {144, "\x80\0\0\0"s},
                                                     {728, "\x50\0\0\0"s}}));
  EXPECT_EQ(act({{675, "group-1"}, {582}}), sent({{4,
                                                   "\0\0\0\1"
                                                   "p-1"s},
                                                  {728, "\x11\0\0\0"s}}));
  EXPECT_EQ(act({{578, "ab"}, {581}}), sent({{4, "\0\0\0\1"s}, {144, "\x80\0\0\0"s}, {728, "\x60\0\0\0"s}}));
  EXPECT_EQ(act({{581}, {578, "ab"}}), sent({{4, "ab"}, {144, "\x80\0\0\0"s}, {728, "\x60\0\0\0"s}}));
  EXPECT_EQ(act({{582}, {578, ""}}), sent({{144, "\x80\0\0\0"s}, {728, "\x50\0\0\0"s}}));
  EXPECT_EQ(act({{581}, {675, "ab"}}), sent({{4, "ab"}, {728, "\x21\0\0\0"s}}));
  EXPECT_EQ(act({{581}, {582}}), sent({{4, "\0\0\0\1"s}, {728, "\x30\0\0\0"s}}));
}

TEST_F(PolicyMapSlbAction, TargetNamesAreCutAt64Characters) {
  struct Row {
    std::uint32_t keyword_id;
    std::size_t offset;
    std::string presence_a;
    std::string presence_b;
  };
  const std::array rows = {
      Row{578, 4, "\x80\0\0\0"s, "\x40\0\0\0"s},
      Row{675, 4, "\0\0\0\0"s, "\x01\0\0\0"s},
      Row{579, 69, "\x40\0\0\0"s, "\0\0\0\0"s},
  };
  const std::string longest(64, 'x');
  for (const auto& [keyword, offset, presence_a, presence_b] : rows) {
    const auto with = [&, offset = offset, a = presence_a, b = presence_b](const std::string& name) {
      return sent({{offset, name}, {144, a}, {728, b}});
    };
    // A name is given also when it is empty.
    EXPECT_EQ(act({{keyword, ""}}), with("")) << keyword;
    EXPECT_EQ(act({{keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(act({{keyword, longest}, {keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(act({{keyword, std::string(63, 'x')}}), with(std::string(63, 'x'))) << keyword;
    for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy", longest + std::string(65536, 'y')}) {
      EXPECT_EQ(act({{keyword, typed}}), with(longest)) << keyword;
    }
    EXPECT_EQ(act({{keyword, "#\x01 %s%n\xff"}}), with("#\x01 %s%n\xff")) << keyword;
  }
}

// ---- the header that is inserted

TEST_F(PolicyMapSlbAction, HeaderNamesAreCutAt255Characters) {
  const std::string longest(255, 'h');
  const auto with = [](const std::string& name) { return sent({{213, name}, {728, "\x04\0\0\0"s}}); };
  EXPECT_EQ(act({{588, "h"}}), with("h"));
  EXPECT_EQ(act({{588, std::string(65, 'h')}}), with(std::string(65, 'h')));
  EXPECT_EQ(act({{588, std::string(254, 'h')}}), with(std::string(254, 'h')));
  EXPECT_EQ(act({{588, longest}}), with(longest));
  EXPECT_EQ(act({{588, longest + "i"}}), with(longest));
  EXPECT_EQ(act({{588, longest + std::string(65536, 'i')}}), with(longest));
  EXPECT_EQ(act({{588, longest}, {588, "ab"}}), with("ab"));
}

TEST_F(PolicyMapSlbAction, ValuesAreCutAt255CharactersAndNotChecked) {
  const std::string longest(255, 'v');
  EXPECT_EQ(act({{589, ""}}), sent({}));
  EXPECT_EQ(act({{589, nullptr}}), sent({}));
  EXPECT_EQ(act({{589, std::string(254, 'v')}}), sent({{469, std::string(254, 'v')}}));
  EXPECT_EQ(act({{589, longest}}), sent({{469, longest}}));
  EXPECT_EQ(act({{589, longest + "w"}}), sent({{469, longest}}));
  EXPECT_EQ(act({{589, longest + std::string(65536, 'w')}}), sent({{469, longest}}));
  EXPECT_EQ(act({{589, longest}, {589, "ab"}}), sent({{469, "ab"}}));
  EXPECT_EQ(act({{589, " a:(b)\t\x01%s%n\xff"}}), sent({{469, " a:(b)\t\x01%s%n\xff"}}));
  EXPECT_EQ(act({{588, std::string(256, 'h')}, {589, longest + "w"}}),
            sent({{213, std::string(255, 'h')}, {469, longest}, {728, "\x04\0\0\0"s}}));
}

TEST_F(PolicyMapSlbAction, ARefusedHeaderNameStopsAtItsToken) {
  EXPECT_EQ(act({{588, "a:b"}, {588, "good"}}), kBadToken);
  EXPECT_EQ(act({{588, "good"}, {588, "a:b"}}), kBadToken);
  EXPECT_EQ(act({{588, "a:b"}, {589}, {503}}), kBadToken);  // texts that cannot be read
}

// ---- the action's name

TEST_F(PolicyMapSlbAction, WithoutANameItIsPolicyAndClass) {
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}}), named("p1", "p1c1"));
  EXPECT_EQ(act({{505, "c1"}, {503, "p1"}}), named("p1", "p1c1"));
  EXPECT_EQ(act({{505, "c1"}}), named("", "c1"));
  EXPECT_EQ(act({{505, "c1"}, {503, "p1"}, {505, "c2"}}), named("p1", "p1c2"));
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {576, ""}}), named("p1", "p1c1"));
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {576, nullptr}}), named("p1", "p1c1"));
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {576, "a1"}, {576, ""}}), named("p1", "p1c1"));
  EXPECT_EQ(act({{503, "100%s"}, {505, "%n%d"}}), named("100%s", "100%s%n%d"));
}

TEST_F(PolicyMapSlbAction, TheNoFormHasTheSameName) {
  EXPECT_EQ(
      act({{503, "p1"}, {505, "c1"}}, kNo),
      (Events{"bind 2", "call cm_lb_add_or_lookup_action(u16 7, u8 0, 'p1', 'p1c1', buffer[732] 00*732)", "return 0"}));
}

TEST_F(PolicyMapSlbAction, WithoutAClassThereIsNoName) {
  EXPECT_EQ(act({}), named("", ""));
  EXPECT_EQ(act({{503, "p1"}}), named("p1", ""));
  EXPECT_EQ(act({{503, "p1"}, {505, ""}}), named("p1", ""));
  EXPECT_EQ(act({{503, "p1"}, {505, nullptr}}), named("p1", ""));
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {505, ""}}), named("p1", ""));
}

TEST_F(PolicyMapSlbAction, AGivenNameIsKept) {
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {576, "a1"}}), named("p1", "a1"));
  EXPECT_EQ(act({{576, "a1"}, {505, "c1"}, {503, "p1"}}), named("p1", "a1"));
  EXPECT_EQ(act({{503, "p1"}, {505, "c1"}, {576, std::string(65, 'a')}}), named("p1", std::string(64, 'a')));
}

TEST_F(PolicyMapSlbAction, TheJoinedNameIsCutAt63Characters) {
  const auto text = [](std::size_t count, char character) { return std::string(count, character); };
  EXPECT_EQ(act({{503, text(30, 'p')}, {505, text(33, 'c')}}), named(text(30, 'p'), text(30, 'p') + text(33, 'c')));
  EXPECT_EQ(act({{503, text(30, 'p')}, {505, text(34, 'c')}}), named(text(30, 'p'), text(30, 'p') + text(33, 'c')));
  EXPECT_EQ(act({{503, text(62, 'p')}, {505, "c1"}}), named(text(62, 'p'), text(62, 'p') + "c"));
  EXPECT_EQ(act({{503, text(63, 'p')}, {505, "c1"}}), named(text(63, 'p'), text(63, 'p')));
  EXPECT_EQ(act({{503, text(64, 'p')}, {505, "c1"}}), named(text(64, 'p'), text(63, 'p')));
  EXPECT_EQ(act({{503, text(70, 'p')}, {505, text(70, 'c')}}), named(text(64, 'p'), text(63, 'p')));
  EXPECT_EQ(act({{505, text(63, 'c')}}), named("", text(63, 'c')));
  EXPECT_EQ(act({{505, text(64, 'c')}}), named("", text(63, 'c')));
  EXPECT_EQ(act({{503, "p"}, {505, text(70, 'c')}}), named("p", "p" + text(62, 'c')));
}

}  // namespace
}  // namespace kvel::cli::test::policy_load_balancing_action_test
