// The match mode of rules that have little else: any traffic, an access list, and the removal by line numbers.
#include <string>

#include "tests/cli/plugin_test.h"

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

TEST_F(ClassMapAnything, EveryKeyword) {
  EXPECT_EQ(anything({{8, "web"}}), anything_sent("1", "web", "1", "0"));
  EXPECT_EQ(anything({{9}}), anything_sent("0", "", "1", "0"));
  EXPECT_EQ(anything({{10}}), anything_sent("1", "", "1", "0"));
  EXPECT_EQ(anything({{201, 20}}), anything_sent("1", "", "1", "20"));
  EXPECT_EQ(anything({{9}, {10}}), anything_sent("1", "", "1", "0"));
  EXPECT_EQ(anything({{10}, {9}}), anything_sent("0", "", "1", "0"));
}

class ClassMapAccessList : public PluginTest {
 protected:
  Events access_list(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_configacl", tokens, form);
  }
};

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

class ClassMapLineNumber : public PluginTest {
 protected:
  Events layer34(const Tokens& tokens, const Form& form = kNo) {
    return run("kvelclassmap_config_lineno", tokens, form);
  }
  Events management(const Tokens& tokens, const Form& form = kNo) {
    return run("kvelclassmap_config_mgmt_lineno", tokens, form);
  }
};

TEST_F(ClassMapLineNumber, MatchMode) {
  const auto call = [](const std::string& type, const std::string& mode) {
    return Events{"bind 2",
                  "call cm_update_class_lineno(u16 7, session 0x01020304, u8 " + type + ", u8 " + mode + ", '', u32 0)",
                  "return 0"};
  };
  EXPECT_EQ(layer34({{9}}), call("0", "0"));
  EXPECT_EQ(layer34({{10}}), call("0", "1"));
  EXPECT_EQ(layer34({{9}, {10}}), call("0", "1"));
  EXPECT_EQ(layer34({{10}, {9}}), call("0", "0"));
  EXPECT_EQ(management({{196}}), call("1", "0"));
  EXPECT_EQ(management({{195}}), call("1", "1"));
  EXPECT_EQ(management({{196}, {195}}), call("1", "1"));
  EXPECT_EQ(management({{195}, {196}}), call("1", "0"));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_layer34_test
