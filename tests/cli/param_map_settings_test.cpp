// What the three setting handlers of parameter-maps have in common beyond the contract of every handler: the numbers
// of their records.
#include <array>
#include <cstdint>
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
  std::uint32_t number_keyword;  // a setting with a number, and where its word is
  std::size_t number_offset;
  std::string mask;  // the mask bit that comes with it; all zero: none
};

const SettingHandler kHandlers[] = {
    {"Connection", "kvelparammap_config_conn", 703, "0", 830, 136, "\0\0\0\x10"s},
    {"Http", "kvelparammap_config_http", 801, "1", 814, 20, "\0\0\0\0"s},
    {"Ssl", "kvelparammap_config_ssl", 921, "2", 956, 4, "\x20\0\0\0"s},
};

class ParamMapSettings : public PluginTest, public testing::WithParamInterface<SettingHandler> {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run(GetParam().handler, tokens, form); }

  static Events sent(const std::string& name, const std::string& add, const Bytes& bytes) {
    return {"bind 2",
            "call cm_param_map_config(u16 7, session 0x01020304, u8 " + add + ", '" + name + "', u8 " +
                GetParam().type + ", buffer[140] " + hex(map_settings(bytes)) + ")",
            "return 0"};
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

TEST_P(ParamMapSettings, WithoutANameItIsEmpty) {
  EXPECT_EQ(config({number(7)}), sent("", "1", {{0, GetParam().mask}, {GetParam().number_offset, "\0\0\0\7"s}}));
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

}  // namespace
}  // namespace kvel::cli::test::param_map_settings_test
