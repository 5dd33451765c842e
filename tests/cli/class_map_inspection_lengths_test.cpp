// The inspection rules with a length: of the header, of the URL (or its expression), of the content. Comparisons travel
// as inclusive ranges of two big-endian words.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::class_map_inspection_lengths_test {
namespace {

using namespace std::string_literals;

// One command and the eight bytes it sends.
struct Row {
  Tokens tokens;
  std::string low;
  std::string high;
};

Events refused(const std::string& message) { return {"bind 2", out(message), "return 1"}; }

// ---- header length

class ClassMapHeaderLength : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httpinsp_hdrlen", tokens, form);
  }
};

// The call of a command without name and line number.
Events header_length(const std::string& code, const std::string& direction, const std::string& low,
                     const std::string& high, const std::string& add = "1") {
  return {"bind 2",
          "call cm_update_http_header_length_match(u16 7, '', u32 0, u8 " + code + ", buffer[12] " +
              hex(direction + low + high) + ", u8 " + add + ")",
          "return 0"};
}
Events header_length(const std::string& low, const std::string& high) {
  return header_length("0", "\0\0\0\0"s, low, high);
}

const Events kBadHeaderLength = refused("Error: Incorrect header length match, supported range 0-255\n");

TEST_F(ClassMapHeaderLength, AddsAndRemoves) {
  const std::string bytes =
      hex("\x00\x00\x00\x01"   // direction
          "\x00\x00\x00\x50"   // low
          "\x00\x00\x00\x5a"s  // high
      );
  EXPECT_EQ(
      match({{103, "web"}, {106, 20}, {114}, {65, 80}, {66, 90}}),
      (Events{"bind 2",
              "call cm_update_http_header_length_match(u16 7, 'web', u32 20, u8 13, buffer[12] " + bytes + ", u8 1)",
              "return 0"}));
  EXPECT_EQ(
      match({{103, "web"}, {114}, {65, 80}, {66, 90}}, kNo),
      (Events{"bind 2",
              "call cm_update_http_header_length_match(u16 7, 'web', u32 0, u8 13, buffer[12] " + bytes + ", u8 0)",
              "return 0"}));
}

// The direction's word is big-endian too, and the three words stand in this order.
TEST_F(ClassMapHeaderLength, EveryByteHasItsPlace) {
  EXPECT_EQ(match({{65, 0x01020304}, {66, 0xa1b2c3d4}, {114}}),
            (Events{"bind 2",
                    "call cm_update_http_header_length_match(u16 7, '', u32 0, u8 13, "
                    "buffer[12] 0000000101020304a1b2c3d4, u8 1)",
                    "return 0"}));
}

TEST_F(ClassMapHeaderLength, Directions) {
  const auto with = [](const char* code, const std::string& direction) {
    return header_length(code, direction, "\0\0\0\5"s, "\0\0\0\5"s);
  };
  EXPECT_EQ(match({{63, 5}}), with("0", "\0\0\0\0"s));
  EXPECT_EQ(match({{113}, {63, 5}}), with("12", "\0\0\0\0"s));
  EXPECT_EQ(match({{114}, {63, 5}}), with("13", "\0\0\0\1"s));
  EXPECT_EQ(match({{63, 5}, {113}}), with("12", "\0\0\0\0"s));
  EXPECT_EQ(match({{63, 5}, {114}}), with("13", "\0\0\0\1"s));
  EXPECT_EQ(match({{114}, {63, 5}, {113}}), with("12", "\0\0\0\0"s));
  EXPECT_EQ(match({{113}, {63, 5}, {114}}), with("13", "\0\0\0\1"s));
}

TEST_F(ClassMapHeaderLength, WithoutADirectionCodeAndSelectorAreZero) {
  EXPECT_EQ(match({{61, 5}}), header_length("0", "\0\0\0\0"s, "\0\0\0\6"s, "\0\0\0\xff"s));
}

