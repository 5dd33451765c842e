// What the three setting handlers of parameter-maps have in common: how they bind, name the map, send and report.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_settings_test {
namespace {

using namespace std::string_literals;

struct SettingHandler {
  const char* type_name;
  const char* handler;
  std::uint32_t name_keyword;
  const char* type;
  std::uint32_t number_keyword;  // a setting with a number, and where its word stands
  std::size_t number_offset;
  std::string mask;  // the mask bit that comes with it; all zero: none
};

const SettingHandler kHandlers[] = {
    {"Connection", "kvelparammap_config_conn", 703, "0", 830, 136, "\0\0\0\x10"s},
    {"Http", "kvelparammap_config_http", 801, "1", 814, 20, "\0\0\0\0"s},
    {"Ssl", "kvelparammap_config_ssl", 921, "2", 956, 4, "\x20\0\0\0"s},
};

const std::string k64(64, 'x');  // the longest name

class ParamMapSettings : public PluginTest, public testing::WithParamInterface<SettingHandler> {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run(GetParam().handler, tokens, form); }
  Events config_name(const std::string& name, const Form& form = {}) {
    return config({{GetParam().name_keyword, name}}, form);
  }

  static std::string call(const std::string& name, const std::string& add = "1", const Bytes& bytes = {},
                          const std::string& identity = "u16 7, session 0x01020304") {
    return "call cm_param_map_config(" + identity + ", u8 " + add + ", '" + name + "', u8 " + GetParam().type +
           ", buffer[140] " + hex(map_settings(bytes)) + ")";
  }
  static Events sent(const std::string& name, const std::string& add = "1", const Bytes& bytes = {}) {
    return {"bind 2", call(name, add, bytes), "return 0"};
  }

  static Token number(std::uint32_t value) { return {GetParam().number_keyword, value}; }
};

std::string type_of(const testing::TestParamInfo<SettingHandler>& info) { return info.param.type_name; }

INSTANTIATE_TEST_SUITE_P(Types, ParamMapSettings, testing::ValuesIn(kHandlers), type_of);

TEST_P(ParamMapSettings, SetsAndResets) {
  const Tokens tokens = {{GetParam().name_keyword, "web"}, number(0x01020304)};
  const Bytes bytes = {{0, GetParam().mask}, {GetParam().number_offset, "\1\2\3\4"}};
  EXPECT_EQ(config(tokens), sent("web", "1", bytes));
  EXPECT_EQ(config(tokens, kNo), sent("web", "0", bytes));
  for (std::uint32_t negated : {2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config(tokens, {.negated = negated}), sent("web", "0", bytes)) << negated;
  }
}

TEST_P(ParamMapSettings, WithoutTokens) {
  EXPECT_EQ(config({}), sent(""));
  EXPECT_EQ(config({}, kNo), sent("", "0"));
}

TEST_P(ParamMapSettings, WithoutANameItIsEmpty) {
  EXPECT_EQ(config({number(7)}), sent("", "1", {{0, GetParam().mask}, {GetParam().number_offset, "\0\0\0\7"s}}));
}

TEST_P(ParamMapSettings, Names) {
  EXPECT_EQ(config({{GetParam().name_keyword, nullptr}}), sent(""));
  EXPECT_EQ(config_name(""), sent(""));
  EXPECT_EQ(config_name("w"), sent("w"));
  EXPECT_EQ(config_name(std::string(63, 'x')), sent(std::string(63, 'x')));
  EXPECT_EQ(config_name(k64), sent(k64));
  EXPECT_EQ(config_name(k64 + "y"), sent(k64));
  EXPECT_EQ(config_name(k64 + std::string(65536, 'y')), sent(k64));
  EXPECT_EQ(config_name("\x01 %s\xff"), sent("\\x01 %s\\xff"));
  EXPECT_EQ(config_name("#web"), sent("#web"));  // the rule for new names is not theirs
}

TEST_P(ParamMapSettings, ALaterNameWins) {
  const std::uint32_t keyword = GetParam().name_keyword;
  EXPECT_EQ(config({{keyword, k64 + "y"}, {keyword, "ab"}}), sent("ab"));
  EXPECT_EQ(config({{keyword, "ab"}, {keyword, nullptr}}), sent(""));
  EXPECT_EQ(config({{keyword, "ab"}, {keyword, ""}}), sent(""));
}

// Each type reads the name of its own grammar alone.
TEST_P(ParamMapSettings, TheOtherTypesNamesAreNotRead) {
  for (std::uint32_t keyword : {703U, 801U, 921U}) {
    if (keyword == GetParam().name_keyword) continue;
    EXPECT_EQ(config({{GetParam().name_keyword, "web"}, {keyword}}), sent("web")) << keyword;
    EXPECT_EQ(config({{keyword}}), sent("")) << keyword;
  }
}

TEST_P(ParamMapSettings, ANullNumberIsZero) {
  EXPECT_EQ(config({number(5), {GetParam().number_keyword, nullptr}}), sent("", "1", {{0, GetParam().mask}}));
}

TEST_P(ParamMapSettings, ALaterNumberWins) {
  const Bytes seven = {{0, GetParam().mask}, {GetParam().number_offset, "\0\0\0\7"s}};
  EXPECT_EQ(config({number(0xffffffff), number(7)}), sent("", "1", seven));
  EXPECT_EQ(config({number(7), number(0)}), sent("", "1", {{0, GetParam().mask}}));
}

