// What every handler keeps to when it reads its tokens. (The records of all tests forbid the same: tokens, texts and
// commands are read-only, and the memory after each, the tokens' reserved words and the tokens after token_count
// cannot be read.)
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::token_walk_test {
namespace {

using TokenWalk = PluginTest;

Events added(const std::string& name) {
  return {
      "bind 2", "domain 5 '" + name + "' 0",
      "call cm_add_or_lookup_classmap(u16 7, session 0x01020304, u8 0, u8 1, '" + name + "', u8 1, buffer[4] 00000000)",
      "return 0"};
}

TEST_F(TokenWalk, ReadsNoTokenAfterTheCount) {
  EXPECT_EQ(run("kvelclassmap_config", {}), added(""));
  EXPECT_EQ(run("kvelclassmap_config", {{8, "web"}}), added("web"));
  EXPECT_EQ(run("kvelclassmap_config", {{8, "web"}, {10}}), added("web"));
  EXPECT_EQ(run("kvelclassmap_config_desc", {}),
            (Events{"bind 2", "call cm_update_classdesc(u16 7, session 0x01020304, '', '', u8 1)", "return 0"}));
}

TEST_F(TokenWalk, ReadsAll255Tokens) {
  Tokens tokens(254, Token(4711));
  tokens.emplace_back(8, "last");
  EXPECT_EQ(run("kvelclassmap_config", tokens), added("last"));

  Tokens names;
  for (int number = 1; number <= 255; ++number)
    names.emplace_back(8, "name-" + std::to_string(number));
  EXPECT_EQ(run("kvelclassmap_config", names), added("name-255"));

  Tokens texts = names;
  texts[0] = Token(5, "text");
  EXPECT_EQ(
      run("kvelclassmap_config_desc", texts),
      (Events{"bind 2", "call cm_update_classdesc(u16 7, session 0x01020304, 'name-255', 'text', u8 1)", "return 0"}));
}

TEST_F(TokenWalk, ReadsAllOf128Tokens) {
  Tokens tokens(127, Token(4711));
  tokens.emplace_back(8, "last");
  EXPECT_EQ(run("kvelclassmap_config", tokens), added("last"));
}

}  // namespace
}  // namespace kvel::cli::test::token_walk_test
