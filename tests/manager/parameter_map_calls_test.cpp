// Making, finding, deleting, listing and showing parameter-maps.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::manager::testing::parameter_map_calls_test {
namespace {

using ::testing::ElementsAre;

class ParameterMaps : public ::testing::Test {
 protected:
  FakeDisk disk;
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<FakeStore>(disk)).value();
  ParameterClient client{*manager};
};

std::string name_field(std::string_view name) { return block(65, {{0, std::string(name)}}); }

// "p000" and so on.
std::string numbered(int number) {
  const std::string digits = std::to_string(number);
  return "p" + std::string(3 - digits.size(), '0') + digits;
}

TEST_F(ParameterMaps, AreMadeOnce) {
  EXPECT_EQ(client.create("p", kHttpMap), Status::ok);
  EXPECT_EQ(client.created, word(1));
  EXPECT_EQ(client.create("p", kHttpMap), Status::ok);
  EXPECT_EQ(client.created, word(0));
  EXPECT_EQ(client.create("p", kSslMap), Status::parameter_map_type_differs);
  EXPECT_EQ(client.created, word(0));
  EXPECT_EQ(disk.commits, 1);
  EXPECT_EQ(disk.records, (std::map<FakeDisk::Key, std::string>{{{0, 7, "p", 0}, R"({"type":1})"}}));
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":1})");
}

TEST_F(ParameterMaps, AreDeletedByNameAndType) {
  ASSERT_EQ(client.create("p", kSslMap), Status::ok);
  EXPECT_EQ(client.remove("q", kSslMap), Status::parameter_map_not_found);
  EXPECT_EQ(client.remove("p", kHttpMap), Status::parameter_map_type_differs);
  EXPECT_EQ(client.remove("p", kSslMap), Status::ok);
  EXPECT_EQ(client.created, word(0));
  EXPECT_EQ(client.remove("p", kSslMap), Status::parameter_map_not_found);
  EXPECT_EQ(client.map("p"), "the parameter-map does not exist");
  EXPECT_TRUE(disk.records.empty());
  EXPECT_EQ(client.create("p", kConnectionMap), Status::ok);
}

TEST_F(ParameterMaps, WhatCannotBe) {
  for (const std::string& name : {std::string(), std::string("#p"), std::string(65, 'p')}) {
    EXPECT_EQ(client.create(name, kHttpMap), Status::invalid_name) << name;
    EXPECT_EQ(client.remove(name, kHttpMap), Status::invalid_name) << name;
  }
  EXPECT_EQ(client.create("p", 3), Status::invalid_type);
  EXPECT_EQ(client.create("p", 255), Status::invalid_type);
  EXPECT_EQ(client.create("p", kHttpMap, 2), Status::bad_arguments);
  EXPECT_EQ(disk.commits, 0);
  EXPECT_EQ(client.create(std::string(64, 'p'), kHttpMap), Status::ok);
  EXPECT_EQ(client.create("caf\xc3\xa9 \"x\"", kHttpMap), Status::ok);
  EXPECT_EQ(client.map("caf\xc3\xa9 \"x\""),
            "{\"kind\":\"parameter-map\",\"name\":\"caf\xc3\xa9 \\\"x\\\"\",\"type\":1}");
}

TEST_F(ParameterMaps, AFailingStoreChangesNothing) {
  ASSERT_EQ(client.create("p", kHttpMap), Status::ok);
  disk.fault = StoreError{StoreFault::failed, "broken"};
  EXPECT_EQ(client.create("q", kHttpMap), Status::store_failed);
  EXPECT_EQ(client.created, word(0));
  EXPECT_EQ(client.remove("p", kHttpMap), Status::store_failed);
  disk.fault.reset();
  EXPECT_EQ(client.objects(), R"([{"kind":"parameter-map","name":"p","type":1}])");
}

TEST_F(ParameterMaps, AreOfOneContext) {
  ParameterClient other(*manager, 65535);
  ASSERT_EQ(client.create("p", kHttpMap), Status::ok);
  EXPECT_EQ(other.create("p", kSslMap), Status::ok);
  EXPECT_EQ(other.created, word(1));
  EXPECT_EQ(client.map("p"), R"({"kind":"parameter-map","name":"p","type":1})");
  EXPECT_EQ(other.show().total, word(1));
}

