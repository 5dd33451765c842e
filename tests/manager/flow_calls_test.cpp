// The calls that count flows and explain one, through the service.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/failing_allocation.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::flow_calls_test {
namespace {

using namespace std::string_literals;

const std::string kFlow =
    R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":80})";

class FlowCalls : public ::testing::Test {
 protected:
  // A response argument is apart from the values of other calls.
  Text ask(std::string_view name, std::vector<rpc::Argument> arguments) {
    rpc::ResponseBuffer response;
    arguments.push_back(holder(response));
    const Status status = manager->call(rpc::find_call(name), arguments);
    return {status, {reinterpret_cast<const char*>(response.bytes().data()), response.size()}};
  }
  static rpc::Argument argument(rpc::ArgType type, std::uint32_t number, std::string_view text = {}) {
    rpc::Argument made;
    made.type = type;
    made.number = number;
    made.text = text;
    return made;
  }
  static rpc::Argument holder(rpc::ResponseBuffer& response) {
    rpc::Argument made;
    made.type = rpc::ArgType::response;
    made.response = &response;
    return made;
  }
  Text count(const std::string& lines, std::uint32_t first_line = 1, std::uint16_t context = 0) {
    return ask("kvel_count_flows", {argument(rpc::ArgType::u16, context), argument(rpc::ArgType::u32, first_line),
                                    argument(rpc::ArgType::string, 0, lines)});
  }
  Text explain(const std::string& flow) {
    return ask("kvel_explain_flow", {argument(rpc::ArgType::u16, 0), argument(rpc::ArgType::string, 0, flow)});
  }
  Status apply(const std::string& policy, std::uint32_t vlan = 0, std::uint32_t add = 1) {
    return call(*manager, "kvel_apply_policy", {u16(0), session(), string(policy), u32(vlan), u8(add)});
  }

  // A virtual address in service with load balancing, for all traffic.
  void configure() {
    ASSERT_EQ(client.create("web", 0, kMatchAny), Status::ok);
    ASSERT_EQ(rules.vip({"web"}, ip(10, 1, 1, 1)), Status::ok);
    ASSERT_EQ(client.create("images", 2, kMatchAny), Status::ok);
    ASSERT_EQ(rules.lb_url({"images"}, "/img/.*"), Status::ok);
    ASSERT_EQ(policies.create("lb", 2), Status::ok);
    ASSERT_EQ(policies.put({"lb", "images"}, 2), Status::ok);
    ASSERT_EQ(policies.url_match({"lb", "old"}, "/old"), Status::ok);
    ASSERT_EQ(policies.create("site"), Status::ok);
    ASSERT_EQ(policies.put({"site", "web"}), Status::ok);
    // In service, and handed to "lb".
    ASSERT_EQ(policies.vip({"site", "web"}, record(160, {{0, word(1)}, {85, "lb"}, {156, word(0x82000000)}})),
              Status::ok);
    ASSERT_EQ(apply("site"), Status::ok);
  }

  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<NullStore>()).value();
  Client client{*manager};
  RuleClient rules{*manager};
  PolicyClient policies{*manager};
};

TEST_F(FlowCalls, NoLines) {
  const std::string none = R"({"flows":0,"classified":0,"unclassified":0,"refused":0,"faults":[]})";
  for (const std::string& lines : {""s, "\n"s, "\n\n \t\r\n"s}) {
    const Text answer = count(lines);
    EXPECT_EQ(answer.status, Status::ok);
    EXPECT_EQ(answer.text, none);
  }
}

TEST_F(FlowCalls, FaultsComeWithTheirLines) {
  configure();
  const std::string lines = kFlow + "\r\n" +                                                           // 7
                            "\n" +                                                                     // 8
                            "{\"source\":\n" +                                                         // 9
                            R"({"source":"::1","destination":"10.1.1.1","protocol":"icmp"})" + "\n" +  // 10
                            "  \r\n" +                                                                 // 11
                            R"({"destination_port":70000})" + "\n" +                                   // 12
                            kFlow;                                                                     // 13
  EXPECT_EQ(count(lines, 7).text, R"({"flows":5,"classified":2,"unclassified":1,"refused":2,"faults":[)"
                                  R"({"line":9,"fault":"it is no JSON from byte 11 on"},)"
                                  R"({"line":12,"fault":"its destination_port 70000 is above 65535"}]})");
}

TEST_F(FlowCalls, ALineNumberBeyond32Bits) {
  EXPECT_EQ(count("\n{", 4294967295).text, R"({"flows":1,"classified":0,"unclassified":0,"refused":1,"faults":[)"
                                           R"({"line":4294967296,"fault":"it is no JSON from byte 2 on"}]})");
}