TEST_P(ParamMapSettings, NumbersAreNotChecked) {
  struct Row {
    std::uint32_t number;
    std::string bytes;
  };
  const std::array rows = {
      Row{0, "\0\0\0\0"s},
      Row{1, "\0\0\0\1"s},
      Row{256, "\0\0\1\0"s},
      Row{65536, "\0\1\0\0"s},
      Row{0x7fffffff, "\x7f\xff\xff\xff"},
      Row{0x80000000, "\x80\0\0\0"s},
      Row{0xffffffff, "\xff\xff\xff\xff"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config({number(row.number)}),
              sent("", "1", {{0, GetParam().mask}, {GetParam().number_offset, row.bytes}}))
        << row.number;
  }
}

TEST_P(ParamMapSettings, ReadsAll255Tokens) {
  Tokens tokens(253, Token(4711));
  tokens.insert(tokens.begin(), Token(GetParam().name_keyword, "first"));
  tokens.push_back(number(9));
  EXPECT_EQ(config(tokens), sent("first", "1", {{0, GetParam().mask}, {GetParam().number_offset, "\0\0\0\x09"s}}));
}

TEST_P(ParamMapSettings, IdentityOfTheSession) {
  struct Row {
    std::int16_t context_id;
    std::uint32_t session_id;
    const char* arguments;
  };
  const std::array rows = {
      Row{0, 0, "u16 0, session 0x00000000"},
      Row{32767, 0x7fffffff, "u16 32767, session 0x7fffffff"},
      Row{-1, 0xffffffff, "u16 65535, session 0xffffffff"},
      Row{-32768, 0x80000000, "u16 32768, session 0x80000000"},
      Row{-2, 0xfedcba98, "u16 65534, session 0xfedcba98"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(config_name("web", {.context_id = row.context_id, .session_id = row.session_id}),
              (Events{"bind 2", call("web", "1", {}, row.arguments), "return 0"}));
  }
}

TEST_P(ParamMapSettings, TheCommandFormIsNotLookedAt) {
  for (std::uint32_t form : {1U, 362U, 364U, 0xffffffffU}) {
    EXPECT_EQ(config_name("web", {.command_id = form}), sent("web")) << form;
  }
}

TEST_P(ParamMapSettings, TheRuleDomainIsNotAsked) {
  host.rule_domain_answer = 0;
  EXPECT_EQ(config_name("web"), sent("web"));
}

struct StatusLine {
  std::int32_t status;
  const char* message;
};

const StatusLine kStatusLines[] = {
    {-999, "Error: Called API is invalid or non-existant\n"},
    {-998, "Error: Called API timed out\n"},
    {-997, "Error: Transport error\n"},
    {-996, "Error: Incorrect argument(s)/type mismatch\n"},
    {-1, "Error: Called API encountered error\n"},
    {1, "Error: text of 0x00000001, 100%d %s\n"},
    {-2, "Error: text of 0xfffffffe, 100%d %s\n"},
    {0x40f30001, "Error: text of 0x40f30001, 100%d %s\n"},
    {0x40f30009, "Error: text of 0x40f30009, 100%d %s\n"},
    {0x40f3000a, "Error: text of 0x40f3000a, 100%d %s\n"},
    {0x40f3009c, "Error: text of 0x40f3009c, 100%d %s\n"},
    {0x40f2ffff, "Error: text of 0x40f2ffff, 100%d %s\n"},
    {std::numeric_limits<std::int32_t>::min(), "Error: text of 0x80000000, 100%d %s\n"},
};

TEST_P(ParamMapSettings, AFailedBindIsReported) {
  for (const StatusLine& line : kStatusLines) {
    host.bind_status = line.status;
    const Events refused = {"bind 2", out(line.message), "return 255"};
    EXPECT_EQ(config_name("web"), refused) << line.status;
    EXPECT_EQ(config_name("web", kNo), refused) << line.status;
    EXPECT_EQ(config_name("web", {.skip_execution = 1}), refused) << line.status;
    EXPECT_EQ(config({}), refused) << line.status;
  }
}

TEST_P(ParamMapSettings, ABindThatHasMoreDataFailsSilently) {
  host.bind_status = kMoreData;
  EXPECT_EQ(config_name("web"), (Events{"bind 2", "return 255"}));
  EXPECT_EQ(config_name("web", {.skip_execution = 1}), (Events{"bind 2", "return 255"}));
}

TEST_P(ParamMapSettings, SkippedExecutionOnlyBinds) {
  const Events bound = {"bind 2", "return 0"};
  for (std::uint32_t skip : {1U, 2U, 256U, 0x00010000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(config_name("web", {.skip_execution = skip}), bound) << skip;
    EXPECT_EQ(config_name("web", {.negated = 1, .skip_execution = skip}), bound) << skip;
    EXPECT_EQ(config({{GetParam().name_keyword}}, {.skip_execution = skip}), bound) << skip;  // unreadable
  }
  EXPECT_EQ(config({}, {.skip_execution = 1}), bound);
}

TEST_P(ParamMapSettings, BackendSuccesses) {
  host.answer({.status = 0});
  EXPECT_EQ(config_name("web"), sent("web"));
  host.answer({.status = 0x40f30000});
  EXPECT_EQ(config_name("web"), sent("web"));
}

TEST_P(ParamMapSettings, BackendFailures) {
  for (const StatusLine& line : kStatusLines) {
    host.answer({.status = line.status});
    EXPECT_EQ(config_name("web"), (Events{"bind 2", call("web"), out(line.message), "return 1"})) << line.status;
    host.answer({.status = line.status});
    EXPECT_EQ(config_name("web", kNo), (Events{"bind 2", call("web", "0"), out(line.message), "return 1"}))
        << line.status;
  }
}

TEST_P(ParamMapSettings, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(config({{GetParam().name_keyword, "a-long-name"}, number(0xffffffff)}).size(), 3U);
  EXPECT_EQ(config({}), sent(""));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_settings_test
