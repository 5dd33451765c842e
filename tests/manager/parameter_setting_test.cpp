// Every setting of the three types of parameter-maps: set by its mask bit, shown in the record, returned to its
// default, and left alone by the others.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::manager::testing::parameter_setting_test {
namespace {

struct Setting {
  std::uint32_t mask;
  Bytes sent;         // what a command sends
  std::string shown;  // in the record
};

const std::string kZero = word(0);
const std::string kOne = word(1);

// In the order of records. Each differs from its default.
const std::vector<Setting> kConnection{
    {0x80000000, {{4, word(600)}}, R"({"setting":"half-closed-timeout","seconds":600})"},
    {0x40000000, {{8, word(65536)}}, R"({"setting":"rx-buffer-share","bytes":65536})"},
    {0x10000000, {{16, kOne}}, R"({"setting":"nagle","mode":"disabled"})"},
    {0x08000000, {{20, word(4294967295)}}, R"({"setting":"embryonic-timeout","seconds":4294967295})"},
    {0x04000000, {{24, word(0)}}, R"({"setting":"tx-buffer-share","bytes":0})"},
    {0x02000000, {{28, kOne}}, R"({"setting":"slow-start","mode":"disabled"})"},
    {0x01000000, {{32, kZero}}, R"({"setting":"keepalive","mode":"enabled"})"},
    {0x00800000, {{132, word(7440)}}, R"({"setting":"inactivity-timeout","seconds":7440})"},
    {0x00200000, {{44, word(6)}}, R"({"setting":"syn-retry-count","count":6})"},
    {0x00100000, {{128, "\x2c"}}, R"({"setting":"tos-rewrite","value":44})"},
    {0x00080000, {{48, word(1400)}, {52, word(536)}}, R"({"setting":"mss","min":536,"max":1400})"},
    {0x00040000, {{56, word(6)}, {60, word(7)}}, R"({"setting":"options-allow","low":6,"high":7})"},
    {0x00010000, {{72, word(0)}, {76, word(255)}}, R"({"setting":"options-drop","low":0,"high":255})"},
    {0x00004000, {{84, kOne}}, R"({"setting":"selective-ack","action":"clear"})"},
    {0x00002000, {{88, kOne}}, R"({"setting":"timestamp","action":"clear"})"},
    {0x00001000, {{92, kOne}}, R"({"setting":"window-scale","action":"clear"})"},
    {0x00000800, {{96, word(2)}}, R"({"setting":"reserved-bits","action":"drop"})"},
    {0x00000400, {{100, kOne}}, R"({"setting":"random-sequence","mode":"disabled"})"},
    {0x00000200, {{104, kOne}}, R"({"setting":"syn-data","action":"drop"})"},
    {0x00000100, {{108, kZero}}, R"({"setting":"exceed-mss","action":"allow"})"},
    {0x00000080, {{112, kOne}}, R"({"setting":"urgent-flag","action":"clear"})"},
    {0x00000040, {{116, kOne}}, R"({"setting":"setting-116","value":1})"},
    {0x00000020, {{120, kZero}}, R"({"setting":"setting-120","value":0})"},
    {0x00000010, {{136, word(77)}}, R"({"setting":"setting-136","value":77})"},
    {0x00000008, {{40, word(500)}}, R"({"setting":"queue-limit","count":500})"},
};

const std::vector<Setting> kHttp{
    {0x80000000, {{4, kOne}}, R"({"setting":"connection-reuse","mode":"enabled"})"},
    {0x40000000, {{8, kOne}}, R"({"setting":"case-insensitive","mode":"enabled"})"},
    {0x20000000, {{12, kOne}}, R"({"setting":"persistence-rebalance","mode":"enabled"})"},
    {0x10000000, {{16, kOne}}, R"({"setting":"length-exceed","action":"continue"})"},
    {0x08000000, {{20, word(2048)}}, R"({"setting":"header-max-parse","bytes":2048})"},
    {0x04000000, {{24, word(4294967295)}}, R"({"setting":"content-max-parse","bytes":4294967295})"},
    {0x02000000, {{28, ";\"\\"}}, R"({"setting":"cookie-delimiters","text":";\"\\"})"},
};

