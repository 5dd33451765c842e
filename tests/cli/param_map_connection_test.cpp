// kvelparammap_config_conn: the settings of a connection parameter-map, byte by byte.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_connection_test {
namespace {

using namespace std::string_literals;

class ParamMapConnection : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_config_conn", tokens, form); }
};

std::string settings_call(const std::string& name, const Bytes& bytes, const std::string& add = "1") {
  return "call cm_param_map_config(u16 7, session 0x01020304, u8 " + add + ", '" + name + "', u8 0, buffer[140] " +
         hex(map_settings(bytes)) + ")";
}
Events sent(const Bytes& bytes, const std::string& add = "1") {
  return {"bind 2", settings_call("", bytes, add), "return 0"};
}
Events refused(const std::string& message) { return {"bind 2", out(message), "return 1"}; }

const Events kBadRange = refused("Error: Min value greater than max value\n");
const Events kBadMss = refused("Error: Minimum MSS cannot be greater than Maximum MSS\n");

const std::string kAllow = "\0\4\0\0"s;  // the mask bits of a range
const std::string kDrop = "\0\1\0\0"s;
const std::string kBoth = "\0\5\0\0"s;

// A command and what differs from zero in its record.
struct Row {
  Tokens tokens;
  Bytes bytes;
};

TEST_F(ParamMapConnection, TheWholeCall) {
  const std::string record =
      hex("\x00\x00\x00\x10"        // change mask
          "\x00\x00\x00\x00"        // half-closed timeout
          "\x00\x00\x00\x00"        // receive share
          "\x00\x00\x00\x00"        //
          "\x00\x00\x00\x00"        // nagle
          "\x00\x00\x0e\x10"s +     // embryonic timeout
          std::string(112, '\0') +  //
          "\x00\x00\x00\x2a"s);     // the value at 136
  EXPECT_EQ(
      config({{703, "web"}, {775, 3600}, {830, 42}}),
      (Events{"bind 2",
              "call cm_param_map_config(u16 7, session 0x01020304, u8 1, 'web', u8 0, buffer[140] " + record + ")",
              "return 0"}));
}

TEST_F(ParamMapConnection, EveryMaskBit) {
  const std::vector<Row> rows = {
      {{{707}}, {{0, "\x01\0\0\0"s}}},  // client keepalive
      {{{710}}, {{0, "\x80\0\0\0"s}}},  //
      {{{711}}, {{0, "\x08\0\0\0"s}}},  //
      {{{712}}, {{0, "\0\x20\0\0"s}}},  //
      {{{714}}, {{0, "\x40\0\0\0"s}}},  //
      {{{715}}, {{0, "\x04\0\0\0"s}}},  //
      {{{718}}, {{0, "\0\x10\0\0"s}}},  //
      {{{719}}, {{0, "\0\0\0\x80"s}}},  // urgent flag
      {{{724}}, {{0, "\0\x04\0\0"s}}},  // range to allow
      {{{726}}, {{0, "\0\x01\0\0"s}}},  // range to drop
      {{{731}}, {{0, "\0\0\x40\0"s}}},  // selective-ack
      {{{734}}, {{0, "\0\0\x20\0"s}}},  // timestamp
      {{{737}}, {{0, "\0\0\x10\0"s}}},  // window-scale
      {{{743}}, {{0, "\0\0\x08\0"s}}},  // reserved bits
      {{{747}}, {{0, "\0\0\x01\0"s}}},  // exceed-MSS
      {{{750}}, {{0, "\0\0\x02\0"s}}},  // SYN data
      {{{753}}, {{0, "\0\0\0\x20"s}}},  //
      {{{754}}, {{0, "\0\0\x04\0"s}}},  // random sequence numbers
      {{{756}}, {{0, "\x10\0\0\0"s}}},  // nagle
      {{{769}}, {{0, "\x02\0\0\0"s}}},  // slow start
      {{{771}}, {{0, "\0\x08\0\0"s}}},  // MSS bounds
      {{{827}}, {{0, "\0\x80\0\0"s}}},  //
      {{{856}}, {{0, "\0\0\0\x08"s}}},  //
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config(row.tokens), sent(row.bytes));
    EXPECT_EQ(config(row.tokens, kNo), sent(row.bytes, "0"));
    EXPECT_EQ(config({row.tokens[0], row.tokens[0]}), sent(row.bytes));
  }
}