TEST_F(FlowCalls, AHundredFaultsAreReported) {
  std::string lines;
  for (int line = 0; line < 101; ++line)
    lines += "x\n";
  const auto answer = nlohmann::json::parse(count(lines).text);
  EXPECT_EQ(answer["flows"], 101);
  EXPECT_EQ(answer["refused"], 101);
  EXPECT_EQ(answer["faults"].size(), 100U);
  EXPECT_EQ(answer["faults"].back()["line"], 100);
}

TEST_F(FlowCalls, FaultsAreWellFormedWhateverTheLineHolds) {
  for (const std::string& line :
       {"{\"a\x01\":1}"s, "{\"\xff\":1}"s, R"({"\u0000\"\\":1})"s, "{\"source\":\"\\ud83d\\ude00\\u0007\"}"s}) {
    const Text answer = count(line);
    EXPECT_EQ(answer.status, Status::ok);
    EXPECT_FALSE(nlohmann::json::parse(answer.text, nullptr, false).is_discarded()) << answer.text;
  }
}

TEST_F(FlowCalls, AChangeOfTheConfigurationIsSeen) {
  const auto classified = [&] { return nlohmann::json::parse(count(kFlow).text)["classified"]; };
  EXPECT_EQ(classified(), 0);
  configure();
  EXPECT_EQ(classified(), 1);
  ASSERT_EQ(apply("site", 0, 0), Status::ok);
  EXPECT_EQ(classified(), 0);
  ASSERT_EQ(apply("site", 20), Status::ok);
  EXPECT_EQ(classified(), 0);
  ASSERT_EQ(apply("site", 20, 0), Status::ok);
  // All that the classifier knew goes.
  ASSERT_EQ(policies.remove("site"), Status::ok);
  ASSERT_EQ(policies.remove("lb", 2), Status::ok);
  ASSERT_EQ(client.remove("web"), Status::ok);
  EXPECT_EQ(classified(), 0);
}

TEST_F(FlowCalls, AFailingAllocationFailsTheCallAndNoMore) {
  ASSERT_EQ(client.create("web", 0, kMatchAny), Status::ok);
  ASSERT_EQ(rules.vip({"web"}, ip(10, 1, 1, 1)), Status::ok);
  ASSERT_EQ(policies.create("site"), Status::ok);
  ASSERT_EQ(policies.put({"site", "web"}), Status::ok);
  ASSERT_EQ(policies.options({"site", "web"}, 0x80000000U), Status::ok);
  const std::string lines = kFlow + "\n{\n" + kFlow;
  std::uint64_t before = 0;
  for (bool failed = true; failed; ++before) {
    ASSERT_LT(before, 10000U);
    // Each time with a classifier to be made.
    ASSERT_EQ(apply("site"), Status::ok);
    rpc::ResponseBuffer response;
    const std::array arguments{argument(rpc::ArgType::u16, 0), argument(rpc::ArgType::u32, 1),
                               argument(rpc::ArgType::string, 0, lines), holder(response)};
    const std::size_t row = rpc::find_call("kvel_count_flows");
    Status status = Status::ok;
    {
      const FailingAllocation failing(before);
      status = manager->call(row, arguments);
      failed = FailingAllocation::has_failed();
    }
    EXPECT_EQ(status, failed ? Status::internal : Status::ok) << before;
    EXPECT_EQ(nlohmann::json::parse(count(lines).text)["classified"], 2);
    ASSERT_EQ(apply("site", 0, 0), Status::ok);
  }
  EXPECT_GT(before, 20U);
}

TEST_F(FlowCalls, AnotherContextHasItsOwnPolicies) {
  configure();
  EXPECT_EQ(count(kFlow, 1, 1).text, R"({"flows":1,"classified":0,"unclassified":1,"refused":0,"faults":[]})");
}

TEST_F(FlowCalls, ExplainsAMatch) {
  configure();
  const std::string flow =
      R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":80,)"
      R"("http":{"url":"/old"}})";
  EXPECT_EQ(
      explain(flow).text,
      R"({"policies":[{"policy":"site","type":1,"applied":"global","classes":[)"
      R"({"class":"web","matched":true,"rules":[{"line":10,"rule":{"match":"virtual-address","address":"10.1.1.1",)"
      R"("mask":"255.255.255.255","protocol":6,"lower":80,"upper":80},"matched":true}],)"
      R"("actions":[{"action":"vip-in-service"},{"action":"load-balance","policy":"lb"}],)"
      R"("policies":[{"policy":"lb","type":2,"classes":[)"
      R"({"class":"images","matched":false,"rules":[{"line":10,"rule":{"match":"http-url","expression":"/img/.*"},)"
      R"("matched":false,"why":"the URL \"/old\" does not match"}]},)"
      R"({"match":"old","matched":true,"rules":[{"rule":{"match":"http-url","expression":"/old"},"matched":true}],)"
      R"("actions":[],"policies":[]}]}]}]}],)"
      R"("outcome":{"verdict":"passed","policy":"lb","type":2,"match":"old"}})");
}