const std::vector<Setting> kSsl{
    {0x80000000, {{4, word(0)}, {8, kOne}}, R"({"setting":"cipher","code":0,"priority":1})"},
    {0x80000000, {{4, word(1)}, {8, word(2)}}, R"({"setting":"cipher","code":1,"priority":2})"},
    {0x80000000, {{4, word(2)}, {8, word(3)}}, R"({"setting":"cipher","code":2,"priority":3})"},
    {0x80000000, {{4, word(3)}, {8, word(4)}}, R"({"setting":"cipher","code":3,"priority":4})"},
    {0x80000000, {{4, word(4)}, {8, word(5)}}, R"({"setting":"cipher","code":4,"priority":5})"},
    {0x80000000, {{4, word(5)}, {8, word(6)}}, R"({"setting":"cipher","code":5,"priority":6})"},
    {0x80000000, {{4, word(6)}, {8, word(7)}}, R"({"setting":"cipher","code":6,"priority":7})"},
    {0x80000000, {{4, word(7)}, {8, word(8)}}, R"({"setting":"cipher","code":7,"priority":8})"},
    {0x80000000, {{4, word(8)}, {8, word(9)}}, R"({"setting":"cipher","code":8,"priority":9})"},
    {0x80000000, {{4, word(9)}, {8, word(10)}}, R"({"setting":"cipher","code":9,"priority":10})"},
    {0x80000000, {{4, word(10)}, {8, word(11)}}, R"({"setting":"cipher","code":10,"priority":11})"},
    {0x80000000, {{4, word(11)}, {8, word(255)}}, R"({"setting":"cipher","code":11,"priority":255})"},
    {0x40000000, {{4, word(2)}}, R"({"setting":"version","version":"tls1"})"},
    {0x20000000, {{4, word(9)}}, R"({"setting":"setting-956","value":9})"},
    {0x10000000, {{4, kOne}}, R"({"setting":"close-protocol","mode":"none"})"},
    {0x08000000, {{4, word(8)}}, R"({"setting":"setting-963","value":8})"},
    {0x04000000, {{4, word(7)}}, R"({"setting":"setting-964","value":7})"},
};

struct Type {
  ParameterType number;
  const std::vector<Setting>& settings;
};
const Type kTypes[] = {{kConnectionMap, kConnection}, {kHttpMap, kHttp}, {kSslMap, kSsl}};

// The record of the map "p", with all settings or with one of them only, or with all but one.
std::string expected(const Type& type, const auto& is_set) {
  std::string settings;
  for (const Setting& setting : type.settings) {
    if (is_set(setting)) settings += (settings.empty() ? "" : ",") + setting.shown;
  }
  const std::string members = settings.empty() ? "" : R"(,"settings":[)" + settings + "]";
  return R"({"kind":"parameter-map","name":"p","type":)" + std::to_string(type.number) + members + "}";
}

class ParameterSettings : public ::testing::Test {
 protected:
  FakeDisk disk;
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<FakeStore>(disk)).value();
  ParameterClient client{*manager};

  void start(const Type& type) { ASSERT_EQ(client.create("p", type.number), Status::ok); }
  void set_all(const Type& type) {
    for (const Setting& setting : type.settings)
      ASSERT_EQ(client.configure("p", type.number, settings_record(setting.mask, setting.sent)), Status::ok)
          << setting.shown;
  }
};

TEST_F(ParameterSettings, EachIsSetAloneAndReturnsToItsDefault) {
  for (const Type& type : kTypes) {
    start(type);
    const std::string none = expected(type, [](const Setting&) { return false; });
    EXPECT_EQ(client.map("p"), none);
    for (const Setting& setting : type.settings) {
      const auto is_it = [&](const Setting& other) { return &other == &setting; };
      ASSERT_EQ(client.configure("p", type.number, settings_record(setting.mask, setting.sent)), Status::ok)
          << setting.shown;
      EXPECT_EQ(client.map("p"), expected(type, is_it));
      ASSERT_EQ(client.reset("p", type.number, settings_record(setting.mask, setting.sent)), Status::ok)
          << setting.shown;
      EXPECT_EQ(client.map("p"), none) << setting.shown;
    }
    ASSERT_EQ(client.remove("p", type.number), Status::ok);
  }
}

