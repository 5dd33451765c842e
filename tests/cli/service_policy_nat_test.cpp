// NAT actions in the display of a service policy, and the counters that every action has.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_nat_test {
namespace {

using ServicePolicyNat = ServicePolicyTest;

const Events kOpened = {"xprint_header 'sp_nat'", R"(xprint "      <%s>:\n" 'sp_action_name' => "      <nat>:\n")",
                        "xprint_header 'sp_actions'"};
const Events kClosed = {"xprint_footer 'sp_actions'", "xprint_footer 'sp_nat'"};

std::string static_with_port(const std::string& text) {
  return line("        nat <%s> <%s> <%d> vlan <%d>\n", "sp_nat_type sp_nat_ip sp_nat_port sp_nat_vlan", text);
}

std::string static_without_port(const std::string& text) {
  return line("        nat <%s> <%s> vlan <%d>\n", "sp_nat_type sp_nat_ip sp_nat_vlan", text);
}

std::string dynamic(const std::string& text) {
  return line("        nat <%s> <%d> vlan <%d>\n", "sp_nat_type sp_nat_pool_id sp_nat_vlan", text);
}

// One record with its NAT line.
Events one(const std::string& nat_line, const Mode& mode) {
  return kOpened + Events{"xprint_header 'sp_action'", nat_line} + statistics(mode) +
         Events{"xprint_footer 'sp_action'"} + kClosed;
}

std::string group(const stream::Nat& record) {
  return stream::action({.count = 1, .type = stream::kNat}) + stream::nat(record);
}

TEST_F(ServicePolicyNat, StaticWithAPort) {
  EXPECT_EQ(
      format_action(group({.kind = 1, .vlan_or_pool = 20, .address_or_vlan = 0x0a000001, .port = 8080})),
      (Events{
          "xprint_header 'sp_nat'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <nat>:\n")",
          "xprint_header 'sp_actions'",
          "xprint_header 'sp_action'",
          R"(xprint "        nat <%s> <%s> <%d> vlan <%d>\n" 'sp_nat_type sp_nat_ip sp_nat_port sp_nat_vlan' => )"
          R"("        nat <static> <10.0.0.1> <8080> vlan <20>\n")",
          R"(xprint "        curr conns       : <%-10u>, hit count        : <%-10u>\n" 'sp_curr_conns sp_hit_count' )"
          R"(=> "        curr conns       : <1001      >, hit count        : <1002      >\n")",
          R"(xprint "        dropped conns    : <%-10u>\n" 'sp_drop_conns' )"
          R"(=> "        dropped conns    : <1007      >\n")",
          R"(xprint "        client pkt count : <%-10u>, client byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_client sp_byte_count_client' )"
          R"(=> "        client pkt count : <1003      >, client byte count: <1005                >\n")",
          R"(xprint "        server pkt count : <%-10u>, server byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_server sp_byte_count_server' )"
          R"(=> "        server pkt count : <1004      >, server byte count: <1006                >\n")",
          "xprint_footer 'sp_action'",
          "xprint_footer 'sp_actions'",
          "xprint_footer 'sp_nat'",
      }));
}

TEST_F(ServicePolicyNat, StaticWithoutAPort) {
  EXPECT_EQ(
      format_action(group({.kind = 1, .vlan_or_pool = 20, .address_or_vlan = 0xc0a801fe, .port = 0}), {.active = 0}),
      (Events{
          "xprint_header 'sp_nat'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <nat>:\n")",
          "xprint_header 'sp_actions'",
          "xprint_header 'sp_action'",
          R"(xprint "        nat <%s> <%s> vlan <%d>\n" 'sp_nat_type sp_nat_ip sp_nat_vlan' => )"
          R"("        nat <static> <192.168.1.254> vlan <20>\n")",
          "xprint_footer 'sp_action'",
          "xprint_footer 'sp_actions'",
          "xprint_footer 'sp_nat'",
      }));
}