TEST_F(ParamMapConnection, EveryChoice) {
  const std::vector<Row> rows = {
      {{{720}}, {}},                                        // urgent flag: allow
      {{{721}}, {{112, "\0\0\0\1"s}}},                      // clear
      {{{732}}, {}},                                        // selective-ack: allow
      {{{733}}, {{84, "\0\0\0\1"s}}},                       // clear
      {{{735}}, {}},                                        // timestamp: allow
      {{{736}}, {{88, "\0\0\0\1"s}}},                       // clear
      {{{738}}, {}},                                        // window-scale: allow
      {{{739}}, {{92, "\0\0\0\1"s}}},                       // clear
      {{{741}}, {{0, "\0\0\0\x40"s}}},                      // these two bring their mask bit
      {{{742}}, {{0, "\0\0\0\x40"s}, {116, "\0\0\0\1"s}}},  //
      {{{744}}, {}},                                        // reserved bits: allow
      {{{745}}, {{96, "\0\0\0\1"s}}},                       // clear
      {{{746}}, {{96, "\0\0\0\2"s}}},                       // drop
      {{{748}}, {}},                                        // exceed-MSS: allow
      {{{749}}, {{108, "\0\0\0\1"s}}},                      // drop
      {{{751}}, {}},                                        // SYN data: allow
      {{{752}}, {{104, "\0\0\0\1"s}}},                      // drop
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(config(rows[index].tokens), sent(rows[index].bytes)) << "row " << index;
    EXPECT_EQ(config(rows[index].tokens, kNo), sent(rows[index].bytes, "0")) << "row " << index;
  }
}

