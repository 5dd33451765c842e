// kvelclassmap_configport: a port of TCP or UDP.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_port_test {
namespace {

class ClassMapPort : public PluginTest {
 protected:
  Events port(const Tokens& tokens, const Form& form = {}) { return run("kvelclassmap_configport", tokens, form); }
};

// What the call carries; with its defaults, what a command without tokens sends.
struct Port {
  std::uint32_t mode = 1;
  std::string name = {};
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  std::uint32_t add = 1;
  std::uint32_t line = 0;
};

Events sent(const Port& port) {
  const auto u32 = [](std::uint32_t value) { return "u32 " + std::to_string(value) + ", "; };
  return {"bind 2",
          "call cm_update_class_to_port(u16 7, session 0x01020304, u8 0, u8 " + std::to_string(port.mode) + ", '" +
              port.name + "', " + u32(port.protocol) + "u32 0, " + u32(port.lower) + u32(port.upper) + "u8 " +
              std::to_string(port.add) + ", u32 " + std::to_string(port.line) + ")",
          "return 0"};
}

Events ports(std::uint32_t lower, std::uint32_t upper) { return sent({.lower = lower, .upper = upper}); }

const Events kBadRange = {"bind 2", out("Error: lower port cannot be greater than the higher port in the range\n"),
                          "return 1"};

TEST_F(ClassMapPort, AddsARule) {
  EXPECT_EQ(port({{8, "web"}, {9}, {201, 20}, {216}, {218}, {219, 80}, {220, 90}}),
            (Events{"bind 2",
                    "call cm_update_class_to_port(u16 7, session 0x01020304, u8 0, u8 0, 'web', u32 6, u32 0, u32 80, "
                    "u32 90, u8 1, u32 20)",
                    "return 0"}));
}

TEST_F(ClassMapPort, RemovesItInTheNoForm) {
  EXPECT_EQ(port({{8, "web"}, {221}, {222}, {224, 53}}, kNo),
            (Events{"bind 2",
                    "call cm_update_class_to_port(u16 7, session 0x01020304, u8 0, u8 1, 'web', u32 17, u32 0, u32 53, "
                    "u32 53, u8 0, u32 0)",
                    "return 0"}));
}

TEST_F(ClassMapPort, EveryKeyword) {
  struct Row {
    Tokens tokens;
    Port port;
  };
  const std::vector<Row> rows = {
      {{{8, "web"}}, {.name = "web"}},
      {{{9}}, {.mode = 0}},
      {{{10}}, {.mode = 1}},
      {{{9}, {10}}, {.mode = 1}},
      {{{201, 20}}, {.line = 20}},
      {{{216}}, {.protocol = 6}},
      {{{221}}, {.protocol = 17}},
      // lower and upper port
      {{{219, 80}}, {.lower = 80}},
      {{{224, 80}}, {.lower = 80}},
      {{{237, 80}}, {.lower = 80}},
      {{{238, 80}}, {.lower = 80}},
      {{{220, 80}}, {.upper = 80}},
      {{{225, 80}}, {.upper = 80}},
      // equal
      {{{217}, {219, 80}}, {.lower = 80, .upper = 80}},
      {{{222}, {224, 80}}, {.lower = 80, .upper = 80}},
      // range
      {{{218}, {219, 80}, {220, 90}}, {.lower = 80, .upper = 90}},
      {{{223}, {224, 80}, {225, 90}}, {.lower = 80, .upper = 90}},
      // any port
      {{{219, 5}, {241}}, {.lower = 0, .upper = 65535}},
      {{{219, 5}, {242}}, {.lower = 0, .upper = 65535}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(port(rows[index].tokens), sent(rows[index].port)) << "row " << index;
  }
  for (std::uint32_t range : {218, 223, 241, 242}) {
    EXPECT_EQ(port({{range}, {219, 81}, {220, 80}}), kBadRange) << "keyword " << range;
  }
}

struct WellKnownPort {
  std::uint32_t keyword_id;
  std::uint32_t port;
};

// 255 is not among them; 273 and 274 are crossed.
constexpr std::array kWellKnownPorts = {
    WellKnownPort{252, 350},  WellKnownPort{253, 119},  WellKnownPort{254, 21},   WellKnownPort{256, 25},
    WellKnownPort{257, 23},   WellKnownPort{258, 80},   WellKnownPort{259, 443},  WellKnownPort{260, 554},
    WellKnownPort{261, 109},  WellKnownPort{262, 110},  WellKnownPort{264, 80},   WellKnownPort{265, 20},
    WellKnownPort{266, 53},   WellKnownPort{271, 53},   WellKnownPort{272, 9200}, WellKnownPort{273, 9202},
    WellKnownPort{274, 9201}, WellKnownPort{275, 9203},
};

TEST_F(ClassMapPort, EveryWellKnownPort) {
  for (const auto& [keyword, number] : kWellKnownPorts) {
    EXPECT_EQ(port({{keyword}}), ports(number, 0)) << "keyword " << keyword;
    EXPECT_EQ(port({{216}, {217}, {keyword}}), sent({.protocol = 6, .lower = number, .upper = number}))
        << "keyword " << keyword;
    EXPECT_EQ(port({{221}, {keyword}, {222}}), sent({.protocol = 17, .lower = number, .upper = number}))
        << "keyword " << keyword;
    EXPECT_EQ(port({{218}, {keyword}, {220, 9999}}), ports(number, 9999)) << "keyword " << keyword;
  }
}

TEST_F(ClassMapPort, ALaterTokenWins) {
  EXPECT_EQ(port({{216}, {221}}), sent({.protocol = 17}));
  EXPECT_EQ(port({{221}, {216}}), sent({.protocol = 6}));
  EXPECT_EQ(port({{219, 80}, {238, 90}}), ports(90, 0));
  EXPECT_EQ(port({{219, 80}, {259}}), ports(443, 0));
  EXPECT_EQ(port({{259}, {237, 80}}), ports(80, 0));
  EXPECT_EQ(port({{220, 80}, {225, 90}}), ports(0, 90));
  EXPECT_EQ(port({{218}, {217}, {219, 90}, {220, 80}}), ports(90, 90));
  EXPECT_EQ(port({{217}, {218}, {219, 90}, {220, 80}}), kBadRange);
}

// Any port is a range: it takes back an earlier "equal", and bounds may follow it.
TEST_F(ClassMapPort, AnyPortIsARange) {
  for (std::uint32_t any : {241, 242}) {
    EXPECT_EQ(port({{any}}), ports(0, 65535)) << "keyword " << any;
    EXPECT_EQ(port({{217}, {219, 80}, {any}}), ports(0, 65535)) << "keyword " << any;
    EXPECT_EQ(port({{217}, {any}, {219, 80}}), ports(80, 65535)) << "keyword " << any;
    EXPECT_EQ(port({{any}, {219, 65535}}), ports(65535, 65535)) << "keyword " << any;
    EXPECT_EQ(port({{any}, {219, 65536}}), kBadRange) << "keyword " << any;
    EXPECT_EQ(port({{any}, {217}}), ports(0, 65535)) << "keyword " << any;
    EXPECT_EQ(port({{any}, {217}, {219, 80}}), ports(80, 80)) << "keyword " << any;
    // Port 1 is no exception here.
    EXPECT_EQ(port({{any}, {217}, {219, 1}}), ports(1, 1)) << "keyword " << any;
  }
}

TEST_F(ClassMapPort, NullNumbersAreZero) {
  for (std::uint32_t keyword : {219, 224, 237, 238}) {
    EXPECT_EQ(port({{258}, {keyword, nullptr}}), sent({})) << "keyword " << keyword;
  }
  for (std::uint32_t keyword : {220, 225}) {
    EXPECT_EQ(port({{241}, {keyword, nullptr}}), ports(0, 0)) << "keyword " << keyword;
  }
}

TEST_F(ClassMapPort, AnEqualPortIsBothBounds) {
  EXPECT_EQ(port({{217}, {219, 1}}), ports(1, 1));
  EXPECT_EQ(port({{217}, {219, 1}, {220, 65535}}), ports(1, 1));
  EXPECT_EQ(port({{217}, {219, 80}, {220, 90}}), ports(80, 80));
  EXPECT_EQ(port({{217}, {219, 65535}}), ports(65535, 65535));
  EXPECT_EQ(port({{217}, {219, 65536}}), ports(65536, 65536));
  EXPECT_EQ(port({{217}, {219, 0xffffffff}}), ports(0xffffffff, 0xffffffff));
}

TEST_F(ClassMapPort, EqualToPort0IsAnyPort) {
  EXPECT_EQ(port({{217}, {219, 0}}), ports(0, 65535));
  EXPECT_EQ(port({{222}}), ports(0, 65535));
  EXPECT_EQ(port({{217}, {219, 0}, {220, 90}}), ports(0, 65535));
  EXPECT_EQ(port({{217}, {219, nullptr}}), ports(0, 65535));
}

TEST_F(ClassMapPort, ARangeMayNotFall) {
  struct Row {
    std::uint32_t lower;
    std::uint32_t upper;
    bool accepted;
  };
  const std::array rows = {
      Row{80, 80, true},        Row{80, 81, true},         Row{81, 80, false},       Row{0, 0, true},
      Row{0, 65535, true},      Row{1, 0, false},          Row{65535, 65535, true},  Row{65536, 65535, false},
      Row{1, 0x80000000, true}, Row{0x80000000, 1, false}, Row{0, 0xffffffff, true}, Row{0xffffffff, 0, false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(port({{218}, {219, row.lower}, {220, row.upper}}), row.accepted ? ports(row.lower, row.upper) : kBadRange)
        << row.lower << " to " << row.upper;
  }
  EXPECT_EQ(port({{218}, {219, 1}}), kBadRange);
  EXPECT_EQ(port({{218}, {258}, {220, 79}}, kNo), kBadRange);
}

TEST_F(ClassMapPort, WithoutAnOperatorPortsAreSentAsCollected) {
  EXPECT_EQ(port({{219, 80}}), ports(80, 0));
  EXPECT_EQ(port({{219, 90}, {220, 80}}), ports(90, 80));
  EXPECT_EQ(port({{216}, {219, 0}}), sent({.protocol = 6}));
}

// Unlike the ports of a virtual address.
TEST_F(ClassMapPort, WithoutAProtocolThePortsStay) {
  EXPECT_EQ(port({{217}, {219, 80}}), sent({.protocol = 0, .lower = 80, .upper = 80}));
  EXPECT_EQ(port({{218}, {219, 80}, {220, 90}}), sent({.protocol = 0, .lower = 80, .upper = 90}));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_port_test