TEST_F(FlowCalls, ExplainsAMiss) {
  ASSERT_EQ(client.create("empty", 0, kMatchAny), Status::ok);
  ASSERT_EQ(policies.create("site"), Status::ok);
  ASSERT_EQ(policies.put({"site", "empty"}), Status::ok);
  ASSERT_EQ(apply("site", 20), Status::ok);
  const std::string flow = R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"icmp","vlan":20})";
  EXPECT_EQ(explain(flow).text,
            R"({"policies":[{"policy":"site","type":1,"applied":20,"classes":[)"
            R"({"class":"empty","matched":false,"why":"a class-map without rules matches nothing","rules":[]},)"
            R"({"class":"class-default","matched":true,"why":"it takes what no class before it takes","rules":[],)"
            R"("actions":[],"policies":[]}]}],)"
            R"("outcome":{"verdict":"passed","policy":"site","type":1,"class":"class-default"}})");
}

TEST_F(FlowCalls, ExplainsADrop) {
  configure();
  ASSERT_EQ(policies.vip({"site", "web", 0}, record(160, {{0, word(1)}, {156, word(0x80000000)}})), Status::ok);
  const auto answer = nlohmann::json::parse(explain(kFlow).text);
  const auto& matched = answer["policies"][0]["classes"][0];
  EXPECT_EQ(matched["dropped"], "the virtual address is not in service");
  EXPECT_TRUE(matched["policies"].empty());
}

// Each way in which a flow can end, with the rule that decided.
TEST_F(FlowCalls, ExplainsTheOutcome) {
  configure();
  ASSERT_EQ(client.create("puts", 3, kMatchAny), Status::ok);
  ASSERT_EQ(rules.code("cm_update_request_method_match", {"puts"}, 7), Status::ok);
  ASSERT_EQ(policies.create("requests", 3), Status::ok);
  ASSERT_EQ(policies.put({"requests", "puts"}, 3), Status::ok);
  ASSERT_EQ(policies.http_verdict({"requests", "puts"}, 4), Status::ok);
  ASSERT_EQ(policies.create("commands", 4), Status::ok);
  ASSERT_EQ(policies.ftp_match({"commands", "store"}, 12), Status::ok);
  ASSERT_EQ(policies.ftp_verdict({"commands", "commandsstore"}, 5), Status::ok);
  ASSERT_EQ(policies.lb({"lb", "images"}, record(732, {{4, "farm"}, {144, word(0x80000000)}, {728, word(0x40000000)}})),
            Status::ok);
  const auto outcome = [&](const std::string& members) {
    const auto answer = nlohmann::json::parse(explain(kFlow.substr(0, kFlow.size() - 1) + members + "}").text);
    return answer["outcome"].dump();
  };
  const auto in_service = [&](std::uint32_t add) {
    return policies.vip({"site", "web", add}, record(160, {{0, word(1)}, {156, word(0x80000000)}}));
  };
  EXPECT_EQ(outcome(R"(,"http":{"url":"/img/a"})"),
            R"({"action":{"action":"serverfarm","name":"farm"},"class":"images","policy":"lb","type":2,)"
            R"("verdict":"passed"})");
  ASSERT_EQ(policies.lb({"lb", "images"}, record(732, {{728, word(0x20000000)}})), Status::ok);
  EXPECT_EQ(outcome(R"(,"http":{"url":"/img/a"})"),
            R"({"action":{"action":"drop"},"class":"images","policy":"lb","type":2,"verdict":"dropped",)"
            R"("why":"load balancing drops the connection"})");
  // What is decided first is told.
  ASSERT_EQ(in_service(0), Status::ok);
  EXPECT_EQ(outcome(R"(,"http":{"url":"/img/a"})"),
            R"({"action":{"action":"load-balance","policy":"lb"},"class":"web","policy":"site","type":1,)"
            R"("verdict":"dropped","why":"the virtual address is not in service"})");
  ASSERT_EQ(in_service(1), Status::ok);

  ASSERT_EQ(policies.http({"site", "web"}, record(156, {{89, "requests"}})), Status::ok);
  EXPECT_EQ(outcome(R"(,"http":{"method":"PUT","url":"/"})"),
            R"({"action":{"action":"reset","log":true},"class":"puts","policy":"requests","type":3,)"
            R"("verdict":"dropped","why":"HTTP inspection resets the connection"})");
  ASSERT_EQ(policies.ftp({"site", "web"}, record(72, {{4, "commands"}})), Status::ok);
  EXPECT_EQ(outcome(R"(,"ftp":{"command":"STOU"})"),
            R"({"action":{"action":"deny"},"match":"store","policy":"commands","type":4,"verdict":"dropped",)"
            R"("why":"FTP inspection denies the command"})");
  ASSERT_EQ(policies.dns({"site", "web"}, record(12, {{0, word(1)}, {4, word(512)}, {8, word(0x80000000)}})),
            Status::ok);
  EXPECT_EQ(outcome(R"(,"dns":{"length":513})"),
            R"({"action":{"action":"inspect-dns","max_length":512},"class":"web","policy":"site","type":1,)"
            R"("verdict":"dropped","why":"the DNS message is too long"})");
  EXPECT_EQ(outcome(R"(,"dns":{"length":512})"),
            R"({"class":"class-default","policy":"lb","type":2,"verdict":"passed"})");
}

