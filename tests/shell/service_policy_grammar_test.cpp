// The commands of service policies and of traffic: which tokens each line yields, and which lines are refused.
#include <gtest/gtest.h>

#include "tests/shell/typed_lines.h"

namespace kvel::shell::service_policy_grammar_test {
namespace {

using test::number_token;
using test::string_token;
using test::Tokens;
using test::word_token;

class ServicePolicyGrammar : public test::TypedLines {
 protected:
  const test::Stack top = inside({});
  const test::Stack in_class = inside({"policy-map p", "class c"});

  // A command of the shell's own, typed in the top mode.
  void runs(const std::string& line, std::string_view id, const Tokens& tokens, bool negated = false) {
    SCOPED_TRACE(line);
    const auto matched = match(grammar, top, line);
    ASSERT_TRUE(matched) << describe(matched.error());
    EXPECT_EQ(matched->command->shell_command, id);
    EXPECT_EQ(matched->negated, negated);
    EXPECT_EQ(matched->tokens, tokens);
  }
};

TEST_F(ServicePolicyGrammar, ShowsOneByTheHandler) {
  for (const test::Stack& stack : {top, in_class}) {
    accepts(stack, "show service-policy site", "kvelpolicymap_show_servicepolicy", {string_token(902, "site")});
    accepts(stack, "show service-policy site detail", "kvelpolicymap_show_servicepolicy",
            {string_token(902, "site"), word_token(903)});
    accepts(stack, "sh se site d", "kvelpolicymap_show_servicepolicy", {string_token(902, "site"), word_token(903)});
    accepts(stack, "show service-policy \"detail\"", "kvelpolicymap_show_servicepolicy", {string_token(902, "detail")});
    accepts(stack, "show service-policy det", "kvelpolicymap_show_servicepolicy", {string_token(902, "det")});
  }
  const auto shown = match(grammar, top, "show service-policy site");
  EXPECT_TRUE(shown->command->fresh_module);
  EXPECT_TRUE(shown->command->filterable);
  EXPECT_EQ(refusal(top, "no show service-policy site"),
            "unknown word \"show\"\nexpected:\n  class-map\n  inline-match\n  parameter-map\n  policy-map\n  "
            "service-policy\n  ssl-proxy");
  EXPECT_EQ(refusal(top, "show service-policy site more"), "unknown word \"more\"; expected: detail, <cr>");
  EXPECT_EQ(refusal(top, "show service-policy " + std::string(65, 'x')), "NAME is too long: at most 64 characters");
}

TEST_F(ServicePolicyGrammar, ShowsAllByItself) {
  runs("show service-policy", "show service-policy", {});
  runs("show service-policy detail", "show service-policy", {word_token(903)});
  EXPECT_TRUE(match(grammar, top, "show service-policy")->command->fresh_module);
  EXPECT_EQ(help(top, "show service-policy "), (std::vector<std::string>{"detail", "NAME", "<cr>"}));
  EXPECT_EQ(complete_at(grammar, top, "show service-policy ").hooks,
            std::vector<std::string_view>{"policymap_completionhook"});
}

TEST_F(ServicePolicyGrammar, ClearsByTheHandler) {
  for (const test::Stack& stack : {top, in_class}) {
    accepts(stack, "clear service-policy", "kvelpolicymap_clear_servicepolicy", {});
    accepts(stack, "clear service-policy \"a b\"", "kvelpolicymap_clear_servicepolicy", {string_token(1500, "a b")});
  }
  EXPECT_FALSE(match(grammar, top, "clear service-policy")->command->filterable);
  EXPECT_EQ(refusal(top, "clear"), "incomplete command; expected: service-policy");
  EXPECT_EQ(refusal(top, "clear service-policy site now"), "unexpected word \"now\"; expected: <cr>");
}

TEST_F(ServicePolicyGrammar, AppliesPolicyMapsAtTheTop) {
  runs("service-policy site global", "service-policy", {string_token(0x10001, "site")});
  runs("service-policy site vlan 1", "service-policy", {string_token(0x10001, "site"), number_token(0x10002, 1)});
  runs("no service-policy site vlan 4094", "service-policy",
       {string_token(0x10001, "site"), number_token(0x10002, 4094)}, true);
  runs("no ser site g", "service-policy", {string_token(0x10001, "site")}, true);
  EXPECT_EQ(match(grammar, in_class, "service-policy site global")->level, 0U);
  EXPECT_EQ(complete_at(grammar, top, "service-policy s").hooks,
            std::vector<std::string_view>{"policymap_completionhook"});
}

TEST_F(ServicePolicyGrammar, RefusesOtherTargets) {
  EXPECT_EQ(refusal(top, "service-policy"), "incomplete command; expected: NAME");
  EXPECT_EQ(refusal(top, "service-policy site"), "incomplete command; expected: global, vlan");
  EXPECT_EQ(refusal(top, "service-policy site vlan 0"), "\"0\" is out of range; expected: <1-4094>");
  EXPECT_EQ(refusal(top, "service-policy site vlan 4095"), "\"4095\" is out of range; expected: <1-4094>");
  EXPECT_EQ(refusal(top, "service-policy site vlan -1"), "\"-1\" is not a number; expected: <1-4094>");
  EXPECT_EQ(refusal(top, "service-policy site vlan 10 20"), "unexpected word \"20\"; expected: <cr>");
  EXPECT_EQ(refusal(top, "service-policy \"\" global"), "NAME must not be empty");
}

TEST_F(ServicePolicyGrammar, TrafficTakesOneFile) {
  runs("traffic flows.jsonl", "traffic", {string_token(0x10003, "flows.jsonl")});
  runs("traffic \"my flows\"", "traffic", {string_token(0x10003, "my flows")});
  runs("traffic -", "traffic", {string_token(0x10003, "-")});
  runs("traffic " + std::string(4095, 'f'), "traffic", {string_token(0x10003, std::string(4095, 'f'))});
  EXPECT_FALSE(match(grammar, top, "traffic " + std::string(4096, 'f')));
  EXPECT_EQ(refusal(top, "traffic"), "incomplete command; expected: FILE");
  EXPECT_EQ(refusal(top, "traffic a b"), "unexpected word \"b\"; expected: <cr>");
}

TEST_F(ServicePolicyGrammar, ExplainTakesTheFlowAsItIs) {
  const auto explains = [&](const std::string& typed, const std::string& flow) {
    runs("explain " + typed, "explain", {string_token(0x10004, flow)});
  };
  explains(R"({"source":"10.0.0.1"})", R"({"source":"10.0.0.1"})");
  explains(R"({ "source" : "10.0.0.1",	"vlan": 20 }  )", R"({ "source" : "10.0.0.1",	"vlan": 20 })");
  explains(R"({"http":{"url":"/a b|c;d \" \\ x"}})", R"({"http":{"url":"/a b|c;d \" \\ x"}})");
  explains("\"{\\\"vlan\\\":1}\"", R"({"vlan":1})");
  explains("no flow", "no flow");
  const std::string longest = "{\"vlan\":" + std::string(16375, ' ') + "}";
  explains(longest, longest);
  EXPECT_FALSE(match(grammar, top, "explain " + std::string(16385, '1')));
  // More blanks than a line may have words.
  std::string flow = "{\"content\":[";
  for (int i = 0; i < 300; ++i)
    flow += "1 , ";
  explains(flow + "1]}", flow + "1]}");
}

}  // namespace
}  // namespace kvel::shell::service_policy_grammar_test
