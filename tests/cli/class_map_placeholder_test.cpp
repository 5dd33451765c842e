// The class-map commands that have no rule behind them: they print one line or nothing, and nothing else happens.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_placeholder_test {
namespace {

struct Placeholder {
  const char* handler;
  Events events;
};

const std::array kPlaceholders = {
    Placeholder{"kvelclassmap_configdefaultinsp", {out("Error: match cmd not supported/integrated yet\n"), "return 0"}},
    Placeholder{"kvelclassmap_config_httplb", {"return 0"}},
    Placeholder{"kvelclassmap_config_httpinspect", {"return 0"}},
    Placeholder{"kvelclassmap_config_httplbssl", {out("Error: this feature has yet to be supported\n"), "return 0"}},
};

using ClassMapPlaceholder = PluginTest;

TEST_F(ClassMapPlaceholder, PrintsItsLineAndSucceeds) {
  for (const Placeholder& placeholder : kPlaceholders) {
    EXPECT_EQ(run(placeholder.handler, {}), placeholder.events) << placeholder.handler;
    EXPECT_EQ(run(placeholder.handler, {{18, "web"}, {19, 10}}), placeholder.events) << placeholder.handler;
  }
}

TEST_F(ClassMapPlaceholder, EveryFormIsTheSame) {
  for (const Placeholder& placeholder : kPlaceholders) {
    for (std::uint32_t word : {1U, 256U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(run(placeholder.handler, {}, {.negated = word}), placeholder.events) << placeholder.handler;
      EXPECT_EQ(run(placeholder.handler, {}, {.skip_execution = word}), placeholder.events) << placeholder.handler;
      EXPECT_EQ(run(placeholder.handler, {}, {.command_id = word}), placeholder.events) << placeholder.handler;
    }
    EXPECT_EQ(run(placeholder.handler, {}, {.context_id = -1}), placeholder.events) << placeholder.handler;
  }
}

TEST_F(ClassMapPlaceholder, ReadsNoToken) {
  Tokens tokens;
  for (std::uint32_t id = 0; id < 255; ++id)
    tokens.emplace_back(id);
  for (const Placeholder& placeholder : kPlaceholders) {
    EXPECT_EQ(run(placeholder.handler, tokens), placeholder.events) << placeholder.handler;
  }
}

TEST_F(ClassMapPlaceholder, AsksTheHostNothing) {
  host.bind_status = -997;
  host.rule_domain_answer = 0;
  for (const Placeholder& placeholder : kPlaceholders) {
    EXPECT_EQ(run(placeholder.handler, {{18, "web"}}), placeholder.events) << placeholder.handler;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_placeholder_test
