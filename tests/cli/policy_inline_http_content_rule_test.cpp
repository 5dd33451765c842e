// The content rule of HTTP inspection's inline match, which reads the finished record whatever its kind, and the views
// of that record that share their bytes.
#include <cstdint>
#include <string>

#include "tests/cli/policy_inline_http.h"

namespace kvel::cli::test::policy_inline_http_content_rule_test {
namespace {

using namespace std::string_literals;

std::string e(std::size_t length) { return std::string(length, 'e'); }
std::string v(std::size_t length) { return std::string(length, 'v'); }

const std::string kHeaderKind = "\0\0\0\x0b"s;
const std::string kUrlKind = "\0\0\0\x09"s;
const std::string kContentKind = "\0\0\0\x0e"s;

const Events kTooLong =
    http_match_refused("Error: content expression length with offset value cannot be greater than 255\n");

using PolicyMapInlineHttpContent = PolicyMapInlineHttp;

// ---- length and offset

TEST_F(PolicyMapInlineHttpContent, LengthAndOffsetReach255) {
  EXPECT_EQ(match({{145, e(200)}, {146, 55}}), http_match({{0, kContentKind}, {4, e(200)}, {260, "\0\x37"s}}));
  EXPECT_EQ(match({{146, 55}, {145, e(200)}}), http_match({{0, kContentKind}, {4, e(200)}, {260, "\0\x37"s}}));
  EXPECT_EQ(match({{145, e(255)}, {146, 0}}), http_match({{0, kContentKind}, {4, e(255)}}));
  EXPECT_EQ(match({{145, e(1)}, {146, 254}}), http_match({{0, kContentKind}, {4, e(1)}, {260, "\0\xfe"s}}));
  EXPECT_EQ(match({{145, ""}, {146, 255}}), http_match({{0, kContentKind}, {260, "\0\xff"s}}));
  EXPECT_EQ(match({{146, 255}}), http_match({{260, "\0\xff"s}}));
}

TEST_F(PolicyMapInlineHttpContent, From256OnTheyAreRefused) {
  EXPECT_EQ(match({{145, e(200)}, {146, 56}}), kTooLong);
  EXPECT_EQ(match({{145, e(200)}, {146, 60}}), kTooLong);
  EXPECT_EQ(match({{146, 60}, {145, e(200)}}), kTooLong);
  EXPECT_EQ(match({{145, e(255)}, {146, 1}}), kTooLong);
  EXPECT_EQ(match({{145, e(1)}, {146, 255}}), kTooLong);
  EXPECT_EQ(match({{146, 256}}), kTooLong);
  EXPECT_EQ(match({{145, e(255)}, {146, 65535}}), kTooLong);
  EXPECT_EQ(match({{145, e(200)}, {146, 60}}, kNo), kTooLong);
}

TEST_F(PolicyMapInlineHttpContent, TheExpressionIsMeasuredAfterTheCut) {
  EXPECT_EQ(match({{145, e(256)}}), http_match({{0, kContentKind}, {4, e(255)}}));
  EXPECT_EQ(match({{145, e(65536)}}), http_match({{0, kContentKind}, {4, e(255)}}));
  EXPECT_EQ(match({{145, e(300)}, {146, 1}}), kTooLong);
}

TEST_F(PolicyMapInlineHttpContent, TheOffsetIsTheLow16Bits) {
  EXPECT_EQ(match({{146, 65535}}), kTooLong);
  EXPECT_EQ(match({{146, 65536}}), http_match({}));
  EXPECT_EQ(match({{146, 65541}}), http_match({{260, "\0\5"s}}));
  EXPECT_EQ(match({{146, 0x123400ff}}), http_match({{260, "\0\xff"s}}));
  EXPECT_EQ(match({{146, 0x12340100}}), kTooLong);
  EXPECT_EQ(match({{146, 4294967295}}), kTooLong);
  EXPECT_EQ(match({{146, 5}, {146, nullptr}}), http_match({}));
}

// The record counts when all tokens are read.
TEST_F(PolicyMapInlineHttpContent, LaterTokensMayShortenIt) {
  EXPECT_EQ(match({{145, e(200)}, {146, 60}, {146, 55}}),
            http_match({{0, kContentKind}, {4, e(200)}, {260, "\0\x37"s}}));
  EXPECT_EQ(match({{145, e(200)}, {146, 60}, {145, "ab"}}),
            http_match({{0, kContentKind}, {4, "ab"}, {260, "\0\x3c"s}}));
  EXPECT_EQ(match({{145, "ab"}, {146, 60}, {145, e(200)}}), kTooLong);
}

// ---- whatever is at the two places

TEST_F(PolicyMapInlineHttpContent, AUrlAndAHeaderNameAreMeasuredToo) {
  EXPECT_EQ(match({{123, e(200)}, {146, 55}}), http_match({{0, kUrlKind}, {4, e(200)}, {260, "\0\x37"s}}));
  EXPECT_EQ(match({{123, e(200)}, {146, 56}}), kTooLong);
  EXPECT_EQ(match({{50}, {146, 251}}), http_match({{4, "Host"}, {260, "\0\xfb"s}}));
  EXPECT_EQ(match({{50}, {146, 252}}), kTooLong);
  EXPECT_EQ(match({{115, e(64)}, {146, 191}}), http_match({{4, e(64)}, {260, "\0\xbf"s}}));
  EXPECT_EQ(match({{115, e(64)}, {146, 192}}), kTooLong);
}

// A word or a code is read as the characters of its bytes.
TEST_F(PolicyMapInlineHttpContent, NumbersAreMeasuredAsStrings) {
  EXPECT_EQ(match({{1001}, {146, 254}}), http_match({{0, "\0\0\0\x10"s}, {4, "\x21"}, {260, "\0\xfe"s}}));
  EXPECT_EQ(match({{1001}, {146, 255}}), kTooLong);
  EXPECT_EQ(match({{134, 0x01020304}, {146, 247}}), http_match({{4, "\1\2\3\4\1\2\3\4"}, {260, "\0\xf7"s}}));
  EXPECT_EQ(match({{134, 0x01020304}, {146, 248}}), kTooLong);
  EXPECT_EQ(match({{128, 0x01020300}, {129, 0x01020304}, {146, 252}}),
            http_match({{4, "\1\2\3\0\1\2\3\4"s}, {260, "\0\xfc"s}}));
  EXPECT_EQ(match({{128, 0x01020300}, {146, 253}}), kTooLong);
  EXPECT_EQ(match({{128, 255}, {146, 255}}), http_match({{4, "\0\0\0\xff"s}, {260, "\0\xff"s}}));
  EXPECT_EQ(match({{114}, {146, 255}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}, {260, "\0\xff"s}}));
  // low and high of the URL, and of the header after them: twelve bytes
  EXPECT_EQ(match({{126, 0x01010101}, {66, 0x01010101}, {146, 243}}),
            http_match({{4, "\1\1\1\1\1\1\1\1\1\1\1\1"}, {260, "\0\xf3"s}}));
  EXPECT_EQ(match({{126, 0x01010101}, {66, 0x01010101}, {146, 244}}), kTooLong);
}

// From its 192nd character on a value is where the offset is read.
TEST_F(PolicyMapInlineHttpContent, ALongHeaderValueReachesTheOffset) {
  EXPECT_EQ(match({{116, v(191)}}), http_match({{0, kHeaderKind}, {69, v(191)}}));
  EXPECT_EQ(match({{116, v(192)}}), kTooLong);
  EXPECT_EQ(match({{116, v(193)}}), kTooLong);
  EXPECT_EQ(match({{116, v(194)}}), kTooLong);
  EXPECT_EQ(match({{116, v(255)}}), kTooLong);
  EXPECT_EQ(match({{116, v(300)}}), kTooLong);
  EXPECT_EQ(match({{50}, {116, v(192)}}), kTooLong);
  EXPECT_EQ(match({{116, v(192)}}, kNo), kTooLong);
  EXPECT_EQ(match({{116, v(191) + "\x01"}}), kTooLong);
}

TEST_F(PolicyMapInlineHttpContent, AnOffsetOverALongHeaderValueIsTheOneThatCounts) {
  EXPECT_EQ(match({{116, v(192)}, {146, 0}}), http_match({{0, kHeaderKind}, {69, v(191)}}));
  EXPECT_EQ(match({{116, v(255)}, {146, 5}}),
            http_match({{0, kHeaderKind}, {69, v(191)}, {260, "\0\5"s}, {262, v(62)}}));
  EXPECT_EQ(match({{116, v(300)}, {146, 255}}),
            http_match({{0, kHeaderKind}, {69, v(191)}, {260, "\0\xff"s}, {262, v(62)}}));
  EXPECT_EQ(match({{116, v(255)}, {146, 256}}), kTooLong);
}

TEST_F(PolicyMapInlineHttpContent, AHeaderValueTakesAnEarlierOffsetAway) {
  EXPECT_EQ(match({{146, 5}, {116, "ab"}}), http_match({{0, kHeaderKind}, {69, "ab"}}));
  EXPECT_EQ(match({{146, 65535}, {116, ""}}), http_match({{0, kHeaderKind}}));
  EXPECT_EQ(match({{116, "ab"}, {146, 5}}), http_match({{0, kHeaderKind}, {69, "ab"}, {260, "\0\5"s}}));
}

// ---- views that share their bytes: each writes its own and leaves the others

TEST_F(PolicyMapInlineHttpContent, ANameOverAnExpression) {
  // 64 bytes of the expression go, whatever the length of the name.
  EXPECT_EQ(match({{123, e(255)}, {115, "ab"}}), http_match({{0, kUrlKind}, {4, "ab"}, {68, e(191)}}));
  EXPECT_EQ(match({{145, e(255)}, {50}}), http_match({{0, kContentKind}, {4, "Host"}, {68, e(191)}}));
  // A name of 64 characters is measured together with what is left of the expression.
  EXPECT_EQ(match({{123, e(255)}, {115, std::string(64, 'h')}}),
            http_match({{0, kUrlKind}, {4, std::string(64, 'h')}, {68, e(191)}}));
  EXPECT_EQ(match({{123, e(255)}, {115, std::string(64, 'h')}, {146, 1}}), kTooLong);
  EXPECT_EQ(match({{123, e(255)}, {115, std::string(63, 'h')}, {146, 192}}),
            http_match({{0, kUrlKind}, {4, std::string(63, 'h')}, {68, e(191)}, {260, "\0\xc0"s}}));
}

TEST_F(PolicyMapInlineHttpContent, AnExpressionOverANameAndItsValue) {
  EXPECT_EQ(match({{50}, {116, "value"}, {123, "/"}}), http_match({{0, kUrlKind}, {4, "/"}}));
  EXPECT_EQ(match({{116, v(191)}, {123, "/"}}), http_match({{0, kUrlKind}, {4, "/"}, {259, "v"}}));
  // The byte between expression and offset is the value's: the string goes on with it.
  EXPECT_EQ(match({{116, v(191)}, {123, e(254)}}), http_match({{0, kUrlKind}, {4, e(254)}, {259, "v"}}));
  EXPECT_EQ(match({{116, v(191)}, {123, e(255)}}), kTooLong);
  EXPECT_EQ(match({{116, v(255)}, {123, "/"}}), kTooLong);
  EXPECT_EQ(match({{116, v(255)}, {123, "/"}, {146, 7}}),
            http_match({{0, kUrlKind}, {4, "/"}, {259, "v"}, {260, "\0\7"s}, {262, v(62)}}));
}

TEST_F(PolicyMapInlineHttpContent, AValueOverAnExpression) {
  EXPECT_EQ(match({{123, e(255)}, {116, "ab"}}), http_match({{0, kHeaderKind}, {4, e(65)}, {69, "ab"}}));
  EXPECT_EQ(match({{145, e(255)}, {116, ""}}), http_match({{0, kHeaderKind}, {4, e(65)}}));
  // Both together are one string: 65 + 190 characters.
  EXPECT_EQ(match({{123, e(65)}, {116, v(190)}}), http_match({{0, kHeaderKind}, {4, e(65)}, {69, v(190)}}));
  EXPECT_EQ(match({{123, e(65)}, {116, v(191)}}), kTooLong);
  EXPECT_EQ(match({{123, e(65)}, {116, v(100)}, {146, 90}}),
            http_match({{0, kHeaderKind}, {4, e(65)}, {69, v(100)}, {260, "\0\x5a"s}}));
  EXPECT_EQ(match({{123, e(65)}, {116, v(100)}, {146, 91}}), kTooLong);
  EXPECT_EQ(match({{123, e(64)}, {116, v(191)}}), http_match({{0, kHeaderKind}, {4, e(64)}, {69, v(191)}}));
}

TEST_F(PolicyMapInlineHttpContent, ACodeIsOneByteOverAText) {
  EXPECT_EQ(match({{123, "/abc"}, {1001}}), http_match({{0, "\0\0\0\x10"s}, {4, "!abc"}}));
  EXPECT_EQ(match({{50}, {1103}}), http_match({{0, "\0\0\0\x14"s}, {4, "Uost"}}));
  EXPECT_EQ(match({{134, 0xa1b2c3d4}, {1227}}),
            http_match({{0, "\0\0\0\x13"s}, {4, "\x1b\xb2\xc3\xd4\xa1\xb2\xc3\xd4"}}));
  EXPECT_EQ(match({{114}, {1253}}), http_match({{0, "\0\0\0\x11"s}, {4, "\3\0\0\1"s}}));
  EXPECT_EQ(match({{1001}, {123, "/abc"}}), http_match({{0, kUrlKind}, {4, "/abc"}}));
  EXPECT_EQ(match({{1001}, {123, ""}}), http_match({{0, kUrlKind}}));
  EXPECT_EQ(match({{1001}, {50}}), http_match({{0, "\0\0\0\x10"s}, {4, "Host"}}));
}

// Request and response write all four bytes of their word.
TEST_F(PolicyMapInlineHttpContent, ADirectionIsAWordOverAText) {
  EXPECT_EQ(match({{123, "/abcdef"}, {113}}), http_match({{0, "\0\0\0\x0c"s}, {8, "def"}}));
  EXPECT_EQ(match({{123, "/abcdef"}, {114}}), http_match({{0, "\0\0\0\x0d"s},
                                                          {4,
                                                           "\0\0\0\1"
                                                           "def"s}}));
  EXPECT_EQ(match({{114}, {123, "/"}}), http_match({{0, kUrlKind}, {4, "/"}}));
  EXPECT_EQ(match({{1001}, {113}}), http_match({{0, "\0\0\0\x0c"s}}));
  EXPECT_EQ(match({{1001}, {114}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}}));
  EXPECT_EQ(match({{114}, {1001}}), http_match({{0, "\0\0\0\x10"s}, {4, "\x21\0\0\1"s}}));
  // A direction hides the rest of a text from the rule.
  EXPECT_EQ(match({{145, e(255)}, {146, 255}, {113}}), http_match({{0, "\0\0\0\x0c"s}, {8, e(251)}, {260, "\0\xff"s}}));
}

