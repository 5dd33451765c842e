// The statistics stream of a policy-map, byte by byte: how each kind of action is encoded.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/service_policy_client.h"

namespace kvel::manager::testing::service_policy_stream_test {
namespace {

constexpr std::uint32_t kGlobal = 0;
const In kClass{"p", "c"};

class ServicePolicyStream : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("c"), Status::ok);
    ASSERT_EQ(policy_.create("p"), Status::ok);
    ASSERT_EQ(policy_.put(kClass), Status::ok);
  }

  // The last page of the policy-map without its own record.
  std::string classes(std::uint32_t detail = 1) {
    const StreamPage page = traffic_.show("p", detail);
    EXPECT_EQ(page.status, Status::ok);
    EXPECT_EQ(page.more, word(0));
    EXPECT_GE(page.bytes.size(), 260U);
    return page.bytes.substr(std::min<std::size_t>(page.bytes.size(), 260));
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
  RuleClient rule_{*manager_};
  ServicePolicyClient traffic_{*manager_};
};

TEST_F(ServicePolicyStream, APolicyMapThatIsNotApplied) {
  ASSERT_EQ(policy_.describe("p", "front door"), Status::ok);
  const StreamPage page = traffic_.show("p");
  EXPECT_EQ(page.status, Status::ok);
  EXPECT_EQ(page.bytes, policy_record(1, 0, 0, "front door") + class_record("c", 0));
  EXPECT_EQ(page.position, kStart);
  EXPECT_EQ(page.more, word(0));
}

TEST_F(ServicePolicyStream, AppliedToAllTraffic) {
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  EXPECT_EQ(traffic_.show("p").bytes, policy_record(1, 0, 1) + class_record("c", 0));
}

TEST_F(ServicePolicyStream, AppliedToVlans) {
  for (const std::uint32_t vlan : {4094U, 7U, 300U})
    ASSERT_EQ(traffic_.apply("p", vlan), Status::ok);
  EXPECT_EQ(traffic_.show("p").bytes, policy_record(1, 3, 1) + word(7) + word(300) + word(4094) + class_record("c", 0));
}

TEST_F(ServicePolicyStream, TheLongestTexts) {
  const std::string name(64, 'n');
  const std::string text(240, 't');
  ASSERT_EQ(policy_.create(name), Status::ok);
  ASSERT_EQ(policy_.describe(name, text), Status::ok);
  ASSERT_EQ(client_.create(name), Status::ok);
  ASSERT_EQ(policy_.put({name, name}), Status::ok);
  EXPECT_EQ(traffic_.show(name).bytes, policy_record(1, 0, 0, text) + class_record(name, 0));
}

TEST_F(ServicePolicyStream, ClassDefaultComesLastWhenItHasActions) {
  EXPECT_EQ(classes(), class_record("c", 0));
  ASSERT_EQ(policy_.options({"p", "class-default"}, 0x80000000), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 0) + class_record("class-default", 1) + group_record(0, 1));
}

TEST_F(ServicePolicyStream, NoClasses) {
  ASSERT_EQ(policy_.create("empty"), Status::ok);
  EXPECT_EQ(traffic_.show("empty").bytes, policy_record(0, 0, 0));
}

TEST_F(ServicePolicyStream, AManagementPolicyMapHasNoGroups) {
  ASSERT_EQ(client_.create("mc", 1), Status::ok);
  ASSERT_EQ(policy_.create("m", 5), Status::ok);
  ASSERT_EQ(policy_.put({"m", "mc"}, 5), Status::ok);
  ASSERT_EQ(policy_.permissions({"m", "mc"}, 1, 0), Status::ok);
  EXPECT_EQ(traffic_.show("m").bytes, policy_record(1, 0, 0) + class_record("mc", 0));
}

TEST_F(ServicePolicyStream, Translations) {
  ASSERT_EQ(policy_.dynamic_nat(kClass, 5, 30), Status::ok);
  ASSERT_EQ(policy_.static_nat(kClass, ip(10, 0, 0, 2), 0xffffffff, 8080, 20), Status::ok);
  ASSERT_EQ(policy_.static_nat(kClass, ip(10, 0, 0, 1)), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(1, 3) +
                           statistics_record({{8, word(1)}, {16, word(0x0a000001)}}) +
                           statistics_record({{8, word(1)}, {12, word(20)}, {16, word(0x0a000002)}, {20, "\x1f\x90"}}) +
                           statistics_record({{8, word(0)}, {12, word(5)}, {16, word(30)}}));
}

