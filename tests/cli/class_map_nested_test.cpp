// The HTTP load-balancing rule that names another class-map.
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::class_map_nested_test {
namespace {

class ClassMapNested : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httplbcmap", tokens, form);
  }
};

std::string nested_call(const std::string& name, const std::string& line, const std::string& child,
                        const std::string& add = "1") {
  return "call cm_update_l7class_to_cmap(u16 7, session 0x01020304, '" + name + "', u32 " + line + ", '" + child +
         "', u8 " + add + ")";
}
Events nested(const std::string& name, const std::string& line, const std::string& child) {
  return {"bind 2", nested_call(name, line, child), "return 0"};
}

TEST_F(ClassMapNested, AddsAndRemoves) {
  EXPECT_EQ(
      match({{18, "web"}, {19, 20}, {101, "images"}}),
      (Events{"bind 2", "call cm_update_l7class_to_cmap(u16 7, session 0x01020304, 'web', u32 20, 'images', u8 1)",
              "return 0"}));
  EXPECT_EQ(match({{18, "web"}, {101, "images"}}, kNo),
            (Events{"bind 2", "call cm_update_l7class_to_cmap(u16 7, session 0x01020304, 'web', u32 0, 'images', u8 0)",
                    "return 0"}));
}

TEST_F(ClassMapNested, ChildNames) {
  const std::string longest(64, 'c');
  EXPECT_EQ(match({{101, "images"}}), nested("", "0", "images"));
  EXPECT_EQ(match({{101, ""}}), nested("", "0", ""));
  EXPECT_EQ(match({{101, nullptr}}), nested("", "0", ""));
  EXPECT_EQ(match({{101, std::string(63, 'c')}}), nested("", "0", std::string(63, 'c')));
  EXPECT_EQ(match({{101, longest}}), nested("", "0", longest));
  EXPECT_EQ(match({{101, longest + "d"}}), nested("", "0", longest));
  EXPECT_EQ(match({{101, longest + "dddddd"}}), nested("", "0", longest));
  EXPECT_EQ(match({{101, longest}, {101, "ab"}}), nested("", "0", "ab"));
  EXPECT_EQ(match({{101, "#a b\xff"}}), nested("", "0", "#a b\\xff"));
  EXPECT_EQ(match({{18, "web"}, {101, "web"}}), nested("web", "0", "web"));
  EXPECT_EQ(match({{101, std::string(70, 'c')}, {18, std::string(70, 'n')}}),
            nested(std::string(64, 'n'), "0", longest));
}

// Those of inline matches are not read here.
TEST_F(ClassMapNested, IgnoresOtherKeywords) {
  const Tokens full = {{18, "web"}, {19, 20}, {101, "images"}};
  for (std::uint32_t keyword : {16, 17, 20, 100, 102, 103, 106, 504, 505, 577, 274, 275, 357}) {
    EXPECT_EQ(match({{18, "web"}, {19, 20}, {101, "images"}, {keyword}}), nested("web", "20", "images"))
        << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords(full, {18, 19, 101})) {
    EXPECT_EQ(match(tokens), nested("web", "20", "images")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, {18, 19, 101})) {
    EXPECT_EQ(match(tokens), nested("", "0", "")) << range;
  }
}

TEST_F(ClassMapNested, AChildWithChildrenIsNamed) {
  host.answer({.status = 0x40f300f2});
  EXPECT_EQ(match({{18, "web"}, {101, "images"}}),
            (Events{"bind 2", nested_call("web", "0", "images"),
                    out("Error: class-map 'images' inturn has child class-map associated\n"), "return 1"}));
  host.answer({.status = 0x40f300f2});
  EXPECT_EQ(match({{18, "web"}, {101, "images"}}, kNo),
            (Events{"bind 2", nested_call("web", "0", "images", "0"),
                    out("Error: class-map 'images' inturn has child class-map associated\n"), "return 1"}));
}

TEST_F(ClassMapNested, AParentThatIsAChildIsNamed) {
  host.answer({.status = 0x40f30106});
  EXPECT_EQ(match({{18, "web"}, {101, "images"}}),
            (Events{"bind 2", nested_call("web", "0", "images"),
                    out("Error: class-map 'web' is already child of other class-map(s)\n"), "return 1"}));
  host.answer({.status = 0x40f30106});
  EXPECT_EQ(match({{18, "web"}, {101, "images"}}, kNo),
            (Events{"bind 2", nested_call("web", "0", "images", "0"),
                    out("Error: class-map 'web' is already child of other class-map(s)\n"), "return 1"}));
}

// Messages show the names as they were sent.
TEST_F(ClassMapNested, NamesInMessages) {
  const std::string cut(64, 'c');
  host.answer({.status = 0x40f300f2});
  EXPECT_EQ(match({{18, "web"}, {101, cut + "dddddd"}}),
            (Events{"bind 2", nested_call("web", "0", cut),
                    out("Error: class-map '" + cut + "' inturn has child class-map associated\n"), "return 1"}));
  host.answer({.status = 0x40f30106});
  EXPECT_EQ(match({{18, cut + "dddddd"}, {101, "images"}}),
            (Events{"bind 2", nested_call(cut, "0", "images"),
                    out("Error: class-map '" + cut + "' is already child of other class-map(s)\n"), "return 1"}));
  host.answer({.status = 0x40f300f2});
  EXPECT_EQ(match({{101, "100%s%n"}}),
            (Events{"bind 2", nested_call("", "0", "100%s%n"),
                    out("Error: class-map '100%s%n' inturn has child class-map associated\n"), "return 1"}));
  host.answer({.status = 0x40f30106});
  EXPECT_EQ(match({}), (Events{"bind 2", nested_call("", "0", ""),
                               out("Error: class-map '' is already child of other class-map(s)\n"), "return 1"}));
}

// In every other rule the two statuses have no line of their own.
TEST_F(ClassMapNested, NoOtherRuleKnowsItsStatuses) {
  for (const char* handler : {"kvelclassmap_configvip",
                              "kvelclassmap_configsrcdstaddr",
                              "kvelclassmap_configport",
                              "kvelclassmap_configanything",
                              "kvelclassmap_configacl",
                              "kvelclassmap_config_mgmtproto",
                              "kvelclassmap_config_lineno",
                              "kvelclassmap_config_mgmt_lineno",
                              "kvelclassmap_delete_match_linenum",
                              "kvelclassmap_config_ftpinspect",
                              "kvelclassmap_config_httpinsp_hdrlen",
                              "kvelclassmap_config_httpinsp_hdr",
                              "kvelclassmap_config_httpinsp_url",
                              "kvelclassmap_config_httpinsp_mime",
                              "kvelclassmap_config_httpinsp_content",
                              "kvelclassmap_config_httpinsp_cntlen",
                              "kvelclassmap_config_httpinsp_method",
                              "kvelclassmap_config_httpinsp_p80misuse",
                              "kvelclassmap_config_httpinsp_encoding",
                              "kvelclassmap_config_httplburl",
                              "kvelclassmap_config_httplbcookie",
                              "kvelclassmap_config_httplbhdr",
                              "kvelclassmap_config_httplbsrcaddr"}) {
    host.answer({.status = 0x40f300f2});
    EXPECT_THAT(run(handler, {}, kNo), testing::Contains(out("Error: text of 0x40f300f2, 100%d %s\n"))) << handler;
    host.answer({.status = 0x40f30106});
    EXPECT_THAT(run(handler, {}, kNo), testing::Contains(out("Error: text of 0x40f30106, 100%d %s\n"))) << handler;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_nested_test