TEST_F(ParameterSettings, EachLeavesTheOthersAlone) {
  for (const Type& type : kTypes) {
    start(type);
    set_all(type);
    const std::string all = expected(type, [](const Setting&) { return true; });
    EXPECT_EQ(client.map("p"), all);
    for (const Setting& setting : type.settings) {
      const auto is_other = [&](const Setting& other) { return &other != &setting; };
      ASSERT_EQ(client.reset("p", type.number, settings_record(setting.mask, setting.sent)), Status::ok)
          << setting.shown;
      EXPECT_EQ(client.map("p"), expected(type, is_other));
      ASSERT_EQ(client.configure("p", type.number, settings_record(setting.mask, setting.sent)), Status::ok)
          << setting.shown;
      EXPECT_EQ(client.map("p"), all) << setting.shown;
    }
    ASSERT_EQ(client.remove("p", type.number), Status::ok);
  }
}

// All words of the record are full, but the mask names one setting of them.
TEST_F(ParameterSettings, WordsThatTheMaskDoesNotNameAreNotRead) {
  ASSERT_EQ(client.create("p", kConnectionMap), Status::ok);
  std::string full = word(0x00200000) + std::string(136, '\xff');
  full.replace(44, 4, word(6));
  EXPECT_EQ(client.configure("p", kConnectionMap, full), Status::ok);
  EXPECT_EQ(client.map("p"),
            R"({"kind":"parameter-map","name":"p","type":0,"settings":[{"setting":"syn-retry-count","count":6}]})");
  // What goes back to its default needs no sensible values either.
  EXPECT_EQ(client.reset("p", kConnectionMap, word(0xdfbd7ff8) + std::string(136, '\xff')), Status::ok);
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":0})");
}

TEST_F(ParameterSettings, SeveralAtOnce) {
  ASSERT_EQ(client.create("p", kConnectionMap), Status::ok);
  EXPECT_EQ(
      client.configure("p", kConnectionMap, settings_record(0xc0080000, {{4, word(1)}, {8, word(2)}, {48, word(3)}})),
      Status::ok);
  EXPECT_EQ(client.map("p"),
            R"({"kind":"parameter-map","name":"p","type":0,"settings":[{"setting":"half-closed-timeout","seconds":1},)"
            R"({"setting":"rx-buffer-share","bytes":2},{"setting":"mss","min":0,"max":3}]})");
  // One that cannot be stops all of them.
  EXPECT_EQ(client.configure("p", kConnectionMap, settings_record(0x90000000, {{4, word(9)}, {16, word(2)}})),
            Status::invalid_setting);
  EXPECT_EQ(client.configure("p", kConnectionMap, settings_record(0xc0000000, {{4, word(1)}, {8, word(2)}})),
            Status::ok);
  EXPECT_EQ(disk.commits, 2);
}

TEST_F(ParameterSettings, NoBitChangesNothing) {
  for (const Type& type : kTypes) {
    start(type);
    const int commits = disk.commits;
    EXPECT_EQ(client.configure("p", type.number, settings_record(0, {{4, word(3)}})), Status::ok);
    EXPECT_EQ(client.reset("p", type.number, settings_record(0)), Status::ok);
    EXPECT_EQ(disk.commits, commits);
    ASSERT_EQ(client.remove("p", type.number), Status::ok);
  }
}

TEST_F(ParameterSettings, UnknownBits) {
  for (const Type& type : kTypes) {
    start(type);
    std::uint32_t known = 0;
    for (const Setting& setting : type.settings)
      known |= setting.mask;
    for (unsigned number = 0; number < 32; ++number) {
      const std::uint32_t bit = 1U << number;
      const Status wanted = (known & bit) != 0 ? Status::ok : Status::bad_arguments;
      EXPECT_EQ(client.reset("p", type.number, settings_record(bit)), wanted) << bit;
      if (wanted == Status::ok) continue;
      EXPECT_EQ(client.configure("p", type.number, settings_record(bit)), wanted) << bit;
    }
    ASSERT_EQ(client.remove("p", type.number), Status::ok);
  }
}

TEST_F(ParameterSettings, AnSslMapTakesOneAtATime) {
  ASSERT_EQ(client.create("p", kSslMap), Status::ok);
  EXPECT_EQ(client.configure("p", kSslMap, settings_record(0xc0000000, {{4, kOne}, {8, kOne}})), Status::bad_arguments);
  EXPECT_EQ(client.reset("p", kSslMap, settings_record(0x0c000000)), Status::bad_arguments);
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":2})");
}

