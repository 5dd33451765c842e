// The inspection rules that send one code from a range of keywords: FTP and HTTP request methods, MIME types, port-80
// misuse and transfer encodings.
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_inspection_codes_test {
namespace {

struct Code {
  std::uint32_t keyword_id;
  const char* code;
};

struct CodeRule {
  const char* handler;
  const char* call;
  std::uint32_t name_keyword;
  std::uint32_t line_keyword;
  std::vector<Code> codes;
};

const CodeRule kFtpMethods = {
    "kvelclassmap_config_ftpinspect",
    "cm_update_ftp_request_method_match",
    173,
    176,
    {{876, "1"},
     {877, "2"},
     {878, "3"},
     {879, "4"},
     {880, "5"},
     {881, "6"},
     {882, "7"},
     {883, "8"},
     {884, "9"},
     {885, "10"},
     {886, "11"},
     {887, "12"},
     {888, "13"}},
};

const CodeRule kMimeTypes = {
    "kvelclassmap_config_httpinsp_mime",
    "cm_update_mime_type_match",
    103,
    106,
    {{1001, "33"}, {1002, "34"}, {1003, "35"}, {1004, "36"}, {1005, "37"}, {1006, "38"}, {1007, "39"}, {1008, "40"},
     {1009, "41"}, {1010, "42"}, {1011, "43"}, {1012, "44"}, {1013, "45"}, {1014, "46"}, {1015, "47"}, {1016, "48"},
     {1017, "49"}, {1018, "50"}, {1019, "51"}, {1020, "52"}, {1021, "53"}, {1022, "54"}, {1023, "55"}, {1024, "56"},
     {1025, "57"}, {1026, "58"}, {1027, "59"}, {1028, "60"}, {1029, "61"}, {1030, "62"}, {1031, "63"}, {1032, "64"},
     {1033, "65"}, {1034, "66"}, {1035, "67"}, {1036, "68"}, {1037, "69"}, {1038, "70"}, {1039, "71"}, {1040, "72"},
     {1041, "73"}, {1042, "74"}, {1043, "75"}, {1044, "76"}, {1045, "77"}},
};

const CodeRule kHttpMethods = {
    "kvelclassmap_config_httpinsp_method",
    "cm_update_request_method_match",
    103,
    106,
    {{1201, "1"},  {1202, "2"},  {1203, "3"},  {1204, "4"},  {1205, "5"},  {1206, "6"},  {1207, "7"},
     {1208, "8"},  {1209, "9"},  {1210, "10"}, {1211, "11"}, {1212, "12"}, {1213, "13"}, {1214, "14"},
     {1215, "15"}, {1216, "16"}, {1217, "17"}, {1218, "18"}, {1219, "19"}, {1220, "20"}, {1221, "21"},
     {1222, "22"}, {1223, "23"}, {1224, "24"}, {1225, "25"}, {1226, "26"}, {1227, "27"}},
};

const CodeRule kPort80Misuse = {
    "kvelclassmap_config_httpinsp_p80misuse", "cm_update_p80_misuse_match", 103, 106,
    {{1251, "1"}, {1252, "2"}, {1253, "3"}},
};

const CodeRule kTransferEncodings = {
    "kvelclassmap_config_httpinsp_encoding",
    "cm_update_transfer_encoding_match",
    103,
    106,
    {{1101, "83"}, {1102, "84"}, {1103, "85"}, {1104, "86"}, {1105, "87"}, {1106, "88"}},
};

const std::vector<CodeRule> kRules = {kFtpMethods, kMimeTypes, kHttpMethods, kPort80Misuse, kTransferEncodings};

// The call for the class-map 'web' and line 20.
Events sent(const CodeRule& rule, const std::string& code, const std::string& add = "1") {
  return {"bind 2", std::string("call ") + rule.call + "(u16 7, 'web', u32 20, u8 " + code + ", u8 " + add + ")",
          "return 0"};
}

class ClassMapInspectionCode : public PluginTest {
 protected:
  // A command for the class-map 'web' and line 20, with these tokens between the two.
  Events match(const CodeRule& rule, const std::vector<std::uint32_t>& keywords, const Form& form = {}) {
    Tokens tokens = {{rule.name_keyword, "web"}};
    tokens.insert(tokens.end(), keywords.begin(), keywords.end());
    tokens.emplace_back(rule.line_keyword, 20);
    return run(rule.handler, tokens, form);
  }
};

TEST_F(ClassMapInspectionCode, AFtpRequestMethod) {
  EXPECT_EQ(
      run("kvelclassmap_config_ftpinspect", {{173, "web"}, {176, 20}, {876}}),
      (Events{"bind 2", "call cm_update_ftp_request_method_match(u16 7, 'web', u32 20, u8 1, u8 1)", "return 0"}));
  EXPECT_EQ(
      run("kvelclassmap_config_ftpinspect", {{173, "web"}, {888}}, kNo),
      (Events{"bind 2", "call cm_update_ftp_request_method_match(u16 7, 'web', u32 0, u8 13, u8 0)", "return 0"}));
}

TEST_F(ClassMapInspectionCode, AMimeType) {
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_mime", {{103, "web"}, {106, 20}, {1001}}),
            (Events{"bind 2", "call cm_update_mime_type_match(u16 7, 'web', u32 20, u8 33, u8 1)", "return 0"}));
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_mime", {{103, "web"}, {1045}}, kNo),
            (Events{"bind 2", "call cm_update_mime_type_match(u16 7, 'web', u32 0, u8 77, u8 0)", "return 0"}));
}