TEST_F(ParameterMaps, AreListedByType) {
  ASSERT_EQ(client.create("d", kConnectionMap), Status::ok);
  ASSERT_EQ(client.create("c", kHttpMap), Status::ok);
  ASSERT_EQ(client.create("b", kSslMap), Status::ok);
  ASSERT_EQ(client.create("a", kHttpMap), Status::ok);
  const auto listed = [&](std::uint32_t kind) {
    const Page page = client.list(kind);
    EXPECT_EQ(page.status, Status::ok);
    EXPECT_EQ(page.more, word(0));
    return page.response;
  };
  EXPECT_EQ(listed(0), name_field("d"));
  EXPECT_EQ(listed(1), name_field("a") + name_field("c"));
  EXPECT_EQ(listed(2), name_field("b"));
  EXPECT_EQ(listed(3), name_field("a") + name_field("b") + name_field("c") + name_field("d"));
  EXPECT_EQ(client.list(1).cursor, name_field("c"));
  EXPECT_EQ(client.list(4).status, Status::invalid_type);
  EXPECT_EQ(client.list(65535).status, Status::invalid_type);
  Page endless;
  endless.cursor = std::string(65, 'x');
  EXPECT_EQ(client.list(3, endless).status, Status::bad_arguments);
}

TEST_F(ParameterMaps, AnEmptyListHasNothing) {
  const Page page = client.list(3);
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.response, "");
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.cursor, std::string(65, '\0'));
}

TEST_F(ParameterMaps, AreListedInPagesOfAThousand) {
  for (int number = 0; number < 1001; ++number)
    ASSERT_EQ(client.create("n" + std::to_string(10000 + number), number % 2 == 0 ? kSslMap : kHttpMap), Status::ok);
  Page page = client.list(3);
  EXPECT_EQ(page.status, Status::more_data);
  EXPECT_EQ(page.more, word(1));
  EXPECT_EQ(page.response.size(), 65000U);
  EXPECT_EQ(page.cursor, name_field("n10999"));
  // The last name of the page goes, and one comes after it.
  ASSERT_EQ(client.remove("n10999", kHttpMap), Status::ok);
  ASSERT_EQ(client.create("n10999x", kHttpMap), Status::ok);
  page = client.list(3, page);
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.response, name_field("n10999x") + name_field("n11000"));
  // Those of one type fit on one page.
  EXPECT_EQ(client.list(2).status, Status::ok);
  EXPECT_EQ(client.list(2).response.size(), 501U * 65U);
}

// The entry of a map without settings of its own.
std::string connection_entry(std::string_view name, const Bytes& changed = {}) {
  const std::string defaults = block(288, {{12, std::string(name)},
                                           {80, word(3600)},     // half-closed timeout
                                           {84, word(32768)},    // rx side buffer share
                                           {92, word(0)},        // nagle enabled
                                           {96, word(5)},        // embryonic timeout
                                           {100, word(32768)},   // tx side buffer share
                                           {104, word(0)},       // slow start enabled
                                           {108, word(1)},       // keepalive disabled
                                           {116, word(0)},       // queue limit
                                           {120, word(4)},       // SYN retry count
                                           {124, word(1460)},    // MSS max
                                           {128, word(0)},       // MSS min
                                           {184, word(1)},       // exceed-MSS drop
                                           {196, word(1)},       // setting-120
                                           {208, word(3600)}});  // inactivity timeout
  std::string entry = defaults;
  for (const auto& [at, bytes] : changed)
    entry.replace(at, bytes.size(), bytes);
  return entry;
}

std::string http_entry(std::string_view name) {
  return block(288, {{8, word(1)},
                     {12, std::string(name)},
                     {96, word(8192)},   // header max parse length
                     {100, word(4096)},  // content max parse length
                     {104, "/?&#"}});    // URL-cookie delimiters
}

std::string ssl_entry(std::string_view name, const Bytes& changed = {}) {
  std::string entry = block(288, {{8, word(2)}, {12, std::string(name)}});
  for (const auto& [at, bytes] : changed)
    entry.replace(at, bytes.size(), bytes);
  return entry;
}

TEST_F(ParameterMaps, DefaultsAreShown) {
  const std::string name(64, 'n');
  ASSERT_EQ(client.create(name, kConnectionMap), Status::ok);
  ASSERT_EQ(client.create("h", kHttpMap), Status::ok);
  ASSERT_EQ(client.create("s", kSslMap), Status::ok);
  const Page page = client.show();
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.total, word(3));
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.cursor, name_field("s"));
  EXPECT_EQ(page.response, word(3) + http_entry("h") + connection_entry(name) + ssl_entry("s"));
}

