// The lists of "?" and tab, literally.
#include "shell/matcher/help.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::help_test {
namespace {

using test::texts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kWord = Expected::Kind::word;
constexpr auto kParameter = Expected::Kind::parameter;
constexpr auto kEnd = Expected::Kind::end;

class ShellHelp : public ::testing::Test {
 protected:
  const Grammar& grammar = shell_grammar();
  std::vector<ModeLevel> top = test::stack_of(grammar, {"config"});
  std::vector<ModeLevel> inside = test::stack_of(grammar, {"config", "class-map-l3"});

  std::vector<Expected> help(const std::vector<ModeLevel>& stack, std::string_view prefix) {
    const auto listed = help_at(grammar, stack, prefix);
    EXPECT_TRUE(listed) << prefix;
    return listed.value_or(std::vector<Expected>{});
  }
};

TEST_F(ShellHelp, ListsTheCommandsOfTheMode) {
  EXPECT_THAT(
      help(top, ""),
      ElementsAre(
          Expected{kWord, "class-map", "Class-map: which traffic to match"},
          Expected{kWord, "clear", "Set counters to zero"}, Expected{kWord, "end", "Return to the top mode"},
          Expected{kWord, "exit", "Leave this mode; at the top, leave the shell"},
          Expected{kWord, "explain", "Explain what the applied policy-maps do with a flow"},
          Expected{kWord, "help", "Explain how to use the shell"},
          Expected{kWord, "history", "List the commands typed so far"},
          Expected{kWord, "inline-match", "The rule of a match that is written into a load-balancing policy-map"},
          Expected{kWord, "no", "Undo a command: delete an object or return a setting to its default"},
          Expected{kWord, "parameter-map", "Parameter-map: settings for connections, HTTP or SSL"},
          Expected{kWord, "policy-map", "Policy-map: what to do with each class of traffic"},
          Expected{kWord, "quit", "Leave the shell"},
          Expected{kWord, "service-policy", "Apply a policy-map to traffic"},
          Expected{kWord, "show", "Show information"},
          Expected{kWord, "ssl-proxy", "SSL-proxy services: key, certificate and settings of SSL sessions"},
          Expected{kWord, "traffic", "Classify recorded flows by the applied policy-maps and count them"}));
  EXPECT_EQ(texts(help(inside, " ")),
            (std::vector<std::string>{"clear", "description", "end", "exit", "explain", "help", "history", "match",
                                      "no", "quit", "show", "traffic", "<1-4294967295>"}));
}

TEST_F(ShellHelp, ListsTheNextWordsAndParameters) {
  EXPECT_THAT(help(top, "class-map "), ElementsAre(Expected{kWord, "match-all", "Every rule must match"},
                                                   Expected{kWord, "match-any", "One matching rule is enough"},
                                                   Expected{kWord, "type", "Type of the class-map"},
                                                   Expected{kParameter, "NAME", "Name of the class-map"}));
  EXPECT_THAT(help(top, "class-map type "),
              ElementsAre(Expected{kWord, "ftp-inspection", "FTP commands to be inspected"},
                          Expected{kWord, "http-inspection", "HTTP requests to be inspected"},
                          Expected{kWord, "http-load-balancing", "HTTP requests to be balanced"},
                          Expected{kWord, "management", "Traffic to the appliance itself"}));
  EXPECT_THAT(help(top, "class-map web "), ElementsAre(Expected{kEnd, "<cr>", "End of the command"}));
  EXPECT_THAT(
      help(top, "no "),
      ElementsAre(
          Expected{kWord, "class-map", "Class-map: which traffic to match"},
          Expected{kWord, "inline-match", "The rule of a match that is written into a load-balancing policy-map"},
          Expected{kWord, "parameter-map", "Parameter-map: settings for connections, HTTP or SSL"},
          Expected{kWord, "policy-map", "Policy-map: what to do with each class of traffic"},
          Expected{kWord, "service-policy", "Apply a policy-map to traffic"},
          Expected{kWord, "ssl-proxy", "SSL-proxy services: key, certificate and settings of SSL sessions"}));
  EXPECT_EQ(texts(help(inside, "no ")), (std::vector<std::string>{"description", "match", "<1-4294967295>"}));
}

TEST_F(ShellHelp, WithoutABlankListsWhatTheWordMayBegin) {
  EXPECT_EQ(texts(help(top, "e")), (std::vector<std::string>{"end", "exit", "explain"}));
  EXPECT_EQ(texts(help(top, "class-map")), std::vector<std::string>{"class-map"});
  EXPECT_EQ(texts(help(top, "class-map match")), (std::vector<std::string>{"match-all", "match-any", "NAME"}));
  EXPECT_EQ(texts(help(top, "class-map type")), (std::vector<std::string>{"type", "NAME"}));
  EXPECT_EQ(texts(help(top, "class-map \"ty")), std::vector<std::string>{"NAME"});
}

TEST_F(ShellHelp, TextsMayGoOnOrEnd) {
  EXPECT_THAT(help(inside, "description "),
              ElementsAre(Expected{kParameter, "TEXT", "Words up to the end of the line"}));
  EXPECT_EQ(texts(help(inside, "description a b")), std::vector<std::string>{"TEXT"});
  EXPECT_EQ(texts(help(inside, "description a b ")), (std::vector<std::string>{"TEXT", "<cr>"}));
  EXPECT_EQ(texts(help(inside, "description a \"b")), std::vector<std::string>{"TEXT"});
  EXPECT_EQ(texts(help(inside, "no description ")), (std::vector<std::string>{"TEXT", "<cr>"}));
  EXPECT_EQ(texts(help(inside, "description \"a b\" ")), std::vector<std::string>{"<cr>"});
}

// A text of 240 bytes is full: after a blank there is room for no word.
TEST_F(ShellHelp, FullTextsEnd) {
  const std::string almost = "description " + std::string(238, 'x');
  EXPECT_EQ(texts(help(inside, almost + " ")), (std::vector<std::string>{"TEXT", "<cr>"}));
  EXPECT_EQ(texts(help(inside, almost + "  ")), std::vector<std::string>{"<cr>"});
  EXPECT_EQ(texts(help(inside, almost + "xx")), std::vector<std::string>{"TEXT"});
  EXPECT_EQ(texts(help(inside, almost + "xx ")), std::vector<std::string>{"<cr>"});
}

// A word that could end the line as either of two is no end until more words decide which it is.
TEST_F(ShellHelp, AmbiguousWordsDoNotEnd) {
  const std::vector<ModeLevel> layer34 = test::stack_of(grammar, {"policy-map-l3-class"});
  EXPECT_EQ(texts(help(layer34, "vip icmp ")), (std::vector<std::string>{"when-active", "<cr>"}));
  EXPECT_EQ(texts(help(layer34, "vip i ")), (std::vector<std::string>{"when-active"}));
  const std::vector<ModeLevel> balancing = test::stack_of(grammar, {"policy-map-http-lb-class"});
  const auto refused = help_at(grammar, balancing, "advanced flag ");
  ASSERT_FALSE(refused);
  EXPECT_EQ(format_mismatch(refused.error(), "advanced flag "),
            "advanced flag \n"
            "         ^\n"
            "Error: ambiguous word \"flag\"; it could be: flag-585, flag-587\n");
}

TEST_F(ShellHelp, OuterModesAnswerWhatTheInnerOneDoesNotKnow) {
  EXPECT_EQ(texts(help(inside, "class-map type m")), std::vector<std::string>{"management"});
  EXPECT_EQ(texts(help(inside, "cla")), std::vector<std::string>{"class-map"});
}

TEST_F(ShellHelp, RefusesAWrongBeginning) {
  const auto wrong = help_at(grammar, top, "shw ");
  ASSERT_FALSE(wrong);
  EXPECT_EQ(wrong.error().kind, MismatchKind::unknown_word);
  EXPECT_EQ(wrong.error().column, 0U);
  const auto partial = help_at(grammar, top, "show x");
  ASSERT_FALSE(partial);
  EXPECT_EQ(describe(partial.error()),
            "unknown word \"x\"\nexpected:\n  class-map\n  history\n  parameter-map\n  policy-map\n"
            "  running-config\n  service-policy\n  ssl-proxy\n  uses\n  version");
  EXPECT_EQ(partial.error().column, 5U);
  EXPECT_EQ(help_at(grammar, top, "exit now").error().kind, MismatchKind::unexpected_word);
  EXPECT_EQ(help_at(grammar, top, "class-map \"a\"b").error().kind, MismatchKind::text_after_quote);
  EXPECT_EQ(help_at(grammar, top, "show \xFF").error().kind, MismatchKind::invalid_utf8);
  EXPECT_EQ(help_at(grammar, top, "show \"r").error().kind, MismatchKind::unknown_word);
  EXPECT_THAT(help(top, "# comment"), IsEmpty());
}

TEST(SampleHelp, ShowsRangesAndUnits) {
  const auto stack = test::stack_of(test::sample_grammar(), {"top"});
  EXPECT_THAT(*help_at(test::sample_grammar(), stack, "timeout "),
              ElementsAre(Expected{kParameter, "<10-4294967295>", "How long to wait (seconds)"}));
  EXPECT_THAT(*help_at(test::sample_grammar(), stack, "timeout 5"),
              ElementsAre(Expected{kParameter, "<10-4294967295>", "How long to wait (seconds)"}));
  EXPECT_FALSE(help_at(test::sample_grammar(), stack, "timeout 5x"));
  EXPECT_FALSE(help_at(test::sample_grammar(), stack, "port 70000"));
  EXPECT_EQ(texts(*help_at(test::sample_grammar(), stack, "route 10.0.")), std::vector<std::string>{"ADDRESS"});
  EXPECT_EQ(texts(*help_at(test::sample_grammar(), stack, "route 10.0.0.1 ")),
            (std::vector<std::string>{"metric", "MASK", "<cr>"}));
  EXPECT_EQ(texts(*help_at(test::sample_grammar(), stack, "level ")),
            (std::vector<std::string>{"maximum", "<0-9>", "NAME"}));
}

TEST_F(ShellHelp, TellsOfTheModesAround) {
  const auto outer = [this](std::string_view prefix) { return texts(outer_help_at(grammar, inside, prefix)); };
  EXPECT_EQ(outer(""), (std::vector<std::string>{"class-map", "inline-match", "parameter-map", "policy-map",
                                                 "service-policy", "ssl-proxy"}));
  EXPECT_EQ(outer("cl"), std::vector<std::string>{"class-map"});  // beside "clear"
  EXPECT_THAT(outer("class-map "), IsEmpty());                    // where help_at() itself answers for them
  EXPECT_THAT(outer("match "), IsEmpty());
  EXPECT_THAT(outer("shw "), IsEmpty());
  EXPECT_THAT(texts(outer_help_at(grammar, top, "")), IsEmpty());
}

TEST_F(ShellHelp, WhatIsNotSupportedComesLastAndSaysSo) {
  const std::vector<ModeLevel> layer34 = test::stack_of(grammar, {"policy-map-l3-class"});
  const std::vector<Expected> listed = help(layer34, "");
  std::vector<Expected> unsupported(listed.end() - 4, listed.end());
  EXPECT_THAT(unsupported,
              ElementsAre(Expected{kWord, "aaa", "Authenticate, authorise and account (not supported)", true},
                          Expected{kWord, "filter", "Filter the traffic (not supported)", true},
                          Expected{kWord, "qos", "Quality of service (not supported)", true},
                          Expected{kWord, "replicate-connections", "Replicate connections (not supported)", true}));
  EXPECT_EQ(complete_at(grammar, test::stack_of(grammar, {"policy-map-http-lb-class"}), "s").words,
            (std::vector<std::string>{"serverfarm", "show", "ssl-proxy", "ssl"}));
}

class Completing : public ShellHelp {
 protected:
  void completes(const std::vector<ModeLevel>& stack, std::string_view prefix, std::size_t column,
                 const std::string& partial, const std::vector<std::string>& words,
                 const std::vector<std::string_view>& hooks) {
    SCOPED_TRACE(prefix);
    const Completion completion = complete_at(grammar, stack, prefix);
    EXPECT_EQ(completion.column, column);
    EXPECT_EQ(completion.partial, partial);
    EXPECT_EQ(completion.words, words);
    EXPECT_EQ(completion.hooks, hooks);
  }
};

TEST_F(Completing, Words) {
  completes(top, "", 0, "",
            {"class-map", "clear", "end", "exit", "explain", "help", "history", "inline-match", "no", "parameter-map",
             "policy-map", "quit", "service-policy", "show", "ssl-proxy", "traffic"},
            {});
  completes(top, "cl", 0, "cl", {"class-map", "clear"}, {});
  completes(top, "  e", 2, "e", {"end", "exit", "explain"}, {});
  completes(top, "show ", 5, "",
            {"class-map", "history", "parameter-map", "policy-map", "running-config", "service-policy", "ssl-proxy",
             "uses", "version"},
            {});
  completes(top, "sh r", 3, "r", {"running-config"}, {});
  completes(top, "no c", 3, "c", {"class-map"}, {});
  completes(top, "class-map type http", 15, "http", {"http-inspection", "http-load-balancing"}, {});
  completes(inside, "cla", 0, "cla", {"class-map"}, {});
  completes(inside, "d", 0, "d", {"description"}, {});
}

TEST_F(Completing, Names) {
  completes(top, "class-map ", 10, "", {"match-all", "match-any", "type"}, {"classmap_l3_completionhook"});
  completes(top, "class-map match-any w", 20, "w", {}, {"classmap_l3_completionhook"});
  completes(top, "no class-map ma", 13, "ma", {"match-all", "match-any"}, {"classmap_l3_completionhook"});
  completes(top, "class-map type management ", 26, "", {"match-all", "match-any"}, {"classmap_mgmt_completionhook"});
  completes(top, "class-map type http-load-balancing x", 35, "x", {}, {"classmap_lb_completionhook"});
  completes(top, "class-map type http-inspection x", 31, "x", {}, {"classmap_insphttp_completionhook"});
  completes(top, "class-map type ftp-inspection ", 30, "", {"match-any"}, {"classmap_inspftp_completionhook"});
  completes(top, "show uses w", 10, "w", {},
            {"classmap_completionhook", "kvelparammap_completionhook", "policymap_completionhook",
             "sslproxy_completionhook"});
  completes(top, "class-map " + std::string(64, 'x'), 10, std::string(64, 'x'), {}, {"classmap_l3_completionhook"});
  completes(top, "class-map " + std::string(65, 'x'), 10, std::string(65, 'x'), {}, {});
}

TEST_F(Completing, QuotedNames) {
  completes(top, R"(class-map "ma)", 10, "ma", {}, {"classmap_l3_completionhook"});
  completes(top, R"(class-map "a \"b )", 10, "a \"b ", {}, {"classmap_l3_completionhook"});
  EXPECT_TRUE(complete_at(grammar, top, R"(class-map "ma)").quoted);
  EXPECT_FALSE(complete_at(grammar, top, "class-map ma").quoted);
}

TEST_F(Completing, NothingToComplete) {
  completes(top, "xyz", 0, "xyz", {}, {});
  completes(top, "xyz ", 4, "", {}, {});
  completes(top, "exit ", 5, "", {}, {});
  completes(top, "# cl", 4, "", {}, {});
  completes(top, "cl \xFF", 4, "", {}, {});
  completes(inside, "description cl", 12, "cl", {}, {});
  completes(inside, "description exit cl", 17, "cl", {}, {});
}

}  // namespace
}  // namespace kvel::shell::help_test