TEST_F(FlowCalls, ExplainsTheOutcomeOfAManagementFlow) {
  ASSERT_EQ(client.create("operators", 1, kMatchAny), Status::ok);
  ASSERT_EQ(rules.management({"operators"}, 6, 80, 80), Status::ok);
  ASSERT_EQ(policies.create("access", 5), Status::ok);
  ASSERT_EQ(policies.put({"access", "operators"}, 5), Status::ok);
  ASSERT_EQ(apply("access"), Status::ok);
  const auto answer = [&](const std::string& flow) {
    return nlohmann::json::parse(explain(flow.substr(0, flow.size() - 1) + R"(,"management":true})").text);
  };
  const auto outcome = [&] { return answer(kFlow)["outcome"].dump(); };
  const In in{"access", "operators"};
  const In out{"access", "operators", 0};
  EXPECT_EQ(outcome(), R"({"class":"operators","policy":"access","type":5,"verdict":"denied",)"
                       R"("why":"the class does not permit it"})");
  ASSERT_EQ(policies.permissions(in, 1, 0), Status::ok);
  EXPECT_EQ(outcome(), R"({"action":{"action":"permission-1"},"class":"operators","policy":"access","type":5,)"
                       R"("verdict":"permitted"})");
  EXPECT_FALSE(answer(kFlow)["policies"][0]["classes"][0].contains("dropped"));
  ASSERT_EQ(policies.permissions(out, 1, 0), Status::ok);
  ASSERT_EQ(policies.permissions(in, 0, 1), Status::ok);
  EXPECT_EQ(outcome(), R"({"action":{"action":"permission-2"},"class":"operators","policy":"access","type":5,)"
                       R"("verdict":"denied","why":"the class does not permit it"})");
  EXPECT_EQ(answer(kFlow)["policies"][0]["classes"][0]["dropped"], "the class does not permit it");
  const std::string ping = R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"udp","source_port":1,)"
                           R"("destination_port":9})";
  EXPECT_EQ(answer(ping)["outcome"].dump(), R"({"class":"class-default","policy":"access","type":5,"verdict":"denied",)"
                                            R"("why":"the class does not permit it"})");
}

TEST_F(FlowCalls, ExplainsWhyNoPolicyIsAsked) {
  EXPECT_EQ(explain(kFlow).text, R"({"policies":[],"why":"no layer-3/4 policy-map is applied globally"})");
  EXPECT_EQ(explain(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,"vlan":20})").text,
            R"({"policies":[],"why":"no layer-3/4 policy-map is applied to VLAN 20 or globally"})");
  EXPECT_EQ(explain(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":1,"vlan":20,"management":true})").text,
            R"({"policies":[],"why":"no management policy-map is applied to VLAN 20 or globally"})");
  EXPECT_EQ(explain(R"({"source":"::1","destination":"10.0.0.2","protocol":1})").text,
            R"({"policies":[],"why":"its source is an IPv6 address"})");
  EXPECT_EQ(explain(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":"chaos"})").text,
            R"({"policies":[],"why":"its protocol \"chaos\" is not known"})");
}

TEST_F(FlowCalls, ExplainsWhatIsWrongWithAFlow) {
  const Text answer = explain(R"({"vlan":5000})");
  EXPECT_EQ(answer.status, Status::ok);
  EXPECT_EQ(answer.text, R"({"fault":"its vlan 5000 is above 4094"})");
  EXPECT_EQ(explain("").text, R"({"fault":"it is no JSON from byte 1 on"})");
}

}  // namespace
}  // namespace kvel::manager::testing::flow_calls_test
