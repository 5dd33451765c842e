// kvelpolicymap_clear_servicepolicy: the counters of a service policy set back to zero.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::service_policy_clear_test {
namespace {

class ServicePolicyClear : public PluginTest {
 protected:
  Events clear(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_clear_servicepolicy", tokens, form);
  }
};

// A command for the policy of that name. The client is not bound.
Events cleared(const std::string& name) { return {"call cm_clear_service_policy(u16 7, '" + name + "')", "return 0"}; }

TEST_F(ServicePolicyClear, OnePolicy) {
  EXPECT_EQ(clear({{1500, "edge"}}), (Events{"call cm_clear_service_policy(u16 7, 'edge')", "return 0"}));
}

TEST_F(ServicePolicyClear, WithoutAName) {
  EXPECT_EQ(clear({}), (Events{"call cm_clear_service_policy(u16 7, '')", "return 0"}));
  EXPECT_EQ(clear({{1500, nullptr}}), cleared(""));
  EXPECT_EQ(clear({{1500, ""}}), cleared(""));
}

TEST_F(ServicePolicyClear, ANameIsCutAt64) {
  const std::string x63(63, 'x');
  const std::string x64(64, 'x');
  EXPECT_EQ(clear({{1500, x63}}), cleared(x63));
  EXPECT_EQ(clear({{1500, x64}}), cleared(x64));
  EXPECT_EQ(clear({{1500, x64 + "y"}}), cleared(x64));
  EXPECT_EQ(clear({{1500, std::string(1000, 'z')}}), cleared(std::string(64, 'z')));
}

TEST_F(ServicePolicyClear, ALaterNameReplacesTheWholeEarlierOne) {
  EXPECT_EQ(clear({{1500, std::string(64, 'x')}, {1500, "ab"}}), cleared("ab"));
  EXPECT_EQ(clear({{1500, "edge"}, {1500, ""}}), cleared(""));
  EXPECT_EQ(clear({{1500, "edge"}, {1500, nullptr}}), cleared(""));
}

TEST_F(ServicePolicyClear, NamesOfAnyCharacters) {
  EXPECT_EQ(clear({{1500, "%s%n"}}), cleared("%s%n"));
  EXPECT_EQ(clear({{1500, "#1 \xff\n"}}), cleared("#1 \\xff\\n"));
}

TEST_F(ServicePolicyClear, OtherKeywordsAreSkipped) {
  for (const UnlistedKeywords& unlisted : unlisted_keywords({{1500, "edge"}}, {1500}))
    EXPECT_EQ(clear(unlisted.tokens), cleared("edge")) << unlisted.range;
  EXPECT_EQ(clear({{902, "a"}, {1499}, {1500, "edge"}, {1501}, {903}}), cleared("edge"));
}

TEST_F(ServicePolicyClear, All255Tokens) {
  Tokens tokens(254, Token(4711));
  tokens.emplace_back(1500, "last");
  EXPECT_EQ(clear(tokens), cleared("last"));
}

TEST_F(ServicePolicyClear, TheContextTravelsAsItsLow16Bits) {
  EXPECT_EQ(clear({{1500, "p"}}, {.context_id = 0}).front(), "call cm_clear_service_policy(u16 0, 'p')");
  EXPECT_EQ(clear({{1500, "p"}}, {.context_id = 32767}).front(), "call cm_clear_service_policy(u16 32767, 'p')");
  EXPECT_EQ(clear({{1500, "p"}}, {.context_id = -1}).front(), "call cm_clear_service_policy(u16 65535, 'p')");
  EXPECT_EQ(clear({{1500, "p"}}, {.context_id = -32768}).front(), "call cm_clear_service_policy(u16 32768, 'p')");
}

// The rest of the command changes nothing.
TEST_F(ServicePolicyClear, TheFormIsNotLookedAt) {
  EXPECT_EQ(clear({{1500, "edge"}}, kNo), cleared("edge"));
  EXPECT_EQ(clear({{1500, "edge"}}, {.skip_execution = 1}), cleared("edge"));
  EXPECT_EQ(clear({{1500, "edge"}}, {.command_id = 362, .session_id = 0xffffffff}), cleared("edge"));
}

// What would refuse other handlers is not asked.
TEST_F(ServicePolicyClear, NeitherBindsNorAsksForTheRuleDomain) {
  host.bind_status = -998;
  host.rule_domain_answer = 0;
  EXPECT_EQ(clear({{1500, "edge"}}), cleared("edge"));
}

TEST_F(ServicePolicyClear, MoreDataIsSuccess) {
  host.answer({.status = 0x40f30000});
  EXPECT_EQ(clear({{1500, "edge"}}), cleared("edge"));
}

TEST_F(ServicePolicyClear, Failures) {
  struct Failure {
    std::int32_t status;
    const char* message;
  };
  constexpr std::array failures = {
      Failure{-999, "Error: Called API is invalid or non-existant\n"},
      Failure{-998, "Error: Called API timed out\n"},
      Failure{-997, "Error: Transport error\n"},
      Failure{-996, "Error: Incorrect argument(s)/type mismatch\n"},
      Failure{-1, "Error: Called API encountered error\n"},
      Failure{1, "Error: text of 0x00000001, 100%d %s\n"},
      Failure{0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
      Failure{0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
      Failure{0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
      Failure{std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
  };
  for (const Failure& failure : failures) {
    host.answer({.status = failure.status});
    EXPECT_EQ(clear({{1500, "edge"}}),
              (Events{"call cm_clear_service_policy(u16 7, 'edge')", out(failure.message), "return 1"}));
  }
}

TEST_F(ServicePolicyClear, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(clear({{1500, std::string(64, 'x')}}).back(), "return 0");
  EXPECT_EQ(clear({}), cleared(""));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_clear_test