TEST_F(ParamMapConnection, ALaterChoiceWins) {
  const std::vector<Row> rows = {
      {{{721}, {720}}, {}},
      {{{720}, {721}}, {{112, "\0\0\0\1"s}}},
      {{{733}, {732}}, {}},
      {{{732}, {733}}, {{84, "\0\0\0\1"s}}},
      {{{736}, {735}}, {}},
      {{{735}, {736}}, {{88, "\0\0\0\1"s}}},
      {{{739}, {738}}, {}},
      {{{738}, {739}}, {{92, "\0\0\0\1"s}}},
      {{{742}, {741}}, {{0, "\0\0\0\x40"s}}},
      {{{741}, {742}}, {{0, "\0\0\0\x40"s}, {116, "\0\0\0\1"s}}},
      {{{745}, {744}}, {}},
      {{{746}, {744}}, {}},
      {{{746}, {745}}, {{96, "\0\0\0\1"s}}},
      {{{744}, {745}, {746}}, {{96, "\0\0\0\2"s}}},
      {{{749}, {748}}, {}},
      {{{748}, {749}}, {{108, "\0\0\0\1"s}}},
      {{{752}, {751}}, {}},
      {{{751}, {752}}, {{104, "\0\0\0\1"s}}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(config(rows[index].tokens), sent(rows[index].bytes)) << "row " << index;
  }
}

// The value's four bytes show the place and the order of each.
TEST_F(ParamMapConnection, EveryNumber) {
  constexpr std::uint32_t number = 0x01020304;
  const std::vector<Row> rows = {
      {{{772, number}}, {{52, "\1\2\3\4"}}},                       // minimum MSS
      {{{773, number}}, {{48, "\1\2\3\4"}}},                       // maximum MSS
      {{{774, number}}, {{4, "\1\2\3\4"}}},                        // half-closed timeout
      {{{775, number}}, {{20, "\1\2\3\4"}}},                       // embryonic timeout
      {{{776, number}}, {{40, "\1\2\3\4"}}},                       // queue limit
      {{{778, number}}, {{8, "\1\2\3\4"}}},                        // receive share
      {{{779, number}}, {{24, "\1\2\3\4"}}},                       // transmit share
      {{{780, number}}, {{44, "\1\2\3\4"}}},                       // SYN retries
      {{{781, number}}, {{128, "\4"}}},                            // TOS: the low byte
      {{{828, number}}, {{132, "\1\2\3\4"}}},                      // inactivity timeout
      {{{830, number}}, {{0, "\0\0\0\x10"s}, {136, "\1\2\3\4"}}},  // with its mask bit
      {{{724}, {729, number}}, {{0, kAllow}, {60, "\1\2\3\4"}}},   // the ends of a range
      {{{724}, {730, number}}, {{0, kAllow}, {60, "\1\2\3\4"}}},   //
      {{{726}, {729, number}}, {{0, kDrop}, {76, "\1\2\3\4"}}},    //
      {{{726}, {730, number}}, {{0, kDrop}, {76, "\1\2\3\4"}}},    //
      {{{724}, {727, number}, {729, number}}, {{0, kAllow}, {56, "\1\2\3\4\1\2\3\4"}}},
      {{{724}, {728, number}, {730, number}}, {{0, kAllow}, {56, "\1\2\3\4\1\2\3\4"}}},
      {{{726}, {727, number}, {730, number}}, {{0, kDrop}, {72, "\1\2\3\4\1\2\3\4"}}},
      {{{726}, {728, number}, {729, number}}, {{0, kDrop}, {72, "\1\2\3\4\1\2\3\4"}}},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(config(rows[index].tokens), sent(rows[index].bytes)) << "row " << index;
    EXPECT_EQ(config(rows[index].tokens, kNo), sent(rows[index].bytes, "0")) << "row " << index;
  }
}

TEST_F(ParamMapConnection, NumbersAreReplacedByLaterOnesAndANullIsZero) {
  for (std::uint32_t keyword : {772, 773, 774, 775, 776, 778, 779, 780, 781, 828}) {
    EXPECT_EQ(config({{keyword, 0xffffffff}, {keyword, 0}}), sent({})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, 0xffffffff}, {keyword, nullptr}}), sent({})) << "keyword " << keyword;
    EXPECT_EQ(config({{keyword, nullptr}}), sent({})) << "keyword " << keyword;
  }
  EXPECT_EQ(config({{774, 0x01010101}, {774, 2}}), sent({{4, "\0\0\0\2"s}}));
  for (std::uint32_t low : {727, 728}) {
    for (std::uint32_t high : {729, 730}) {
      EXPECT_EQ(config({{724}, {low, 9}, {high, 9}, {low, nullptr}, {high, nullptr}}), sent({{0, kAllow}}));
      EXPECT_EQ(config({{724}, {727, 9}, {729, 9}, {low, 5}, {high, 6}}),
                sent({{0, kAllow}, {56, "\0\0\0\5\0\0\0\6"s}}));
    }
  }
}

