// kvelpolicymap_configsacl: the option flags of a class. What it shares with the other actions is tested with those.
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::policy_map_options_test {
namespace {

class PolicyMapOptions : public PluginTest {
 protected:
  Events options(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_configsacl", tokens, form); }
};

Events sent(const std::string& policy, const std::string& name, const std::string& record) {
  return {"bind 2",
          "call cm_update_l3_opt_config(u16 7, u8 1, '" + policy + "', '" + name + "', buffer[8] " + record + ")",
          "return 0"};
}

TEST_F(PolicyMapOptions, SetsTheOption) {
  EXPECT_EQ(options({{352, "edge"}, {356, "web"}, {371}}),
            (Events{"bind 2",
                    "call cm_update_l3_opt_config(u16 7, u8 1, 'edge', 'web', buffer[8] "
                    "80 00*7)",  // bit 31 of the option word; a reserved word of zeros
                    "return 0"}));
}

TEST_F(PolicyMapOptions, ClearsItInTheNoForm) {
  EXPECT_EQ(
      options({{352, "edge"}, {356, "web"}, {371}}, kNo),
      (Events{"bind 2", "call cm_update_l3_opt_config(u16 7, u8 0, 'edge', 'web', buffer[8] 80 00*7)", "return 0"}));
  EXPECT_EQ(options({{352, "edge"}, {356, "web"}}, kNo),
            (Events{"bind 2", "call cm_update_l3_opt_config(u16 7, u8 0, 'edge', 'web', buffer[8] 00*8)", "return 0"}));
}

TEST_F(PolicyMapOptions, WithoutTheOption) {
  EXPECT_EQ(options({{352, "edge"}, {356, "web"}}), sent("edge", "web", "00*8"));
}

TEST_F(PolicyMapOptions, SettingItOftenSetsItOnce) {
  EXPECT_EQ(options({{371}, {371}}), sent("", "", "80 00*7"));
  EXPECT_EQ(options({{371}, {352, "edge"}, {371}, {356, "web"}, {371}}), sent("edge", "web", "80 00*7"));
}

// The class-default keyword of the NAT action included.
TEST_F(PolicyMapOptions, IgnoresOtherKeywords) {
  for (std::uint32_t keyword : {351, 353, 355, 357, 366, 370, 372, 413, 503, 576, 603, 627}) {
    EXPECT_EQ(options({{352, "edge"}, {356, "web"}, {keyword}}), sent("edge", "web", "00*8")) << keyword;
    EXPECT_EQ(options({{352, "edge"}, {356, "web"}, {371}, {keyword}}), sent("edge", "web", "80 00*7")) << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{352, "edge"}, {356, "web"}}, {352, 356, 371})) {
    EXPECT_EQ(options(tokens), sent("edge", "web", "00*8")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{371}}, {352, 356, 371})) {
    EXPECT_EQ(options(tokens), sent("", "", "80 00*7")) << range;
  }
}

TEST_F(PolicyMapOptions, ObjectsThatAreNotConfigured) {
  const auto failed = [this](std::int32_t status, const std::string& policy, const std::string& name,
                             const std::string& message) {
    for (std::uint32_t negated : {0U, 1U}) {
      host.answer({.status = status});
      EXPECT_EQ(options({{352, policy}, {356, name}}, {.negated = negated}),
                (Events{"bind 2",
                        std::string("call cm_update_l3_opt_config(u16 7, u8 ") + (negated == 0 ? "1" : "0") + ", '" +
                            policy.substr(0, 64) + "', '" + name.substr(0, 64) + "', buffer[8] 00*8)",
                        out(message), "return 1"}));
    }
  };
  const std::string p(64, 'p');
  const std::string c(64, 'c');
  failed(0x40f30009, "edge", "web", "Error: policy-map 'edge' not configured\n");
  failed(0x40f3000a, "edge", "web", "Error: class-map 'web' not configured\n");
  failed(0x40f30009, "", "", "Error: policy-map '' not configured\n");
  failed(0x40f3000a, "", "", "Error: class-map '' not configured\n");
  failed(0x40f30009, "%s%n", "%d", "Error: policy-map '%s%n' not configured\n");
  failed(0x40f3000a, "%s%n", "%d", "Error: class-map '%d' not configured\n");
  failed(0x40f30009, p + "++", c + "++", "Error: policy-map '" + p + "' not configured\n");
  failed(0x40f3000a, p + "++", c + "++", "Error: class-map '" + c + "' not configured\n");
}

TEST_F(PolicyMapOptions, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(options({{371}}), sent("", "", "80 00*7"));
  EXPECT_EQ(options({}), sent("", "", "00*8"));
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_options_test
