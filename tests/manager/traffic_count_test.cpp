// What each counter counts.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/manager/support/traffic_site.h"

namespace kvel::manager::testing::traffic_count_test {
namespace {

// A flow to 10.1.1.1 with 3 and 2 packets of 300 and 2000 bytes.
std::string flow(const std::string& more = "") {
  return R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":80,)"
         R"("client_packets":3,"server_packets":2,"client_bytes":300,"server_bytes":2000)" +
         more + "}";
}
const std::string kOpen = R"(,"event":"open")";
const std::string kClose = R"(,"event":"close")";

// current, connections, dropped, client and server packets, client and server bytes
using Row = std::array<std::uint64_t, 7>;
Row row(const Counters& counters) {
  return {counters.current_connections, counters.connections,  counters.dropped_connections, counters.client_packets,
          counters.server_packets,      counters.client_bytes, counters.server_bytes};
}

LoadBalanceAction balance(const std::string& policy) {
  LoadBalanceAction action;
  action.policy = policy;
  return action;
}
InspectHttpAction inspect_http(const std::string& policy, bool url_logging = false) {
  InspectHttpAction action;
  action.policy = policy;
  action.url_logging = url_logging;
  return action;
}

class TrafficCount : public ::testing::Test {
 protected:
  TrafficCount() {
    site.class_map("vip", ClassMapType::layer34, MatchMode::any,
                   {VirtualAddressRule{ipv4(10, 1, 1, 1), kHost, 6, 80, 80}});
    site.global("traffic");
    site.add(vip);
  }

  const ActionStatistics& at(ActionGroup group) {
    const ActionStatistics* found = site.counted(vip).find({group, {}});
    EXPECT_NE(found, nullptr);
    static const ActionStatistics kNone;
    return found == nullptr ? kNone : *found;
  }

  TrafficSite site;
  const ClassPlace vip{"traffic", "vip"};
  const ClassPlace rest{"traffic"};  // class-default
};

TEST_F(TrafficCount, EachActionCountsWhatItsClassCounts) {
  StaticNatAction nat;
  nat.address = ipv4(10, 9, 9, 9);
  DynamicNatAction pool;
  pool.pool = 7;
  site.act(vip, {nat, pool, SecurityAclAction{}, InspectRtspAction{}, InspectIcmpAction{1}});
  site.count({flow(), flow()});
  const Row expected{0, 2, 0, 6, 4, 600, 4000};
  EXPECT_EQ(row(site.counted(vip).counters), expected);
  EXPECT_EQ(row(site.counted(vip).find({ActionGroup::nat, nat})->counters), expected);
  EXPECT_EQ(row(site.counted(vip).find({ActionGroup::nat, pool})->counters), expected);
  for (const ActionGroup group : {ActionGroup::security_acl, ActionGroup::inspect_rtsp, ActionGroup::inspect_icmp})
    EXPECT_EQ(row(at(group).counters), expected);
  EXPECT_EQ(row(site.counted(rest).counters), Row{});
}

TEST_F(TrafficCount, ClassDefaultCountsWhatNoOtherClassTakes) {
  site.count({R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,"client_packets":1})"});
  EXPECT_EQ(row(site.counted(rest).counters), (Row{0, 1, 0, 1, 0, 0, 0}));
  EXPECT_EQ(row(site.counted(vip).counters), Row{});
}

TEST_F(TrafficCount, Events) {
  site.count({flow(kOpen), flow(kOpen)});
  EXPECT_EQ(row(site.counted(vip).counters), (Row{2, 2, 0, 6, 4, 600, 4000}));
  site.count({flow(kClose)});
  EXPECT_EQ(row(site.counted(vip).counters), (Row{1, 2, 0, 9, 6, 900, 6000}));
  // A whole connection is not there any more when it is counted.
  site.count({flow()});
  EXPECT_EQ(row(site.counted(vip).counters), (Row{1, 3, 0, 12, 8, 1200, 8000}));
  // More ends than beginnings: never below 0.
  site.count({flow(kClose), flow(kClose), flow(kClose)});
  EXPECT_EQ(site.counted(vip).counters.current_connections, 0U);
  EXPECT_EQ(site.counted(vip).counters.connections, 3U);
}

TEST_F(TrafficCount, BytesBeyond32Bits) {
  const std::string large =
      R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,"client_bytes":9223372036854775807})";
  site.count({large, large});
  EXPECT_EQ(site.counted(rest).counters.client_bytes, 18446744073709551614U);
}