TEST_F(ServicePolicyStream, LoadBalancing) {
  ASSERT_EQ(policy_.create("lb", 2), Status::ok);
  ASSERT_EQ(policy_.vip(kClass, record(160, {{0, word(1)}, {156, word(0x80000000)}})), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(2, 1) + statistics_record({{8, word(1)}}));
  ASSERT_EQ(policy_.vip(kClass, record(160, {{4, word(2)}, {8, word(1)}, {156, word(0x60000000)}})), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(2, 1) +
                           statistics_record({{8, word(1)}, {12, word(2)}, {16, word(1)}}));
  ASSERT_EQ(
      policy_.vip(kClass, record(160, {{4, word(1)}, {12, word(4000000000)}, {85, "lb"}, {156, word(0x52000000)}})),
      Status::ok);
  EXPECT_EQ(classes(0),
            class_record("c", 1) + group_record(2, 1) +
                statistics_record({{8, word(1)}, {12, word(1)}, {16, word(1)}, {20, word(4000000000)}, {97, "lb"}}));
  // The rules come only with detail.
  EXPECT_EQ(classes(1),
            class_record("c", 1) + group_record(2, 1, 1) +
                statistics_record({{8, word(1)}, {12, word(1)}, {16, word(1)}, {20, word(4000000000)}, {97, "lb"}}) +
                rules_record(0, "lb"));
}

TEST_F(ServicePolicyStream, LoadBalancingRules) {
  ASSERT_EQ(policy_.create("lb", 2), Status::ok);
  ASSERT_EQ(client_.create("images", 2), Status::ok);
  ASSERT_EQ(policy_.put({"lb", "images"}, 2), Status::ok);
  for (const char* match : {"old", "new", "other"})
    ASSERT_EQ(policy_.url_match({"lb", match}, "/"), Status::ok);
  ASSERT_EQ(policy_.vip(kClass, record(160, {{85, "lb"}, {156, word(0x02000000)}})), Status::ok);
  const std::string start = class_record("c", 1) + group_record(2, 1, 1) + statistics_record({{97, "lb"}});
  EXPECT_EQ(classes(), start + rules_record(4, "lb") + rule_record({{4, "images"}}) + rule_record({{4, "old"}}) +
                           rule_record({{4, "new"}}) + rule_record({{4, "other"}}));

  const auto farm = record(732, {{4, "farm"}, {144, word(0x80000000)}, {728, word(0x40000000)}});
  const auto drop = record(732, {{4, word(1)}, {728, word(0x20000000)}});
  const auto forward = record(732, {{4, word(1)}, {728, word(0x10000000)}});
  const auto group = record(732, {{4, "sticky"}, {728, word(0x01000000)}});
  const auto longest = record(732, {{4, std::string(64, 'f')}, {144, word(0x80000000)}, {728, word(0x40000000)}});
  ASSERT_EQ(policy_.lb({"lb", "images"}, farm), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "lbold"}, drop), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "lbnew"}, forward), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "lbother"}, group), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "class-default"}, longest), Status::ok);
  EXPECT_EQ(classes(), start + rules_record(5, "lb") + rule_record({{4, "images"}, {153, "farm"}}) +
                           rule_record({{4, "old"}, {72, word(1)}}) + rule_record({{4, "new"}, {76, word(1)}}) +
                           rule_record({{4, "other"}}) +
                           rule_record({{4, "class-default"}, {153, std::string(64, 'f')}}));
}

TEST_F(ServicePolicyStream, HttpInspection) {
  ASSERT_EQ(policy_.create("http", 3), Status::ok);
  ASSERT_EQ(policy_.http(kClass, record(156, {{4, word(1)}})), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(3, 1) + statistics_record({{4, word(1)}}));
  ASSERT_EQ(policy_.http(kClass, record(156, {{89, "http"}})), Status::ok);
  EXPECT_EQ(classes(0), class_record("c", 1) + group_record(3, 1) + statistics_record({{81, "http"}}));
  EXPECT_EQ(classes(1),
            class_record("c", 1) + group_record(3, 1, 1) + statistics_record({{81, "http"}}) + rules_record(0, "http"));
}

