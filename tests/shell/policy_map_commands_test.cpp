// Records of policy-maps as the commands that make them: literal JSON in, literal lines out.
#include "shell/configuration/policy_map_commands.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kvel/host.h"
#include "shell/configuration/object_mode.h"

namespace kvel::shell::policy_map_commands_test {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kNoLine = "no command for this";

// Every command of the policy-map after the one that creates it; the mode of each in front.
Lines commands(const std::string& record) {
  Lines lines;
  for (const ConfigCommand& command : policy_map_commands(shell_grammar(), ObjectRecord::parse(record)))
    lines.push_back(std::string(command.mode) + ": " + render(shell_grammar(), command).value_or(kNoLine));
  return lines;
}

std::string creation(const std::string& type, const std::string& more = {}) {
  return commands(R"({"kind":"policy-map","name":"p p",)" + type + more + "}").front();
}

TEST(PolicyMapCommands, Creation) {
  EXPECT_EQ(creation(R"("type":1,"subtype":1)"), "config: policy-map \"p p\"");
  EXPECT_EQ(creation(R"("type":2,"subtype":1)"), "config: policy-map type http-load-balancing \"p p\"");
  EXPECT_EQ(creation(R"("type":2,"subtype":2)"),
            "config: policy-map type http-load-balancing advanced subtype-2 \"p p\"");
  EXPECT_EQ(creation(R"("type":3,"subtype":1)"), "config: policy-map type http-inspection \"p p\"");
  EXPECT_EQ(creation(R"("type":3,"subtype":3)"), "config: policy-map type http-inspection advanced subtype-3 \"p p\"");
  EXPECT_EQ(creation(R"("type":4,"subtype":1)"), "config: policy-map type ftp-inspection \"p p\"");
  EXPECT_EQ(creation(R"("type":4,"subtype":2)"), "config: policy-map type ftp-inspection advanced subtype-2 \"p p\"");
  EXPECT_EQ(creation(R"("type":5,"subtype":1)"), "config: policy-map type management \"p p\"");
  EXPECT_EQ(creation(R"("type":5,"subtype":2)"), "config: policy-map type management advanced subtype-2 \"p p\"");
  EXPECT_EQ(creation(R"("type":1,"subtype":2)"), "config: no command for this");
  EXPECT_EQ(creation(R"("type":3,"subtype":2)"), "config: no command for this");
  EXPECT_EQ(commands(R"({"kind":"policy-map","name":"type","type":1,"subtype":1})"),
            Lines{"config: policy-map \"type\""});
}

TEST(PolicyMapCommands, DescriptionIntervalAndEntriesInTheirOrder) {
  EXPECT_EQ(commands(R"({"kind":"policy-map","name":"front","type":1,"subtype":1,"description":"a  b","interval":20,)"
                     R"("classes":[{"line":20,"class":"c1","actions":[{"action":"security-acl"},)"
                     R"({"action":"inspect-rtsp"}]},{"line":40,"class":"c"},)"
                     R"({"line":60,"class":"class-default","actions":[{"action":"vip-option"}]}]})"),
            (Lines{"config: policy-map front", "policy-map-l3: description a  b", "policy-map-l3: renumber 20",
                   "policy-map-l3: class c1", "policy-map-l3-class: security-acl", "policy-map-l3-class: inspect rtsp",
                   "policy-map-l3: class c", "policy-map-l3: class class-default",
                   "policy-map-l3-class: vip advanced option"}));
}

TEST(PolicyMapCommands, OnlyLayer34HasAnInterval) {
  for (const std::string type : {"2", "3", "4", "5"}) {
    const Lines lines =
        commands(R"({"kind":"policy-map","name":"p","type":)" + type + R"(,"subtype":1,"interval":20})");
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines.back().ends_with(": no command for this")) << lines.back();
  }
}

TEST(PolicyMapCommands, EveryTypeHasClassesAndClassDefault) {
  const std::vector<std::pair<const char*, const char*>> types{
      {"1", "l3"}, {"2", "http-lb"}, {"3", "http-inspection"}, {"4", "ftp-inspection"}, {"5", "management"}};
  for (const auto& [type, mode] : types) {
    const Lines lines = commands(
        R"({"kind":"policy-map","name":"p","type":)" + std::string(type) +
        R"(,"subtype":1,"description":"d","classes":[{"line":10,"class":"c d"},{"line":20,"class":"class-default"}]})");
    ASSERT_EQ(lines.size(), 4U);
    const std::string prefix = "policy-map-" + std::string(mode) + ": ";
    EXPECT_EQ(lines[1], prefix + "description d");
    EXPECT_EQ(lines[2], prefix + "class \"c d\"");
    EXPECT_EQ(lines[3], prefix + "class class-default");
  }
}