// Settings that meet in one record do not disturb one another.
TEST_F(ParamMapConnection, EverySettingAtOnce) {
  const Tokens tokens = {
      {703, "all"},
      {707},
      {710},
      {711},
      {712},
      {714},
      {715},
      {718},
      {719},
      {721},
      {724},
      {726},
      {727, 0x11121314},
      {729, 0x21222324},
      {731},
      {733},
      {734},
      {736},
      {737},
      {739},
      {742},
      {743},
      {746},
      {747},
      {749},
      {750},
      {752},
      {753},
      {754},
      {756},
      {769},
      {771},
      {772, 0x31323334},
      {773, 0x41424344},
      {774, 0x51525354},
      {775, 0x61626364},
      {776, 0x71727374},
      {778, 0x81828384},
      {779, 0x91929394},
      {780, 0xa1a2a3a4},
      {781, 0xb1b2b3b4},
      {827},
      {828, 0xc1c2c3c4},
      {830, 0xd1d2d3d4},
      {856},
  };
  const std::string record =
      "\xdf\xbd\x7f\xf8"    //   0 mask
      "\x51\x52\x53\x54"    //   4 half-closed timeout
      "\x81\x82\x83\x84"    //   8 receive share
      "\x00\x00\x00\x00"    //  12
      "\x00\x00\x00\x00"    //  16 nagle
      "\x61\x62\x63\x64"    //  20 embryonic timeout
      "\x91\x92\x93\x94"    //  24 transmit share
      "\x00\x00\x00\x00"    //  28 slow start
      "\x00\x00\x00\x00"    //  32 client keepalive
      "\x00\x00\x00\x00"    //  36
      "\x71\x72\x73\x74"    //  40 queue limit
      "\xa1\xa2\xa3\xa4"    //  44 SYN retries
      "\x41\x42\x43\x44"    //  48 maximum MSS
      "\x31\x32\x33\x34"    //  52 minimum MSS
      "\x11\x12\x13\x14"    //  56 range to allow
      "\x21\x22\x23\x24"    //  60
      "\x00\x00\x00\x00"    //  64 range to clear
      "\x00\x00\x00\x00"    //  68
      "\x11\x12\x13\x14"    //  72 range to drop
      "\x21\x22\x23\x24"    //  76
      "\x00\x00\x00\x00"    //  80
      "\x00\x00\x00\x01"    //  84 selective-ack
      "\x00\x00\x00\x01"    //  88 timestamp
      "\x00\x00\x00\x01"    //  92 window-scale
      "\x00\x00\x00\x02"    //  96 reserved bits
      "\x00\x00\x00\x00"    // 100 random sequence numbers
      "\x00\x00\x00\x01"    // 104 SYN data
      "\x00\x00\x00\x01"    // 108 exceed-MSS
      "\x00\x00\x00\x01"    // 112 urgent flag
      "\x00\x00\x00\x01"    // 116
      "\x00\x00\x00\x00"    // 120
      "\x00\x00\x00\x00"    // 124 TOS rewrite
      "\xb4\x00\x00\x00"    // 128 its value
      "\xc1\xc2\xc3\xc4"    // 132 inactivity timeout
      "\xd1\xd2\xd3\xd4"s;  // 136
  ASSERT_EQ(record.size(), 140U);
  EXPECT_EQ(config(tokens), (Events{"bind 2", settings_call("all", {{0, record}}), "return 0"}));
  const Tokens reversed(tokens.rbegin(), tokens.rend());
  EXPECT_EQ(config(reversed), (Events{"bind 2", settings_call("all", {{0, record}}), "return 0"}));
}

TEST_F(ParamMapConnection, TheTosValueIsALowByte) {
  EXPECT_EQ(config({{781, 0}}), sent({}));
  EXPECT_EQ(config({{781, 44}}), sent({{128, "\x2c"}}));
  EXPECT_EQ(config({{781, 255}}), sent({{128, "\xff"}}));
  EXPECT_EQ(config({{781, 256}}), sent({}));
  EXPECT_EQ(config({{781, 300}}), sent({{128, "\x2c"}}));
  EXPECT_EQ(config({{781, 0xffffff00}}), sent({}));
  EXPECT_EQ(config({{781, 0xffffffff}}), sent({{128, "\xff"}}));
}

TEST_F(ParamMapConnection, ARangeMayBeASingleValue) {
  EXPECT_EQ(config({{724}, {727, 5}, {729, 5}}), sent({{0, kAllow}, {56, "\0\0\0\5\0\0\0\5"s}}));
  EXPECT_EQ(config({{726}, {727, 5}, {729, 5}}), sent({{0, kDrop}, {72, "\0\0\0\5\0\0\0\5"s}}));
  EXPECT_EQ(config({{724}}), sent({{0, kAllow}}));
  EXPECT_EQ(config({{726}}), sent({{0, kDrop}}));
}

TEST_F(ParamMapConnection, ARangeMayServeBothActions) {
  const Bytes both = {{0, kBoth}, {56, "\0\0\0\6\0\0\0\7"s}, {72, "\0\0\0\6\0\0\0\7"s}};
  EXPECT_EQ(config({{724}, {726}, {727, 6}, {729, 7}}), sent(both));
  EXPECT_EQ(config({{726}, {728, 6}, {730, 7}, {724}}), sent(both));
}