TEST_F(ServicePolicyNat, Dynamic) {
  EXPECT_EQ(format_action(group({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = 20, .port = 80}), {.active = 0}),
            (Events{
                "xprint_header 'sp_nat'",
                R"(xprint "      <%s>:\n" 'sp_action_name' => "      <nat>:\n")",
                "xprint_header 'sp_actions'",
                "xprint_header 'sp_action'",
                R"(xprint "        nat <%s> <%d> vlan <%d>\n" 'sp_nat_type sp_nat_pool_id sp_nat_vlan' => )"
                R"("        nat <dynamic> <5> vlan <20>\n")",
                "xprint_footer 'sp_action'",
                "xprint_footer 'sp_actions'",
                "xprint_footer 'sp_nat'",
            }));
}

// Detail changes nothing, an inactive policy has no counters.
TEST_F(ServicePolicyNat, InEveryMode) {
  for (const Mode& mode : kModes) {
    EXPECT_EQ(format_action(group({}), mode),
              one(static_with_port("        nat <static> <10.0.0.1> <80> vlan <20>\n"), mode))
        << name_of(mode);
    EXPECT_EQ(format_action(group({.port = 0}), mode),
              one(static_without_port("        nat <static> <10.0.0.1> vlan <20>\n"), mode))
        << name_of(mode);
    EXPECT_EQ(format_action(group({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = 20}), mode),
              one(dynamic("        nat <dynamic> <5> vlan <20>\n"), mode))
        << name_of(mode);
  }
}

