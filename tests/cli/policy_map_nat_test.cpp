// kvelpolicymap_confignat: static and dynamic network address translation. What it shares with the other actions is
// tested with those.
#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/cli/address_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_nat_test {
namespace {

// The forms of the grammar that the command distinguishes.
constexpr std::uint32_t kStatic = 362;
constexpr std::uint32_t kDynamic = 364;

const Token kAddress(360, 0x0a000001);  // 10.0.0.1
const Token kMask(365, 0xffffff00);     // 255.255.255.0

// A static NAT; with its defaults, it is what kAddress and kMask send.
struct StaticNat {
  std::string policy = {};
  std::string name = {};
  std::uint32_t address = 0x0a000001;
  std::uint32_t mask = 0xffffff00;
  std::uint32_t port = 0;
  std::uint32_t vlan = 0;
};

Events sent(const StaticNat& nat) {
  const auto u32 = [](std::uint32_t value) { return "u32 " + std::to_string(value) + ", "; };
  return {"modify 0",
          "call cm_update_static_nat(u16 7, session 0x01020304, '" + nat.policy + "', '" + nat.name + "', " +
              u32(nat.address) + u32(nat.mask) + u32(nat.port) + u32(nat.vlan) + "u32 1)",
          "return 0"};
}

Events dynamic_sent(const std::string& policy, const std::string& name, const std::string& pool,
                    const std::string& vlan) {
  return {"modify 0",
          "call cm_update_dynamic_nat(u16 7, session 0x01020304, '" + policy + "', '" + name + "', u32 " + pool +
              ", u32 " + vlan + ", u32 1)",
          "return 0"};
}

class PolicyMapNat : public PluginTest {
 protected:
  Events nat(const Tokens& tokens, Form form = {}) {
    form.command_id = kStatic;
    return run("kvelpolicymap_confignat", tokens, form);
  }
  Events dynamic(const Tokens& tokens, Form form = {}) {
    form.command_id = kDynamic;
    return run("kvelpolicymap_confignat", tokens, form);
  }
};

// ---- static

TEST_F(PolicyMapNat, EveryKeyword) {
  struct Row {
    Token token;
    StaticNat nat;
  };
  const std::vector<Row> rows = {
      {{352, "p"}, {.policy = "p"}},
      {{356, "c"}, {.name = "c"}},
      {{366}, {.name = "#class_default_l3"}},
      {{360, 0xc0a80101}, {.address = 0xc0a80101}},
      {{365, 0xfffffffe}, {.mask = 0xfffffffe}},
      {{362, 4094}, {.vlan = 4094}},
      {{361, 8080}, {.port = 8080}},
      {{1275, 8080}, {.port = 8080}},
      {{1276, 8080}, {.port = 8080}},
      {{1255}, {.port = 350}},
      {{1256}, {.port = 119}},
      {{1258}, {.port = 25}},
      {{1259}, {.port = 23}},
      {{1260}, {.port = 80}},
      {{1261}, {.port = 443}},
      {{1262}, {.port = 554}},
      {{1263}, {.port = 109}},
      {{1264}, {.port = 110}},
      {{1265}, {.port = 21}},
      {{1269}, {.port = 53}},
      {{1270}, {.port = 9200}},
      {{1271}, {.port = 9202}},
      {{1272}, {.port = 9201}},
      {{1273}, {.port = 9203}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(nat({kAddress, kMask, rows[index].token}), sent(rows[index].nat)) << "row " << index;
  }
}

TEST_F(PolicyMapNat, AcceptsAndIgnoresTheKeywordsBesideThePorts) {
  for (std::uint32_t keyword : {1257, 1266, 1267, 1268, 1274}) {
    EXPECT_EQ(nat({kAddress, kMask, {keyword}}), sent({})) << "keyword " << keyword;
    EXPECT_EQ(nat({kAddress, kMask, {1260}, {keyword}}), sent({.port = 80})) << "keyword " << keyword;
    EXPECT_EQ(nat({{keyword}, kAddress, kMask, {361, 8080}}), sent({.port = 8080})) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapNat, ALaterNumberWins) {
  EXPECT_EQ(nat({{360, 0x01010101}, kAddress, kMask}), sent({}));
  EXPECT_EQ(nat({kAddress, {365, 0xffff0000}, kMask}), sent({}));
  EXPECT_EQ(nat({kAddress, kMask, {362, 10}, {362, 20}}), sent({.vlan = 20}));
  EXPECT_EQ(nat({kAddress, kMask, {362, 10}, {362, nullptr}}), sent({}));
  // one that is refused does no harm when another replaces it
  EXPECT_EQ(nat({{360, 0x7f000001}, {365, 0xff00ff00}, kAddress, kMask}), sent({}));
}

TEST_F(PolicyMapNat, ALaterPortWins) {
  struct Row {
    Token token;
    std::uint32_t port;
  };
  const std::vector<Row> rows = {
      {{361, 8080}, 8080}, {{1275, 8081}, 8081}, {{1276, 8082}, 8082}, {{1255}, 350},  {{1256}, 119},  {{1258}, 25},
      {{1259}, 23},        {{1260}, 80},         {{1261}, 443},        {{1262}, 554},  {{1263}, 109},  {{1264}, 110},
      {{1265}, 21},        {{1269}, 53},         {{1270}, 9200},       {{1271}, 9202}, {{1272}, 9201}, {{1273}, 9203},
  };
  for (const Row& earlier : rows) {
    for (const Row& later : rows) {
      EXPECT_EQ(nat({kAddress, kMask, earlier.token, later.token}), sent({.port = later.port}))
          << earlier.port << " then " << later.port;
    }
  }
  EXPECT_EQ(nat({kAddress, kMask, {1260}, {361, nullptr}}), sent({.port = 0}));
}

TEST_F(PolicyMapNat, APortIsTheLow16BitsOfItsNumber) {
  struct Row {
    std::uint32_t typed;
    std::uint32_t port;
  };
  const std::array rows = {Row{0, 0},
                           Row{1, 1},
                           Row{255, 255},
                           Row{256, 256},
                           Row{65535, 65535},
                           Row{65536, 0},
                           Row{65537, 1},
                           Row{0x00018000, 32768},
                           Row{0x12345678, 22136},
                           Row{0x7fff0050, 80},
                           Row{0x80000000, 0},
                           Row{0xffffffff, 65535}};
  for (std::uint32_t keyword : {361, 1275, 1276}) {
    for (const Row& row : rows) {
      EXPECT_EQ(nat({kAddress, kMask, {keyword, row.typed}}), sent({.port = row.port})) << keyword << " " << row.typed;
    }
  }
}

TEST_F(PolicyMapNat, HostAddresses) {
  for (std::uint32_t address : kHostAddresses) {
    EXPECT_EQ(nat({{360, address}, kMask}), sent({.address = address})) << std::hex << address;
  }
  EXPECT_EQ(nat({{360, 0x0a000001}, kMask}), sent({.address = 0x0a000001}));
}

TEST_F(PolicyMapNat, OtherAddressesAreRefused) {
  const auto refused = [](const char* negated) {
    return Events{std::string("modify ") + negated, out("Error: Invalid IP address\n"), "return 1"};
  };
  for (std::uint32_t address : kNoHostAddresses) {
    EXPECT_EQ(nat({{360, address}, kMask}), refused("0")) << std::hex << address;
    EXPECT_EQ(nat({{360, address}, kMask}, kNo), refused("1")) << std::hex << address;
  }
  for (std::uint32_t address : {0x00010203U, 0U}) {
    EXPECT_EQ(nat({{360, address}, kMask}), refused("0")) << std::hex << address;
  }
  // without an address, in both forms
  EXPECT_EQ(nat({kMask}), refused("0"));
  EXPECT_EQ(nat({kMask}, kNo), refused("1"));
  EXPECT_EQ(nat({}), refused("0"));
  EXPECT_EQ(nat({{360, nullptr}, kMask}), refused("0"));
  EXPECT_EQ(nat({kAddress, {360, nullptr}, kMask}), refused("0"));
  // the address comes before the mask
  EXPECT_EQ(nat({{360, 0x7f000001}, {365, 0xff00ff00}}), refused("0"));
}

TEST_F(PolicyMapNat, Masks) {
  for (std::uint32_t mask : kMasks) {
    EXPECT_EQ(nat({kAddress, {365, mask}}), sent({.mask = mask})) << std::hex << mask;
  }
}

// A mask of 0 is refused here, unlike in the match rules of class-maps.
TEST_F(PolicyMapNat, OtherMasksAreRefused) {
  const auto refused = [](const char* negated) {
    return Events{std::string("modify ") + negated, out("Error: Invalid IP mask\n"), "return 1"};
  };
  for (std::uint32_t mask : kNoMasks) {
    EXPECT_EQ(nat({kAddress, {365, mask}}), refused("0")) << std::hex << mask;
    EXPECT_EQ(nat({kAddress, {365, mask}}, kNo), refused("1")) << std::hex << mask;
  }
  EXPECT_EQ(nat({kAddress, {365, 0}}), refused("0"));
  EXPECT_EQ(nat({kAddress, {365, 0}}, kNo), refused("1"));
  EXPECT_EQ(nat({kAddress, {365, nullptr}}), refused("0"));
  EXPECT_EQ(nat({kAddress, kMask, {365, nullptr}}), refused("0"));
  EXPECT_EQ(nat({kAddress}), refused("0"));
  EXPECT_EQ(nat({kAddress}, kNo), refused("1"));
}

// ---- dynamic

TEST_F(PolicyMapNat, EveryKeywordOfADynamicNat) {
  EXPECT_EQ(dynamic({}), dynamic_sent("", "", "0", "0"));
  EXPECT_EQ(dynamic({{352, "p"}}), dynamic_sent("p", "", "0", "0"));
  EXPECT_EQ(dynamic({{356, "c"}}), dynamic_sent("", "c", "0", "0"));
  EXPECT_EQ(dynamic({{366}}), dynamic_sent("", "#class_default_l3", "0", "0"));
  EXPECT_EQ(dynamic({{363, 3}}), dynamic_sent("", "", "3", "0"));
  EXPECT_EQ(dynamic({{364, 20}}), dynamic_sent("", "", "0", "20"));
  EXPECT_EQ(dynamic({{363, 2}, {364, 10}, {364, 20}, {363, 3}}), dynamic_sent("", "", "3", "20"));
  EXPECT_EQ(dynamic({{363, 2}, {364, 10}, {364, nullptr}, {363, nullptr}}), dynamic_sent("", "", "0", "0"));
}

// ---- what both share

TEST_F(PolicyMapNat, TheReservedNameOfClassDefault) {
  const std::string longest(64, 'x');
  EXPECT_EQ(dynamic({{352, "p"}, {366}}), dynamic_sent("p", "#class_default_l3", "0", "0"));
  EXPECT_EQ(dynamic({{356, "web"}, {366}}), dynamic_sent("", "#class_default_l3", "0", "0"));
  EXPECT_EQ(dynamic({{356, longest}, {366}}), dynamic_sent("", "#class_default_l3", "0", "0"));
  EXPECT_EQ(dynamic({{366}, {366}}), dynamic_sent("", "#class_default_l3", "0", "0"));
  EXPECT_EQ(nat({kAddress, kMask, {356, longest}, {366}}), sent({.name = "#class_default_l3"}));
  // a name after the keyword is the later one
  EXPECT_EQ(dynamic({{366}, {356, "web"}}), dynamic_sent("", "web", "0", "0"));
  EXPECT_EQ(dynamic({{366}, {356, ""}}), dynamic_sent("", "", "0", "0"));
  EXPECT_EQ(dynamic({{366}, {356, nullptr}}), dynamic_sent("", "", "0", "0"));
  EXPECT_EQ(nat({kAddress, kMask, {366}, {356, "web"}}), sent({.name = "web"}));
}

// The host is asked first; nothing is checked or sent when it refuses. The blank at the end belongs to the message.
TEST_F(PolicyMapNat, MatchedRulesThatMayNotBeModified) {
  const std::string message = out("Error: Cannot create NAT action with modify permissions \n");
  for (std::int32_t answer : {1, 2, 256, 0x10000, -1, std::numeric_limits<std::int32_t>::min()}) {
    host.rule_modify_answer = answer;
    EXPECT_EQ(nat({kAddress, kMask}), (Events{"modify 0", message, "return 1"})) << answer;
    EXPECT_EQ(nat({kAddress, kMask}, kNo), (Events{"modify 1", message, "return 1"})) << answer;
    EXPECT_EQ(nat({}), (Events{"modify 0", message, "return 1"})) << answer;
    EXPECT_EQ(nat({{360, 0x7f000001}, {365, 1}}), (Events{"modify 0", message, "return 1"})) << answer;
    EXPECT_EQ(dynamic({{352, "p"}, {363, 3}}), (Events{"modify 0", message, "return 1"})) << answer;
    EXPECT_EQ(dynamic({{352, "p"}}, {.negated = 0x80000001}), (Events{"modify 2147483649", message, "return 1"}))
        << answer;
    // also of a command that would do nothing
    for (std::uint32_t form : {0U, 363U}) {
      EXPECT_EQ(run("kvelpolicymap_confignat", {{352, "p"}}, {.command_id = form}),
                (Events{"modify 0", message, "return 1"}))
          << answer;
    }
  }
}

TEST_F(PolicyMapNat, AnotherFormDoesNothing) {
  for (std::uint32_t form : {0U, 1U, 361U, 363U, 365U, 106U, 108U, 0x0001016aU, 0x8000016aU, 0x0000016aU << 8,
                             0x0001016cU, 0x8000016cU, 0x0000016cU << 16, 0xffffffffU}) {
    EXPECT_EQ(run("kvelpolicymap_confignat", {{352, "p"}, {356, "c"}, kAddress, kMask, {363, 3}}, {.command_id = form}),
              (Events{"modify 0", "return 0"}))
        << form;
    EXPECT_EQ(run("kvelpolicymap_confignat", {}, {.negated = 1, .command_id = form}), (Events{"modify 1", "return 0"}))
        << form;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_nat_test
