// "explain", on a manager that gives literal explanations: as text and as documents.
#include "shell/traffic/explanation.h"

#include <gtest/gtest.h>

#include <string>

#include "kvel/status.h"
#include "rpc/calls/call_table.h"
#include "rpc/calls/service.h"
#include "tests/shell/session_on.h"

namespace kvel::shell::explanation_test {
namespace {

class ExplainService final : public rpc::Service {
 public:
  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    if (rpc::kCalls[call].name != std::string_view("kvel_explain_flow")) return Status::unknown_call;
    EXPECT_EQ(arguments[0].number, 3U);
    flow = arguments[1].text;
    if (answer.empty()) return Status::bad_arguments;
    arguments[2].response->append(answer);
    return Status::ok;
  }

  std::string answer;
  std::string flow;
};

class Explain : public ::testing::Test {
 protected:
  test::Executed explain(const std::string& answer, const std::string& line = R"(explain {"vlan":20})") {
    service.answer = answer;
    return shell.execute(line);
  }

  ExplainService service;
  test::SessionOn shell{service};

  // Two classes not matched, the third handed on to a layer-7 policy-map with an inline match.
  const std::string full =
      R"({"policies":[{"policy":"site","type":1,"applied":20,"classes":[)"
      R"({"class":"partners","matched":false,"why":"the class-map has no rules","rules":[]},)"
      R"({"class":"other vip","matched":false,"rules":[{"line":10,"rule":{"match":"virtual-address","address":"10.1.1.1",)"
      R"("mask":"255.255.255.255","protocol":6,"lower":80,"upper":80},"matched":false,)"
      R"("why":"the destination 10.1.1.2 is not 10.1.1.1"}]},)"
      R"({"class":"web","matched":true,"rules":[{"line":10,"rule":{"match":"port","protocol":6,"lower":443,"upper":443},)"
      R"("matched":false,"why":"the port 80 is not 443"},{"line":20,"rule":{"match":"any"},"matched":true}],)"
      R"("actions":[{"action":"vip-in-service"},{"action":"load-balance","policy":"shop"}],)"
      R"("policies":[{"policy":"shop","type":2,"classes":[)"
      R"({"match":"old one","matched":false,"rules":[{"rule":{"match":"http-url","expression":"/old/.*"},)"
      R"("matched":false,"why":"the URL is /images/a"}]},)"
      R"({"class":"images","matched":true,"rules":[{"line":5,"rule":{"match":"http-url","expression":"/images/.*"},)"
      R"("matched":true}],"actions":[{"action":"serverfarm","name":"pictures"}],"policies":[]}]}]}]}]})";
};

TEST_F(Explain, AsText) {
  const auto done = explain(full);
  EXPECT_EQ(done.out,
            "policy-map site (layer-3/4), applied to VLAN 20\n"
            "  class partners: not matched: the class-map has no rules\n"
            "  class \"other vip\": not matched\n"
            "    10  match virtual-address 10.1.1.1 255.255.255.255 tcp equal 80: does not match: the destination "
            "10.1.1.2 is not 10.1.1.1\n"
            "  class web: matched\n"
            "    10  match port tcp equal 443: does not match: the port 80 is not 443\n"
            "    20  match any: matches\n"
            "    -> vip in-service\n"
            "    -> load-balance policy shop\n"
            "    policy-map shop (HTTP load-balancing)\n"
            "      match \"old one\" http url /old/.*: not matched: the URL is /images/a\n"
            "      class images: matched\n"
            "        5  match http url /images/.*: matches\n"
            "        -> serverfarm pictures\n");
  EXPECT_EQ(done.outcome, Outcome::done);
}

TEST_F(Explain, RulesOfEveryTypeOfPolicyMap) {
  EXPECT_EQ(
      explain(R"({"policies":[{"policy":"m","type":5,"applied":"global","classes":[{"class":"c","matched":true,)"
              R"("rules":[{"line":10,"rule":{"match":"management","protocol":6,"lower":22,"upper":22,)"
              R"("address":"10.0.0.0","mask":"255.0.0.0"},"matched":true}],"actions":[{"action":"permission-1"}]}]}]})")
          .out,
      "policy-map m (management), applied globally\n"
      "  class c: matched\n"
      "    10  match protocol ssh source address 10.0.0.0 mask 255.0.0.0: matches\n"
      "    -> permit\n");
  EXPECT_EQ(explain(R"({"policies":[{"policy":"i","type":3,"classes":[{"class":"c","matched":true,"rules":[)"
                    R"({"line":10,"rule":{"match":"request-method","code":7},"matched":true}],)"
                    R"("actions":[{"action":"reset","log":true}]}]},)"
                    R"({"policy":"f","type":4,"classes":[{"match":"m","matched":true,"rules":[)"
                    R"({"rule":{"match":"ftp-method","code":12},"matched":true}],"actions":[{"action":"deny"}]}]}]})")
                .out,
            "policy-map i (HTTP inspection)\n"
            "  class c: matched\n"
            "    10  match request-method put: matches\n"
            "    -> reset log\n"
            "policy-map f (FTP inspection)\n"
            "  match m ftp-command stou: matched\n"
            "    -> deny\n");
}

// The last line says what becomes of the flow, and by which rule.
TEST_F(Explain, TheOutcomeComesLast) {
  const auto last_line = [this](const std::string& outcome) {
    const std::string out = explain(R"({"policies":[{"policy":"m","type":5,"applied":"global","classes":[)"
                                    R"({"class":"c","matched":true,"rules":[]}]}],"outcome":)" +
                                    outcome + "}")
                                .out;
    EXPECT_EQ(out.find("policy-map m (management), applied globally\n  class c: matched\n"), 0U);
    return out.substr(out.rfind('\n', out.size() - 2) + 1);
  };
  EXPECT_EQ(last_line(R"({"verdict":"passed","policy":"our site","type":1,"class":"class-default"})"),
            "passed by policy-map \"our site\", class class-default\n");
  EXPECT_EQ(last_line(R"({"verdict":"passed","policy":"lb","type":2,"match":"old one",)"
                      R"("action":{"action":"serverfarm","name":"our farm"}})"),
            "passed by policy-map lb, match \"old one\", serverfarm \"our farm\"\n");
  EXPECT_EQ(
      last_line(R"({"verdict":"dropped","policy":"i","type":3,"class":"c","action":{"action":"reset","log":true},)"
                R"("why":"HTTP inspection resets the connection"})"),
      "dropped by policy-map i, class c, reset log: HTTP inspection resets the connection\n");
  EXPECT_EQ(
      last_line(R"({"verdict":"permitted","policy":"m","type":5,"class":"c","action":{"action":"permission-1"}})"),
      "permitted by policy-map m, class c, permit\n");
  EXPECT_EQ(last_line(R"({"verdict":"denied","policy":"m","type":5,"class":"c","action":{"action":"permission-2"},)"
                      R"("why":"the class does not permit it"})"),
            "denied by policy-map m, class c, deny: the class does not permit it\n");
}

TEST_F(Explain, TheOutcomeInADocument) {
  EXPECT_EQ(explain(R"({"policies":[],"outcome":{"verdict":"dropped","policy":"lb","type":2,"match":"old",)"
                    R"("action":{"action":"drop"},"why":"load balancing drops the connection"}})",
                    R"(explain {"vlan":20} | xml)")
                .out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<explanation>\n"
            "  <outcome>\n"
            "    <verdict>dropped</verdict>\n"
            "    <policy>lb</policy>\n"
            "    <type>HTTP load-balancing</type>\n"
            "    <match>old</match>\n"
            "    <action>\n"
            "      <action>drop</action>\n"
            "    </action>\n"
            "    <why>load balancing drops the connection</why>\n"
            "  </outcome>\n"
            "</explanation>\n");
}

TEST_F(Explain, AsXml) {
  EXPECT_EQ(explain(R"({"policies":[{"policy":"i","type":3,"classes":[{"class":"c","matched":true,"rules":[)"
                    R"({"line":10,"rule":{"match":"request-method","code":7},"matched":false,"why":"it is <GET>"}],)"
                    R"("actions":[{"action":"reset","log":true}],"policies":[]},)"
                    R"({"match":"m","matched":false,"why":"no reason","rules":[]}]}]})",
                    R"(explain {"vlan":20} | xml)")
                .out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<explanation>\n"
            "  <policy>\n"
            "    <name>i</name>\n"
            "    <type>HTTP inspection</type>\n"
            "    <entry>\n"
            "      <class>c</class>\n"
            "      <matched>true</matched>\n"
            "      <rule>\n"
            "        <line>10</line>\n"
            "        <match>request-method</match>\n"
            "        <name>put</name>\n"
            "        <matched>false</matched>\n"
            "        <why>it is &lt;GET&gt;</why>\n"
            "      </rule>\n"
            "      <action>\n"
            "        <action>reset</action>\n"
            "        <log>true</log>\n"
            "      </action>\n"
            "    </entry>\n"
            "    <entry>\n"
            "      <match>m</match>\n"
            "      <matched>false</matched>\n"
            "      <why>no reason</why>\n"
            "    </entry>\n"
            "  </policy>\n"
            "</explanation>\n");
}

TEST_F(Explain, PoliciesLieInsideTheClassesThatAskThem) {
  const auto done = explain(full, R"(explain {"vlan":20} | json)");
  const auto document = ObjectRecord::parse(done.out);
  const auto& entries = document.at("explanation").at("policy").at("entry");
  EXPECT_EQ(document.at("explanation").at("policy").at("applied"), 20);
  EXPECT_EQ(entries.at(1).at("class"), "other vip");
  EXPECT_EQ(entries.at(2).at("rule").at(1).at("matched"), true);
  EXPECT_EQ(entries.at(2).at("policy").at("name"), "shop");
  EXPECT_EQ(entries.at(2).at("policy").at("entry").at(0).at("rule").at("expression"), "/old/.*");
}

TEST_F(Explain, NoPolicyIsAskedForAReason) {
  const std::string nothing = R"({"policies":[],"why":"no layer-3/4 policy-map is applied to VLAN 20 or globally"})";
  auto done = explain(nothing);
  EXPECT_EQ(done.out, "not classified: no layer-3/4 policy-map is applied to VLAN 20 or globally\n");
  EXPECT_EQ(done.outcome, Outcome::done);
  done = explain(nothing, R"(explain {"vlan":20} | xml)");
  EXPECT_EQ(done.out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<explanation>\n"
            "  <why>no layer-3/4 policy-map is applied to VLAN 20 or globally</why>\n"
            "</explanation>\n");
}

TEST_F(Explain, AFlowThatCannotBeReadIsAnError) {
  const auto done = explain(R"({"fault":"its vlan 5000 is above 4094"})");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.error_message, "Error: its vlan 5000 is above 4094\n");
  EXPECT_EQ(done.outcome, Outcome::failed);
  EXPECT_EQ(explain("").error_message, "Error: " + std::string(status_text(Status::bad_arguments)) + "\n");
}

