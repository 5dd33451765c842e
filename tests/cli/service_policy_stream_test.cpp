// The statistics stream byte by byte: the tests' own records, and a page that is written out whole.
#include <string>

#include "tests/cli/service_policy_test.h"
#include "tests/cli/statistics_stream.h"

namespace kvel::cli::test::service_policy_stream_test {
namespace {

using namespace std::string_literals;

// ---- the records of the other tests

const std::string kCounters = "000003e9000003ea000003eb000003ec 00*6 03ed 00*6 03ee000003ef a5*12";

TEST(StatisticsStream, Policy) {
  EXPECT_EQ(hex(stream::policy({.class_count = 3, .active = 1, .description = "door", .vlans = {20, 0xfffffffe}})),
            "00000002000000030000000200000001646f6f7200 a5*239 00000014fffffffe");
  EXPECT_EQ(hex(stream::policy({.record_type = 7, .class_count = 9, .interface_count = 8, .active = 6})),
            "0000000700000009000000080000000600 a5*243");
}

TEST(StatisticsStream, ClassAndAction) {
  EXPECT_EQ(hex(stream::class_map({.record_type = 1, .entry_count = 2, .name = "web"})),
            "00000001a5a5a5a50000000277656200 a5*244");
  EXPECT_EQ(hex(stream::action({.has_l7 = 1, .count = 2, .type = 3})), "a5a5a5a5000000010000000200000003 a5*244");
}

TEST(StatisticsStream, ActionStatistics) {
  EXPECT_EQ(hex(stream::nat({.kind = 1, .vlan_or_pool = 20, .address_or_vlan = 0x0a000001, .port = 80})),
            "a5*8 00000001000000140a0000010050 a5*146 " + kCounters);
  EXPECT_EQ(
      hex(stream::load_balance(
          {.vip_inservice = 1, .icmp_reply_state = 2, .rhi_state = 3, .rhi_metric = 77, .l7_policy_name = "shop"})),
      "a5*8 0000000100000002000000030000004d a5*73 73686f7000 a5*66 " + kCounters);
  EXPECT_EQ(hex(stream::http({.url_logging = 1, .l7_policy_name = "strict"})),
            "a5a5a5a500000001 a5*73 73747269637400 a5*64 000007d1000007d2000007d3000007d4" + kCounters);
  EXPECT_EQ(hex(stream::ftp({.strict = 1, .l7_policy_name = "no-put"})),
            "a5a5a5a5000000016e6f2d70757400 a5*65 000007d5000007d6 a5*80 " + kCounters);
  EXPECT_EQ(hex(stream::dns({.max_length = 512})), "a5a5a5a500000200 a5*160 " + kCounters);
  EXPECT_EQ(hex(stream::icmp({.icmp_error = 1})), "a5a5a5a500000001 a5*160 " + kCounters);
  EXPECT_EQ(hex(stream::rtsp({})), "a5*168 " + kCounters);
  EXPECT_EQ(hex(stream::rtsp({.current_connections = 0x01020304,
                              .hit_count = 0x05060708,
                              .client_packets = 0x090a0b0c,
                              .server_packets = 0x0d0e0f10,
                              .client_bytes = 0x1112131415161718,
                              .server_bytes = 0x191a1b1c1d1e1f20,
                              .dropped_connections = 0x21222324})),
            "a5*168 0102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f2021222324 a5*12");
}

TEST(StatisticsStream, Rules) {
  EXPECT_EQ(hex(stream::rules({.rule_count = 2, .l7_policy_name = "by-url"})), "0000000262792d75726c00 a5*61");
  EXPECT_EQ(hex(stream::load_balance_rule({.match_name = "images", .drop = 1, .forward = 2, .serverfarm = "farm"})),
            "a5a5a5a5696d6167657300 a5*61 0000000100000002 a5*73 6661726d00 a5*134 00000bb9 a5*24 00000bba a5*12");
  EXPECT_EQ(hex(stream::inspect_rule({.match_name = "uploads", .inspect_action = 3})),
            "a5a5a5a575706c6f61647300 a5*60 00000003 a5*212 00000bbb00000bbc00000bbd a5*36");
}

TEST(StatisticsStream, Fillers) {
  {
    const stream::Filler zero('\0');
    EXPECT_EQ(hex(stream::rules({.rule_count = 2, .l7_policy_name = "x"})), "0000000278 00*67");
  }
  EXPECT_EQ(hex(stream::rules({.rule_count = 2, .l7_policy_name = "x"})), "000000027800 a5*66");
}

// A text as long as its field has no end in it.
TEST(StatisticsStream, FullFields) {
  EXPECT_EQ(hex(stream::class_map({.entry_count = 0, .name = std::string(64, 'x')})),
            "00000001a5a5a5a500000000 78*64 a5*184");
}

// ---- a page written out

// `count` bytes that nobody reads.
std::string unread(std::size_t count) {
  std::string bytes;
  for (std::size_t index = 0; index < count; ++index)
    bytes += static_cast<char>(0xc1 + 7 * index);
  return bytes;
}

using ServicePolicyStream = ServicePolicyTest;

TEST_F(ServicePolicyStream, OnePageByHand) {
  const std::string bytes =
      "\0\0\0\2"s  // policy: record type
      "\0\0\0\1"s  //   class count
      "\0\0\0\2"s  //   interface count
      "\0\0\0\1"s  //   active
      "front door\0"s +
      unread(233) +    //   description
      "\0\0\0\x14"s    // VLAN 20
      "\0\0\x0f\xfe"s  // VLAN 4094
      "\0\0\0\1"s +
      unread(4) +  // class: record type
      "\0\0\0\2"s  //   entry count
      "web\0"s +
      unread(60) + unread(184) +  //   name
      unread(4) +
      "\0\0\0\0"s  // action: has L7
      "\0\0\0\1"s  //   action count
      "\0\0\0\1"s +
      unread(244) +  //   type, NAT
      unread(8) +
      "\0\0\0\1"s          // NAT: kind, static
      "\0\0\0\x1e"s        //   VLAN 30
      "\xc0\xa8\x01\x0a"s  //   address
      "\x1f\x90"s +
      unread(146) +                //   port 8080
      "\0\0\0\5"s                  //   current connections
      "\0\0\1\0"s                  //   hit count
      "\0\0\0\7"s                  //   client packets
      "\0\0\0\x08"s                //   server packets
      "\0\0\0\1\0\0\0\0"s          //   client bytes
      "\0\0\0\0\xff\xff\xff\xff"s  //   server bytes
      "\0\0\0\x09"s +
      unread(12) +  //   dropped connections
      unread(4) +
      "\0\0\0\1"s  // action: has L7
      "\0\0\0\1"s  //   action count
      "\0\0\0\2"s +
      unread(244) +  //   type, load balance
      unread(8) +
      "\0\0\0\0"s  // load balance: VIP in service
      "\0\0\0\2"s  //   ICMP reply, when active
      "\0\0\0\0"s  //   route advertisement, disabled
      "\xff\xff\xff\xfb"s +
      unread(73) +                         //   metric -5
      "shop\0"s + unread(66) +             //   layer-7 policy
      "\0\0\0\1\0\0\0\2\0\0\0\3\0\0\0\4"s  //   connections, hits, packets of both sides
      "\0\0\0\0\0\0\0\5\0\0\0\0\0\0\0\6\0\0\0\7"s +
      unread(12) +  //   bytes of both sides, dropped connections
      "\0\0\0\1"s   // rules: count
      "shop\0"s +
      unread(63) +                            //   layer-7 policy
      unread(4) + "images\0"s + unread(61) +  // rule: match
      "\0\0\0\0"s                             //   drop
      "\0\0\0\1"s +
      unread(73) +                  //   forward
      "\0"s + unread(138) +         //   serverfarm
      "\0\0\0\x0b"s + unread(24) +  //   hit count
      "\0\0\0\x0c"s + unread(12);   //   dropped connections
  ASSERT_EQ(bytes.size(), 260U + 8U + 260U + 260U + 216U + 260U + 216U + 72U + 336U);
  EXPECT_EQ(
      format(bytes, 1),
      (Events{
          "xprint_header 'service_policy'",
          R"(xprint "\n" => "\n")",
          R"(xprint "Status     : ACTIVE\n" => "Status     : ACTIVE\n")",
          R"(xprint "Description: %s\n" => "Description: front door\n")",
          R"(xprint "-----------------------------------------\n" => "-----------------------------------------\n")",
          R"(xprint "Interface: vlan " => "Interface: vlan ")",
          R"(xprint "<%d> " 'sp_interface_vlan' => "<20> ")",
          R"(xprint "<%d> " 'sp_interface_vlan' => "<4094> ")",
          R"(xprint "\n" => "\n")",
          R"(xprint "  service-policy: <%s>\n" 'sp_name' => "  service-policy: <edge>\n")",
          "xprint_header 'sp_class_map'",
          R"(xprint "    class: <%s>\n" 'sp_class_name' => "    class: <web>\n")",
          "xprint_header 'sp_class_types'",
          "xprint_header 'sp_class_type'",
          "xprint_header 'sp_nat'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <nat>:\n")",
          "xprint_header 'sp_actions'",
          "xprint_header 'sp_action'",
          R"(xprint "        nat <%s> <%s> <%d> vlan <%d>\n" 'sp_nat_type sp_nat_ip sp_nat_port sp_nat_vlan' )"
          R"(=> "        nat <static> <192.168.1.10> <8080> vlan <30>\n")",
          R"(xprint "        curr conns       : <%-10u>, hit count        : <%-10u>\n" 'sp_curr_conns sp_hit_count' )"
          R"(=> "        curr conns       : <5         >, hit count        : <256       >\n")",
          R"(xprint "        dropped conns    : <%-10u>\n" 'sp_drop_conns' )"
          R"(=> "        dropped conns    : <9         >\n")",
          R"(xprint "        client pkt count : <%-10u>, client byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_client sp_byte_count_client' )"
          R"(=> "        client pkt count : <7         >, client byte count: <4294967296          >\n")",
          R"(xprint "        server pkt count : <%-10u>, server byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_server sp_byte_count_server' )"
          R"(=> "        server pkt count : <8         >, server byte count: <4294967295          >\n")",
          "xprint_footer 'sp_action'",
          "xprint_footer 'sp_actions'",
          "xprint_footer 'sp_nat'",
          "xprint_footer 'sp_class_type'",
          "xprint_header 'sp_class_type'",
          "xprint_header 'sp_loadbalance'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <loadbalance>:\n")",
          R"(xprint "        L7 loadbalance policy: <%s>\n" 'sp_lb_policymap' )"
          R"(=> "        L7 loadbalance policy: <shop>\n")",
          R"(xprint "        VIP Route Metric     : <%d>\n" 'sp_lb_rhi_metric' )"
          R"(=> "        VIP Route Metric     : <-5>\n")",
          R"(xprint "        VIP Route Advertise  : DISABLED\n" 'sp_lb_rhi_state' )"
          R"(=> "        VIP Route Advertise  : DISABLED\n")",
          R"(xprint "        VIP ICMP Reply       : ENABLED-WHEN-ACTIVE\n" 'sp_lb_icmpreply_state' )"
          R"(=> "        VIP ICMP Reply       : ENABLED-WHEN-ACTIVE\n")",
          R"(xprint "        VIP state: <%s>\n" 'sp_lb_vip_state' => "        VIP state: <OUTOFSERVICE>\n")",
          R"(xprint "        curr conns       : <%-10u>, hit count        : <%-10u>\n" 'sp_curr_conns sp_hit_count' )"
          R"(=> "        curr conns       : <1         >, hit count        : <2         >\n")",
          R"(xprint "        dropped conns    : <%-10u>\n" 'sp_drop_conns' )"
          R"(=> "        dropped conns    : <7         >\n")",
          R"(xprint "        client pkt count : <%-10u>, client byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_client sp_byte_count_client' )"
          R"(=> "        client pkt count : <3         >, client byte count: <5                   >\n")",
          R"(xprint "        server pkt count : <%-10u>, server byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_server sp_byte_count_server' )"
          R"(=> "        server pkt count : <4         >, server byte count: <6                   >\n")",
          R"(xprint "        L7 Loadbalance policy : %s\n" => "        L7 Loadbalance policy : shop\n")",
          R"(xprint "          class/match : %s\n" => "          class/match : images\n")",
          R"(xprint "            LB action : \n" => "            LB action : \n")",
          R"(xprint "               forward\n" => "               forward\n")",
          R"(xprint "            hit count        : %-10u\n" => "            hit count        : 11        \n")",
          R"(xprint "            dropped conns    : %-10u\n" => "            dropped conns    : 12        \n")",
          "xprint_footer 'sp_loadbalance'",
          "xprint_footer 'sp_class_type'",
          "xprint_footer 'sp_class_types'",
          "xprint_footer 'sp_class_map'",
          "xprint_footer 'service_policy'",
      }));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_stream_test