TEST_F(ParameterMaps, ConnectionSettingsAreShown) {
  ASSERT_EQ(client.create("c", kConnectionMap), Status::ok);
  Bytes sent;
  // A value of its own in each word: the words with few values have 1, so do those that end above their start.
  const std::uint32_t numbers[] = {4, 8, 20, 24, 40, 44, 132, 136};
  for (const std::uint32_t at : numbers)
    sent.emplace_back(at, word(0x01020000 + at));
  const std::uint32_t flags[] = {16, 28, 32, 84, 88, 92, 100, 104, 108, 112, 116, 120};
  for (const std::uint32_t at : flags)
    sent.emplace_back(at, word(1));
  sent.insert(sent.end(), {{48, word(1400)}, {52, word(536)}, {56, word(2)}, {60, word(3)}});
  sent.insert(sent.end(), {{72, word(4)}, {76, word(5)}, {96, word(2)}, {128, "\xb8"}});
  ASSERT_EQ(client.configure("c", kConnectionMap, settings_record(0xdfbd7ff8, sent)), Status::ok);

  const std::string entry = block(288, {{12, "c"},         {80, "\x01\x02"}, {83, "\x04"},  // half-closed timeout
                                        {84, "\x01\x02"},  {87, "\x08"},                    // rx side buffer share
                                        {95, "\x01"},                                       // nagle
                                        {96, "\x01\x02"},  {99, "\x14"},                    // embryonic timeout
                                        {100, "\x01\x02"}, {103, "\x18"},                   // tx side buffer share
                                        {107, "\x01"},                                      // slow start
                                        {111, "\x01"},                                      // keepalive
                                        {116, "\x01\x02"}, {119, "\x28"},                   // queue limit
                                        {120, "\x01\x02"}, {123, "\x2c"},                   // SYN retry count
                                        {126, "\x05\x78"},                                  // MSS max
                                        {130, "\x02\x18"},                                  // MSS min
                                        {135, "\x02"},     {139, "\x03"},                   // options allowed
                                        {151, "\x04"},     {155, "\x05"},                   // options dropped
                                        {163, "\x01"},                                      // selective-ack
                                        {167, "\x01"},                                      // timestamp
                                        {171, "\x01"},                                      // window scale
                                        {175, "\x02"},                                      // reserved bits
                                        {179, "\x01"},                                      // random sequence numbers
                                        {183, "\x01"},                                      // SYN data
                                        {187, "\x01"},                                      // exceed-MSS
                                        {191, "\x01"},                                      // urgent flag
                                        {195, "\x01"},                                      // setting-116
                                        {199, "\x01"},                                      // setting-120
                                        {203, "\x01"},     {204, "\xb8"},                   // TOS rewrite and its value
                                        {208, "\x01\x02"}, {211, "\x84"},                   // inactivity timeout
                                        {212, "\x01\x02"}, {215, "\x88"}});
  EXPECT_EQ(client.show("c").response, word(1) + entry);
  ASSERT_EQ(client.reset("c", kConnectionMap, settings_record(0xdfbd7ff8)), Status::ok);
  EXPECT_EQ(client.show("c").response, word(1) + connection_entry("c"));
}

TEST_F(ParameterMaps, ARewriteToNothingIsShownAsARewrite) {
  ASSERT_EQ(client.create("c", kConnectionMap), Status::ok);
  ASSERT_EQ(client.configure("c", kConnectionMap, settings_record(0x00100000)), Status::ok);
  EXPECT_EQ(client.show("c").response, word(1) + connection_entry("c", {{200, word(1)}}));
}

TEST_F(ParameterMaps, HttpSettingsAreShown) {
  ASSERT_EQ(client.create("h", kHttpMap), Status::ok);
  const Bytes sent{{4, word(1)},  {8, word(1)},        {12, word(1)}, {16, word(1)},
                   {20, word(2)}, {24, word(0x10203)}, {28, ";+"}};
  ASSERT_EQ(client.configure("h", kHttpMap, settings_record(0xfe000000, sent)), Status::ok);
  EXPECT_EQ(client.show("h").response, word(1) + block(288, {{8, word(1)},
                                                             {12, "h"},
                                                             {80, word(1)},         // connection reuse
                                                             {84, word(1)},         // case-insensitive parsing
                                                             {88, word(1)},         // persistence rebalance
                                                             {92, word(1)},         // length-exceed continue
                                                             {96, word(2)},         // header max parse length
                                                             {100, word(0x10203)},  // content max parse length
                                                             {104, ";+"}}));
}

