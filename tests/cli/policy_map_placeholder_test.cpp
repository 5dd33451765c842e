// The policy-map actions that have nothing behind them: they print one line and succeed, and nothing else happens.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_placeholder_test {
namespace {

struct Placeholder {
  const char* handler;
  const char* line;
};

const std::array kPlaceholders = {
    Placeholder{"kvelpolicymap_configqos", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configinspect", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configfilter", "Error: This feature not supported for phase 1\n"},
    Placeholder{"kvelpolicymap_configrepconns", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configaaa", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configcookie", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_confighdr", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configurl", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configssl", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_confighdr_insp", "Error: This feature not supported/integrated yet\n"},
    Placeholder{"kvelpolicymap_configurl_insp", "Error: This feature not supported/integrated yet\n"},
};

using PolicyMapPlaceholder = PluginTest;

TEST_F(PolicyMapPlaceholder, PrintsItsLineAndSucceeds) {
  for (const auto& [handler, line] : kPlaceholders) {
    const Events events = {out(line), "return 0"};
    EXPECT_EQ(run(handler, {}), events) << handler;
    EXPECT_EQ(run(handler, {{352, "edge"}, {356, "web"}}), events) << handler;
  }
}

TEST_F(PolicyMapPlaceholder, EveryFormIsTheSame) {
  for (const auto& [handler, line] : kPlaceholders) {
    const Events events = {out(line), "return 0"};
    for (std::uint32_t word : {1U, 256U, 362U, 364U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(run(handler, {}, {.negated = word}), events) << handler;
      EXPECT_EQ(run(handler, {}, {.skip_execution = word}), events) << handler;
      EXPECT_EQ(run(handler, {}, {.command_id = word}), events) << handler;
    }
    EXPECT_EQ(run(handler, {}, {.context_id = -1}), events) << handler;
  }
}

TEST_F(PolicyMapPlaceholder, ReadsNoToken) {
  Tokens tokens;
  for (std::uint32_t id = 350; id < 605; ++id)
    tokens.emplace_back(id);
  for (const auto& [handler, line] : kPlaceholders) {
    EXPECT_EQ(run(handler, tokens), (Events{out(line), "return 0"})) << handler;
  }
}

TEST_F(PolicyMapPlaceholder, AsksTheHostNothing) {
  host.bind_status = -997;
  host.rule_domain_answer = 0;
  host.rule_modify_answer = 1;
  for (const auto& [handler, line] : kPlaceholders) {
    EXPECT_EQ(run(handler, {{352, "edge"}}), (Events{out(line), "return 0"})) << handler;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_placeholder_test
