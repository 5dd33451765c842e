// Policy-maps and their classes: exact tokens (keyword ids as plain numbers), modes, and what is carried into them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "tests/shell/typed_lines.h"

namespace kvel::shell::policy_map_grammar_test {
namespace {

using test::number_token;
using test::Stack;
using test::string_token;
using test::Tokens;
using test::word_token;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class PolicyMapGrammar : public test::TypedLines {
 protected:
  const Stack top = inside({});
};

TEST_F(PolicyMapGrammar, CreatesAndDeletesEveryType) {
  const char* const handler = "kvelpolicymap_config";
  accepts_both(top, "policy-map p", handler, {string_token(352, "p")});
  accepts_both(top, "policy-map advanced subtype-1 p", handler, {word_token(351), string_token(352, "p")});
  accepts_both(top, "policy-map type http-load-balancing p", handler, {word_token(502), string_token(503, "p")});
  accepts_both(top, "policy-map type http-load-balancing advanced subtype-2 p", handler,
               {word_token(502), word_token(530), string_token(503, "p")});
  accepts_both(top, "policy-map type http-inspection p", handler, {word_token(601), string_token(603, "p")});
  accepts_both(top, "policy-map type http-inspection advanced subtype-3 p", handler,
               {word_token(601), word_token(602), string_token(603, "p")});
  accepts_both(top, "policy-map type ftp-inspection p", handler, {word_token(651), string_token(652, "p")});
  accepts_both(top, "policy-map type ftp-inspection advanced subtype-2 p", handler,
               {word_token(651), word_token(654), string_token(652, "p")});
  accepts_both(top, "policy-map type management p", handler, {word_token(663), string_token(665, "p")});
  accepts_both(top, "policy-map type management advanced subtype-2 p", handler,
               {word_token(663), word_token(664), string_token(665, "p")});
  EXPECT_EQ(reached, (std::set<KeywordId>{351, 352, 502, 503, 530, 601, 602, 603, 651, 652, 654, 663, 664, 665}));
}

TEST_F(PolicyMapGrammar, TheTypeAndTheNameAreCarried) {
  opens(top, "policy-map p", "policy-map-l3", {string_token(352, "p")});
  opens(top, "policy-map advanced subtype-1 p", "policy-map-l3", {string_token(352, "p")});
  opens(top, "policy-map type http-load-balancing advanced subtype-2 p", "policy-map-http-lb",
        {word_token(502), string_token(503, "p")});
  opens(top, "policy-map type http-inspection advanced subtype-3 p", "policy-map-http-inspection",
        {word_token(601), string_token(603, "p")});
  opens(top, "policy-map type ftp-inspection p", "policy-map-ftp-inspection",
        {word_token(651), string_token(652, "p")});
  opens(top, "policy-map type management p", "policy-map-management", {word_token(663), string_token(665, "p")});
  EXPECT_EQ(prompt_of(inside({"policy-map type management p"})), "config-policy-map p");
}

TEST_F(PolicyMapGrammar, EveryTypeHasASubTypeOfItsOwn) {
  EXPECT_EQ(refusal(top, "policy-map advanced subtype-2 p"),
            "unknown word \"subtype-2\" (did you mean \"subtype-1\"?); expected: subtype-1");
  EXPECT_EQ(refusal(top, "policy-map type management advanced subtype-1 p"),
            "unknown word \"subtype-1\" (did you mean \"subtype-2\"?); expected: subtype-2");
  EXPECT_EQ(refusal(top, "policy-map type http-inspection advanced subtype-2 p"),
            "unknown word \"subtype-2\" (did you mean \"subtype-3\"?); expected: subtype-3");
  EXPECT_EQ(refusal(top, "policy-map type p"),
            "unknown word \"p\"\nexpected:\n  ftp-inspection\n  http-inspection\n  http-load-balancing\n  management");
  EXPECT_EQ(refusal(top, "policy-map " + std::string(65, 'x')), "NAME is too long: at most 64 characters");
  EXPECT_EQ(refusal(top, "policy-map"), "incomplete command; expected: advanced, type, NAME");
  accepts(top, "policy-map \"type\"", "kvelpolicymap_config", {string_token(352, "type")});
}

TEST_F(PolicyMapGrammar, NamesAreCompletedByTheHookOfTheirType) {
  const auto hooks = [this](const Stack& stack, const char* prefix) {
    return complete_at(grammar, stack, prefix).hooks;
  };
  EXPECT_THAT(hooks(top, "policy-map "), ElementsAre("policymap_l3_completionhook"));
  EXPECT_THAT(hooks(top, "policy-map type http-load-balancing "), ElementsAre("policymap_lb_completionhook"));
  EXPECT_THAT(hooks(top, "policy-map type http-inspection "), ElementsAre("policymap_insphttp_completionhook"));
  EXPECT_THAT(hooks(top, "policy-map type ftp-inspection "), ElementsAre("policymap_inspftp_completionhook"));
  EXPECT_THAT(hooks(top, "policy-map type management "), ElementsAre("policymap_mgmt_completionhook"));
  EXPECT_THAT(hooks(top, "show policy-map "), ElementsAre("policymap_completionhook"));
  const Stack layer34 = inside({"policy-map p", "class c"});
  EXPECT_THAT(hooks(layer34, "load-balance policy "), ElementsAre("policymap_lb_completionhook"));
  EXPECT_THAT(hooks(layer34, "inspect http policy "), ElementsAre("policymap_insphttp_completionhook"));
  EXPECT_THAT(hooks(layer34, "inspect ftp policy "), ElementsAre("policymap_inspftp_completionhook"));
  EXPECT_THAT(hooks(layer34, "inspect ftp strict policy "), ElementsAre("policymap_inspftp_completionhook"));
}

// What the types differ in inside a policy-map.
struct InsideType {
  const char* command;
  Tokens carried;
  KeywordId description;
  const char* class_mode;
  KeywordId class_name;
  KeywordId insert_before;
  KeywordId class_default;
  Tokens carried_by_default;  // after `carried`
  const char* class_hook;
};

class InsidePolicyMap : public test::TypedLines, public ::testing::WithParamInterface<InsideType> {
 protected:
  // What is carried into a mode inside the policy-map.
  static Tokens carried(const Tokens& more) {
    Tokens all = GetParam().carried;
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  const Stack policy_map = inside({GetParam().command});
};

TEST_P(InsidePolicyMap, CarriesItsTokens) { EXPECT_EQ(policy_map.back().carried, GetParam().carried); }

TEST_P(InsidePolicyMap, HasADescription) {
  const char* const handler = "kvelpolicymap_configdescr";
  const KeywordId text = GetParam().description;
  accepts(policy_map, "description  the  \"shop\" ", handler, {string_token(text, "the  \"shop\"")});
  accepts(policy_map, "no description", handler, {}, true);
  accepts(policy_map, "no description old text", handler, {string_token(text, "old text")}, true);
  accepts(policy_map, "description " + std::string(240, 'x'), handler, {string_token(text, std::string(240, 'x'))});
  EXPECT_EQ(refusal(policy_map, "description x" + std::string(240, 'x')), "TEXT is too long: at most 240 characters");
  EXPECT_EQ(refusal(policy_map, "description"), "incomplete command; expected: TEXT");
}

TEST_P(InsidePolicyMap, PlacesAndRemovesClasses) {
  const char* const handler = "kvelpolicymap_configclass";
  const Token name = string_token(GetParam().class_name, "c1");
  accepts_both(policy_map, "class c1", handler, {name});
  accepts_both(policy_map, "class c1 insert-before c2", handler, {name, string_token(GetParam().insert_before, "c2")});
  accepts_both(policy_map, "class c1 insert-before class-default", handler,
               {name, string_token(GetParam().insert_before, "class-default")});
  opens(policy_map, "class c1", GetParam().class_mode, carried({name}));
  opens(policy_map, "class c1 insert-before c2", GetParam().class_mode, carried({name}));
  EXPECT_EQ(prompt_of(inside({GetParam().command, "class c1"})), "config-policy-map-class p c1");
  EXPECT_THAT(complete_at(grammar, policy_map, "class ").hooks, ElementsAre(GetParam().class_hook));
  EXPECT_THAT(complete_at(grammar, policy_map, "class c1 insert-before ").hooks, ElementsAre(GetParam().class_hook));
  EXPECT_EQ(refusal(policy_map, "class"), "incomplete command; expected: class-default, NAME");
  EXPECT_EQ(refusal(policy_map, "class c1 insert-before"), "incomplete command; expected: OTHER");
  EXPECT_EQ(refusal(policy_map, "class " + std::string(65, 'c')), "NAME is too long: at most 64 characters");
}

TEST_P(InsidePolicyMap, ClassDefaultHasAKeyword) {
  const char* const handler = "kvelpolicymap_configclass";
  accepts_both(policy_map, "class class-default", handler, {word_token(GetParam().class_default)});
  accepts(policy_map, "cl class-default", handler, {word_token(GetParam().class_default)});
  opens(policy_map, "class class-default", GetParam().class_mode, carried(GetParam().carried_by_default));
  EXPECT_EQ(prompt_of(inside({GetParam().command, "class class-default"})), "config-policy-map-class p class-default");
  EXPECT_EQ(refusal(policy_map, "class class-default insert-before c"),
            "unexpected word \"insert-before\"; expected: <cr>");
}

TEST_P(InsidePolicyMap, AShortenedClassDefaultIsAName) {
  for (const char* name : {"c", "class", "class-defaul", "class-default2"}) {
    accepts(policy_map, std::string("class ") + name, "kvelpolicymap_configclass",
            {string_token(GetParam().class_name, name)});
  }
}

TEST_P(InsidePolicyMap, CommandsOfTheModesAroundLeaveTheInnerOnes) {
  const Stack in_class = inside({GetParam().command, "class c1"});
  const auto other_class = match(grammar, in_class, "class c2");
  ASSERT_TRUE(other_class);
  EXPECT_EQ(other_class->level, 1U);
  EXPECT_EQ(other_class->tokens, carried({string_token(GetParam().class_name, "c2")}));
  EXPECT_EQ(other_class->opens->carried, carried({string_token(GetParam().class_name, "c2")}));
  EXPECT_EQ(match(grammar, in_class, "description x")->level, 1U);
  const auto other_map = match(grammar, in_class, "policy-map q");
  ASSERT_TRUE(other_map);
  EXPECT_EQ(other_map->level, 0U);
  EXPECT_EQ(other_map->tokens, Tokens{string_token(352, "q")});
}

TEST_P(InsidePolicyMap, OnlyLinesOfLayer34ArePutInNumbers) {
  if (GetParam().class_name == 356) {
    const char* const handler = "kvelpolicymap_configsequence";
    accepts(policy_map, "renumber 20", handler, {number_token(12, 20)});
    accepts(policy_map, "renumber 0", handler, {number_token(12, 0)});
    accepts(policy_map, "renumber 4294967295", handler, {number_token(12, 4294967295)});
    EXPECT_THAT(refusal(policy_map, "renumber 4294967296"), StartsWith("\"4294967296\" is out of range"));
    EXPECT_EQ(refusal(policy_map, "renumber"), "incomplete command; expected: <0-4294967295>");
    EXPECT_THAT(refusal(policy_map, "no renumber 20"), StartsWith("unknown word \"renumber\""));
  } else {
    EXPECT_THAT(refusal(policy_map, "renumber 20"), StartsWith("unknown word \"renumber\""));
  }
}

INSTANTIATE_TEST_SUITE_P(Types, InsidePolicyMap,
                         ::testing::Values(InsideType{"policy-map p",
                                                      {string_token(352, "p")},
                                                      1501,
                                                      "policy-map-l3-class",
                                                      356,
                                                      357,
                                                      366,
                                                      {word_token(366), string_token(356, "#class_default_l3")},
                                                      "classmap_l3_completionhook"},
                                           InsideType{"policy-map type http-load-balancing p",
                                                      {word_token(502), string_token(503, "p")},
                                                      1502,
                                                      "policy-map-http-lb-class",
                                                      576,
                                                      577,
                                                      413,
                                                      {string_token(576, "class-default")},
                                                      "classmap_lb_completionhook"},
                                           InsideType{"policy-map type http-inspection p",
                                                      {word_token(601), string_token(603, "p")},
                                                      1503,
                                                      "policy-map-http-inspection-class",
                                                      593,
                                                      594,
                                                      671,
                                                      {string_token(593, "class-default")},
                                                      "classmap_insphttp_completionhook"},
                                           InsideType{"policy-map type ftp-inspection p",
                                                      {word_token(651), string_token(652, "p")},
                                                      1504,
                                                      "policy-map-ftp-inspection-class",
                                                      659,
                                                      660,
                                                      671,
                                                      {string_token(659, "class-default")},
                                                      "classmap_inspftp_completionhook"},
                                           InsideType{"policy-map type management p",
                                                      {word_token(663), string_token(665, "p")},
                                                      1505,
                                                      "policy-map-management-class",
                                                      668,
                                                      669,
                                                      673,
                                                      {string_token(668, "class-default")},
                                                      "classmap_mgmt_completionhook"}));

// Every line of the example is known, and together they show every action and every kind of inline match, but for the
// actions that attach parameter-maps and SSL-proxy services: these have an example of their own.
TEST_F(PolicyMapGrammar, TheExampleShowsEachKind) {
  std::ifstream file(KVEL_ROOT "/examples/policy-maps.kvel");
  ASSERT_TRUE(file);
  Stack stack = inside({});
  std::set<std::string_view> shown;
  for (std::string line; std::getline(file, line);) {
    const LexedLine words = lex(line);
    if (words.blank()) continue;
    const auto matched = match(grammar, stack, words);
    ASSERT_TRUE(matched) << line << ": " << describe(matched.error());
    if (matched->command->handler.empty()) continue;
    const bool in_policy_map = matched->command->handler.starts_with("kvelpolicymap_");
    if (in_policy_map && !matched->negated && !matched->command->record.empty()) shown.insert(matched->command->record);
    stack.resize(matched->level + 1);
    if (matched->opens) stack.push_back(*matched->opens);
  }
  std::set<std::string_view> recorded;
  for (const Command& command : grammar.commands()) {
    if (command.handler.starts_with("kvelpolicymap_") && !command.record.empty()) recorded.insert(command.record);
  }
  for (const char* attachment :
       {"ssl-proxy-server", "ssl-proxy-client", "connection-parameters", "application-parameters"})
    EXPECT_EQ(recorded.erase(attachment), 1U) << attachment;
  EXPECT_EQ(recorded.size(), 50U);
  EXPECT_EQ(shown, recorded);
}

}  // namespace
}  // namespace kvel::shell::policy_map_grammar_test