// An action of a class, or of an inline match, of a policy-map of that type.
std::string action(int type, const std::string& record, bool of_match = false) {
  const PolicyMapType& row = kPolicyMapTypes.at(static_cast<std::size_t>(type) - 1);
  const auto entry = ObjectRecord::parse(of_match ? R"({"match":"m"})" : R"({"class":"c"})");
  return render(shell_grammar(), action_command(shell_grammar(), row, entry, ObjectRecord::parse(record)))
      .value_or(kNoLine);
}

struct Action {
  const char* record;
  const char* line;
};

void check_actions(int type, const std::vector<Action>& actions, bool of_match = false) {
  for (const auto& [record, line] : actions)
    EXPECT_EQ(action(type, record, of_match), line) << record;
}

TEST(PolicyMapCommands, NatActions) {
  check_actions(
      1, {{R"({"action":"nat-static","address":"10.0.0.1","mask":"255.0.0.0"})", "nat static 10.0.0.1 mask 255.0.0.0"},
          {R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255","port":80})",
           "nat static 10.0.0.1 mask 255.255.255.255 port 80"},
          {R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255","port":65535,"vlan":4094})",
           "nat static 10.0.0.1 mask 255.255.255.255 port 65535 vlan 4094"},
          {R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255","vlan":1})",
           "nat static 10.0.0.1 mask 255.255.255.255 vlan 1"},
          {R"({"action":"nat-dynamic","pool":0,"vlan":0})", "nat dynamic 0"},
          {R"({"action":"nat-dynamic","pool":4294967295,"vlan":12})", "nat dynamic 4294967295 vlan 12"},
          {R"({"action":"nat-static","address":"10.0.0.1"})", kNoLine},
          {R"({"action":"nat-static","address":"10.0.0.1","mask":"255.0.0.0","port":65536})", kNoLine},
          {R"({"action":"nat-static","address":"10.0.0.1","mask":"255.0.0.0","vlan":4095})", kNoLine},
          {R"({"action":"nat-dynamic","pool":4294967296,"vlan":0})", kNoLine}});
}

TEST(PolicyMapCommands, OtherLayer34Actions) {
  check_actions(1, {{R"({"action":"security-acl"})", "security-acl"},
                    {R"({"action":"vip-in-service"})", "vip in-service"},
                    {R"({"action":"vip-icmp-reply","when_active":false})", "vip icmp-reply"},
                    {R"({"action":"vip-icmp-reply","when_active":true})", "vip icmp-reply when-active"},
                    {R"({"action":"vip-advertise","when_active":false})", "vip advertise"},
                    {R"({"action":"vip-advertise","when_active":true})", "vip advertise when-active"},
                    {R"({"action":"vip-metric","metric":0})", "vip metric 0"},
                    {R"({"action":"vip-metric","metric":4294967295})", "vip metric 4294967295"},
                    {R"({"action":"vip-object","name":"a b"})", "vip object \"a b\""},
                    {R"({"action":"load-balance","policy":"shop"})", "load-balance policy shop"},
                    {R"({"action":"vip-option"})", "vip advanced option"},
                    {R"({"action":"inspect-http"})", "inspect http"},
                    {R"({"action":"inspect-http","policy":"h"})", "inspect http policy h"},
                    {R"({"action":"inspect-http","url_logging":true})", "inspect http url-logging"},
                    {R"({"action":"inspect-http","option":true})", "inspect http advanced option"},
                    {R"({"action":"inspect-http","policy":"url-logging","url_logging":true,"option":true})",
                     "inspect http policy url-logging url-logging advanced option"},
                    {R"({"action":"inspect-dns"})", "inspect dns"},
                    {R"({"action":"inspect-dns","max_length":512})", "inspect dns maximum-length 512"},
                    {R"({"action":"inspect-dns","max_length":4294967295})", "inspect dns maximum-length 4294967295"},
                    {R"({"action":"inspect-icmp"})", "inspect icmp"},
                    {R"({"action":"inspect-icmp","error_mode":1})", "inspect icmp advanced error-mode-1"},
                    {R"({"action":"inspect-icmp","error_mode":2})", "inspect icmp advanced error-mode-2"},
                    {R"({"action":"inspect-ftp"})", "inspect ftp"},
                    {R"({"action":"inspect-ftp","strict":true})", "inspect ftp strict"},
                    {R"({"action":"inspect-ftp","strict":true,"policy":"f"})", "inspect ftp policy f"},
                    {R"({"action":"inspect-rtsp"})", "inspect rtsp"},
                    {R"({"action":"ssl-proxy-server","name":"s"})", "ssl-proxy server s"},
                    {R"({"action":"connection-parameters","name":"c"})", "parameters connection c"},
                    {R"({"action":"application-parameters","name":"a"})", "parameters application a"},
                    {R"({"action":"vip-icmp-reply"})", kNoLine},
                    {R"({"action":"inspect-icmp","error_mode":3})", kNoLine},
                    {R"({"action":"inspect-ftp","policy":"f"})", kNoLine},
                    {R"({"action":"inspect-rtsp","more":1})", kNoLine},
                    {R"({"action":"serverfarm","name":"x"})", kNoLine},
                    {R"({"action":""})", kNoLine}});
}