TEST_F(ParamMapConnection, ARangeUpsideDownIsRefused) {
  for (const Token& action : Tokens{{724}, {726}}) {
    for (const Form& form : {Form{}, kNo}) {
      EXPECT_EQ(config({action, {727, 5}}, form), kBadRange);  // its high end is 0
      EXPECT_EQ(config({{728, 5}, action}, form), kBadRange);
      EXPECT_EQ(config({action, {727, 5}, {729, 0}}, form), kBadRange);
      EXPECT_EQ(config({action, {727, 5}, {730, 4}}, form), kBadRange);
      EXPECT_EQ(config({{703, "web"}, {774, 9}, action, {728, 256}, {729, 255}}, form), kBadRange);
    }
  }
  EXPECT_EQ(config({{724}, {726}, {727, 5}, {729, 4}}), kBadRange);  // once
  EXPECT_EQ(config({{724}, {727, 5}, {729, 9}, {730, 4}}), kBadRange);
  EXPECT_EQ(config({{724}, {727, 5}, {729, 4}, {730, 9}}), sent({{0, kAllow}, {56, "\0\0\0\5\0\0\0\x09"s}}));
}

TEST_F(ParamMapConnection, RangesAreComparedWithTheirSign) {
  EXPECT_EQ(config({{724}, {727, 0xffffffff}}), sent({{0, kAllow}, {56, "\xff\xff\xff\xff"}}));
  EXPECT_EQ(config({{726}, {727, 0x80000000}}), sent({{0, kDrop}, {72, "\x80\0\0\0"s}}));
  EXPECT_EQ(config({{724}, {727, 0x80000000}, {729, 0x7fffffff}}),
            sent({{0, kAllow}, {56, "\x80\0\0\0\x7f\xff\xff\xff"s}}));
  EXPECT_EQ(config({{724}, {727, 0x80000000}, {729, 0xffffffff}}),
            sent({{0, kAllow}, {56, "\x80\0\0\0\xff\xff\xff\xff"s}}));
  EXPECT_EQ(config({{724}, {729, 0xffffffff}}), kBadRange);
  EXPECT_EQ(config({{726}, {729, 0x80000000}}), kBadRange);
  EXPECT_EQ(config({{724}, {727, 0x7fffffff}, {729, 0x80000000}}), kBadRange);
  EXPECT_EQ(config({{726}, {727, 0xffffffff}, {729, 0xfffffffe}}), kBadRange);
  EXPECT_EQ(config({{726}, {727, 0xffffffff}, {729, 0xfffffffe}}, kNo), kBadRange);
}

// The keyword to clear is ignored: its range, right or wrong, goes nowhere.
TEST_F(ParamMapConnection, ARangeWithoutAnActionIsNotSent) {
  EXPECT_EQ(config({{727, 6}, {729, 7}}), sent({}));
  EXPECT_EQ(config({{728, 7}, {730, 6}}), sent({}));
  EXPECT_EQ(config({{725}, {727, 6}, {729, 7}}), sent({}));
  EXPECT_EQ(config({{725}, {727, 7}, {729, 6}}), sent({}));
  EXPECT_EQ(config({{725}, {727, 7}, {729, 6}}, kNo), sent({}, "0"));
  EXPECT_EQ(config({{703, "web"}, {725}, {727, 6}, {729, 7}, {774, 5}}),
            (Events{"bind 2", settings_call("web", {{4, "\0\0\0\5"s}}), "return 0"}));
  EXPECT_EQ(config({{725}, {724}, {727, 6}, {729, 7}}), sent({{0, kAllow}, {56, "\0\0\0\6\0\0\0\7"s}}));
}