TEST_F(ServicePolicyStream, HttpInspectionRules) {
  ASSERT_EQ(policy_.create("http", 3), Status::ok);
  ASSERT_EQ(policy_.http(kClass, record(156, {{89, "http"}})), Status::ok);
  for (const char* name : {"none", "permit", "reset", "permit-log", "reset-log"}) {
    ASSERT_EQ(client_.create(name, 3), Status::ok);
    ASSERT_EQ(policy_.put({"http", name}, 3), Status::ok);
  }
  ASSERT_EQ(policy_.http_verdict({"http", "permit"}, 1), Status::ok);
  ASSERT_EQ(policy_.http_verdict({"http", "reset"}, 2), Status::ok);
  ASSERT_EQ(policy_.http_verdict({"http", "permit-log"}, 3), Status::ok);
  ASSERT_EQ(policy_.http_verdict({"http", "reset-log"}, 4), Status::ok);
  ASSERT_EQ(policy_.http_verdict({"http", "class-default"}, 2), Status::ok);
  EXPECT_EQ(classes(),
            class_record("c", 1) + group_record(3, 1, 1) + statistics_record({{81, "http"}}) + rules_record(6, "http") +
                rule_record({{4, "none"}}) + rule_record({{4, "permit"}, {72, word(1)}}) +
                rule_record({{4, "reset"}, {72, word(2)}}) + rule_record({{4, "permit-log"}, {72, word(3)}}) +
                rule_record({{4, "reset-log"}, {72, word(4)}}) + rule_record({{4, "class-default"}, {72, word(2)}}));
}

TEST_F(ServicePolicyStream, OtherInspections) {
  ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
  ASSERT_EQ(policy_.rtsp(kClass), Status::ok);
  ASSERT_EQ(policy_.icmp(kClass, 2), Status::ok);
  ASSERT_EQ(policy_.dns(kClass, record(12, {{0, word(1)}, {4, word(512)}, {8, word(0x80000000)}})), Status::ok);
  ASSERT_EQ(policy_.ftp(kClass, record(72, {{0, word(1)}, {4, "ftp"}})), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 4) + group_record(4, 1) + statistics_record({{4, word(1)}, {8, "ftp"}}) +
                           group_record(5, 1) + statistics_record({{4, word(512)}}) + group_record(6, 1) +
                           statistics_record({{4, word(2)}}) + group_record(7, 1) + statistics_record({}));
}

// Connection parameters, an SSL-proxy service and the like have no place in the stream.
TEST_F(ServicePolicyStream, EveryGroupInItsOrder) {
  ASSERT_EQ(policy_.rtsp(kClass), Status::ok);
  ASSERT_EQ(policy_.dns(kClass, record(12, {})), Status::ok);
  ASSERT_EQ(policy_.icmp(kClass, 0), Status::ok);
  ASSERT_EQ(policy_.ftp(kClass, record(72, {})), Status::ok);
  ASSERT_EQ(policy_.http(kClass, record(156, {})), Status::ok);
  ASSERT_EQ(policy_.vip(kClass, record(160, {{20, "object"}, {156, word(0x04000000)}})), Status::ok);
  ASSERT_EQ(policy_.dynamic_nat(kClass, 1, 2), Status::ok);
  ASSERT_EQ(policy_.options(kClass, 0x80000000), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 8) + group_record(0, 1) + group_record(1, 1) +
                           statistics_record({{12, word(1)}, {16, word(2)}}) + group_record(2, 1) +
                           statistics_record({}) + group_record(3, 1) + statistics_record({}) + group_record(4, 1) +
                           statistics_record({}) + group_record(5, 1) + statistics_record({}) + group_record(6, 1) +
                           statistics_record({}) + group_record(7, 1) + statistics_record({}));
}

