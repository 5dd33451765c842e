// kvelparammap_config: creation, look-up and deletion of parameter-maps.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_config_test {
namespace {

using namespace std::string_literals;

class ParamMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_config", tokens, form); }
};

// The call for a name, positive form.
std::string add_call(const std::string& name, const std::string& type = "0") {
  return "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 1, '" + name + "', u8 " + type +
         ", buffer[4] 00000000)";
}
Events added(const std::string& name, const std::string& type = "0") {
  return {"bind 2", "domain 7 '" + name + "' 0", add_call(name, type), "return 0"};
}

const Events kWebAdded = added("web");

// The call of "no" and the name web, of the connection type.
const std::string kWebDeletion =
    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'web', u8 0, buffer[4] 00000000)";

TEST_F(ParamMapConfig, CreatesAConnectionMap) {
  EXPECT_EQ(config({{703, "web"}}),
            (Events{"bind 2", "domain 7 'web' 0",
                    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 1, 'web', u8 0, buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ParamMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{800}, {801, "web"}}, kNo),
            (Events{"bind 2", "domain 7 'web' 1",
                    "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'web', u8 1, buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(ParamMapConfig, EveryKeyword) {
  EXPECT_EQ(config({{703, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{801, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{921, "web"}}), added("web", "0"));
  EXPECT_EQ(config({{800}}), added("", "1"));  // http
  EXPECT_EQ(config({{920}}), added("", "2"));  // ssl
}

TEST_F(ParamMapConfig, EveryFormAsTheGrammarHasIt) {
  struct Row {
    Tokens tokens;
    const char* type;
  };
  const std::vector<Row> rows = {
      {{{700}, {702}, {703, "m"}}, "0"},
      {{{700}, {800}, {801, "m"}}, "1"},
      {{{700}, {920}, {921, "m"}}, "2"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config(row.tokens), added("m", row.type)) << row.type;
    EXPECT_EQ(config(row.tokens, kNo), (Events{"bind 2", "domain 7 'm' 1",
                                               "call cm_param_map_add_or_lookup(u16 7, session 0x01020304, u8 0, 'm', "
                                               "u8 "s +
                                                   row.type + ", buffer[4] 00000000)",
                                               "return 0"}))
        << row.type;
  }
}

TEST_F(ParamMapConfig, TheWordOfTheConnectionTypeSetsNoType) {
  for (std::uint32_t keyword : {700, 701, 702}) {
    EXPECT_EQ(config({{keyword}, {703, "web"}}), added("web", "0")) << "keyword " << keyword;
    EXPECT_EQ(config({{800}, {703, "web"}, {keyword}}), added("web", "1")) << "keyword " << keyword;
    EXPECT_EQ(config({{920}, {703, "web"}, {keyword}}), added("web", "2")) << "keyword " << keyword;
  }
}

TEST_F(ParamMapConfig, ALaterTokenWins) {
  EXPECT_EQ(config({{800}, {920}, {801, "web"}}), added("web", "2"));
  EXPECT_EQ(config({{920}, {800}, {921, "web"}}), added("web", "1"));
  EXPECT_EQ(config({{920}, {801, "web"}, {800}, {920}}), added("web", "2"));
  EXPECT_EQ(config({{703, "a-long-name"}, {801, "ab"}}), added("ab"));
  EXPECT_EQ(config({{801, "a-long-name"}, {921, "ab"}}), added("ab"));
  EXPECT_EQ(config({{921, "a-long-name"}, {703, "ab"}}), added("ab"));
  EXPECT_EQ(config({{703, "ab"}, {801, nullptr}}), added(""));
  EXPECT_EQ(config({{703, "ab"}, {921, ""}}), added(""));
}

TEST_F(ParamMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{703, "web"}}), kWebAdded);
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{703, "web"}}), kWebAdded);
}

}  // namespace
}  // namespace kvel::cli::test::param_map_config_test