TEST_F(ParamMapConnection, AMinimumMssAboveTheMaximumIsRefused) {
  EXPECT_EQ(config({{771}, {772, 1500}, {773, 1460}}), kBadMss);
  EXPECT_EQ(config({{773, 1460}, {772, 1500}, {771}}), kBadMss);
  EXPECT_EQ(config({{703, "web"}, {771}, {772, 2}, {773, 1}}), kBadMss);
  EXPECT_EQ(config({{771}, {772, 0x80000000}, {773, 1}}), kBadMss);  // no signs here
  EXPECT_EQ(config({{771}, {772, 0xffffffff}, {773, 0xfffffffe}}), kBadMss);
}

TEST_F(ParamMapConnection, MssBoundsThatAreSent) {
  const std::string mask = "\0\x08\0\0"s;
  EXPECT_EQ(config({{771}, {772, 1460}, {773, 1460}}), sent({{0, mask}, {48, "\0\0\x05\xb4\0\0\x05\xb4"s}}));
  EXPECT_EQ(config({{771}, {772, 1}, {773, 0x80000000}}), sent({{0, mask}, {48, "\x80\0\0\0\0\0\0\1"s}}));
  // a bound of 0 is none
  EXPECT_EQ(config({{771}, {772, 1460}, {773, 0}}), sent({{0, mask}, {52, "\0\0\x05\xb4"s}}));
  EXPECT_EQ(config({{771}, {772, 1460}}), sent({{0, mask}, {52, "\0\0\x05\xb4"s}}));
  EXPECT_EQ(config({{771}, {773, 1460}}), sent({{0, mask}, {48, "\0\0\x05\xb4"s}}));
  EXPECT_EQ(config({{771}}), sent({{0, mask}}));
  // without their mask bit they are not compared
  EXPECT_EQ(config({{772, 2}, {773, 1}}), sent({{48, "\0\0\0\1\0\0\0\2"s}}));
}

TEST_F(ParamMapConnection, MssBoundsAreNotComparedInTheNoForm) {
  const Bytes bytes = {{0, "\0\x08\0\0"s}, {48, "\0\0\x05\xb4\0\0\x05\xdc"s}};
  EXPECT_EQ(config({{771}, {772, 1500}, {773, 1460}}, kNo), sent(bytes, "0"));
  EXPECT_EQ(config({{771}, {772, 1500}, {773, 1460}}, {.negated = 0x80000000}), sent(bytes, "0"));
}

TEST_F(ParamMapConnection, TheRangeIsCheckedBeforeTheMss) {
  EXPECT_EQ(config({{771}, {772, 2}, {773, 1}, {724}, {727, 5}}), kBadRange);
  EXPECT_EQ(config({{771}, {772, 2}, {773, 1}, {726}, {727, 5}}), kBadRange);
}

// The line is printed while the tokens are read, and the record is sent nevertheless.
TEST_F(ParamMapConnection, AnUnsupportedSettingIsReportedAndTheRestSent) {
  const std::string line = "Not supported as yet.\n";
  EXPECT_EQ(config({{755}}), (Events{"bind 2", out(line), settings_call("", {}), "return 0"}));
  EXPECT_EQ(config({{703, "web"}, {755}}), (Events{"bind 2", out(line), settings_call("web", {}), "return 0"}));
  EXPECT_EQ(config({{755}, {703, "web"}, {774, 5}}),
            (Events{"bind 2", out(line), settings_call("web", {{4, "\0\0\0\5"s}}), "return 0"}));
  EXPECT_EQ(config({{703, "web"}, {755}}, kNo),
            (Events{"bind 2", out(line), settings_call("web", {}, "0"), "return 0"}));
  EXPECT_EQ(config({{755}, {755}}), (Events{"bind 2", out(line + line), settings_call("", {}), "return 0"}));
  host.answer({.status = -998});
  EXPECT_EQ(config({{755}}),
            (Events{"bind 2", out(line), settings_call("", {}), out("Error: Called API timed out\n"), "return 1"}));
  EXPECT_EQ(config({{724}, {727, 5}, {755}}), refused(line + "Error: Min value greater than max value\n"));
  EXPECT_EQ(config({{755}}, {.skip_execution = 1}), (Events{"bind 2", "return 0"}));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_connection_test
