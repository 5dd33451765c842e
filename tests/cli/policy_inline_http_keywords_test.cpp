// Matches written into an HTTP inspection policy-map: what each keyword writes into the record.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/policy_inline_http.h"

namespace kvel::cli::test::policy_inline_http_keywords_test {
namespace {

using namespace std::string_literals;

// ---- whole records

Events placed(const std::string& add, const std::string& bytes) {
  return {"bind 2",
          "call cm_update_l7_inline_http_insp_match(u16 7, session 0x01020304, u8 " + add +
              ", 'p1', 'm1', 'b1', buffer[328] " + hex(bytes) + ")",
          "return 0"};
}

TEST_F(PolicyMapInlineHttp, AHeader) {
  const std::string bytes = "\x00\x00\x00\x0b"s +      // kind
                            field("X-Client", 65) +    // name
                            field(".*example", 256) +  // value
                            "\x00\x00\x00"s;           // zero
  const Tokens tokens = {{603, "p1"}, {605, "m1"}, {595, "b1"}, {115, "X-Client"}, {116, ".*example"}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineHttp, AContentAtAnOffset) {
  const std::string bytes = "\x00\x00\x00\x0e"s +   // kind
                            field("secret", 256) +  // expression
                            "\x00\x64"s +           // content offset
                            field("", 66);          // zero
  const Tokens tokens = {{603, "p1"}, {605, "m1"}, {595, "b1"}, {145, "secret"}, {146, 100}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineHttp, AHeaderLength) {
  const std::string bytes =
      "\x00\x00\x00\x0d"   // kind
      "\x00\x00\x00\x01"   // response
      "\x00\x00\x00\x50"   // low
      "\x00\x00\x00\x5a"s  // high
      + field("", 312);    // zero
  const Tokens tokens = {{603, "p1"}, {605, "m1"}, {595, "b1"}, {114}, {65, 80}, {66, 90}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineHttp, AContentLength) {
  const std::string bytes =
      "\x00\x00\x00\x0f"   // kind
      "\x00\x01\x86\xa1"   // low
      "\xff\xff\xff\xff"s  // high
      + field("", 316);    // zero
  const Tokens tokens = {{603, "p1"}, {605, "m1"}, {595, "b1"}, {142}, {132, 100000}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

TEST_F(PolicyMapInlineHttp, AProperty) {
  const std::string bytes =
      "\x00\x00\x00\x10"  // kind
      "\x21"              // code
      "\x00\x00\x00"s     // zero
      + field("", 320);   // zero
  const Tokens tokens = {{603, "p1"}, {605, "m1"}, {595, "b1"}, {131}, {1001}};
  EXPECT_EQ(match(tokens), placed("1", bytes));
  EXPECT_EQ(match(tokens, kNo), placed("0", bytes));
}

// ---- keyword by keyword

TEST_F(PolicyMapInlineHttp, KeywordsOfAKindOnly) {
  EXPECT_EQ(match({{122}}), http_match({{0, "\0\0\0\x0a"s}}));
  EXPECT_EQ(match({{113}}), http_match({{0, "\0\0\0\x0c"s}}));
  EXPECT_EQ(match({{114}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{131}}), http_match({{0, "\0\0\0\x10"s}}));
  EXPECT_EQ(match({{142}}), http_match({{0, "\0\0\0\x0f"s}}));
  EXPECT_EQ(match({{148}}), http_match({{0, "\0\0\0\x13"s}}));
  EXPECT_EQ(match({{149}}), http_match({{0, "\0\0\0\x13"s}}));
  EXPECT_EQ(match({{150}}), http_match({{0, "\0\0\0\x11"s}}));
  EXPECT_EQ(match({{161}}), http_match({{0, "\0\0\0\x14"s}}));
  EXPECT_EQ(match({{165}}), http_match({{0, "\0\0\0\x16"s}}));
  EXPECT_EQ(match({{166}}), http_match({{0, "\0\0\0\x15"s}}));
}

TEST_F(PolicyMapInlineHttp, KeywordsOfATextOrAnOffset) {
  EXPECT_EQ(match({{115, "X-Client"}}), http_match({{4, "X-Client"}}));
  EXPECT_EQ(match({{116, "value"}}), http_match({{0, "\0\0\0\x0b"s}, {69, "value"}}));
  EXPECT_EQ(match({{123, "/img"}}), http_match({{0, "\0\0\0\x09"s}, {4, "/img"}}));
  EXPECT_EQ(match({{145, "secret"}}), http_match({{0, "\0\0\0\x0e"s}, {4, "secret"}}));
  EXPECT_EQ(match({{146, 5}}), http_match({{260, "\0\5"s}}));
}

TEST_F(PolicyMapInlineHttp, EveryWellKnownHeader) {
  struct Row {
    std::uint32_t keyword_id;
    const char* name;
  };
  const std::array rows = {
      Row{44, "Via"},
      Row{45, "User-Agent"},
      Row{46, "Transfer-Encoding"},
      Row{47, "Referer"},
      Row{48, "Pragma"},
      Row{49, "If-Match"},
      Row{50, "Host"},
      Row{51, "From"},
      Row{52, "Expect"},
      Row{53, "Content-MD5"},
      Row{54, "Connection"},
      Row{55, "Cache-Control"},
      Row{56, "Authorization"},
      Row{57, "Accept-Language"},
      Row{58, "Accept-Encoding"},
      Row{59, "Accept-Charset"},
      Row{60, "Accept"},
  };
  for (const auto& [keyword, name] : rows) {
    // A name sets no kind, and leaves the one that is set.
    EXPECT_EQ(match({{keyword}}), http_match({{4, name}})) << "keyword " << keyword;
    EXPECT_EQ(match({{116, "value"}, {keyword}}), http_match({{0, "\0\0\0\x0b"s}, {4, name}, {69, "value"}}))
        << "keyword " << keyword;
    // Either kind of name replaces the other whole.
    EXPECT_EQ(match({{115, std::string(64, 'h')}, {keyword}}), http_match({{4, name}})) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {115, "H"}}), http_match({{4, "H"}})) << "keyword " << keyword;
    EXPECT_EQ(match({{46}, {keyword}}), http_match({{4, name}})) << "keyword " << keyword;
  }
}

struct Code {
  std::uint32_t keyword_id;
  unsigned char code;
};

constexpr std::array kMimeTypes = {
    Code{1001, 33}, Code{1002, 34}, Code{1003, 35}, Code{1004, 36}, Code{1005, 37}, Code{1006, 38}, Code{1007, 39},
    Code{1008, 40}, Code{1009, 41}, Code{1010, 42}, Code{1011, 43}, Code{1012, 44}, Code{1013, 45}, Code{1014, 46},
    Code{1015, 47}, Code{1016, 48}, Code{1017, 49}, Code{1018, 50}, Code{1019, 51}, Code{1020, 52}, Code{1021, 53},
    Code{1022, 54}, Code{1023, 55}, Code{1024, 56}, Code{1025, 57}, Code{1026, 58}, Code{1027, 59}, Code{1028, 60},
    Code{1029, 61}, Code{1030, 62}, Code{1031, 63}, Code{1032, 64}, Code{1033, 65}, Code{1034, 66}, Code{1035, 67},
    Code{1036, 68}, Code{1037, 69}, Code{1038, 70}, Code{1039, 71}, Code{1040, 72}, Code{1041, 73}, Code{1042, 74},
    Code{1043, 75}, Code{1044, 76}, Code{1045, 77},
};
constexpr std::array kTransferEncodings = {
    Code{1101, 83}, Code{1103, 85}, Code{1104, 86}, Code{1105, 87}, Code{1106, 88},
};
constexpr std::array kRequestMethods = {
    Code{1201, 1},  Code{1202, 2},  Code{1203, 3},  Code{1204, 4},  Code{1205, 5},  Code{1206, 6},  Code{1207, 7},
    Code{1208, 8},  Code{1209, 9},  Code{1210, 10}, Code{1211, 11}, Code{1212, 12}, Code{1213, 13}, Code{1214, 14},
    Code{1215, 15}, Code{1216, 16}, Code{1217, 17}, Code{1218, 18}, Code{1219, 19}, Code{1220, 20}, Code{1221, 21},
    Code{1222, 22}, Code{1223, 23}, Code{1224, 24}, Code{1225, 25}, Code{1226, 26}, Code{1227, 27},
};
constexpr std::array kPortMisuses = {
    Code{1251, 1},
    Code{1252, 2},
    Code{1253, 3},
};

class PolicyMapInlineHttpCodes : public PolicyMapInlineHttp {
 protected:
  template <std::size_t Count>
  void expect_codes(const std::array<Code, Count>& codes, std::uint32_t kind_keyword, const std::string& kind) {
    for (const auto& [keyword, code] : codes) {
      const std::string byte(1, static_cast<char>(code));
      const Events expected = http_match({{0, kind}, {4, byte}});
      EXPECT_EQ(match({{keyword}}), expected) << "keyword " << keyword;
      EXPECT_EQ(match({{kind_keyword}, {keyword}}), expected) << "keyword " << keyword;
      EXPECT_EQ(match({{keyword}, {kind_keyword}}), expected) << "keyword " << keyword;
      EXPECT_EQ(match({{122}, {1045}, {keyword}}), expected) << "keyword " << keyword;
      EXPECT_EQ(match({{keyword}, {165}}), http_match({{0, "\0\0\0\x16"s}, {4, byte}})) << "keyword " << keyword;
    }
  }
};

TEST_F(PolicyMapInlineHttpCodes, MimeTypes) { expect_codes(kMimeTypes, 131, "\0\0\0\x10"s); }
TEST_F(PolicyMapInlineHttpCodes, TransferEncodings) { expect_codes(kTransferEncodings, 161, "\0\0\0\x14"s); }
TEST_F(PolicyMapInlineHttpCodes, RequestMethods) {
  expect_codes(kRequestMethods, 148, "\0\0\0\x13"s);
  expect_codes(kRequestMethods, 149, "\0\0\0\x13"s);
}
TEST_F(PolicyMapInlineHttpCodes, PortMisuses) { expect_codes(kPortMisuses, 150, "\0\0\0\x11"s); }

TEST_F(PolicyMapInlineHttpCodes, TheCodeOfOneTransferEncodingIsLeftOut) {
  EXPECT_EQ(match({{1102}}), http_match({}));
  EXPECT_EQ(match({{161}, {1102}}), http_match({{0, "\0\0\0\x14"s}}));
  EXPECT_EQ(match({{1101}, {1102}}), http_match({{0, "\0\0\0\x14"s}, {4, "\x53"}}));
  EXPECT_EQ(match({{1103}, {1102}}), http_match({{0, "\0\0\0\x14"s}, {4, "\x55"}}));
}

TEST_F(PolicyMapInlineHttpCodes, KeywordsBesideTheRanges) {
  for (std::uint32_t keyword : {1000, 1046, 1100, 1102, 1107, 1200, 1228, 1250, 1254, 999, 1047, 1257, 1357, 1457}) {
    EXPECT_EQ(match({{keyword}}), http_match({})) << "keyword " << keyword;
    EXPECT_EQ(match({{1252}, {keyword}}), http_match({{0, "\0\0\0\x11"s}, {4, "\2"}})) << "keyword " << keyword;
  }
}

// ---- kinds

TEST_F(PolicyMapInlineHttp, TheLaterKindWins) {
  EXPECT_EQ(match({{165}, {166}}), http_match({{0, "\0\0\0\x15"s}}));
  EXPECT_EQ(match({{166}, {165}}), http_match({{0, "\0\0\0\x16"s}}));
  EXPECT_EQ(match({{131}, {148}}), http_match({{0, "\0\0\0\x13"s}}));
  EXPECT_EQ(match({{142}, {122}}), http_match({{0, "\0\0\0\x0a"s}}));
  EXPECT_EQ(match({{116, "value"}, {161}}), http_match({{0, "\0\0\0\x14"s}, {69, "value"}}));
  EXPECT_EQ(match({{150}, {116, "value"}}), http_match({{0, "\0\0\0\x0b"s}, {69, "value"}}));
  EXPECT_EQ(match({{113}, {114}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{114}, {113}}), http_match({{0, "\0\0\0\x0c"s}}));
}

TEST_F(PolicyMapInlineHttp, KeywordsWithoutAKind) {
  EXPECT_EQ(match({{150}, {115, "H"}}), http_match({{0, "\0\0\0\x11"s}, {4, "H"}}));
  EXPECT_EQ(match({{150}, {146, 5}}), http_match({{0, "\0\0\0\x11"s}, {260, "\0\5"s}}));
}

// ---- texts

TEST_F(PolicyMapInlineHttp, HeaderNamesAreCutAt64Characters) {
  const std::string longest(64, 'h');
  EXPECT_EQ(match({{115, std::string(63, 'h')}}), http_match({{4, std::string(63, 'h')}}));
  for (const std::string& typed : {longest, longest + "i", longest + "iiiiii", longest + std::string(65536, 'i')}) {
    EXPECT_EQ(match({{115, typed}}), http_match({{4, longest}}));
  }
  EXPECT_EQ(match({{115, longest}, {115, "ab"}}), http_match({{4, "ab"}}));
  EXPECT_EQ(match({{115, longest + "i"}, {116, "value"}}),
            http_match({{0, "\0\0\0\x0b"s}, {4, longest}, {69, "value"}}));
}

TEST_F(PolicyMapInlineHttp, ExpressionsAreCutAt255Characters) {
  struct Row {
    std::uint32_t keyword_id;
    std::string kind;
  };
  const std::array rows = {Row{123, "\0\0\0\x09"s}, Row{145, "\0\0\0\x0e"s}};
  const std::string longest(255, 'e');
  for (const auto& [keyword, kind] : rows) {
    const auto with = [&, kind = kind](const std::string& text) { return http_match({{0, kind}, {4, text}}); };
    EXPECT_EQ(match({{keyword, ""}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, std::string(254, 'e')}}), with(std::string(254, 'e'))) << keyword;
    for (const std::string& typed : {longest, longest + "f", longest + std::string(65536, 'f')}) {
      EXPECT_EQ(match({{keyword, typed}}), with(longest)) << keyword;
    }
    EXPECT_EQ(match({{keyword, longest}, {keyword, "ab"}}), with("ab")) << keyword;
    EXPECT_EQ(match({{keyword, longest}, {keyword, nullptr}}), with("")) << keyword;
    EXPECT_EQ(match({{keyword, " [^?\t\x01%s%n\xff"}}), with(" [^?\t\x01%s%n\xff")) << keyword;
  }
  EXPECT_EQ(match({{123, longest}, {145, "ab"}}), http_match({{0, "\0\0\0\x0e"s}, {4, "ab"}}));
  EXPECT_EQ(match({{145, longest}, {123, "ab"}}), http_match({{0, "\0\0\0\x09"s}, {4, "ab"}}));
}

// From 192 characters on a value reaches the content offset; that is another test's subject.
TEST_F(PolicyMapInlineHttp, HeaderValues) {
  const auto with = [](const std::string& text) { return http_match({{0, "\0\0\0\x0b"s}, {69, text}}); };
  EXPECT_EQ(match({{116, ""}}), with(""));
  EXPECT_EQ(match({{116, nullptr}}), with(""));
  EXPECT_EQ(match({{116, std::string(191, 'v')}}), with(std::string(191, 'v')));
  EXPECT_EQ(match({{116, std::string(191, 'v')}, {116, "ab"}}), with("ab"));
  EXPECT_EQ(match({{116, " a:(b)\t\x01%s%n\xff"}}), with(" a:(b)\t\x01%s%n\xff"));
}

TEST_F(PolicyMapInlineHttp, ARefusedHeaderNameStopsAtItsToken) {
  const Events bad = http_match_refused("Error: Invalid HTTP token in header name\n");
  EXPECT_EQ(match({{115, "a:b"}, {115, "good"}}), bad);
  EXPECT_EQ(match({{115, "a:b"}, {50}}), bad);
  EXPECT_EQ(match({{115, "a:b"}, {116}, {603}}), bad);  // texts that cannot be read
}

}  // namespace
}  // namespace kvel::cli::test::policy_inline_http_keywords_test
