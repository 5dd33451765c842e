// kvelclassmap_configanything and kvelclassmap_configacl: any traffic, and an access list.
#include <cstdint>
#include <string>
#include <utility>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_layer34_test {
namespace {

class ClassMapAnything : public PluginTest {
 protected:
  Events anything(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_configanything", tokens, form);
  }
};

Events anything_sent(const std::string& mode, const std::string& name, const std::string& add,
                     const std::string& line) {
  return {"bind 2",
          "call cm_update_class_to_any(u16 7, session 0x01020304, u8 0, u8 " + mode + ", '" + name + "', u8 " + add +
              ", u32 " + line + ")",
          "return 0"};
}

TEST_F(ClassMapAnything, AddsAndRemoves) {
  EXPECT_EQ(anything({{8, "web"}, {9}, {201, 20}}),
            (Events{"bind 2", "call cm_update_class_to_any(u16 7, session 0x01020304, u8 0, u8 0, 'web', u8 1, u32 20)",
                    "return 0"}));
  EXPECT_EQ(anything({{8, "web"}}, kNo),
            (Events{"bind 2", "call cm_update_class_to_any(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapAnything, EveryKeyword) {
  EXPECT_EQ(anything({{8, "web"}}), anything_sent("1", "web", "1", "0"));
  EXPECT_EQ(anything({{9}}), anything_sent("0", "", "1", "0"));
  EXPECT_EQ(anything({{10}}), anything_sent("1", "", "1", "0"));
  EXPECT_EQ(anything({{201, 20}}), anything_sent("1", "", "1", "20"));
  EXPECT_EQ(anything({{9}, {10}}), anything_sent("1", "", "1", "0"));
  EXPECT_EQ(anything({{10}, {9}}), anything_sent("0", "", "1", "0"));
}

TEST_F(ClassMapAnything, IgnoresOtherKeywords) {
  for (const auto& [range, tokens] : unlisted_keywords({{8, "web"}, {9}, {201, 20}}, {8, 9, 10, 201})) {
    EXPECT_EQ(anything(tokens), anything_sent("0", "web", "1", "20")) << range;
  }
}

class ClassMapAccessList : public PluginTest {
 protected:
  Events access_list(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_configacl", tokens, form);
  }
};

Events list_sent(const std::string& list) {
  return {"bind 2",
          "call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 1, 'web', '" + list + "', u8 1, u32 0)",
          "return 0"};
}

TEST_F(ClassMapAccessList, AddsAndRemoves) {
  EXPECT_EQ(access_list({{8, "web"}, {9}, {201, 20}, {210, "inbound"}}),
            (Events{"bind 2",
                    "call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 0, 'web', 'inbound', u8 1, "
                    "u32 20)",
                    "return 0"}));
  EXPECT_EQ(access_list({{8, "web"}, {210, "inbound"}}, kNo),
            (Events{"bind 2",
                    "call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 1, 'web', 'inbound', u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapAccessList, MatchMode) {
  const auto mode = [](const char* value) {
    return Events{"bind 2",
                  std::string("call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 ") + value +
                      ", '', '', u8 1, u32 0)",
                  "return 0"};
  };
  EXPECT_EQ(access_list({{9}}), mode("0"));
  EXPECT_EQ(access_list({{10}}), mode("1"));
  EXPECT_EQ(access_list({{9}, {10}}), mode("1"));
  EXPECT_EQ(access_list({{10}, {9}}), mode("0"));
}

TEST_F(ClassMapAccessList, NamesOfListsAreCutAt64Characters) {
  const std::string longest(64, 'l');
  for (const auto& [typed, name] : {std::pair<std::string, std::string>{"", ""},
                                    {"a", "a"},
                                    {std::string(63, 'l'), std::string(63, 'l')},
                                    {longest, longest},
                                    {longest + "m", longest},
                                    {longest + "mmmmmm", longest}}) {
    EXPECT_EQ(access_list({{8, "web"}, {210, typed}}), list_sent(name)) << typed;
  }
  EXPECT_EQ(access_list({{8, "web"}, {210, nullptr}}), list_sent(""));
  EXPECT_EQ(access_list({{8, "web"}, {210, longest}, {210, "ab"}}), list_sent("ab"));
  // both fields full at once
  EXPECT_EQ(access_list({{210, longest + "m"}, {8, std::string(70, 'x')}}),
            (Events{"bind 2",
                    "call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 1, '" + std::string(64, 'x') +
                        "', '" + longest + "', u8 1, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapAccessList, NamesOfListsTravelByteForByte) {
  EXPECT_EQ(access_list({{8, "web"}, {210, "#\x01 %s%n\xff"}}), list_sent("#\\x01 %s%n\\xff"));
}

TEST_F(ClassMapAccessList, IgnoresOtherKeywords) {
  for (std::uint32_t keyword : {202, 209, 211}) {
    EXPECT_EQ(access_list({{8, "web"}, {210, "inbound"}, {keyword}}), list_sent("inbound")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{8, "web"}, {210, "inbound"}}, {8, 9, 10, 201, 210})) {
    EXPECT_EQ(access_list(tokens), list_sent("inbound")) << range;
  }
}

// The class-map is named, not the list.
TEST_F(ClassMapAccessList, AClassMapThatIsNotConfigured) {
  host.answer({.status = 0x40f3000a});
  EXPECT_EQ(access_list({{8, "web"}, {210, "inbound"}}),
            (Events{"bind 2",
                    "call cm_update_class_to_acl(u16 7, session 0x01020304, u8 0, u8 1, 'web', 'inbound', u8 1, u32 0)",
                    out("Error: class-map 'web' not configured\n"), "return 1"}));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_layer34_test
