// kvelclassmap_config_mgmtproto: a management protocol and where it may come from.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_management_test {
namespace {

class ClassMapManagement : public PluginTest {
 protected:
  Events protocol(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_mgmtproto", tokens, form);
  }
};

// What the call carries; with its defaults, what a command without tokens sends.
struct Protocol {
  std::uint32_t mode = 1;
  std::string name = {};
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 65535;
  std::uint32_t address = 0;
  std::uint32_t mask = 0;
  std::uint32_t add = 1;
  std::uint32_t line = 0;
};

Events sent(const Protocol& protocol) {
  const auto u32 = [](std::uint32_t value) { return "u32 " + std::to_string(value) + ", "; };
  return {"bind 2",
          "call cm_update_class_to_mgmtproto(u16 7, session 0x01020304, u8 1, u8 " + std::to_string(protocol.mode) +
              ", '" + protocol.name + "', " + u32(protocol.protocol) + "u32 0, " + u32(protocol.lower) +
              u32(protocol.upper) + u32(protocol.address) + u32(protocol.mask) + "u8 " + std::to_string(protocol.add) +
              ", u32 " + std::to_string(protocol.line) + ")",
          "return 0"};
}

TEST_F(ClassMapManagement, AddsARule) {
  EXPECT_EQ(protocol({{183, "web"}, {196}, {194, 20}, {185}, {192, 0x0a010200}, {193, 0xffffff00}}),
            (Events{"bind 2",
                    "call cm_update_class_to_mgmtproto(u16 7, session 0x01020304, u8 1, u8 0, 'web', u32 6, u32 0, "
                    "u32 22, u32 22, u32 167838208, u32 4294967040, u8 1, u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapManagement, RemovesItInTheNoForm) {
  EXPECT_EQ(protocol({{183, "web"}, {200}, {180}}, kNo),
            (Events{"bind 2",
                    "call cm_update_class_to_mgmtproto(u16 7, session 0x01020304, u8 1, u8 1, 'web', u32 17, u32 0, "
                    "u32 161, u32 161, u32 0, u32 0, u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapManagement, EveryKeyword) {
  struct Row {
    Tokens tokens;
    Protocol protocol;
  };
  const std::vector<Row> rows = {
      {{{183, "web"}}, {.name = "web"}},
      {{{195}}, {.mode = 1}},
      {{{196}}, {.mode = 0}},
      {{{196}, {195}}, {.mode = 1}},
      {{{195}, {196}}, {.mode = 0}},
      {{{194, 20}}, {.line = 20}},
      {{{180}}, {}},
      {{{192, 0x0a010101}}, {.address = 0x0a010101}},
      {{{193, 0xffff0000}}, {.mask = 0xffff0000}},
      {{{192, 0x0a010101}, {193, 0xffff0000}, {180}}, {}},
      {{{180}, {192, 0x0a010101}, {193, 0xffff0000}}, {.address = 0x0a010101, .mask = 0xffff0000}},
      {{{185}}, {.protocol = 6, .lower = 22, .upper = 22}},
      {{{186}}, {.protocol = 6, .lower = 23, .upper = 23}},
      {{{187}}, {.protocol = 6, .lower = 80, .upper = 80}},
      {{{188}}, {.protocol = 6, .lower = 443, .upper = 443}},
      {{{190}}, {.protocol = 6, .lower = 21, .upper = 21}},
      {{{189}}, {.protocol = 1, .lower = 0, .upper = 65535}},
      {{{191}}, {.protocol = 17, .lower = 69, .upper = 69}},
      {{{200}}, {.protocol = 17, .lower = 161, .upper = 161}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(protocol(rows[index].tokens), sent(rows[index].protocol)) << "row " << index;
  }
}

// The whole protocol is replaced, ports included.
TEST_F(ClassMapManagement, ALaterProtocolWins) {
  struct Row {
    std::uint32_t keyword_id;
    Protocol protocol;
  };
  const std::vector<Row> rows = {
      {185, {.protocol = 6, .lower = 22, .upper = 22}},   {186, {.protocol = 6, .lower = 23, .upper = 23}},
      {187, {.protocol = 6, .lower = 80, .upper = 80}},   {188, {.protocol = 6, .lower = 443, .upper = 443}},
      {189, {.protocol = 1, .lower = 0, .upper = 65535}}, {190, {.protocol = 6, .lower = 21, .upper = 21}},
      {191, {.protocol = 17, .lower = 69, .upper = 69}},  {200, {.protocol = 17, .lower = 161, .upper = 161}},
  };
  for (const Row& earlier : rows) {
    for (const Row& later : rows) {
      EXPECT_EQ(protocol({{earlier.keyword_id}, {later.keyword_id}}), sent(later.protocol))
          << earlier.keyword_id << " then " << later.keyword_id;
    }
  }
}

TEST_F(ClassMapManagement, AcceptsAndIgnoresTheKeywordsBesideTheProtocols) {
  for (std::uint32_t keyword : {181, 182, 184, 197, 198, 199}) {
    EXPECT_EQ(protocol({{keyword}}), sent({})) << "keyword " << keyword;
    EXPECT_EQ(protocol({{185}, {keyword}}), sent({.protocol = 6, .lower = 22, .upper = 22})) << "keyword " << keyword;
    EXPECT_EQ(protocol({{keyword}, {192, 0x0a010101}, {193, 0xffff0000}, {196}, {keyword}}),
              sent({.mode = 0, .address = 0x0a010101, .mask = 0xffff0000}))
        << "keyword " << keyword;
  }
}

TEST_F(ClassMapManagement, NullNumbersAreZero) {
  EXPECT_EQ(protocol({{192, 0x0a010101}, {192, nullptr}}), sent({}));
  EXPECT_EQ(protocol({{193, 0xffff0000}, {193, nullptr}}), sent({}));
}

TEST_F(ClassMapManagement, NothingIsChecked) {
  for (std::uint32_t address : {1U, 0x00ffffffU, 0x7f000001U, 0xe0000001U, 0xf0000001U, 0xffffffffU}) {
    EXPECT_EQ(protocol({{192, address}}), sent({.address = address})) << address;
  }
  for (std::uint32_t mask : {1U, 0x000000ffU, 0xff00ff00U, 0x7fffffffU, 0xffffffffU}) {
    EXPECT_EQ(protocol({{193, mask}}), sent({.mask = mask})) << mask;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_management_test