TEST(PolicyMapCommands, LoadBalancingActions) {
  const std::vector<Action> shared{
      {R"({"action":"serverfarm","name":"fast"})", "serverfarm fast"},
      {R"({"action":"backup-serverfarm","name":"slow"})", "backup-serverfarm slow"},
      {R"({"action":"backup-option"})", "advanced backup-option"},
      {R"({"action":"serverfarm-option"})", "advanced serverfarm-option"},
      {R"({"action":"drop"})", "drop"},
      {R"({"action":"forward"})", "forward"},
      {R"({"action":"flag-585"})", "advanced flag-585"},
      {R"({"action":"flag-587"})", "advanced flag-587"},
      {R"({"action":"insert-header","name":"X-Client"})", "insert-header X-Client"},
      {R"({"action":"insert-header","name":"X-Client","value":"a  \"b\""})", R"(insert-header X-Client value a  "b")"},
      {R"({"action":"group","name":"g"})", "group g"},
      {R"({"action":"number-676","number":1})", "advanced number-676 1"},
      {R"({"action":"number-676","number":255})", "advanced number-676 255"},
      {R"({"action":"number-676","number":256})", kNoLine},
      {R"({"action":"permit"})", kNoLine}};
  check_actions(2, shared);
  check_actions(2, shared, true);
  EXPECT_EQ(action(2, R"({"action":"ssl-proxy-client","name":"s"})"), "ssl-proxy client s");
  EXPECT_EQ(action(2, R"({"action":"ssl-proxy-client","name":"s"})", true), kNoLine);
}

TEST(PolicyMapCommands, InspectionAndManagementActions) {
  for (const bool of_match : {false, true}) {
    check_actions(3,
                  {{R"({"action":"permit"})", "permit"},
                   {R"({"action":"permit","log":true})", "permit log"},
                   {R"({"action":"reset"})", "reset"},
                   {R"({"action":"reset","log":true})", "reset log"},
                   {R"({"action":"deny"})", kNoLine}},
                  of_match);
    check_actions(4, {{R"({"action":"deny"})", "deny"}, {R"({"action":"mask-reply"})", "mask-reply"}}, of_match);
  }
  check_actions(5, {{R"({"action":"permission-1"})", "permit"}, {R"({"action":"permission-2"})", "deny"}});
}

// An inline match, by its rule.
std::string inline_match(int type, const std::string& rule, const std::string& name = "m") {
  const PolicyMapType& row = kPolicyMapTypes.at(static_cast<std::size_t>(type) - 1);
  const auto entry = ObjectRecord::parse(R"({"line":10,"match":")" + name + R"(","rule":)" + rule + "}");
  return render(shell_grammar(), entry_command(shell_grammar(), row, entry)).value_or(kNoLine);
}

void check_rules(int type, const std::vector<Action>& rules) {
  for (const auto& [record, line] : rules)
    EXPECT_EQ(inline_match(type, record), line) << record;
}

