// kvelparammap_config_http: the settings of an http parameter-map, byte by byte.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_http_test {
namespace {

using namespace std::string_literals;

class ParamMapHttp : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_config_http", tokens, form); }
};

std::string settings_call(const std::string& name, const Bytes& bytes, const std::string& add = "1") {
  return "call cm_param_map_config(u16 7, session 0x01020304, u8 " + add + ", '" + name + "', u8 1, buffer[140] " +
         hex(map_settings(bytes)) + ")";
}
Events sent(const Bytes& bytes, const std::string& add = "1") {
  return {"bind 2", settings_call("", bytes, add), "return 0"};
}

TEST_F(ParamMapHttp, TheWholeCall) {
  const std::string record =
      hex("\xfe\x00\x00\x00"  // change mask
          "\x00\x00\x00\x01"  // connection reuse
          "\x00\x00\x00\x01"  // case-insensitive parsing
          "\x00\x00\x00\x01"  // persistence rebalance
          "\x00\x00\x00\x01"  // length exceeded: continue
          "\x00\x00\xff\xff"  // header length
          "\x00\x00\x10\x00"  // content length
          ",;/&"s +           // URL-cookie delimiters
          std::string(108, '\0'));
  const Tokens tokens = {{801, "web"}, {803},        {804}, {810},       {806}, {809},
                         {812},        {814, 65535}, {807}, {815, 4096}, {805}, {813, ",;/&"}};
  EXPECT_EQ(
      config(tokens),
      (Events{"bind 2",
              "call cm_param_map_config(u16 7, session 0x01020304, u8 1, 'web', u8 1, buffer[140] " + record + ")",
              "return 0"}));
  EXPECT_EQ(
      config(tokens, kNo),
      (Events{"bind 2",
              "call cm_param_map_config(u16 7, session 0x01020304, u8 0, 'web', u8 1, buffer[140] " + record + ")",
              "return 0"}));
}

TEST_F(ParamMapHttp, EveryKeyword) {
  struct Row {
    Token token;
    Bytes bytes;
  };
  const std::vector<Row> rows = {
      {{803}, {{0, "\x80\0\0\0"s}, {4, "\0\0\0\1"s}}},   // connection reuse
      {{804}, {{0, "\x40\0\0\0"s}, {8, "\0\0\0\1"s}}},   // case-insensitive parsing
      {{805}, {{0, "\x02\0\0\0"s}}},                     // URL-cookie delimiters
      {{806}, {{0, "\x10\0\0\0"s}}},                     // length exceeded
      {{807}, {{0, "\x04\0\0\0"s}}},                     // content length
      {{808}, {}},                                       // drop
      {{809}, {{16, "\0\0\0\1"s}}},                      // continue
      {{810}, {{0, "\x20\0\0\0"s}, {12, "\0\0\0\1"s}}},  // persistence rebalance
      {{812}, {{0, "\x08\0\0\0"s}}},                     // header length
      {{813, ",;"}, {{28, ",;"}}},                       // the delimiters
      {{814, 0x01020304}, {{20, "\1\2\3\4"}}},           // the header length
      {{815, 0x01020304}, {{24, "\1\2\3\4"}}},           // the content length
      {{802}, {}},                                       // ignored
      {{811}, {}},                                       //
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const auto& [token, bytes] = rows[index];
    EXPECT_EQ(config({token}), sent(bytes)) << "row " << index;
    EXPECT_EQ(config({token}, kNo), sent(bytes, "0")) << "row " << index;
    EXPECT_EQ(config({token, token}), sent(bytes)) << "row " << index;
  }
}

TEST_F(ParamMapHttp, ALaterTokenWins) {
  EXPECT_EQ(config({{809}, {808}}), sent({}));
  EXPECT_EQ(config({{808}, {809}}), sent({{16, "\0\0\0\1"s}}));
  for (std::uint32_t keyword : {814, 815}) {
    EXPECT_EQ(config({{keyword, 0xffffffff}, {keyword, 0}}), sent({})) << keyword;
    EXPECT_EQ(config({{keyword, 0xffffffff}, {keyword, nullptr}}), sent({})) << keyword;
  }
  EXPECT_EQ(config({{814, 0x01010101}, {814, 2}}), sent({{20, "\0\0\0\2"s}}));
}

TEST_F(ParamMapHttp, FourDelimiters) {
  EXPECT_EQ(config({{813, ""}}), sent({}));
  EXPECT_EQ(config({{813, nullptr}}), sent({}));
  EXPECT_EQ(config({{813, "a"}}), sent({{28, "a"}}));
  EXPECT_EQ(config({{813, "abc"}}), sent({{28, "abc"}}));
  EXPECT_EQ(config({{813, "abcd"}}), sent({{28, "abcd"}}));
  EXPECT_EQ(config({{813, "abcde"}}), sent({{28, "abcd"}}));
  EXPECT_EQ(config({{813, "abcdefgh"}}), sent({{28, "abcd"}}));
  EXPECT_EQ(config({{813, std::string(65536, '&')}}), sent({{28, "&&&&"}}));
  EXPECT_EQ(config({{813, "\x01\xff #"}}), sent({{28, "\x01\xff #"}}));
}

TEST_F(ParamMapHttp, LaterDelimitersReplaceTheEarlierWhole) {
  EXPECT_EQ(config({{813, "abcd"}, {813, "x"}}), sent({{28, "x"}}));
  EXPECT_EQ(config({{813, "abcd"}, {813, ""}}), sent({}));
  EXPECT_EQ(config({{813, "abcd"}, {813, nullptr}}), sent({}));
  EXPECT_EQ(config({{813, "a"}, {813, "wxyz"}}), sent({{28, "wxyz"}}));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_http_test