TEST_F(TrafficCount, BytesStayAtTheirMost) {
  const std::string most = R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,)"
                           R"("client_bytes":18446744073709551615,"server_bytes":18446744073709551614})";
  const Counters& counters = site.statistics.at(site.number_of(rest)).counters;
  site.count({most, R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,"server_bytes":1})"});
  EXPECT_EQ(counters.client_bytes, 18446744073709551615U);
  EXPECT_EQ(counters.server_bytes, 18446744073709551615U);
  site.count({most});
  EXPECT_EQ(counters.client_bytes, 18446744073709551615U);
  EXPECT_EQ(counters.server_bytes, 18446744073709551615U);
}

TEST_F(TrafficCount, AVirtualAddressOutOfServiceDropsAll) {
  site.policy_map("lb", PolicyMapType::http_load_balancing);
  site.policy_map("http", PolicyMapType::http_inspection);
  site.act(vip, {balance("lb"), inspect_http("http")});
  site.count({flow(R"(,"http":{})"), flow(kOpen), flow(kClose)});
  const Row expected{0, 2, 2, 9, 6, 900, 6000};
  EXPECT_EQ(row(site.counted(vip).counters), expected);
  EXPECT_EQ(row(at(ActionGroup::load_balance).counters), expected);
  // What goes on after the address is not asked.
  EXPECT_EQ(at(ActionGroup::inspect_http).requests.requests, 0U);
  EXPECT_EQ(at(ActionGroup::inspect_http).counters.dropped_connections, 0U);
  EXPECT_EQ(at(ActionGroup::load_balance).layer7.begin()->second.matched, 0U);
}

TEST_F(TrafficCount, LoadBalancing) {
  site.class_map("images", ClassMapType::http_load_balancing, MatchMode::any, {LbUrlRule{"/img/.*", ""}});
  site.policy_map("lb", PolicyMapType::http_load_balancing);
  const Number images = site.add({"lb", "images"}, {ServerfarmAction("fast")});
  const Number old = site.add({"lb", "old"}, {DropAction{}}, LbUrlRule{"/old", ""});
  const Number other = site.number_of({"lb"});
  site.act(vip, {balance("lb"), VipInServiceAction{}, SecurityAclAction{}});
  site.count({flow(R"(,"http":{"url":"/img/a"})"), flow(R"(,"http":{"url":"/img/b"})"),
              flow(R"(,"http":{"url":"/old"})"), flow(R"(,"http":{"url":"/"})"), flow(),
              flow(kOpen + R"(,"http":{"url":"/old"})"), flow(kOpen + R"(,"http":{"url":"/img/c"})"),
              flow(kClose + R"(,"http":{"url":"/img/c"})")});
  const auto& layer7 = at(ActionGroup::load_balance).layer7;
  ASSERT_EQ(layer7.size(), 3U);
  EXPECT_EQ(layer7.at(images).matched, 3U);
  EXPECT_EQ(layer7.at(images).dropped, 0U);
  EXPECT_EQ(layer7.at(old).matched, 2U);
  EXPECT_EQ(layer7.at(old).dropped, 2U);
  EXPECT_EQ(layer7.at(other).matched, 2U);
  EXPECT_EQ(row(site.counted(vip).counters), (Row{0, 7, 2, 24, 16, 2400, 16000}));
  EXPECT_EQ(at(ActionGroup::load_balance).counters.dropped_connections, 2U);
  // Another action of the class did not drop them.
  EXPECT_EQ(at(ActionGroup::security_acl).counters.dropped_connections, 0U);
  EXPECT_EQ(at(ActionGroup::security_acl).counters.connections, 7U);
}

TEST_F(TrafficCount, HttpInspection) {
  site.policy_map("http", PolicyMapType::http_inspection);
  const Number get = site.add({"http", "get"}, {PermitAction(true)}, RequestMethodRule{3});
  const Number post = site.add({"http", "post"}, {ResetAction(false)}, RequestMethodRule{6});
  const Number put = site.add({"http", "put"}, {ResetAction(true)}, RequestMethodRule{7});
  const Number other = site.number_of({"http"});
  site.act(vip, {inspect_http("http")});
  const auto request = [](const std::string& method, const std::string& more = "") {
    return flow(R"(,"http":{"method":")" + method + "\"}" + more);
  };
  site.count({request("GET"), request("GET"), request("POST"), request("PUT"), request("HEAD"), flow(),
              request("GET", kOpen), request("GET", kClose), request("POST", kOpen), request("POST", kClose)});
  const ActionStatistics& statistics = at(ActionGroup::inspect_http);
  EXPECT_EQ(statistics.requests.requests, 7U);
  EXPECT_EQ(statistics.requests.allowed, 4U);
  EXPECT_EQ(statistics.requests.dropped, 3U);
  EXPECT_EQ(statistics.requests.logged, 4U);
  EXPECT_EQ(statistics.counters.dropped_connections, 3U);
  EXPECT_EQ(site.counted(vip).counters.dropped_connections, 3U);
  EXPECT_EQ(site.counted(vip).counters.connections, 8U);
  EXPECT_EQ(site.counted(vip).counters.current_connections, 0U);
  const auto layer7 = [&](Number number) {
    const LayerSevenCounters& counters = statistics.layer7.at(number);
    return std::array{counters.inspected, counters.matched, counters.dropped, counters.dropped_on_error};
  };
  EXPECT_EQ(layer7(get), (std::array<std::uint64_t, 4>{7, 3, 0, 0}));
  EXPECT_EQ(layer7(post), (std::array<std::uint64_t, 4>{4, 2, 2, 0}));
  EXPECT_EQ(layer7(put), (std::array<std::uint64_t, 4>{2, 1, 1, 0}));
  EXPECT_EQ(layer7(other), (std::array<std::uint64_t, 4>{1, 1, 0, 0}));
}

