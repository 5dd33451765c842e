// kvelparammap_config_ssl: the settings of an ssl parameter-map, byte by byte. One word carries the value of whatever
// the mask names.
#include <string>
#include <vector>

#include "tests/cli/param_map_samples.h"
#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::param_map_ssl_test {
namespace {

using namespace std::string_literals;

class ParamMapSsl : public PluginTest {
 protected:
  Events config(const Tokens& tokens, const Form& form = {}) { return run("kvelparammap_config_ssl", tokens, form); }
};

std::string settings_call(const std::string& name, const Bytes& bytes, const std::string& add = "1") {
  return "call cm_param_map_config(u16 7, session 0x01020304, u8 " + add + ", '" + name + "', u8 2, buffer[140] " +
         hex(map_settings(bytes)) + ")";
}
Events sent(const Bytes& bytes, const std::string& add = "1") {
  return {"bind 2", settings_call("", bytes, add), "return 0"};
}
// A cipher's record: mask, code, priority.
Events cipher(const std::string& code, const std::string& priority) {
  return sent({{0, "\x80\0\0\0"s}, {4, "\0\0\0"s + code + "\0\0\0"s + priority}});
}

TEST_F(ParamMapSsl, TheWholeCall) {
  const std::string record =
      hex("\x80\x00\x00\x00"     // change mask
          "\x00\x00\x00\x05"     // cipher code
          "\x00\x00\x00\x0a"s +  // its priority
          std::string(128, '\0'));
  EXPECT_EQ(
      config({{921, "web"}, {932}, {950, 10}}),
      (Events{"bind 2",
              "call cm_param_map_config(u16 7, session 0x01020304, u8 1, 'web', u8 2, buffer[140] " + record + ")",
              "return 0"}));
  EXPECT_EQ(
      config({{921, "web"}, {932}, {950, 10}}, kNo),
      (Events{"bind 2",
              "call cm_param_map_config(u16 7, session 0x01020304, u8 0, 'web', u8 2, buffer[140] " + record + ")",
              "return 0"}));
}

TEST_F(ParamMapSsl, EveryKeyword) {
  struct Row {
    Token token;
    Bytes bytes;
  };
  const std::vector<Row> rows = {
      {{922}, {{0, "\x80\0\0\0\0\0\0\x00\0\0\0\1"s}}},    // RSA_WITH_RC4_128_MD5
      {{923}, {{0, "\x80\0\0\0\0\0\0\x01\0\0\0\1"s}}},    // RSA_WITH_RC4_128_SHA
      {{924}, {{0, "\x80\0\0\0\0\0\0\x02\0\0\0\1"s}}},    // RSA_WITH_DES_CBC_SHA
      {{925}, {{0, "\x80\0\0\0\0\0\0\x03\0\0\0\1"s}}},    // RSA_WITH_3DES_EDE_CBC_SHA
      {{926}, {{0, "\x80\0\0\0\0\0\0\x06\0\0\0\1"s}}},    // RSA_EXPORT_WITH_RC4_40_MD5
      {{927}, {{0, "\x80\0\0\0\0\0\0\x08\0\0\0\1"s}}},    // RSA_EXPORT_WITH_DES40_CBC_SHA
      {{928}, {{0, "\x80\0\0\0\0\0\0\x07\0\0\0\1"s}}},    // RSA_EXPORT1024_WITH_RC4_56_MD5
      {{929}, {{0, "\x80\0\0\0\0\0\0\x09\0\0\0\1"s}}},    // RSA_EXPORT1024_WITH_DES_CBC_SHA
      {{930}, {{0, "\x80\0\0\0\0\0\0\x0a\0\0\0\1"s}}},    // RSA_EXPORT1024_WITH_RC4_56_SHA
      {{931}, {{0, "\x80\0\0\0\0\0\0\x04\0\0\0\1"s}}},    // RSA_WITH_AES_128_CBC_SHA
      {{932}, {{0, "\x80\0\0\0\0\0\0\x05\0\0\0\1"s}}},    // RSA_WITH_AES_256_CBC_SHA
      {{950, 7}, {{8, "\0\0\0\7"s}}},                     // a priority alone
      {{951}, {{0, "\x40\0\0\0"s}}},                      // version
      {{952}, {}},                                        //
      {{953}, {{4, "\0\0\0\1"s}}},                        //
      {{954}, {{4, "\0\0\0\2"s}}},                        //
      {{956, 0x01020304}, {{0, "\x20\0\0\0\1\2\3\4"s}}},  //
      {{957}, {{0, "\x10\0\0\0"s}}},                      // close protocol
      {{958}, {}},                                        //
      {{959}, {{4, "\0\0\0\1"s}}},                        //
      {{960}, {{4, "\0\0\0\2"s}}},                        //
      {{963, 0x01020304}, {{0, "\x08\0\0\0\1\2\3\4"s}}},  //
      {{964, 0x01020304}, {{0, "\x04\0\0\0\1\2\3\4"s}}},  //
      {{963, nullptr}, {{0, "\x08\0\0\0"s}}},             //
      {{964, nullptr}, {{0, "\x04\0\0\0"s}}},             //
      {{951, nullptr}, {{0, "\x40\0\0\0"s}}},             //
      {{950, nullptr}, {}},                               //
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const auto& [token, bytes] = rows[index];
    EXPECT_EQ(config({token}), sent(bytes)) << "row " << index;
    EXPECT_EQ(config({token}, kNo), sent(bytes, "0")) << "row " << index;
    EXPECT_EQ(config({token, token}), sent(bytes)) << "row " << index;
  }
}

TEST_F(ParamMapSsl, ACiphersPriority) {
  EXPECT_EQ(config({{932}}), cipher("\5", "\1"));
  EXPECT_EQ(config({{932}, {950, 2}}), cipher("\5", "\2"));
  EXPECT_EQ(config({{932}, {950, 0}}), cipher("\5", "\0"s));
  EXPECT_EQ(config({{932}, {950, nullptr}}), cipher("\5", "\0"s));
  EXPECT_EQ(config({{932}, {950, 255}}), cipher("\5", "\xff"));
  EXPECT_EQ(config({{932}, {950, 2}, {950, 9}}), cipher("\5", "\x09"));
}

TEST_F(ParamMapSsl, APriorityIsALowByte) {
  EXPECT_EQ(config({{932}, {950, 256}}), cipher("\5", "\0"s));
  EXPECT_EQ(config({{932}, {950, 257}}), cipher("\5", "\1"));
  EXPECT_EQ(config({{932}, {950, 0x12345678}}), cipher("\5", "\x78"));
  EXPECT_EQ(config({{932}, {950, 0xffffff00}}), cipher("\5", "\0"s));
  EXPECT_EQ(config({{932}, {950, 0xffffffff}}), cipher("\5", "\xff"));
  EXPECT_EQ(config({{950, 300}}), sent({{8, "\0\0\0\x2c"s}}));
}

TEST_F(ParamMapSsl, ACipherTakesAnEarlierPriorityBack) {
  EXPECT_EQ(config({{950, 9}, {922}}), cipher("\0"s, "\1"));
  EXPECT_EQ(config({{950, 9}, {923}}), cipher("\1", "\1"));
  EXPECT_EQ(config({{950, 9}, {924}}), cipher("\2", "\1"));
  EXPECT_EQ(config({{950, 9}, {925}}), cipher("\3", "\1"));
  EXPECT_EQ(config({{950, 9}, {926}}), cipher("\6", "\1"));
  EXPECT_EQ(config({{950, 9}, {927}}), cipher("\x08", "\1"));
  EXPECT_EQ(config({{950, 9}, {928}}), cipher("\7", "\1"));
  EXPECT_EQ(config({{950, 9}, {929}}), cipher("\x09", "\1"));
  EXPECT_EQ(config({{950, 9}, {930}}), cipher("\x0a", "\1"));
  EXPECT_EQ(config({{950, 9}, {931}}), cipher("\4", "\1"));
  EXPECT_EQ(config({{950, 9}, {932}}), cipher("\5", "\1"));
  EXPECT_EQ(config({{923}, {950, 9}, {924}}), cipher("\2", "\1"));
}

TEST_F(ParamMapSsl, ALaterValueWinsAndTheMasksMeet) {
  EXPECT_EQ(config({{932}, {922}}), cipher("\0"s, "\1"));
  EXPECT_EQ(config({{951}, {953}}), sent({{0, "\x40\0\0\0\0\0\0\1"s}}));
  EXPECT_EQ(config({{951}, {954}, {953}}), sent({{0, "\x40\0\0\0\0\0\0\1"s}}));
  EXPECT_EQ(config({{951}, {954}, {952}}), sent({{0, "\x40\0\0\0"s}}));
  EXPECT_EQ(config({{957}, {960}, {958}}), sent({{0, "\x10\0\0\0"s}}));
  EXPECT_EQ(config({{960}, {957}}), sent({{0, "\x10\0\0\0\0\0\0\2"s}}));
  EXPECT_EQ(config({{956, 0x01010101}, {959}}), sent({{0, "\x20\0\0\0\0\0\0\1"s}}));
  EXPECT_EQ(config({{956, 9}, {963, 8}, {964, 7}}), sent({{0, "\x2c\0\0\0\0\0\0\7"s}}));
  EXPECT_EQ(config({{964, 9}, {963, nullptr}}), sent({{0, "\x0c\0\0\0"s}}));
  EXPECT_EQ(config({{964, 9}, {956, 300}, {951}, {957}, {931}}), sent({{0, "\xf4\0\0\0\0\0\0\4\0\0\0\1"s}}));
}

}  // namespace
}  // namespace kvel::cli::test::param_map_ssl_test