TEST_F(PolicyMapInlineHttpContent, LengthsOverATextAndBack) {
  EXPECT_EQ(match({{123, "/abcdefghijklmno"}, {128, 0x01020304}}),
            http_match({{0, kUrlKind}, {4, "\1\2\3\4defghijklmno"}}));
  EXPECT_EQ(match({{123, "/abcdefghijklmno"}, {129, 0x01020304}}),
            http_match({{0, kUrlKind}, {4, "/abc\1\2\3\4hijklmno"}}));
  EXPECT_EQ(match({{123, "/abcdefghijklmno"}, {66, 0x01020304}}),
            http_match({{0, kUrlKind}, {4, "/abcdefg\1\2\3\4lmno"}}));
  EXPECT_EQ(match({{123, "/abcdefghijklmno"}, {124, 5}}), http_match({{0, kUrlKind},
                                                                      {4,
                                                                       "\0\0\0\6\0\0\xff\xff"
                                                                       "hijklmno"s}}));
  EXPECT_EQ(match({{123, "/abcdefghijklmno"}, {62, 6}}), http_match({{0, kUrlKind},
                                                                     {4,
                                                                      "/abc\0\0\0\0\0\0\0\5"
                                                                      "lmno"s}}));
  EXPECT_EQ(match({{126, 0xffffffff}, {66, 0xffffffff}, {123, "/"}}), http_match({{0, kUrlKind}, {4, "/"}}));
  EXPECT_EQ(match({{126, 0xffffffff}, {50}}), http_match({{4, "Host"}}));
}