TEST_F(ParameterSettings, Ciphers) {
  ASSERT_EQ(client.create("p", kSslMap), Status::ok);
  const auto cipher = [](std::uint32_t code, std::uint32_t priority) {
    return settings_record(0x80000000, {{4, word(code)}, {8, word(priority)}});
  };
  const std::string none = R"({"kind":"parameter-map","name":"p","type":2})";
  EXPECT_EQ(client.configure("p", kSslMap, cipher(12, 1)), Status::invalid_setting);
  EXPECT_EQ(client.reset("p", kSslMap, cipher(12, 1)), Status::invalid_setting);
  EXPECT_EQ(client.configure("p", kSslMap, cipher(5, 256)), Status::invalid_setting);
  EXPECT_EQ(client.reset("p", kSslMap, cipher(5, 1)), Status::ok);
  EXPECT_EQ(client.map("p"), none);
  EXPECT_EQ(client.configure("p", kSslMap, cipher(5, 1)), Status::ok);
  EXPECT_EQ(client.configure("p", kSslMap, cipher(5, 7)), Status::ok);
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":2,"settings":[)"
                             R"({"setting":"cipher","code":5,"priority":7}]})");
  EXPECT_EQ(client.configure("p", kSslMap, cipher(5, 0)), Status::ok);
  EXPECT_EQ(client.map("p"), none);
}

TEST_F(ParameterSettings, ValuesThatCannotBe) {
  ASSERT_EQ(client.create("c", kConnectionMap), Status::ok);
  ASSERT_EQ(client.create("h", kHttpMap), Status::ok);
  ASSERT_EQ(client.create("s", kSslMap), Status::ok);
  const auto connection = [&](std::uint32_t mask, const Bytes& sent) {
    return client.configure("c", kConnectionMap, settings_record(mask, sent));
  };
  using enum Status;
  const std::pair<std::uint32_t, std::size_t> two_valued[] = {
      {0x10000000, 16}, {0x02000000, 28}, {0x01000000, 32}, {0x00004000, 84}, {0x00002000, 88}, {0x00001000, 92},
      {0x400, 100},     {0x200, 104},     {0x100, 108},     {0x80, 112},      {0x40, 116},      {0x20, 120}};
  for (const auto& [mask, at] : two_valued) {
    EXPECT_EQ(connection(mask, {{at, word(2)}}), invalid_setting) << at;
    EXPECT_EQ(connection(mask, {{at, word(0x01000000)}}), invalid_setting) << at;
  }
  EXPECT_EQ(connection(0x800, {{96, word(3)}}), invalid_setting);

  EXPECT_EQ(connection(0x00080000, {{48, word(65536)}}), invalid_setting);
  EXPECT_EQ(connection(0x00080000, {{52, word(65536)}}), invalid_setting);
  EXPECT_EQ(connection(0x00080000, {{48, word(1460)}, {52, word(1461)}}), invalid_setting);
  EXPECT_EQ(connection(0x00080000, {{48, word(1460)}, {52, word(1460)}}), ok);
  EXPECT_EQ(connection(0x00080000, {{48, word(0)}, {52, word(65535)}}), ok);

  EXPECT_EQ(connection(0x00040000, {{60, word(256)}}), invalid_setting);
  EXPECT_EQ(connection(0x00040000, {{56, word(5)}, {60, word(4)}}), empty_range);
  EXPECT_EQ(connection(0x00010000, {{72, word(256)}, {76, word(256)}}), invalid_setting);
  EXPECT_EQ(connection(0x00010000, {{72, word(1)}}), empty_range);
  EXPECT_EQ(client.map("c"), R"({"kind":"parameter-map","name":"c","type":0,"settings":[)"
                             R"({"setting":"mss","min":65535,"max":0}]})");

  const auto http = [&](std::uint32_t mask, const Bytes& sent) {
    return client.configure("h", kHttpMap, settings_record(mask, sent));
  };
  EXPECT_EQ(http(0x80000000, {{4, word(2)}}), invalid_setting);
  EXPECT_EQ(http(0x40000000, {{8, word(2)}}), invalid_setting);
  EXPECT_EQ(http(0x20000000, {{12, word(2)}}), invalid_setting);
  EXPECT_EQ(http(0x10000000, {{16, word(2)}}), invalid_setting);
  EXPECT_EQ(client.map("h"), R"({"kind":"parameter-map","name":"h","type":1})");

  EXPECT_EQ(client.configure("s", kSslMap, settings_record(0x40000000, {{4, word(3)}})), invalid_setting);
  EXPECT_EQ(client.configure("s", kSslMap, settings_record(0x10000000, {{4, word(3)}})), invalid_setting);
  EXPECT_EQ(client.map("s"), R"({"kind":"parameter-map","name":"s","type":2})");
}