TEST_F(TrafficCount, HttpInspectionWithoutAPolicy) {
  site.act(vip, {inspect_http("", true)});
  site.count({flow(R"(,"http":{})"), flow()});
  const ActionStatistics& statistics = at(ActionGroup::inspect_http);
  EXPECT_EQ(statistics.requests.requests, 1U);
  EXPECT_EQ(statistics.requests.allowed, 1U);
  EXPECT_EQ(statistics.requests.logged, 1U);
  EXPECT_TRUE(statistics.layer7.empty());
}

TEST_F(TrafficCount, FtpInspection) {
  site.policy_map("ftp", PolicyMapType::ftp_inspection);
  const Number dele = site.add({"ftp", "dele"}, {DenyAction{}}, FtpMethodRule{3});
  const Number syst = site.add({"ftp", "syst"}, {MaskReplyAction{}}, FtpMethodRule{13});
  InspectFtpAction inspection;
  inspection.policy = "ftp";
  site.act(vip, {inspection});
  const auto command = [](const std::string& word) { return flow(R"(,"ftp":{"command":")" + word + "\"}"); };
  site.count({command("DELE"), command("SYST"), command("SYST"), command("USER"), flow()});
  const ActionStatistics& statistics = at(ActionGroup::inspect_ftp);
  EXPECT_EQ(statistics.commands.dropped, 1U);
  EXPECT_EQ(statistics.commands.masked_replies, 2U);
  EXPECT_EQ(row(statistics.counters), (Row{0, 5, 1, 15, 10, 1500, 10000}));
  EXPECT_EQ(site.counted(vip).counters.dropped_connections, 1U);
  EXPECT_EQ(statistics.layer7.at(dele).inspected, 4U);
  EXPECT_EQ(statistics.layer7.at(dele).dropped, 1U);
  EXPECT_EQ(statistics.layer7.at(syst).matched, 2U);
  EXPECT_EQ(statistics.layer7.at(site.number_of({"ftp"})).matched, 1U);
}

TEST_F(TrafficCount, LongDnsMessages) {
  site.act(vip, {InspectDnsAction{512}});
  site.count({flow(R"(,"dns":{"length":512})"), flow(R"(,"dns":{"length":513})"), flow()});
  EXPECT_EQ(row(at(ActionGroup::inspect_dns).counters), (Row{0, 3, 1, 9, 6, 900, 6000}));
  EXPECT_EQ(site.counted(vip).counters.dropped_connections, 1U);
}

TEST_F(TrafficCount, DnsWithoutALimit) {
  site.act(vip, {InspectDnsAction{}});
  site.count({flow(R"(,"dns":{"length":4294967295})")});
  EXPECT_EQ(at(ActionGroup::inspect_dns).counters.dropped_connections, 0U);
}

TEST_F(TrafficCount, TwoActionsThatDropDropOneConnection) {
  site.policy_map("http", PolicyMapType::http_inspection);
  site.act({"http"}, {ResetAction(false)});
  site.act(vip, {InspectDnsAction{1}, inspect_http("http")});
  site.count({flow(R"(,"dns":{"length":2},"http":{})")});
  EXPECT_EQ(site.counted(vip).counters.dropped_connections, 1U);
  EXPECT_EQ(at(ActionGroup::inspect_dns).counters.dropped_connections, 1U);
  EXPECT_EQ(at(ActionGroup::inspect_http).counters.dropped_connections, 1U);
}