// Header, URL and content lengths share their words.
TEST_F(PolicyMapInlineHttpContent, LengthsOverLengths) {
  EXPECT_EQ(match({{63, 5}, {126, 6}}), http_match({{4, "\0\0\0\6\0\0\0\6\0\0\0\5"s}}));
  EXPECT_EQ(match({{126, 6}, {63, 5}}), http_match({{4, "\0\0\0\6\0\0\0\5\0\0\0\5"s}}));
  EXPECT_EQ(match({{126, 6}, {134, 7}}), http_match({{4, "\0\0\0\7\0\0\0\7"s}}));
  EXPECT_EQ(match({{134, 7}, {126, 6}}), http_match({{4, "\0\0\0\6\0\0\0\6"s}}));
  EXPECT_EQ(match({{126, 6}, {114}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1\0\0\0\6"s}}));
  EXPECT_EQ(match({{114}, {126, 6}}), http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\6\0\0\0\6"s}}));
}

// ---- the order of the checks

TEST_F(PolicyMapInlineHttpContent, TheRuleComesBeforeTheNames) {
  const std::string m(64, 'm');
  EXPECT_EQ(match({{603, "p"}, {605, m}, {595, m}, {146, 256}}), kTooLong);
  EXPECT_EQ(match({{605, "m1"}, {595, "m1"}, {146, 256}}), kTooLong);
  EXPECT_EQ(match({{603, "p"}, {605, m}, {116, v(192)}}, kNo), kTooLong);
}

TEST_F(PolicyMapInlineHttpContent, ARefusedTokenComesBeforeTheRule) {
  EXPECT_EQ(match({{146, 256}, {115, "a:b"}}), http_match_refused("Error: Invalid HTTP token in header name\n"));
  EXPECT_EQ(match({{115, "a:b"}, {146, 256}}), http_match_refused("Error: Invalid HTTP token in header name\n"));
}

}  // namespace
}  // namespace kvel::cli::test::policy_inline_http_content_rule_test