TEST(PolicyMapCommands, InlineMatches) {
  check_rules(
      2, {{R"({"match":"http-url","expression":"/a b/.*"})", "match m http url \"/a b/.*\""},
          {R"({"match":"http-url","expression":"x","qualifier":"get"})", "match m http url x qualifier get"},
          {R"({"match":"http-cookie","name":"sid","value":"^\\d+$"})", R"(match m http cookie sid value "^\\d+$")"},
          {R"({"match":"http-cookie","name":"sid","value":"x","option":true})",
           "match m http cookie sid value x advanced option"},
          {R"({"match":"http-header","name":"Via","value":"x"})", "match m http header Via value x"},
          {R"({"match":"http-header","name":"X-Realm","value":"x"})", "match m http header X-Realm value x"},
          {R"({"match":"http-value","value":"a|b"})", "match m http value a|b"},
          {R"({"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":false})",
           "match m http source-address 10.0.0.1"},
          {R"({"match":"http-source-address","address":"10.0.0.1","mask":"255.0.0.0","mask_given":true})",
           "match m http source-address 10.0.0.1 255.0.0.0"},
          {R"({"match":"class-map","name":"images"})", kNoLine},
          {R"({"match":"url","expression":"x"})", kNoLine}});
  check_rules(3,
              {{R"({"match":"header-length","direction":"response","low":5,"high":5})",
                "match m header-length response equal 5"},
               {R"({"match":"header","name":"Host","value":"x"})", "match m header Host value x"},
               {R"({"match":"url","expression":"\\.exe$"})", R"(match m url "\\.exe$")"},
               {R"({"match":"url-length","low":0,"high":99})", "match m url-length less-than 100"},
               {R"({"match":"mime-type","code":68})", "match m mime-type text/html"},
               {R"({"match":"content","expression":"x","offset":0})", "match m content x"},
               {R"({"match":"content","expression":"x","offset":9})", "match m content x offset 9"},
               {R"({"match":"content-length","low":100,"high":4294967295})", "match m content-length greater-than 99"},
               {R"({"match":"request-method","code":1})", "match m request-method connect"},
               {R"({"match":"request-method","code":27})", "match m request-method version-control"},
               {R"({"match":"port-misuse","code":2})", "match m port-misuse peer-to-peer"},
               {R"({"match":"transfer-encoding","code":83})", "match m transfer-encoding chunked"},
               {R"({"match":"transfer-encoding","code":88})", "match m transfer-encoding trailers"},
               {R"({"match":"transfer-encoding","code":84})", kNoLine},
               {R"({"match":"kind-21"})", "match m advanced kind-21"},
               {R"({"match":"kind-22"})", "match m advanced kind-22"}});
  check_rules(4, {{R"({"match":"ftp-method","code":1})", "match m ftp-command appe"},
                  {R"({"match":"ftp-method","code":2})", "match m ftp-command cdup"},
                  {R"({"match":"ftp-method","code":12})", "match m ftp-command stou"},
                  {R"({"match":"ftp-method","code":13})", "match m ftp-command syst"},
                  {R"({"match":"ftp-method","code":14})", kNoLine}});
  EXPECT_EQ(inline_match(2, R"({"match":"http-url","expression":"x"})", "a b"), "match \"a b\" http url x");
  EXPECT_EQ(inline_match(1, R"({"match":"http-url","expression":"x"})"), kNoLine);
}

TEST(PolicyMapCommands, ThoseThatReferToOthersAreRecognised) {
  const auto names_others = [](const char* actions) {
    return names_other_policy_maps(ObjectRecord::parse(
        R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"classes":[{"line":10,"class":"c"},)"
        R"({"line":20,"class":"d","actions":[)" +
        std::string(actions) + "]}]}"));
  };
  EXPECT_TRUE(names_others(R"({"action":"vip-option"},{"action":"load-balance","policy":"shop"})"));
  EXPECT_TRUE(names_others(R"({"action":"inspect-http","policy":"h"})"));
  EXPECT_TRUE(names_others(R"({"action":"inspect-ftp","strict":true,"policy":"f"})"));
  EXPECT_FALSE(names_others(R"({"action":"inspect-http"},{"action":"vip-object","name":"x"})"));
  EXPECT_FALSE(names_other_policy_maps(ObjectRecord::parse(R"({"kind":"class-map","name":"c"})")));
}

TEST(ObjectMode, IsEnteredByTypeAndNameAlone) {
  const auto only_named = [](const char* mode, const std::vector<Token>& tokens) {
    return is_object_only_named(mode, tokens);
  };
  EXPECT_TRUE(only_named("class-map-l3", {{8, "c"}}));
  EXPECT_FALSE(only_named("class-map-l3", {{9, {}}, {8, "c"}}));
  EXPECT_TRUE(only_named("class-map-ftp-inspection", {{172, {}}, {173, "c"}}));
  EXPECT_TRUE(only_named("policy-map-l3", {{352, "p"}}));
  EXPECT_FALSE(only_named("policy-map-l3", {{351, {}}, {352, "p"}}));
  EXPECT_TRUE(only_named("policy-map-http-lb", {{502, {}}, {503, "p"}}));
  EXPECT_TRUE(only_named("policy-map-http-inspection", {{601, {}}, {603, "p"}}));
  EXPECT_TRUE(only_named("policy-map-ftp-inspection", {{651, {}}, {652, "p"}}));
  EXPECT_TRUE(only_named("policy-map-management", {{663, {}}, {665, "p"}}));
  EXPECT_FALSE(only_named("policy-map-management", {{663, {}}, {664, {}}, {665, "p"}}));
  EXPECT_FALSE(only_named("policy-map-l3-class", {{356, "c"}}));
}

}  // namespace
}  // namespace kvel::shell::policy_map_commands_test
