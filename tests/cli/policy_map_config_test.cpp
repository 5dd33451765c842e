// kvelpolicymap_config: creation, look-up and deletion of policy-maps.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_config_test {
namespace {

using namespace std::string_literals;

class PolicyMapConfig : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_config", tokens, form); }
};

// What the call carries; with its defaults, what a command without tokens sends.
struct PolicyMap {
  std::string name = {};
  std::uint32_t type = 1;
  std::uint32_t subtype = 1;
  std::uint32_t add = 1;
};

std::string call(const PolicyMap& map) {
  return "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, '" + map.name + "', u8 " +
         std::to_string(map.type) + ", u8 " + std::to_string(map.subtype) + ", u8 " + std::to_string(map.add) +
         ", buffer[4] 00000000)";
}

Events sent(const PolicyMap& map) {
  return {"bind 2", "domain 4 '" + map.name + "' " + (map.add == 1 ? "0" : "1"), call(map), "return 0"};
}

TEST_F(PolicyMapConfig, CreatesALayer34PolicyMap) {
  EXPECT_EQ(config({{351}, {352, "web"}}),
            (Events{"bind 2", "domain 4 'web' 0",
                    "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 1, u8 1, u8 1, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(PolicyMapConfig, DeletesInTheNoForm) {
  EXPECT_EQ(config({{502}, {530}, {503, "web"}}, kNo),
            (Events{"bind 2", "domain 4 'web' 1",
                    "call cm_add_or_lookup_pmap_by_name(u16 7, session 0x01020304, 'web', u8 2, u8 2, u8 0, "
                    "buffer[4] 00000000)",
                    "return 0"}));
}

TEST_F(PolicyMapConfig, EveryKeyword) {
  struct Row {
    Tokens tokens;
    PolicyMap map;
  };
  const std::vector<Row> rows = {
      {{{352, "web"}}, {.name = "web"}},  // layer-3/4
      {{{503, "web"}}, {.name = "web"}},  // load-balancing: the name alone does not give the type
      {{{603, "web"}}, {.name = "web"}},  // HTTP inspection
      {{{652, "web"}}, {.name = "web"}},  // FTP inspection
      {{{665, "web"}}, {.name = "web"}},  // management
      {{{502}}, {.type = 2}},             // load-balancing
      {{{601}}, {.type = 3}},             // HTTP inspection
      {{{651}}, {.type = 4}},             // FTP inspection
      {{{663}}, {.type = 5}},             // management
      {{{351}}, {.subtype = 1}},
      {{{530}}, {.subtype = 2}},
      {{{654}}, {.subtype = 2}},
      {{{664}}, {.subtype = 2}},
      {{{602}}, {.subtype = 3}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(config(rows[index].tokens), sent(rows[index].map)) << "row " << index;
    PolicyMap deleted = rows[index].map;
    deleted.add = 0;
    EXPECT_EQ(config(rows[index].tokens, kNo), sent(deleted)) << "row " << index;
  }
}

TEST_F(PolicyMapConfig, EveryFormAsTheGrammarHasIt) {
  EXPECT_EQ(config({{352, "m"}}), sent({.name = "m", .type = 1, .subtype = 1}));
  EXPECT_EQ(config({{502}, {530}, {503, "m"}}), sent({.name = "m", .type = 2, .subtype = 2}));
  EXPECT_EQ(config({{601}, {602}, {603, "m"}}), sent({.name = "m", .type = 3, .subtype = 3}));
  EXPECT_EQ(config({{651}, {654}, {652, "m"}}), sent({.name = "m", .type = 4, .subtype = 2}));
  EXPECT_EQ(config({{663}, {664}, {665, "m"}}), sent({.name = "m", .type = 5, .subtype = 2}));
}

TEST_F(PolicyMapConfig, EveryTypeWithEverySubtype) {
  const std::array<std::array<std::uint32_t, 2>, 4> types = {{{502, 2}, {601, 3}, {651, 4}, {663, 5}}};
  const std::array<std::array<std::uint32_t, 2>, 5> subtypes = {{{351, 1}, {530, 2}, {654, 2}, {664, 2}, {602, 3}}};
  for (const auto& [type_keyword, type] : types) {
    for (const auto& [subtype_keyword, subtype] : subtypes) {
      EXPECT_EQ(config({{type_keyword}, {subtype_keyword}, {352, "m"}}),
                sent({.name = "m", .type = type, .subtype = subtype}))
          << type_keyword << " " << subtype_keyword;
      EXPECT_EQ(config({{352, "m"}, {subtype_keyword}, {type_keyword}}),
                sent({.name = "m", .type = type, .subtype = subtype}))
          << type_keyword << " " << subtype_keyword;
    }
  }
}

TEST_F(PolicyMapConfig, ALaterTypeWins) {
  const std::array<std::array<std::uint32_t, 2>, 4> types = {{{502, 2}, {601, 3}, {651, 4}, {663, 5}}};
  for (const auto& [earlier, ignored] : types) {
    for (const auto& [later, type] : types) {
      EXPECT_EQ(config({{earlier}, {later}}), sent({.type = type})) << earlier << " then " << later;
    }
  }
}

TEST_F(PolicyMapConfig, ALaterSubtypeWins) {
  const std::array<std::array<std::uint32_t, 2>, 5> subtypes = {{{351, 1}, {530, 2}, {654, 2}, {664, 2}, {602, 3}}};
  for (const auto& [earlier, ignored] : subtypes) {
    for (const auto& [later, subtype] : subtypes) {
      EXPECT_EQ(config({{earlier}, {later}}), sent({.subtype = subtype})) << earlier << " then " << later;
    }
  }
}

TEST_F(PolicyMapConfig, BackendSuccesses) {
  host.answer({.status = 0, .buffers = {"\xff\xff\xff\xff"}});
  EXPECT_EQ(config({{352, "web"}}), sent({.name = "web"}));
  host.answer({.status = 0x40f30000, .buffers = {"\0\0\0\1"s}});
  EXPECT_EQ(config({{352, "web"}}), sent({.name = "web"}));
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_config_test