TEST_F(ClassMapInspectionCode, AnHttpRequestMethod) {
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_method", {{103, "web"}, {106, 20}, {1201}}),
            (Events{"bind 2", "call cm_update_request_method_match(u16 7, 'web', u32 20, u8 1, u8 1)", "return 0"}));
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_method", {{103, "web"}, {1227}}, kNo),
            (Events{"bind 2", "call cm_update_request_method_match(u16 7, 'web', u32 0, u8 27, u8 0)", "return 0"}));
}

TEST_F(ClassMapInspectionCode, MisuseOfPort80) {
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_p80misuse", {{103, "web"}, {106, 20}, {1251}}),
            (Events{"bind 2", "call cm_update_p80_misuse_match(u16 7, 'web', u32 20, u8 1, u8 1)", "return 0"}));
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_p80misuse", {{103, "web"}, {1253}}, kNo),
            (Events{"bind 2", "call cm_update_p80_misuse_match(u16 7, 'web', u32 0, u8 3, u8 0)", "return 0"}));
}

TEST_F(ClassMapInspectionCode, ATransferEncoding) {
  EXPECT_EQ(
      run("kvelclassmap_config_httpinsp_encoding", {{103, "web"}, {106, 20}, {1101}}),
      (Events{"bind 2", "call cm_update_transfer_encoding_match(u16 7, 'web', u32 20, u8 83, u8 1)", "return 0"}));
  EXPECT_EQ(run("kvelclassmap_config_httpinsp_encoding", {{103, "web"}, {1106}}, kNo),
            (Events{"bind 2", "call cm_update_transfer_encoding_match(u16 7, 'web', u32 0, u8 88, u8 0)", "return 0"}));
}

TEST_F(ClassMapInspectionCode, EveryKeyword) {
  for (const CodeRule& rule : kRules) {
    for (const auto& [keyword, code] : rule.codes) {
      EXPECT_EQ(match(rule, {keyword}), sent(rule, code)) << rule.handler << " " << keyword;
      EXPECT_EQ(match(rule, {keyword}, kNo), sent(rule, code, "0")) << rule.handler << " " << keyword;
    }
  }
}

TEST_F(ClassMapInspectionCode, ALaterKeywordWins) {
  for (const CodeRule& rule : kRules) {
    const auto [first, first_code] = rule.codes.front();
    const auto [last, last_code] = rule.codes.back();
    EXPECT_EQ(match(rule, {first, last}), sent(rule, last_code)) << rule.handler;
    EXPECT_EQ(match(rule, {last, first}), sent(rule, first_code)) << rule.handler;
  }
}

}  // namespace
}  // namespace kvel::cli::test::class_map_inspection_codes_test
