// kvelclassmap_configvip: a virtual address with protocol and ports.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/address_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_vip_test {
namespace {

class ClassMapVip : public PluginTest {
 protected:
  Events vip(const Tokens& tokens, const Form& form = {}) { return run("kvelclassmap_configvip", tokens, form); }
};

// What the call carries; with its defaults, what a command without tokens sends.
struct Vip {
  std::uint32_t mode = 1;
  std::string name = {};
  std::uint32_t address = 0;
  std::uint32_t mask = 0xffffffff;
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 65535;
  std::uint32_t add = 1;
  std::uint32_t line = 0;
};

Events sent(const Vip& vip) {
  const auto u32 = [](std::uint32_t value) { return "u32 " + std::to_string(value) + ", "; };
  return {"bind 2",
          "call cm_update_class_to_vip(u16 7, session 0x01020304, u8 0, u8 " + std::to_string(vip.mode) + ", '" +
              vip.name + "', " + u32(vip.address) + u32(vip.mask) + u32(vip.protocol) + "u32 0, " + u32(vip.lower) +
              u32(vip.upper) + "u8 " + std::to_string(vip.add) + ", u32 " + std::to_string(vip.line) + ")",
          "return 0"};
}

// TCP with these ports.
Events tcp(std::uint32_t lower, std::uint32_t upper) { return sent({.protocol = 6, .lower = lower, .upper = upper}); }

Events refused(const std::string& message) { return {"bind 2", out(message), "return 1"}; }

const Events kBadRange = refused("Error: lower port cannot be greater than the higher port in the range\n");
const Events kBadAddress = refused("Error: Invalid IP address\n");
const Events kBadMask = refused("Error: Invalid network mask\n");

TEST_F(ClassMapVip, AddsARule) {
  EXPECT_EQ(vip({{8, "web"}, {9}, {201, 20}, {203, 0x0a010200}, {204, 0xffffff00}, {205}, {229}, {230, 80}, {231, 90}}),
            (Events{"bind 2",
                    "call cm_update_class_to_vip(u16 7, session 0x01020304, u8 0, u8 0, 'web', u32 167838208, "
                    "u32 4294967040, u32 6, u32 0, u32 80, u32 90, u8 1, u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapVip, RemovesItInTheNoForm) {
  EXPECT_EQ(vip({{8, "web"}, {203, 0x0a010201}, {206}, {263}, {230, 53}}, kNo),
            (Events{"bind 2",
                    "call cm_update_class_to_vip(u16 7, session 0x01020304, u8 0, u8 1, 'web', u32 167838209, "
                    "u32 4294967295, u32 17, u32 0, u32 53, u32 53, u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapVip, EveryKeyword) {
  struct Row {
    Tokens tokens;
    Vip vip;
  };
  const std::vector<Row> rows = {
      {{{8, "web"}}, {.name = "web"}},
      {{{9}}, {.mode = 0}},
      {{{10}}, {.mode = 1}},
      {{{9}, {10}}, {.mode = 1}},
      {{{201, 20}}, {.line = 20}},
      {{{203, 0x0a010101}}, {.address = 0x0a010101}},
      {{{204, 0xffff0000}}, {.mask = 0xffff0000}},
      {{{205}}, {.protocol = 6, .lower = 0, .upper = 0}},
      {{{206}}, {.protocol = 17, .lower = 0, .upper = 0}},
      {{{205}, {232}}, {.protocol = 0}},
      {{{226, 50}}, {.protocol = 50}},
      {{{226, 6}}, {.protocol = 6, .lower = 0, .upper = 0}},
      {{{226, 17}}, {.protocol = 17, .lower = 0, .upper = 0}},
      // any port
      {{{205}, {230, 5}, {209}}, {.protocol = 6, .lower = 0, .upper = 65535}},
      {{{205}, {230, 5}, {236}}, {.protocol = 6, .lower = 0, .upper = 65535}},
      // lower and upper port
      {{{205}, {230, 80}}, {.protocol = 6, .lower = 80, .upper = 0}},
      {{{205}, {234, 80}}, {.protocol = 6, .lower = 80, .upper = 0}},
      {{{205}, {251, 80}}, {.protocol = 6, .lower = 80, .upper = 0}},
      {{{205}, {270, 80}}, {.protocol = 6, .lower = 80, .upper = 0}},
      {{{205}, {231, 80}}, {.protocol = 6, .lower = 0, .upper = 80}},
      {{{205}, {235, 80}}, {.protocol = 6, .lower = 0, .upper = 80}},
      // equal
      {{{205}, {263}, {230, 80}}, {.protocol = 6, .lower = 80, .upper = 80}},
      {{{205}, {276}, {230, 80}}, {.protocol = 6, .lower = 80, .upper = 80}},
      // range
      {{{205}, {229}, {230, 80}, {231, 90}}, {.protocol = 6, .lower = 80, .upper = 90}},
      {{{205}, {233}, {234, 80}, {235, 90}}, {.protocol = 6, .lower = 80, .upper = 90}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(vip(rows[index].tokens), sent(rows[index].vip)) << "row " << index;
  }
  for (std::uint32_t range : {229, 233}) {
    EXPECT_EQ(vip({{205}, {range}, {230, 81}, {231, 80}}), kBadRange) << "keyword " << range;
  }
}

struct WellKnownPort {
  std::uint32_t keyword_id;
  std::uint32_t port;
};

// 273 and 274 are crossed.
constexpr std::array kWellKnownPorts = {
    WellKnownPort{252, 350},  WellKnownPort{253, 119},  WellKnownPort{254, 21},   WellKnownPort{255, 194},
    WellKnownPort{256, 25},   WellKnownPort{257, 23},   WellKnownPort{258, 80},   WellKnownPort{259, 443},
    WellKnownPort{260, 554},  WellKnownPort{261, 109},  WellKnownPort{262, 110},  WellKnownPort{264, 80},
    WellKnownPort{265, 20},   WellKnownPort{266, 53},   WellKnownPort{271, 53},   WellKnownPort{272, 9200},
    WellKnownPort{273, 9202}, WellKnownPort{274, 9201}, WellKnownPort{275, 9203},
};

TEST_F(ClassMapVip, EveryWellKnownPort) {
  for (const auto& [keyword, port] : kWellKnownPorts) {
    EXPECT_EQ(vip({{205}, {263}, {keyword}}), tcp(port, port)) << "keyword " << keyword;
    EXPECT_EQ(vip({{206}, {keyword}, {276}}), sent({.protocol = 17, .lower = port, .upper = port}))
        << "keyword " << keyword;
    // The lower port alone is set; no protocol and no operator come with it.
    EXPECT_EQ(vip({{205}, {keyword}}), tcp(port, 0)) << "keyword " << keyword;
    EXPECT_EQ(vip({{205}, {209}, {keyword}}), tcp(port, 65535)) << "keyword " << keyword;
    EXPECT_EQ(vip({{keyword}}), sent({})) << "keyword " << keyword;
  }
}

TEST_F(ClassMapVip, ALaterTokenWins) {
  EXPECT_EQ(vip({{205}, {206}}), sent({.protocol = 17, .lower = 0, .upper = 0}));
  EXPECT_EQ(vip({{206}, {205}}), tcp(0, 0));
  EXPECT_EQ(vip({{226, 50}, {205}}), tcp(0, 0));
  EXPECT_EQ(vip({{205}, {226, 50}}), sent({.protocol = 50}));
  EXPECT_EQ(vip({{232}, {206}}), sent({.protocol = 17, .lower = 0, .upper = 0}));
  EXPECT_EQ(vip({{10}, {9}}), sent({.mode = 0}));
  EXPECT_EQ(vip({{203, 0x7f000001}, {203, 0x0a010101}}), sent({.address = 0x0a010101}));
  EXPECT_EQ(vip({{204, 0xff00ff00}, {204, 0xffff0000}}), sent({.mask = 0xffff0000}));
  EXPECT_EQ(vip({{205}, {263}, {230, 80}, {258}, {234, 8080}}), tcp(8080, 8080));
  EXPECT_EQ(vip({{205}, {263}, {230, 8080}, {259}}), tcp(443, 443));
  EXPECT_EQ(vip({{205}, {231, 90}, {235, 100}, {229}}), tcp(0, 100));
  // operators
  EXPECT_EQ(vip({{205}, {229}, {263}, {230, 90}, {231, 80}}), tcp(90, 90));
  EXPECT_EQ(vip({{205}, {263}, {229}, {230, 90}, {231, 80}}), kBadRange);
  EXPECT_EQ(vip({{205}, {276}, {233}, {230, 80}, {231, 90}}), tcp(80, 90));
}

TEST_F(ClassMapVip, NullNumbersAreZero) {
  EXPECT_EQ(vip({{203, nullptr}}), sent({}));
  EXPECT_EQ(vip({{203, 0x0a010101}, {203, nullptr}}), sent({}));
  EXPECT_EQ(vip({{204, nullptr}}), sent({.mask = 0}));
  EXPECT_EQ(vip({{205}, {226, nullptr}}), sent({.protocol = 0}));
  for (std::uint32_t keyword : {230, 234, 251, 270}) {
    EXPECT_EQ(vip({{205}, {258}, {keyword, nullptr}}), tcp(0, 0)) << "keyword " << keyword;
  }
  for (std::uint32_t keyword : {231, 235}) {
    EXPECT_EQ(vip({{205}, {209}, {keyword, nullptr}}), tcp(0, 0)) << "keyword " << keyword;
  }
}

// ---- ports

TEST_F(ClassMapVip, AnEqualPortIsBothBounds) {
  EXPECT_EQ(vip({{205}, {263}, {230, 80}, {231, 90}}), tcp(80, 80));
  EXPECT_EQ(vip({{205}, {263}}), tcp(0, 0));
  EXPECT_EQ(vip({{205}, {263}, {230, 0}}), tcp(0, 0));
  EXPECT_EQ(vip({{205}, {263}, {230, 2}}), tcp(2, 2));
  EXPECT_EQ(vip({{205}, {263}, {230, 65535}}), tcp(65535, 65535));
  EXPECT_EQ(vip({{205}, {263}, {230, 65536}}), tcp(65536, 65536));
  EXPECT_EQ(vip({{205}, {263}, {230, 0xffffffff}}), tcp(0xffffffff, 0xffffffff));
}

TEST_F(ClassMapVip, EqualToPort1Alone) { EXPECT_EQ(vip({{205}, {263}, {230, 1}}), tcp(1, 1)); }

TEST_F(ClassMapVip, EqualToPort1AfterAnyPort) {
  EXPECT_EQ(vip({{205}, {209}, {263}, {230, 1}}), tcp(1, 65535));
  EXPECT_EQ(vip({{206}, {236}, {234, 1}, {276}}), sent({.protocol = 17, .lower = 1, .upper = 65535}));
  EXPECT_EQ(vip({{205}, {263}, {230, 1}, {231, 65535}}), tcp(1, 65535));
}

TEST_F(ClassMapVip, OnlyPort1With65535IsLeftAlone) {
  EXPECT_EQ(vip({{205}, {209}, {263}}), tcp(0, 0));
  EXPECT_EQ(vip({{205}, {209}, {263}, {230, 2}}), tcp(2, 2));
  EXPECT_EQ(vip({{205}, {209}, {263}, {230, 80}}), tcp(80, 80));
  EXPECT_EQ(vip({{205}, {263}, {230, 1}, {231, 65534}}), tcp(1, 1));
  EXPECT_EQ(vip({{205}, {263}, {230, 1}, {231, 65536}}), tcp(1, 1));
  EXPECT_EQ(vip({{205}, {263}, {230, 0x10001}, {231, 65535}}), tcp(0x10001, 0x10001));
  EXPECT_EQ(vip({{205}, {263}, {230, 1}, {209}}), tcp(0, 0));
}

TEST_F(ClassMapVip, ARangeMayNotFall) {
  struct Row {
    std::uint32_t lower;
    std::uint32_t upper;
    bool accepted;
  };
  const std::array rows = {
      Row{80, 80, true},         Row{80, 81, true},        Row{81, 80, false},        Row{0, 0, true},
      Row{0, 65535, true},       Row{1, 0, false},         Row{1, 65535, true},       Row{65535, 65535, true},
      Row{65535, 65534, false},  Row{65536, 65535, false}, Row{70000, 70001, true},   Row{1, 0x80000000, true},
      Row{0x80000000, 1, false}, Row{0, 0xffffffff, true}, Row{0xffffffff, 0, false}, Row{0xfffffffe, 0xffffffff, true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(vip({{205}, {229}, {230, row.lower}, {231, row.upper}}),
              row.accepted ? tcp(row.lower, row.upper) : kBadRange)
        << row.lower << " to " << row.upper;
  }
  EXPECT_EQ(vip({{205}, {229}, {230, 1}}), kBadRange);
  EXPECT_EQ(vip({{205}, {229}, {258}, {231, 79}}), kBadRange);
  EXPECT_EQ(vip({{205}, {229}, {258}, {231, 80}}), tcp(80, 80));
  EXPECT_EQ(vip({{205}, {229}, {230, 81}, {231, 80}}, kNo), kBadRange);
}

TEST_F(ClassMapVip, TheRangeIsCheckedBeforeTheProtocolTakesThePorts) {
  EXPECT_EQ(vip({{229}, {230, 90}, {231, 80}}), kBadRange);
  EXPECT_EQ(vip({{226, 50}, {229}, {230, 90}, {231, 80}}), kBadRange);
  EXPECT_EQ(vip({{229}, {230, 80}, {231, 90}}), sent({.protocol = 0, .lower = 0, .upper = 65535}));
}

TEST_F(ClassMapVip, WithoutAnOperatorPortsAreSentAsCollected) {
  EXPECT_EQ(vip({{205}, {230, 80}}), tcp(80, 0));
  EXPECT_EQ(vip({{205}, {230, 90}, {231, 80}}), tcp(90, 80));
  EXPECT_EQ(vip({{205}, {230, 0xffffffff}}), tcp(0xffffffff, 0));
}

TEST_F(ClassMapVip, OnlyTcpAndUdpHavePorts) {
  for (std::uint32_t protocol :
       {0U, 1U, 5U, 7U, 16U, 18U, 50U, 255U, 256U + 6U, 256U + 17U, 0x10006U, 0x80000011U, 0xffffffffU}) {
    EXPECT_EQ(vip({{226, protocol}, {263}, {230, 80}}), sent({.protocol = protocol, .lower = 0, .upper = 65535}));
    EXPECT_EQ(vip({{226, protocol}, {229}, {230, 80}, {231, 90}}),
              sent({.protocol = protocol, .lower = 0, .upper = 65535}));
    EXPECT_EQ(vip({{226, protocol}}), sent({.protocol = protocol, .lower = 0, .upper = 65535}));
  }
  for (std::uint32_t protocol : {6, 17}) {
    EXPECT_EQ(vip({{226, protocol}, {263}, {230, 80}}), sent({.protocol = protocol, .lower = 80, .upper = 80}));
  }
}

TEST_F(ClassMapVip, Port80OfAnyProtocol) {
  EXPECT_EQ(vip({{232}, {263}, {258}}), sent({.protocol = 0, .lower = 0, .upper = 65535}));
  EXPECT_EQ(vip({{263}, {230, 80}}), sent({.protocol = 0, .lower = 0, .upper = 65535}));
}

// ---- address and mask

TEST_F(ClassMapVip, HostAddressesAreAccepted) {
  for (std::uint32_t address : kHostAddresses) {
    EXPECT_EQ(vip({{203, address}}), sent({.address = address})) << address;
    EXPECT_EQ(vip({{203, address}}, kNo), sent({.address = address, .add = 0})) << address;
  }
  EXPECT_EQ(vip({{203, 0}}), sent({.address = 0}));
}

TEST_F(ClassMapVip, OtherAddressesAreRefused) {
  for (std::uint32_t address : kNoHostAddresses) {
    EXPECT_EQ(vip({{203, address}}), kBadAddress) << address;
    EXPECT_EQ(vip({{203, address}}, kNo), kBadAddress) << address;
  }
}

TEST_F(ClassMapVip, ContiguousMasksAreAccepted) {
  for (std::uint32_t mask : kMasks) {
    EXPECT_EQ(vip({{203, 0x0a010101}, {204, mask}}), sent({.address = 0x0a010101, .mask = mask})) << mask;
  }
  EXPECT_EQ(vip({{203, 0x0a010101}, {204, 0}}), sent({.address = 0x0a010101, .mask = 0}));
}

// With the message that ends without a full stop.
TEST_F(ClassMapVip, OtherMasksAreRefused) {
  for (std::uint32_t mask : kNoMasks) {
    EXPECT_EQ(vip({{203, 0x0a010101}, {204, mask}}), kBadMask) << mask;
    EXPECT_EQ(vip({{204, mask}}), kBadMask) << mask;
    EXPECT_EQ(vip({{204, mask}}, kNo), kBadMask) << mask;
  }
}

TEST_F(ClassMapVip, OrderOfTheChecks) {
  EXPECT_EQ(vip({{204, 0xff00ff00}, {203, 0x7f000001}, {229}, {230, 2}, {231, 1}}), kBadRange);
  EXPECT_EQ(vip({{204, 0xff00ff00}, {203, 0x7f000001}}), kBadAddress);
  EXPECT_EQ(vip({{204, 0xff00ff00}, {203, 0}}), kBadMask);
}

}  // namespace
}  // namespace kvel::cli::test::class_map_vip_test