TEST_F(ParameterSettings, CookieDelimiters) {
  ASSERT_EQ(client.create("h", kHttpMap), Status::ok);
  const auto set = [&](const std::string& text) {
    return client.configure("h", kHttpMap, settings_record(0x02000000, {{28, text}}));
  };
  using namespace std::string_literals;
  for (const std::string& bad : {""s, " "s, "a b"s, "\t"s, "a\0b"s, "a\0\0b"s, "\0abc"s, "abc\x7f"s, "\xc3\xbc"s}) {
    EXPECT_EQ(set(bad), Status::invalid_setting) << ::testing::PrintToString(bad);
  }
  EXPECT_EQ(client.map("h"), R"({"kind":"parameter-map","name":"h","type":1})");
  EXPECT_EQ(set("/?&#"), Status::ok);  // the default
  EXPECT_EQ(client.map("h"), R"({"kind":"parameter-map","name":"h","type":1})");
  EXPECT_EQ(set("!~"), Status::ok);
  EXPECT_EQ(client.map("h"),
            R"({"kind":"parameter-map","name":"h","type":1,"settings":[{"setting":"cookie-delimiters","text":"!~"}]})");
  // What comes after the four bytes belongs to nothing.
  EXPECT_EQ(set("abcdZZZZ"), Status::ok);
  EXPECT_EQ(
      client.map("h"),
      R"({"kind":"parameter-map","name":"h","type":1,"settings":[{"setting":"cookie-delimiters","text":"abcd"}]})");
}

TEST_F(ParameterSettings, ARewriteToNothingIsARewrite) {
  ASSERT_EQ(client.create("p", kConnectionMap), Status::ok);
  EXPECT_EQ(client.configure("p", kConnectionMap, settings_record(0x00100000)), Status::ok);
  EXPECT_EQ(client.map("p"),
            R"({"kind":"parameter-map","name":"p","type":0,"settings":[{"setting":"tos-rewrite","value":0}]})");
}

TEST_F(ParameterSettings, TheMapMustBeThereAndOfTheType) {
  ASSERT_EQ(client.create("p", kHttpMap), Status::ok);
  EXPECT_EQ(client.configure("q", kHttpMap, settings_record(0x80000000)), Status::parameter_map_not_found);
  EXPECT_EQ(client.configure("", kHttpMap, settings_record(0)), Status::parameter_map_not_found);
  EXPECT_EQ(client.configure("p", kSslMap, settings_record(0x80000000)), Status::parameter_map_type_differs);
  EXPECT_EQ(client.reset("p", kConnectionMap, settings_record(0)), Status::parameter_map_type_differs);
  EXPECT_EQ(client.configure("p", 3, settings_record(0)), Status::invalid_type);
  EXPECT_EQ(client.configure("p", kHttpMap, settings_record(0), 2), Status::bad_arguments);
  EXPECT_EQ(ParameterClient(*manager, 1).configure("p", kHttpMap, settings_record(0)), Status::parameter_map_not_found);
}

TEST_F(ParameterSettings, AFailingStoreChangesNothing) {
  ASSERT_EQ(client.create("p", kConnectionMap), Status::ok);
  disk.fault = StoreError{StoreFault::full, "no space"};
  EXPECT_EQ(client.configure("p", kConnectionMap, settings_record(0x80000000, {{4, word(1)}})), Status::store_full);
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":0})");
  disk.fault.reset();
  EXPECT_EQ(client.configure("p", kConnectionMap, settings_record(0x80000000, {{4, word(1)}})), Status::ok);
  disk.fault = StoreError{StoreFault::read_only, "read-only"};
  EXPECT_EQ(client.reset("p", kConnectionMap, settings_record(0x80000000)), Status::store_read_only);
  EXPECT_EQ(
      client.map("p"),
      R"({"kind":"parameter-map","name":"p","type":0,"settings":[{"setting":"half-closed-timeout","seconds":1}]})");
}

}  // namespace
}  // namespace kvel::manager::testing::parameter_setting_test