TEST_F(Explain, TheFlowIsSentAsItIs) {
  const std::string nothing = R"({"policies":[],"why":"x"})";
  const std::string flow = R"({ "http" : {"url": "/a?b;c | json",  "headers": {"x": "\" | xml"}} })";
  EXPECT_EQ(explain(nothing, "explain " + flow).out, "not classified: x\n");
  EXPECT_EQ(service.flow, flow);
  EXPECT_EQ(explain(nothing, "explain " + flow + "  | json").out,
            "{\n  \"explanation\": {\n    \"why\": \"x\"\n  }\n}\n");
  EXPECT_EQ(service.flow, flow);
  EXPECT_EQ(explain(nothing, R"(explain not json)").out, "not classified: x\n");
  EXPECT_EQ(service.flow, "not json");
}

TEST_F(Explain, AnAnswerThatIsNoExplanationIsAFailedCall) {
  for (const char* answer : {"nothing", "[]", "{}", R"({"policies":1})", R"({"policies":[{}]})",
                             R"({"policies":[{"policy":"p","type":9,"classes":[]}]})",
                             R"({"policies":[{"policy":"p","type":"1","classes":[]}]})",
                             R"({"policies":[{"policy":"p","type":1,"classes":[{"matched":true}]}]})",
                             R"({"policies":[],"outcome":1})", R"({"policies":[],"outcome":{"verdict":"passed"}})"}) {
    const auto done = explain(answer);
    EXPECT_EQ(done.outcome, Outcome::failed) << answer;
    EXPECT_EQ(done.error_message, "Error: " + std::string(status_text(Status::transport)) + "\n") << answer;
  }
}

// What a newer manager answers is shown as it comes.
TEST_F(Explain, ARecordWithoutACommandIsShownAsItIs) {
  EXPECT_EQ(explain(R"({"policies":[{"policy":"p","type":1,"applied":"global","classes":[{"class":"c","matched":true,)"
                    R"("rules":[{"line":10,"rule":{"match":"moon"},"matched":true}],"actions":[{"action":"fly"}]}]}]})")
                .out,
            "policy-map p (layer-3/4), applied globally\n"
            "  class c: matched\n"
            "    10  {\"match\":\"moon\"}: matches\n"
            "    -> {\"action\":\"fly\"}\n");
}

}  // namespace
}  // namespace kvel::shell::explanation_test