TEST_F(ParameterMaps, SslSettingsAreShown) {
  ASSERT_EQ(client.create("s", kSslMap), Status::ok);
  const auto set = [&](std::uint32_t mask, std::uint32_t value, std::uint32_t priority = 0) {
    return client.configure("s", kSslMap, settings_record(mask, {{4, word(value)}, {8, word(priority)}}));
  };
  ASSERT_EQ(set(0x80000000, 0, 10), Status::ok);
  ASSERT_EQ(set(0x80000000, 5, 255), Status::ok);
  ASSERT_EQ(set(0x80000000, 11, 1), Status::ok);
  ASSERT_EQ(set(0x40000000, 1), Status::ok);
  ASSERT_EQ(set(0x10000000, 2), Status::ok);
  // These have no place in an entry.
  ASSERT_EQ(set(0x20000000, 77), Status::ok);
  ASSERT_EQ(set(0x08000000, 78), Status::ok);
  ASSERT_EQ(set(0x04000000, 79), Status::ok);
  EXPECT_EQ(client.show("s").response, word(1) + ssl_entry("s", {{80, word(1)},      // there is a cipher list
                                                                 {84, "\x0a"},       // cipher 0
                                                                 {89, "\xff"},       // cipher 5
                                                                 {95, "\x01"},       // cipher 11
                                                                 {96, word(1)},      // SSL 3
                                                                 {112, word(2)}}));  // close protocol disabled
  for (const std::uint32_t code : {0U, 5U, 11U})
    ASSERT_EQ(client.reset("s", kSslMap, settings_record(0x80000000, {{4, word(code)}})), Status::ok);
  EXPECT_EQ(client.show("s").response, word(1) + ssl_entry("s", {{96, word(1)}, {112, word(2)}}));
}

TEST_F(ParameterMaps, OneIsShownByItsName) {
  ASSERT_EQ(client.create("a", kSslMap), Status::ok);
  ASSERT_EQ(client.create("b", kSslMap), Status::ok);
  // The cursor has no influence.
  Page from;
  from.cursor = std::string(65, 'x');
  const Page page = client.show("a", from);
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.response, word(1) + ssl_entry("a"));
  EXPECT_EQ(page.cursor, from.cursor);
  EXPECT_EQ(page.total, word(2));
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(client.show("c").status, Status::parameter_map_not_found);
  EXPECT_EQ(ParameterClient(*manager, 1).show("a").status, Status::parameter_map_not_found);
}

TEST_F(ParameterMaps, NoneAreShownAsAnEmptyPage) {
  Page page = client.show();
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.response, word(0));
  EXPECT_EQ(page.total, word(0));
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.cursor, std::string(65, '\0'));
  page.cursor = std::string(65, 'x');
  EXPECT_EQ(client.show("", page).status, Status::bad_arguments);
}

TEST_F(ParameterMaps, AreShownInPagesOfAHundred) {
  for (int number = 0; number < 100; ++number)
    ASSERT_EQ(client.create(numbered(number), kSslMap), Status::ok);
  Page page = client.show();
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.response.size(), 4U + 100U * 288U);

  for (int number = 100; number < 201; ++number)
    ASSERT_EQ(client.create(numbered(number), kSslMap), Status::ok);
  page = client.show();
  EXPECT_EQ(page.status, Status::more_data);
  EXPECT_EQ(page.total, word(201));
  EXPECT_EQ(page.more, word(1));
  EXPECT_EQ(page.response.substr(0, 4), word(100));
  EXPECT_EQ(page.response.substr(4 + 99 * 288), ssl_entry("p099"));
  EXPECT_EQ(page.cursor, name_field("p099"));

  // The last one shown goes, one comes before it, which is too late, and one after it.
  ASSERT_EQ(client.remove("p099", kSslMap), Status::ok);
  ASSERT_EQ(client.create("p098x", kSslMap), Status::ok);
  ASSERT_EQ(client.create("p099x", kSslMap), Status::ok);
  page = client.show("", page);
  EXPECT_EQ(page.status, Status::more_data);
  EXPECT_EQ(page.total, word(202));
  EXPECT_EQ(page.response.substr(0, 4 + 2 * 288), word(100) + ssl_entry("p099x") + ssl_entry("p100"));
  EXPECT_EQ(page.cursor, name_field("p198"));

  page = client.show("", page);
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.more, word(0));
  EXPECT_EQ(page.response, word(2) + ssl_entry("p199") + ssl_entry("p200"));
  EXPECT_EQ(page.cursor, name_field("p200"));

  // All that was left goes between two pages.
  page = client.show("", page);
  EXPECT_EQ(page.response, word(0));
  EXPECT_EQ(page.cursor, name_field("p200"));
}

}  // namespace
}  // namespace kvel::manager::testing::parameter_map_calls_test