// Every counter at its place. Of two requests the second is reset with a log entry, and its connection is dropped.
TEST_F(ServicePolicyStream, Counters) {
  ASSERT_EQ(rule_.any({"c"}), Status::ok);
  ASSERT_EQ(policy_.create("http", 3), Status::ok);
  ASSERT_EQ(client_.create("puts", 3), Status::ok);
  ASSERT_EQ(rule_.code("cm_update_request_method_match", {"puts"}, 7), Status::ok);
  ASSERT_EQ(policy_.put({"http", "puts"}, 3), Status::ok);
  ASSERT_EQ(policy_.http_verdict({"http", "puts"}, 4), Status::ok);
  ASSERT_EQ(policy_.http(kClass, record(156, {{89, "http"}})), Status::ok);
  ASSERT_EQ(policy_.dynamic_nat(kClass, 5, 30), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  const std::string flow = R"({"source":"192.0.2.1","destination":"10.1.1.1","protocol":"tcp","source_port":1,)"
                           R"("destination_port":80,"client_packets":1,"server_packets":2,"client_bytes":5000000000,)"
                           R"("server_bytes":7,"event":"open","http":{"method":")";
  ASSERT_EQ(traffic_.count(flow + "GET\"}}\n" + flow + R"(PUT"}})"), Status::ok);

  // Connections, packets of clients and of servers, and their bytes.
  const std::string sums = word(2) + word(2) + word(4) + std::string("\0\0\0\2\x54\x0b\xe4\0", 8) + word(0) + word(14);
  EXPECT_EQ(classes(), class_record("c", 2) + group_record(1, 1) +
                           statistics_record({{12, word(5)}, {16, word(30)}, {168, word(1)}, {172, sums}}) +
                           group_record(3, 1, 1) +
                           statistics_record({{81, "http"},
                                              {152, word(2)},
                                              {156, word(1)},
                                              {160, word(1)},
                                              {164, word(1)},
                                              {168, word(1)},
                                              {172, sums},
                                              {200, word(1)}}) +
                           rules_record(1, "http") +
                           rule_record({{4, "puts"}, {72, word(4)}, {288, word(2)}, {292, word(1)}}));

  // Clearing leaves the connections that are open.
  ASSERT_EQ(traffic_.clear("p"), Status::ok);
  EXPECT_EQ(classes(0), class_record("c", 2) + group_record(1, 1) +
                            statistics_record({{12, word(5)}, {16, word(30)}, {168, word(1)}}) + group_record(3, 1) +
                            statistics_record({{81, "http"}, {168, word(1)}}));
}

TEST_F(ServicePolicyStream, CountersOfALayer7PolicyMap) {
  ASSERT_EQ(rule_.any({"c"}), Status::ok);
  ASSERT_EQ(policy_.create("lb", 2), Status::ok);
  ASSERT_EQ(policy_.url_match({"lb", "old"}, "/old"), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "lbold"}, record(732, {{4, word(1)}, {728, word(0x20000000)}})), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "class-default"}, record(732, {{4, word(1)}, {728, word(0x10000000)}})), Status::ok);
  ASSERT_EQ(policy_.vip(kClass, record(160, {{0, word(1)}, {85, "lb"}, {156, word(0x82000000)}})), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  const std::string flow = R"({"source":"192.0.2.1","destination":"10.1.1.1","protocol":"tcp","source_port":1,)"
                           R"("destination_port":80,"http":{"method":"GET","url":"/)";
  ASSERT_EQ(traffic_.count(flow + "old\"}}\n" + flow + "new\"}}\n" + flow + "\"}}\n"), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(2, 1, 1) +
                           statistics_record({{8, word(1)}, {97, "lb"}, {172, word(3)}, {200, word(1)}}) +
                           rules_record(2, "lb") +
                           rule_record({{4, "old"}, {72, word(1)}, {292, word(1)}, {320, word(1)}}) +
                           rule_record({{4, "class-default"}, {76, word(1)}, {292, word(2)}}));
}

