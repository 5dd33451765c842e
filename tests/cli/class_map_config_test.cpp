// kvelclassmap_config: creation, look-up and deletion of class-maps.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_config_test {
namespace {

using namespace std::string_literals;

class ClassMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelclassmap_config", tokens, form); }
};

// The call for a name, positive form, as layer-3/4 match-all.
std::string add_call(const std::string& name) {
  return "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, '" + name +
         "', u8 1, buffer[4] 00000000)";
}
Events added(const std::string& name) { return {"bind 2", "domain 5 '" + name + "' 0", add_call(name), "return 0"}; }

const Events kWebAdded = added("web");

// The call of "no class-map web".
const std::string kWebDeletion =
    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, buffer[4] 00000000)";

TEST_F(ClassMapConfig, CreatesALayer34ClassMap) {
  EXPECT_EQ(config({{8, "web"}, {9}}),
            (Events{"bind 2", "domain 5 'web' 0",
                    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 0, 'web', u8 1, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ClassMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{8, "web"}}, kNo),
            (Events{"bind 2", "domain 5 'web' 1",
                    "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, 'web', u8 0, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ClassMapConfig, EveryKeyword) {
  struct Row {
    std::uint32_t keyword_id;
    bool is_name;
    const char* type;
    const char* mode;
  };
  const std::array rows = {
      Row{8, true, "u8 0", "u8 1"},     // name, layer-3/4 form
      Row{18, true, "u8 0", "u8 1"},    // name, other forms
      Row{103, true, "u8 0", "u8 1"},   //
      Row{173, true, "u8 0", "u8 1"},   //
      Row{183, true, "u8 0", "u8 1"},   //
      Row{182, false, "u8 1", "u8 1"},  // management
      Row{15, false, "u8 2", "u8 1"},   // HTTP load-balancing
      Row{102, false, "u8 3", "u8 1"},  // HTTP inspection
      Row{172, false, "u8 4", "u8 1"},  // FTP inspection
      Row{10, false, "u8 0", "u8 1"},   // match-all
      Row{16, false, "u8 0", "u8 1"},   //
      Row{104, false, "u8 0", "u8 1"},  //
      Row{195, false, "u8 0", "u8 1"},  //
      Row{9, false, "u8 0", "u8 0"},    // match-any
      Row{17, false, "u8 0", "u8 0"},   //
      Row{105, false, "u8 0", "u8 0"},  //
      Row{178, false, "u8 0", "u8 0"},  //
      Row{196, false, "u8 0", "u8 0"},  //
  };
  for (const Row& row : rows) {
    const Token token = row.is_name ? Token(row.keyword_id, "web") : Token(row.keyword_id);
    const std::string name = row.is_name ? "'web'" : "''";
    EXPECT_EQ(config({token}), (Events{"bind 2", "domain 5 " + name + " 0",
                                       "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s + row.type + ", " +
                                           row.mode + ", " + name + ", u8 1, buffer[4] 00000000)",
                                       "return 0"}))
        << "keyword " << row.keyword_id;
  }
}

// Each match-all keyword takes back an earlier match-any.
TEST_F(ClassMapConfig, MatchAllAfterMatchAny) {
  for (std::uint32_t keyword : {10, 16, 104, 195}) {
    EXPECT_EQ(config({{9}, {8, "web"}, {keyword}}), kWebAdded) << "keyword " << keyword;
  }
}

TEST_F(ClassMapConfig, EveryFormAsTheGrammarHasIt) {
  struct Row {
    Tokens tokens;
    const char* type;
    const char* mode;
  };
  const std::vector<Row> rows = {
      {{{8, "m"}}, "u8 0", "u8 1"},
      {{{10}, {8, "m"}}, "u8 0", "u8 1"},
      {{{182}, {195}, {183, "m"}}, "u8 1", "u8 1"},
      {{{182}, {196}, {183, "m"}}, "u8 1", "u8 0"},
      {{{15}, {16}, {18, "m"}}, "u8 2", "u8 1"},
      {{{15}, {17}, {18, "m"}}, "u8 2", "u8 0"},
      {{{102}, {104}, {103, "m"}}, "u8 3", "u8 1"},
      {{{102}, {105}, {103, "m"}}, "u8 3", "u8 0"},
      {{{172}, {178}, {173, "m"}}, "u8 4", "u8 0"},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const Row& row = rows[index];
    EXPECT_EQ(config(row.tokens), (Events{"bind 2", "domain 5 'm' 0",
                                          "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s + row.type +
                                              ", " + row.mode + ", 'm', u8 1, buffer[4] 00000000)",
                                          "return 0"}))
        << "row " << index;
    EXPECT_EQ(config(row.tokens, kNo), (Events{"bind 2", "domain 5 'm' 1",
                                               "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, "s +
                                                   row.type + ", " + row.mode + ", 'm', u8 0, buffer[4] 00000000)",
                                               "return 0"}))
        << "row " << index;
  }
}

TEST_F(ClassMapConfig, ALaterTokenWins) {
  const auto call = [](const char* type, const char* mode, const char* name) {
    return Events{"bind 2", "domain 5 '"s + name + "' 0",
                  "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 "s + type + ", u8 " + mode + ", '" +
                      name + "', u8 1, buffer[4] 00000000)",
                  "return 0"};
  };
  EXPECT_EQ(config({{182}, {8, "web"}}), call("0", "1", "web"));
  EXPECT_EQ(config({{8, "web"}, {182}}), call("1", "1", "web"));
  EXPECT_EQ(config({{182}, {183, "web"}}), call("1", "1", "web"));
  EXPECT_EQ(config({{15}, {102}, {172}}), call("4", "1", ""));
  EXPECT_EQ(config({{172}, {102}, {15}}), call("2", "1", ""));
  EXPECT_EQ(config({{10}, {9}}), call("0", "0", ""));
  EXPECT_EQ(config({{196}, {195}}), call("0", "1", ""));
  EXPECT_EQ(config({{8, "a-long-name"}, {18, "ab"}}), call("0", "1", "ab"));
  EXPECT_EQ(config({{15}, {18, "ab"}, {8, "xyz"}}), call("0", "1", "xyz"));
  EXPECT_EQ(config({{18, "ab"}, {103, nullptr}}), call("0", "1", ""));
  EXPECT_EQ(config({{18, "ab"}, {103, ""}}), call("0", "1", ""));
}

TEST_F(ClassMapConfig, TheWellKnownClassIsRefused) {
  const Events refused = {"bind 2", out("Error: class-default is a well-known class and is not configurable\n"),
                          "return 255"};
  for (std::uint32_t keyword : {8, 18, 103, 173, 183}) {
    EXPECT_EQ(config({{keyword, "class-default"}}), refused) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, "class-default"}}, kNo), refused) << "keyword " << keyword;
  }
  EXPECT_EQ(config({{182}, {195}, {183, "class-default"}}), refused);
  EXPECT_EQ(config({{8, "web"}, {8, "class-default"}}), refused);
  host.rule_domain_answer = 0;
  EXPECT_EQ(config({{8, "class-default"}}), refused);
}

TEST_F(ClassMapConfig, NamesNextToTheWellKnownOneAreOrdinary) {
  for (const char* name :
       {"class-default1", "class-default ", "class-default-and-more", "class-defaul", "class-defaulu", "Class-default",
        "class-Default", " class-default", "class_default", "class-", "c"}) {
    EXPECT_EQ(config({{8, name}}), added(name));
  }
  EXPECT_EQ(config({{8, "class-default\xff"}}), added("class-default\\xff"));
  EXPECT_EQ(config({{8, "class-default"}, {8, "web"}}), kWebAdded);
}

TEST_F(ClassMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{8, "web"}}), kWebAdded);
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{8, "web"}}), kWebAdded);
}

}  // namespace
}  // namespace kvel::cli::test::class_map_config_test
