// kvelclassmap_config_lineno, kvelclassmap_config_mgmt_lineno and kvelclassmap_delete_match_linenum: rules by their
// line numbers.
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_line_number_test {
namespace {

class ClassMapLineNumber : public PluginTest {
 protected:
  Events layer34(const Tokens& tokens, const Form& form = kNo) {
    return run("kvelclassmap_config_lineno", tokens, form);
  }
  Events management(const Tokens& tokens, const Form& form = kNo) {
    return run("kvelclassmap_config_mgmt_lineno", tokens, form);
  }
  Events remove(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_delete_match_linenum", tokens, form);
  }
};

TEST_F(ClassMapLineNumber, RemovesALayer34Rule) {
  EXPECT_EQ(layer34({{8, "web"}, {9}, {201, 20}}),
            (Events{"bind 2", "call cm_update_class_lineno(u16 7, session 0x01020304, u8 0, u8 0, 'web', u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapLineNumber, RemovesAManagementRule) {
  EXPECT_EQ(management({{183, "web"}, {196}, {194, 20}}),
            (Events{"bind 2", "call cm_update_class_lineno(u16 7, session 0x01020304, u8 1, u8 0, 'web', u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapLineNumber, RemovesARuleOfAnyApplicationClassMap) {
  EXPECT_EQ(remove({{18, "web"}, {19, 20}}, kNo),
            (Events{"call cm_del_match_with_linenum(u16 7, 'web', u32 20, u8 0)", "return 0"}));
  EXPECT_EQ(remove({{103, "web"}, {106, 20}}),
            (Events{"call cm_del_match_with_linenum(u16 7, 'web', u32 20, u8 1)", "return 0"}));
}

// Silently, and before anything else: with a host that would refuse the bind, and texts that nobody may read.
TEST_F(ClassMapLineNumber, ThePositiveFormFailsSilently) {
  for (std::int32_t bind_status : {0, 1, -997, 0x40f30000}) {
    host.bind_status = bind_status;
    EXPECT_EQ(layer34({}, {}), Events{"return 1"});
    EXPECT_EQ(layer34({{8, "web"}, {201, 20}}, {}), Events{"return 1"});
    EXPECT_EQ(layer34({{8}, {9}, {10}, {201}}, {}), Events{"return 1"});
    EXPECT_EQ(layer34({{8, "web"}}, {.skip_execution = 1}), Events{"return 1"});
    EXPECT_EQ(management({}, {}), Events{"return 1"});
    EXPECT_EQ(management({{183, "web"}, {194, 20}}, {}), Events{"return 1"});
    EXPECT_EQ(management({{183}, {195}, {196}, {194}}, {}), Events{"return 1"});
    EXPECT_EQ(management({{183, "web"}}, {.skip_execution = 1}), Events{"return 1"});
  }
}

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

TEST_F(ClassMapLineNumber, IgnoresOtherKeywords) {
  for (const auto& [range, tokens] : unlisted_keywords({{8, "web"}, {9}, {201, 20}}, {8, 9, 10, 201})) {
    EXPECT_EQ(layer34(tokens),
              (Events{"bind 2", "call cm_update_class_lineno(u16 7, session 0x01020304, u8 0, u8 0, 'web', u32 20)",
                      "return 0"}))
        << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{183, "web"}, {196}, {194, 20}}, {183, 194, 195, 196})) {
    EXPECT_EQ(management(tokens),
              (Events{"bind 2", "call cm_update_class_lineno(u16 7, session 0x01020304, u8 1, u8 0, 'web', u32 20)",
                      "return 0"}))
        << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{18, "web"}, {19, 20}}, {18, 19, 103, 106, 173, 176})) {
    EXPECT_EQ(remove(tokens), (Events{"call cm_del_match_with_linenum(u16 7, 'web', u32 20, u8 1)", "return 0"}))
        << range;
  }
}

TEST_F(ClassMapLineNumber, ALaterTokenWins) {
  EXPECT_EQ(remove({{18, "a-long-name"}, {106, 10}, {173, "ab"}, {19, 30}}),
            (Events{"call cm_del_match_with_linenum(u16 7, 'ab', u32 30, u8 1)", "return 0"}));
  EXPECT_EQ(remove({{103, "ab"}, {176, 10}, {18, nullptr}, {106, nullptr}}),
            (Events{"call cm_del_match_with_linenum(u16 7, '', u32 0, u8 1)", "return 0"}));
}

TEST_F(ClassMapLineNumber, DeletionByLineNumberDoesNotBind) {
  for (std::int32_t bind_status : {1, -997, 0x40f30000}) {
    host.bind_status = bind_status;
    EXPECT_EQ(remove({{18, "web"}, {19, 20}}, kNo),
              (Events{"call cm_del_match_with_linenum(u16 7, 'web', u32 20, u8 0)", "return 0"}));
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_line_number_test