TEST_F(ServicePolicyNat, AnyNonzeroKindIsStatic) {
  for (std::uint32_t kind : {1U, 2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(format_action(group({.kind = kind})),
              one(static_with_port("        nat <static> <10.0.0.1> <80> vlan <20>\n"), {}))
        << kind;
  }
}

TEST_F(ServicePolicyNat, Addresses) {
  struct Row {
    std::uint32_t address;
    const char* text;
  };
  for (const Row& row :
       std::array{Row{0x00000000, "0.0.0.0"}, Row{0x01020304, "1.2.3.4"}, Row{0xffffffff, "255.255.255.255"},
                  Row{0x7f000001, "127.0.0.1"}, Row{0xfe000000, "254.0.0.0"}, Row{0x000000fe, "0.0.0.254"},
                  Row{0x80648080, "128.100.128.128"}}) {
    EXPECT_EQ(format_action(group({.address_or_vlan = row.address})),
              one(static_with_port("        nat <static> <" + std::string(row.text) + "> <80> vlan <20>\n"), {}));
    EXPECT_EQ(format_action(group({.address_or_vlan = row.address, .port = 0})),
              one(static_without_port("        nat <static> <" + std::string(row.text) + "> vlan <20>\n"), {}));
  }
}

// Ports are unsigned 16-bit numbers, with other bytes after them.
TEST_F(ServicePolicyNat, Ports) {
  struct Row {
    std::uint16_t port;
    const char* text;
  };
  for (const Row& row : std::array{Row{1, "1"}, Row{255, "255"}, Row{256, "256"}, Row{32767, "32767"},
                                   Row{32768, "32768"}, Row{65535, "65535"}}) {
    EXPECT_EQ(format_action(group({.port = row.port})),
              one(static_with_port("        nat <static> <10.0.0.1> <" + std::string(row.text) + "> vlan <20>\n"), {}));
  }
}

// VLAN and pool are signed when they are printed.
TEST_F(ServicePolicyNat, VlansAndPools) {
  struct Row {
    std::uint32_t number;
    const char* text;
  };
  for (const Row& row :
       std::array{Row{0, "0"}, Row{4094, "4094"}, Row{0x01020304, "16909060"}, Row{0x7fffffff, "2147483647"},
                  Row{0x80000000, "-2147483648"}, Row{0xffffffff, "-1"}}) {
    const std::string text = row.text;
    EXPECT_EQ(format_action(group({.vlan_or_pool = row.number})),
              one(static_with_port("        nat <static> <10.0.0.1> <80> vlan <" + text + ">\n"), {}));
    EXPECT_EQ(format_action(group({.vlan_or_pool = row.number, .port = 0})),
              one(static_without_port("        nat <static> <10.0.0.1> vlan <" + text + ">\n"), {}));
    EXPECT_EQ(format_action(group({.kind = 0, .vlan_or_pool = row.number, .address_or_vlan = 20})),
              one(dynamic("        nat <dynamic> <" + text + "> vlan <20>\n"), {}));
    EXPECT_EQ(format_action(group({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = row.number})),
              one(dynamic("        nat <dynamic> <5> vlan <" + text + ">\n"), {}));
  }
}

// Each record is shown, with counters of its own.
TEST_F(ServicePolicyNat, SeveralRecords) {
  const stream::Counters other = {.current_connections = 11,
                                  .hit_count = 12,
                                  .client_packets = 13,
                                  .server_packets = 14,
                                  .client_bytes = 15,
                                  .server_bytes = 16,
                                  .dropped_connections = 17};
  const std::string records = stream::action({.count = 3, .type = stream::kNat}) + stream::nat({}) +
                              stream::nat({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = 30, .counters = other}) +
                              stream::nat({.vlan_or_pool = 40, .address_or_vlan = 0x0a000002, .port = 0});
  const Events other_statistics = {
      line("        curr conns       : <%-10u>, hit count        : <%-10u>\n", "sp_curr_conns sp_hit_count",
           "        curr conns       : <11        >, hit count        : <12        >\n"),
      line("        dropped conns    : <%-10u>\n", "sp_drop_conns", "        dropped conns    : <17        >\n"),
      line("        client pkt count : <%-10u>, client byte count: <%-20llu>\n",
           "sp_pkt_count_client sp_byte_count_client",
           "        client pkt count : <13        >, client byte count: <15                  >\n"),
      line("        server pkt count : <%-10u>, server byte count: <%-20llu>\n",
           "sp_pkt_count_server sp_byte_count_server",
           "        server pkt count : <14        >, server byte count: <16                  >\n"),
  };
  const Events static_line = {opened("sp_action"),
                              static_with_port("        nat <static> <10.0.0.1> <80> vlan <20>\n")};
  const Events dynamic_line = {opened("sp_action"), dynamic("        nat <dynamic> <5> vlan <30>\n")};
  const Events portless_line = {opened("sp_action"),
                                static_without_port("        nat <static> <10.0.0.2> vlan <40>\n")};
  const Events end = {closed("sp_action")};
  EXPECT_EQ(format_action(records), kOpened + static_line + statistics() + end + dynamic_line + other_statistics + end +
                                        portless_line + statistics() + end + kClosed);
  EXPECT_EQ(format_action(records, {.active = 0}),
            kOpened + static_line + end + dynamic_line + end + portless_line + end + kClosed);
}

TEST_F(ServicePolicyNat, OneHundredRecords) {
  std::string records = stream::action({.count = 100, .type = stream::kNat});
  Events expected = kOpened;
  for (int number = 0; number < 100; ++number) {
    records += stream::nat({.vlan_or_pool = static_cast<std::uint32_t>(number)});
    expected = std::move(expected) +
               Events{opened("sp_action"),
                      static_with_port("        nat <static> <10.0.0.1> <80> vlan <" + std::to_string(number) + ">\n"),
                      closed("sp_action")};
  }
  EXPECT_EQ(format_action(records, {.active = 0}), expected + kClosed);
}

// NAT has no layer-7 rules; the field that states it is not read.
TEST_F(ServicePolicyNat, HasNoLayer7Rules) {
  EXPECT_EQ(
      format_action(stream::action({.has_l7 = 1, .count = 1, .type = stream::kNat}) + stream::nat({}), {.detail = 1}),
      one(static_with_port("        nat <static> <10.0.0.1> <80> vlan <20>\n"), {}));
}

// ---- counters

class ServicePolicyCounters : public ServicePolicyTest {
 protected:
  // The four lines of one record.
  Events lines_of(const stream::Counters& counters) {
    const Events events = format_action(group({.counters = counters}));
    if (events.size() != 12) return events;
    Events lines;
    lines.insert(lines.end(), events.begin() + 5, events.begin() + 9);
    return lines;
  }
};

const std::string kConnections = "        curr conns       : <%-10u>, hit count        : <%-10u>\n";
const std::string kDropped = "        dropped conns    : <%-10u>\n";
const std::string kClient = "        client pkt count : <%-10u>, client byte count: <%-20llu>\n";
const std::string kServer = "        server pkt count : <%-10u>, server byte count: <%-20llu>\n";

TEST_F(ServicePolicyCounters, Zero) {
  EXPECT_EQ(lines_of({0, 0, 0, 0, 0, 0, 0}),
            (Events{line(kConnections, "sp_curr_conns sp_hit_count",
                         "        curr conns       : <0         >, hit count        : <0         >\n"),
                    line(kDropped, "sp_drop_conns", "        dropped conns    : <0         >\n"),
                    line(kClient, "sp_pkt_count_client sp_byte_count_client",
                         "        client pkt count : <0         >, client byte count: <0                   >\n"),
                    line(kServer, "sp_pkt_count_server sp_byte_count_server",
                         "        server pkt count : <0         >, server byte count: <0                   >\n")}));
}

TEST_F(ServicePolicyCounters, TheLargest) {
  EXPECT_EQ(
      lines_of({0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff, 0xffffffffffffffff, 0xffffffffffffffff, 0xffffffff}),
      (Events{line(kConnections, "sp_curr_conns sp_hit_count",
                   "        curr conns       : <4294967295>, hit count        : <4294967295>\n"),
              line(kDropped, "sp_drop_conns", "        dropped conns    : <4294967295>\n"),
              line(kClient, "sp_pkt_count_client sp_byte_count_client",
                   "        client pkt count : <4294967295>, client byte count: <18446744073709551615>\n"),
              line(kServer, "sp_pkt_count_server sp_byte_count_server",
                   "        server pkt count : <4294967295>, server byte count: <18446744073709551615>\n")}));
}

// The words of a number, and its bytes, all differ: 0x01020304 and so on.
TEST_F(ServicePolicyCounters, EveryByteOfEveryNumber) {
  EXPECT_EQ(lines_of({.current_connections = 0x01020304,
                      .hit_count = 0x05060708,
                      .client_packets = 0x090a0b0c,
                      .server_packets = 0x0d0e0f10,
                      .client_bytes = 0x1112131415161718,
                      .server_bytes = 0x191a1b1c1d1e1f20,
                      .dropped_connections = 0x21222324}),
            (Events{line(kConnections, "sp_curr_conns sp_hit_count",
                         "        curr conns       : <16909060  >, hit count        : <84281096  >\n"),
                    line(kDropped, "sp_drop_conns", "        dropped conns    : <555885348 >\n"),
                    line(kClient, "sp_pkt_count_client sp_byte_count_client",
                         "        client pkt count : <151653132 >, client byte count: <1230066625199609624 >\n"),
                    line(kServer, "sp_pkt_count_server sp_byte_count_server",
                         "        server pkt count : <219025168 >, server byte count: <1808788007904223008 >\n")}));
}

TEST_F(ServicePolicyCounters, ByteCountsBeyond32Bits) {
  struct Row {
    std::uint64_t bytes;
    const char* text;
  };
  for (const Row& row : std::array{Row{4294967295, "4294967295          "}, Row{4294967296, "4294967296          "},
                                   Row{4294967297, "4294967297          "}, Row{1099511627776, "1099511627776       "},
                                   Row{0x8000000000000000, "9223372036854775808 "}}) {
    const std::string text = row.text;
    const Events client = lines_of({.client_bytes = row.bytes});
    ASSERT_EQ(client.size(), 4U);
    EXPECT_EQ(client[2], line(kClient, "sp_pkt_count_client sp_byte_count_client",
                              "        client pkt count : <1003      >, client byte count: <" + text + ">\n"));
    EXPECT_EQ(client[3], statistics()[3]);
    const Events server = lines_of({.server_bytes = row.bytes});
    ASSERT_EQ(server.size(), 4U);
    EXPECT_EQ(server[2], statistics()[2]);
    EXPECT_EQ(server[3], line(kServer, "sp_pkt_count_server sp_byte_count_server",
                              "        server pkt count : <1004      >, server byte count: <" + text + ">\n"));
  }
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_nat_test