TEST_F(ServicePolicyStream, CountersOfFtpInspection) {
  ASSERT_EQ(rule_.any({"c"}), Status::ok);
  ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
  ASSERT_EQ(policy_.ftp_match({"ftp", "put"}, 7), Status::ok);
  ASSERT_EQ(policy_.ftp_verdict({"ftp", "ftpput"}, 5), Status::ok);
  ASSERT_EQ(policy_.ftp_verdict({"ftp", "class-default"}, 6), Status::ok);
  ASSERT_EQ(policy_.ftp(kClass, record(72, {{0, word(1)}, {4, "ftp"}})), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  const std::string flow = R"({"source":"192.0.2.1","destination":"10.1.1.1","protocol":"tcp","source_port":1,)"
                           R"("destination_port":21,"ftp":{"command":")";
  ASSERT_EQ(traffic_.count(flow + "STOR\"}}\n" + flow + "SYST\"}}\n" + flow + "CWD\"}}\n"), Status::ok);
  EXPECT_EQ(
      classes(),
      class_record("c", 1) + group_record(4, 1) +
          statistics_record({{4, word(1)}, {8, "ftp"}, {80, word(2)}, {84, word(1)}, {172, word(3)}, {200, word(1)}}));
}

// A counter does not come around.
TEST_F(ServicePolicyStream, ACounterBeyond32BitsStaysAtTheLargest) {
  ASSERT_EQ(rule_.any({"c"}), Status::ok);
  ASSERT_EQ(policy_.rtsp(kClass), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  const std::string flow = R"({"source":"192.0.2.1","destination":"10.1.1.1","protocol":"icmp",)"
                           R"("client_packets":4294967295,"server_packets":4294967295})";
  ASSERT_EQ(traffic_.count(flow + "\n" + flow), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 1) + group_record(7, 1) +
                           statistics_record({{172, word(2)}, {176, word(0xffffffff)}, {180, word(0xffffffff)}}));
}

// Counters go with the action that they are of.
TEST_F(ServicePolicyStream, AnActionThatComesAgainBeginsAt0) {
  ASSERT_EQ(rule_.any({"c"}), Status::ok);
  ASSERT_EQ(policy_.rtsp(kClass), Status::ok);
  ASSERT_EQ(policy_.dynamic_nat(kClass, 5, 30), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  ASSERT_EQ(traffic_.count(R"({"source":"192.0.2.1","destination":"10.1.1.1","protocol":"icmp"})"), Status::ok);
  ASSERT_EQ(policy_.rtsp({"p", "c", 0}), Status::ok);
  ASSERT_EQ(policy_.rtsp(kClass), Status::ok);
  EXPECT_EQ(classes(), class_record("c", 2) + group_record(1, 1) +
                           statistics_record({{12, word(5)}, {16, word(30)}, {172, word(1)}}) + group_record(7, 1) +
                           statistics_record({}));
}

TEST_F(ServicePolicyStream, WhatCannotBeShown) {
  ASSERT_EQ(policy_.create("lb", 2), Status::ok);
  EXPECT_EQ(traffic_.show("nowhere").status, Status::policy_map_not_found);
  EXPECT_EQ(traffic_.show("lb").status, Status::policy_not_applicable);
  EXPECT_EQ(traffic_.show("p", 2).status, Status::bad_arguments);
  EXPECT_EQ(traffic_.clear("nowhere"), Status::policy_map_not_found);
  EXPECT_EQ(traffic_.clear("lb"), Status::policy_not_applicable);
  EXPECT_EQ(traffic_.clear("p"), Status::ok);
}

TEST_F(ServicePolicyStream, WithoutANameTheOneThatIsApplied) {
  const StreamPage nothing = traffic_.show("");
  EXPECT_EQ(nothing.status, Status::ok);
  EXPECT_EQ(nothing.bytes, "");
  EXPECT_EQ(nothing.more, word(0));
  ASSERT_EQ(policy_.create("q"), Status::ok);
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  EXPECT_EQ(traffic_.show("").bytes, policy_record(1, 1, 1) + word(10) + class_record("c", 0));
  ASSERT_EQ(traffic_.apply("q", kGlobal), Status::ok);
  EXPECT_EQ(traffic_.show("").status, Status::policy_name_needed);
  EXPECT_EQ(traffic_.clear(""), Status::ok);
}

}  // namespace
}  // namespace kvel::manager::testing::service_policy_stream_test