TEST_F(ClassMapHeaderLength, Comparisons) {
  const std::vector<Row> rows = {
      // greater than
      {{{61, 0}}, "\0\0\0\1"s, "\0\0\0\xff"s},
      {{{61, 1}}, "\0\0\0\2"s, "\0\0\0\xff"s},
      {{{61, 253}}, "\0\0\0\xfe"s, "\0\0\0\xff"s},
      {{{61, 254}}, "\0\0\0\xff"s, "\0\0\0\xff"s},
      {{{61, nullptr}}, "\0\0\0\1"s, "\0\0\0\xff"s},
      // less than
      {{{62, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{62, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
      {{{62, 254}}, "\0\0\0\0"s, "\0\0\0\xfd"s},
      {{{62, 255}}, "\0\0\0\0"s, "\0\0\0\xfe"s},
      {{{62, 256}}, "\0\0\0\0"s, "\0\0\0\xff"s},
      {{{62, 257}}, "\0\0\0\0"s, "\0\0\1\0"s},
      {{{62, 0x80000000}}, "\0\0\0\0"s, "\x7f\xff\xff\xff"},
      {{{62, 4294967294}}, "\0\0\0\0"s, "\xff\xff\xff\xfd"},
      {{{62, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
      // equal
      {{{63, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{63, 1}}, "\0\0\0\1"s, "\0\0\0\1"s},
      {{{63, 254}}, "\0\0\0\xfe"s, "\0\0\0\xfe"s},
      {{{63, 255}}, "\0\0\0\xff"s, "\0\0\0\xff"s},
      {{{63, 256}}, "\0\0\1\0"s, "\0\0\1\0"s},
      {{{63, 4294967294}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xfe"},
      {{{63, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
      {{{63, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
      // range
      {{{65, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
      {{{66, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
      {{{65, 10}, {66, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
      {{{66, 20}, {65, 10}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
      {{{65, 20}, {66, 10}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
      {{{65, 0}, {66, 256}}, "\0\0\0\0"s, "\0\0\1\0"s},
      {{{65, 4294967295}, {66, 0}}, "\xff\xff\xff\xff", "\0\0\0\0"s},
      {{{65, 4294967294}, {66, 4294967295}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xff"},
      {{{65, nullptr}, {66, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(match(rows[index].tokens), header_length(rows[index].low, rows[index].high)) << "row " << index;
  }
}

TEST_F(ClassMapHeaderLength, ImpossibleComparisonsAreRefused) {
  for (std::uint32_t length : {255U, 256U, 65535U, 0x7fffffffU, 0x80000000U, 4294967294U, 4294967295U}) {
    EXPECT_EQ(match({{61, length}}), kBadHeaderLength) << length;
    EXPECT_EQ(match({{61, length}}, kNo), kBadHeaderLength) << length;
  }
  EXPECT_EQ(match({{62, 0}}), kBadHeaderLength);
  EXPECT_EQ(match({{62, 0}}, kNo), kBadHeaderLength);
  EXPECT_EQ(match({{62, nullptr}}), kBadHeaderLength);
}

TEST_F(ClassMapHeaderLength, ARefusalStopsAtItsToken) {
  EXPECT_EQ(match({{61, 255}, {63, 5}}), kBadHeaderLength);
  EXPECT_EQ(match({{62, 0}, {62, 1}}), kBadHeaderLength);
  EXPECT_EQ(match({{63, 5}, {62, 0}}), kBadHeaderLength);
  EXPECT_EQ(match({{62, 0}, {61, 255}}), kBadHeaderLength);
  EXPECT_EQ(match({{62, 0}, {103}}), kBadHeaderLength);  // a text that cannot be read
}

TEST_F(ClassMapHeaderLength, ALaterTokenWins) {
  EXPECT_EQ(match({{61, 5}, {62, 10}}), header_length("\0\0\0\0"s, "\0\0\0\x09"s));
  EXPECT_EQ(match({{62, 10}, {61, 5}}), header_length("\0\0\0\6"s, "\0\0\0\xff"s));
  EXPECT_EQ(match({{65, 10}, {66, 20}, {63, 5}}), header_length("\0\0\0\5"s, "\0\0\0\5"s));
  EXPECT_EQ(match({{63, 5}, {65, 3}}), header_length("\0\0\0\3"s, "\0\0\0\5"s));
  EXPECT_EQ(match({{63, 5}, {66, 9}}), header_length("\0\0\0\5"s, "\0\0\0\x09"s));
}

// ---- URL

class ClassMapInspectedUrl : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httpinsp_url", tokens, form);
  }
};

// The call of a command without name and line number.
Events url(const std::string& code, const std::string& expression, const std::string& low, const std::string& high) {
  return {"bind 2",
          "call cm_update_http_url_match(u16 7, '', u32 0, u8 " + code + ", '" + expression + "', buffer[8] " +
              hex(low + high) + ", u8 1)",
          "return 0"};
}
Events url_length(const std::string& low, const std::string& high) { return url("10", "", low, high); }
Events url_expression(const std::string& expression) { return url("9", expression, "\0\0\0\0"s, "\0\0\0\0"s); }

const Events kBadUrlLength = refused("Error: Incorrect url length match, supported range 0-65535\n");

TEST_F(ClassMapInspectedUrl, AddsAndRemovesAnExpression) {
  EXPECT_EQ(match({{103, "web"}, {106, 20}, {123, "/private/.*"}}),
            (Events{"bind 2",
                    "call cm_update_http_url_match(u16 7, 'web', u32 20, u8 9, '/private/.*', buffer[8] 00*8, u8 1)",
                    "return 0"}));
  EXPECT_EQ(
      match({{103, "web"}, {123, "/private/.*"}}, kNo),
      (Events{"bind 2", "call cm_update_http_url_match(u16 7, 'web', u32 0, u8 9, '/private/.*', buffer[8] 00*8, u8 0)",
              "return 0"}));
}

TEST_F(ClassMapInspectedUrl, AddsAndRemovesALength) {
  const std::string bytes =
      hex("\x00\x00\x03\xe9"   // low
          "\x00\x00\xff\xff"s  // high
      );
  EXPECT_EQ(
      match({{103, "web"}, {106, 20}, {124, 1000}}),
      (Events{"bind 2", "call cm_update_http_url_match(u16 7, 'web', u32 20, u8 10, '', buffer[8] " + bytes + ", u8 1)",
              "return 0"}));
  EXPECT_EQ(
      match({{103, "web"}, {124, 1000}}, kNo),
      (Events{"bind 2", "call cm_update_http_url_match(u16 7, 'web', u32 0, u8 10, '', buffer[8] " + bytes + ", u8 0)",
              "return 0"}));
}

TEST_F(ClassMapInspectedUrl, EveryByteHasItsPlace) {
  EXPECT_EQ(
      match({{128, 0x01020304}, {129, 0xa1b2c3d4}}),
      (Events{"bind 2", "call cm_update_http_url_match(u16 7, '', u32 0, u8 10, '', buffer[8] 01020304a1b2c3d4, u8 1)",
              "return 0"}));
}

TEST_F(ClassMapInspectedUrl, Comparisons) {
  const std::vector<Row> rows = {
      // greater than
      {{{124, 0}}, "\0\0\0\1"s, "\0\0\xff\xff"s},
      {{{124, 255}}, "\0\0\1\0"s, "\0\0\xff\xff"s},
      {{{124, 65533}}, "\0\0\xff\xfe"s, "\0\0\xff\xff"s},
      {{{124, 65534}}, "\0\0\xff\xff"s, "\0\0\xff\xff"s},
      {{{124, nullptr}}, "\0\0\0\1"s, "\0\0\xff\xff"s},
      // less than
      {{{125, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{125, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
      {{{125, 65534}}, "\0\0\0\0"s, "\0\0\xff\xfd"s},
      {{{125, 65535}}, "\0\0\0\0"s, "\0\0\xff\xfe"s},
      {{{125, 65536}}, "\0\0\0\0"s, "\0\0\xff\xff"s},
      {{{125, 65537}}, "\0\0\0\0"s, "\0\1\0\0"s},
      {{{125, 4294967294}}, "\0\0\0\0"s, "\xff\xff\xff\xfd"},
      {{{125, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
      // equal
      {{{126, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{126, 1}}, "\0\0\0\1"s, "\0\0\0\1"s},
      {{{126, 65534}}, "\0\0\xff\xfe"s, "\0\0\xff\xfe"s},
      {{{126, 65535}}, "\0\0\xff\xff"s, "\0\0\xff\xff"s},
      {{{126, 65536}}, "\0\1\0\0"s, "\0\1\0\0"s},
      {{{126, 4294967294}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xfe"},
      {{{126, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
      {{{126, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
      // range
      {{{128, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
      {{{129, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
      {{{128, 10}, {129, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
      {{{128, 20}, {129, 10}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
      {{{128, 0}, {129, 65536}}, "\0\0\0\0"s, "\0\1\0\0"s},
      {{{128, 4294967295}, {129, 0}}, "\xff\xff\xff\xff", "\0\0\0\0"s},
      {{{128, 4294967294}, {129, 4294967295}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xff"},
      {{{128, nullptr}, {129, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(match(rows[index].tokens), url_length(rows[index].low, rows[index].high)) << "row " << index;
  }
}

TEST_F(ClassMapInspectedUrl, ImpossibleComparisonsAreRefused) {
  for (std::uint32_t length : {65535U, 65536U, 0x7fffffffU, 0x80000000U, 4294967294U, 4294967295U}) {
    EXPECT_EQ(match({{124, length}}), kBadUrlLength) << length;
    EXPECT_EQ(match({{124, length}}, kNo), kBadUrlLength) << length;
  }
  EXPECT_EQ(match({{125, 0}}), kBadUrlLength);
  EXPECT_EQ(match({{125, 0}}, kNo), kBadUrlLength);
  EXPECT_EQ(match({{125, nullptr}}), kBadUrlLength);
}

TEST_F(ClassMapInspectedUrl, ARefusalStopsAtItsToken) {
  EXPECT_EQ(match({{124, 65535}, {126, 5}}), kBadUrlLength);
  EXPECT_EQ(match({{125, 0}, {123, "/"}}), kBadUrlLength);
  EXPECT_EQ(match({{123, "/"}, {125, 0}}), kBadUrlLength);
  EXPECT_EQ(match({{125, 0}, {124, 65535}}), kBadUrlLength);
  EXPECT_EQ(match({{125, 0}, {123}}), kBadUrlLength);  // a text that cannot be read
}

TEST_F(ClassMapInspectedUrl, ALaterTokenWins) {
  EXPECT_EQ(match({{124, 5}, {125, 10}}), url_length("\0\0\0\0"s, "\0\0\0\x09"s));
  EXPECT_EQ(match({{125, 10}, {124, 5}}), url_length("\0\0\0\6"s, "\0\0\xff\xff"s));
  EXPECT_EQ(match({{126, 5}, {128, 3}}), url_length("\0\0\0\3"s, "\0\0\0\5"s));
  EXPECT_EQ(match({{126, 5}, {129, 9}}), url_length("\0\0\0\5"s, "\0\0\0\x09"s));
  EXPECT_EQ(match({{123, "a long expression"}, {123, "ab"}}), url_expression("ab"));
  EXPECT_EQ(match({{123, "ab"}, {123, nullptr}}), url_expression(""));
}

// Both are sent; the later one decides what the rule is.
TEST_F(ClassMapInspectedUrl, AnExpressionAndALengthInOneCommand) {
  for (std::uint32_t keyword : {124, 125, 126, 128, 129}) {
    const auto [low, high] = keyword == 124   ? std::pair("\0\0\0\6"s, "\0\0\xff\xff"s)
                             : keyword == 125 ? std::pair("\0\0\0\0"s, "\0\0\0\4"s)
                             : keyword == 126 ? std::pair("\0\0\0\5"s, "\0\0\0\5"s)
                             : keyword == 128 ? std::pair("\0\0\0\5"s, "\0\0\0\0"s)
                                              : std::pair("\0\0\0\0"s, "\0\0\0\5"s);
    EXPECT_EQ(match({{123, "/a"}, {keyword, 5}}), url("10", "/a", low, high)) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword, 5}, {123, "/a"}}), url("9", "/a", low, high)) << "keyword " << keyword;
  }
}

TEST_F(ClassMapInspectedUrl, ExpressionsAreCutAt255Characters) {
  const std::string longest(255, 'e');
  EXPECT_EQ(match({{123, ""}}), url_expression(""));
  EXPECT_EQ(match({{123, nullptr}}), url_expression(""));
  EXPECT_EQ(match({{123, std::string(254, 'e')}}), url_expression(std::string(254, 'e')));
  EXPECT_EQ(match({{123, longest}}), url_expression(longest));
  EXPECT_EQ(match({{123, longest + "f"}}), url_expression(longest));
  EXPECT_EQ(match({{123, longest + std::string(65536, 'f')}}), url_expression(longest));
  EXPECT_EQ(match({{123, longest + "f"}, {123, "ab"}}), url_expression("ab"));
  EXPECT_EQ(match({{123, " [^?\x01%s%n\xff"}}), url_expression(" [^?\\x01%s%n\\xff"));
}

// ---- content length

class ClassMapContentLength : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelclassmap_config_httpinsp_cntlen", tokens, form);
  }
};

// The call of a command without name and line number.
Events content_length(const std::string& low, const std::string& high) {
  return {"bind 2",
          "call cm_update_http_content_length_match(u16 7, '', u32 0, buffer[8] " + hex(low + high) + ", u8 1)",
          "return 0"};
}

const Events kBadContentLength = refused("Error: Incorrect content length match, supported range 0-4294967295\n");

TEST_F(ClassMapContentLength, AddsAndRemoves) {
  const std::string bytes =
      hex("\x00\x01\x86\xa1"   // low
          "\xff\xff\xff\xff"s  // high
      );
  EXPECT_EQ(
      match({{103, "web"}, {106, 20}, {132, 100000}}),
      (Events{"bind 2", "call cm_update_http_content_length_match(u16 7, 'web', u32 20, buffer[8] " + bytes + ", u8 1)",
              "return 0"}));
  EXPECT_EQ(
      match({{103, "web"}, {132, 100000}}, kNo),
      (Events{"bind 2", "call cm_update_http_content_length_match(u16 7, 'web', u32 0, buffer[8] " + bytes + ", u8 0)",
              "return 0"}));
}

TEST_F(ClassMapContentLength, EveryByteHasItsPlace) {
  EXPECT_EQ(
      match({{136, 0x01020304}, {137, 0xa1b2c3d4}}),
      (Events{"bind 2", "call cm_update_http_content_length_match(u16 7, '', u32 0, buffer[8] 01020304a1b2c3d4, u8 1)",
              "return 0"}));
}

TEST_F(ClassMapContentLength, Comparisons) {
  const std::vector<Row> rows = {
      // greater than
      {{{132, 0}}, "\0\0\0\1"s, "\xff\xff\xff\xff"},
      {{{132, 255}}, "\0\0\1\0"s, "\xff\xff\xff\xff"},
      {{{132, 65535}}, "\0\1\0\0"s, "\xff\xff\xff\xff"},
      {{{132, 0x7fffffff}}, "\x80\0\0\0"s, "\xff\xff\xff\xff"},
      {{{132, 4294967293}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xff"},
      {{{132, 4294967294}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
      {{{132, nullptr}}, "\0\0\0\1"s, "\xff\xff\xff\xff"},
      // less than
      {{{133, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{133, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
      {{{133, 65536}}, "\0\0\0\0"s, "\0\0\xff\xff"s},
      {{{133, 0x80000000}}, "\0\0\0\0"s, "\x7f\xff\xff\xff"},
      {{{133, 4294967294}}, "\0\0\0\0"s, "\xff\xff\xff\xfd"},
      {{{133, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
      // equal
      {{{134, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
      {{{134, 1}}, "\0\0\0\1"s, "\0\0\0\1"s},
      {{{134, 4294967294}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xfe"},
      {{{134, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
      {{{134, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
      // range
      {{{136, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
      {{{137, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
      {{{136, 10}, {137, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
      {{{136, 20}, {137, 10}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
      {{{136, 4294967295}, {137, 0}}, "\xff\xff\xff\xff", "\0\0\0\0"s},
      {{{136, 4294967294}, {137, 4294967295}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xff"},
      {{{136, nullptr}, {137, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    EXPECT_EQ(match(rows[index].tokens), content_length(rows[index].low, rows[index].high)) << "row " << index;
  }
}

TEST_F(ClassMapContentLength, ImpossibleComparisonsAreRefused) {
  EXPECT_EQ(match({{132, 4294967295}}), kBadContentLength);
  EXPECT_EQ(match({{132, 4294967295}}, kNo), kBadContentLength);
  EXPECT_EQ(match({{133, 0}}), kBadContentLength);
  EXPECT_EQ(match({{133, 0}}, kNo), kBadContentLength);
  EXPECT_EQ(match({{133, nullptr}}), kBadContentLength);
}

TEST_F(ClassMapContentLength, ARefusalStopsAtItsToken) {
  EXPECT_EQ(match({{132, 4294967295}, {134, 5}}), kBadContentLength);
  EXPECT_EQ(match({{133, 0}, {133, 1}}), kBadContentLength);
  EXPECT_EQ(match({{134, 5}, {133, 0}}), kBadContentLength);
  EXPECT_EQ(match({{133, 0}, {132, 4294967295}}), kBadContentLength);
  EXPECT_EQ(match({{133, 0}, {103}}), kBadContentLength);  // a text that cannot be read
}

TEST_F(ClassMapContentLength, ALaterTokenWins) {
  EXPECT_EQ(match({{132, 5}, {133, 10}}), content_length("\0\0\0\0"s, "\0\0\0\x09"s));
  EXPECT_EQ(match({{133, 10}, {132, 5}}), content_length("\0\0\0\6"s, "\xff\xff\xff\xff"));
  EXPECT_EQ(match({{134, 5}, {136, 3}}), content_length("\0\0\0\3"s, "\0\0\0\5"s));
  EXPECT_EQ(match({{134, 5}, {137, 9}}), content_length("\0\0\0\5"s, "\0\0\0\x09"s));
}

}  // namespace
}  // namespace kvel::cli::test::class_map_inspection_lengths_test
