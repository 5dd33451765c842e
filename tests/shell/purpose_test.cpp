// What failed lines were meant for, and which lines are commands of the top mode alone.
#include "shell/matcher/purpose.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/grammar/modes.h"
#include "tests/shell/matching.h"

namespace kvel::shell::purpose_test {
namespace {

// In a class of an HTTP inspection policy-map: the top is level 0, the policy-map 1, the class 2.
std::string purpose(const std::string& line) {
  static const std::vector<ModeLevel> stack =
      test::stack_of(shell_grammar(), {kConfigMode, kPolicyMapHttpInspectionMode, kPolicyHttpInspectionClassMode});
  const Purpose found = purpose_of(shell_grammar(), stack, lex(line));
  return (found.may_open ? "opens at " : "stays at ") + (found.level ? std::to_string(*found.level) : "?");
}

TEST(PurposeOfALine, FollowsTheWordsThatAreRight) {
  EXPECT_EQ(purpose("policy-map typ http-inspektion h"), "opens at 0");
  EXPECT_EQ(purpose("class-map"), "opens at 0");
  EXPECT_EQ(purpose("class x y"), "opens at 1");
  EXPECT_EQ(purpose("reset x"), "stays at 2");
  EXPECT_EQ(purpose("no class-map typ x"), "stays at 0");
  EXPECT_EQ(purpose("service-policy p vlan 5000"), "stays at 0");
  EXPECT_EQ(purpose("show nothing"), "stays at 2");
}

TEST(PurposeOfALine, TakesAMisspeltFirstWordForWhatItIsNearTo) {
  EXPECT_EQ(purpose("polcy-map x"), "opens at 0");
  EXPECT_EQ(purpose("clas-map x"), "opens at 0");
  EXPECT_EQ(purpose("reest"), "stays at 2");
}

TEST(PurposeOfALine, MayBeAnythingWhenNoWordIsKnown) {
  EXPECT_EQ(purpose("zone shop"), "opens at ?");
  EXPECT_EQ(purpose("\"reset\""), "opens at ?");
  EXPECT_EQ(purpose("\x01"), "opens at ?");
}

TEST(PurposeOfALine, LooksAtTheWordsBeforeWhatCannotBeRead) {
  EXPECT_EQ(purpose("reset \x01"), "stays at 2");
  EXPECT_EQ(purpose("policy-map \"p"), "opens at 0");
  EXPECT_EQ(purpose("class-map \xFF"), "opens at 0");
  EXPECT_EQ(purpose("reset " + std::string(70000, ' ') + "x"), "stays at 2");
}

bool is_top(const std::string& line) { return is_top_command(shell_grammar(), lex(line)); }

TEST(TopCommands, AreThoseThatNoOtherModeKnows) {
  for (const char* line : {"class-map web", "policy-map type http-inspection p", "no class-map web", "class-m web",
                           "service-policy p global", "show running-config", "sh run", "end", "quit",
                           "ssl-proxy service s", "parameter-map type ssl m"}) {
    EXPECT_TRUE(is_top(line)) << line;
  }
  // "class" is short for "class-map", and "parameter-map m" is a member of an SSL-proxy service too.
  for (const char* line : {"class class-default", "parameter-map m", "exit", "ex", "reset", "description x",
                           "match any", "class-map typ x", "zone"}) {
    EXPECT_FALSE(is_top(line)) << line;
  }
}

}  // namespace
}  // namespace kvel::shell::purpose_test