TEST_F(TrafficCount, TwoClassesThatShareALayer7PolicyCountEachForItself) {
  site.class_map("other", ClassMapType::layer34, MatchMode::any, {AnyRule{}});
  const ClassPlace other{"traffic", "other"};
  site.add(other);
  site.policy_map("lb", PolicyMapType::http_load_balancing);
  for (const ClassPlace& each : {vip, other})
    site.act(each, {balance("lb"), VipInServiceAction{}});
  site.count({flow(), R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1})"});
  const std::uint64_t number = site.number_of({"lb"});
  EXPECT_EQ(at(ActionGroup::load_balance).layer7.at(number).matched, 1U);
  EXPECT_EQ(site.counted(other).find({ActionGroup::load_balance, {}})->layer7.at(number).matched, 1U);
}

TEST_F(TrafficCount, CountersOfLayer7ClassesComeAndGoWithThem) {
  site.policy_map("lb", PolicyMapType::http_load_balancing);
  const Number gone = site.add({"lb", "old"}, {}, LbUrlRule{".*", ""});
  site.act(vip, {balance("lb"), VipInServiceAction{}});
  site.count({flow(R"(,"http":{"url":"/"})"), flow()});
  EXPECT_EQ(at(ActionGroup::load_balance).layer7.at(gone).matched, 1U);
  site.erase({"lb", "old"});
  site.count({flow()});
  const auto& layer7 = at(ActionGroup::load_balance).layer7;
  EXPECT_FALSE(layer7.contains(gone));
  EXPECT_EQ(layer7.at(site.number_of({"lb"})).matched, 2U);
}

TEST_F(TrafficCount, ManagementFlowsThatAreNotPermittedAreDropped) {
  site.global("management", PolicyMapType::management);
  const Counters& counters = site.statistics.at(site.number_of({"management"})).counters;
  const std::string open = flow(R"(,"management":true,"event":"open")");
  site.count({open});
  site.act({"management"}, {ManagementDenyAction{}});
  site.count({open});
  EXPECT_EQ(counters.connections, 2U);
  EXPECT_EQ(counters.dropped_connections, 2U);
  EXPECT_EQ(counters.current_connections, 0U);
  site.set_actions({"management"}, {});
  site.act({"management"}, {ManagementPermitAction{}});
  site.count({open});
  EXPECT_EQ(counters.dropped_connections, 2U);
  EXPECT_EQ(counters.current_connections, 1U);
}

// Of several translations each loses what was counted of it alone.
TEST_F(TrafficCount, ATranslationThatComesAgainBeginsAtNothing) {
  const DynamicNatAction one{7, 10};
  const DynamicNatAction other{8, 10};
  const auto counted = [&](const DynamicNatAction& nat) {
    return site.counted(vip).find({ActionGroup::nat, PolicyAction(nat)})->counters.connections;
  };
  site.set_actions(vip, list_of({one, other}));
  site.count({flow()});
  site.set_actions(vip, list_of({one}));
  site.set_actions(vip, list_of({one, other}));
  site.count({flow()});
  EXPECT_EQ(counted(one), 2U);
  EXPECT_EQ(counted(other), 1U);
}

TEST_F(TrafficCount, PlacesAndTypes) {
  site.class_map("ssh", ClassMapType::management, MatchMode::any, {ManagementRule{6, 22, 22, {}, {}}});
  site.policy_map("on-vlans", PolicyMapType::layer34, {false, {20, 30}});
  site.policy_map("management", PolicyMapType::management, {false, {20}});
  site.policy_map("idle", PolicyMapType::layer34);
  site.add({"management", "ssh"}, {ManagementPermitAction{}});
  site.count({flow(R"(,"vlan":20)"), flow(R"(,"vlan":30)"), flow(R"(,"vlan":40)"), flow(),
              R"({"source":"10.0.0.1","destination":"10.1.1.1","protocol":6,"source_port":9,"destination_port":22,)"
              R"("vlan":20,"management":true})"});
  EXPECT_EQ(site.counted({"on-vlans"}).counters.connections, 2U);
  EXPECT_EQ(site.counted(vip).counters.connections, 2U);
  EXPECT_EQ(site.counted({"management", "ssh"}).counters.connections, 1U);
  EXPECT_EQ(site.counted({"management", "ssh"}).counters.dropped_connections, 0U);
  EXPECT_EQ(site.counted({"idle"}).counters.connections, 0U);
  Classifier classifier(site.context(), site.statistics);
  EXPECT_FALSE(classifier.decide(flow_of(flow(R"(,"vlan":30,"management":true)"))));
  EXPECT_FALSE(classifier.decide(flow_of(flow(R"(,"management":true)"))));
  EXPECT_FALSE(classifier.decide(flow_of(R"({"source":"::1","destination":"10.1.1.1","protocol":1})")));
}

}  // namespace
}  // namespace kvel::manager::testing::traffic_count_test
