// The lengths of HTTP inspection's inline match: of the header, the URL and the content. Comparisons travel as
// inclusive ranges; the kind is left to other keywords.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/policy_inline_http.h"

namespace kvel::cli::test::policy_inline_http_lengths_test {
namespace {

using namespace std::string_literals;

// One command and the words that it sends.
struct Row {
  Tokens tokens;
  std::string low;
  std::string high;
};

// The limits of three lengths. `low` and `high` are the offsets of the range.
struct Length {
  std::size_t low;
  std::size_t high;
  std::vector<Row> rows;
};

const Length kHeader = {
    8,
    12,
    {
        // greater than
        {{{61, 0}}, "\0\0\0\1"s, "\0\0\0\xff"s},
        {{{61, 1}}, "\0\0\0\2"s, "\0\0\0\xff"s},
        {{{61, 253}}, "\0\0\0\xfe"s, "\0\0\0\xff"s},
        {{{61, 254}}, "\0\0\0\xff"s, "\0\0\0\xff"s},
        {{{61, nullptr}}, "\0\0\0\1"s, "\0\0\0\xff"s},
        // less than
        {{{62, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{62, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
        {{{62, 255}}, "\0\0\0\0"s, "\0\0\0\xfe"s},
        {{{62, 256}}, "\0\0\0\0"s, "\0\0\0\xff"s},
        {{{62, 257}}, "\0\0\0\0"s, "\0\0\1\0"s},
        {{{62, 0x80000000}}, "\0\0\0\0"s, "\x7f\xff\xff\xff"},
        {{{62, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
        // equal
        {{{63, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{63, 255}}, "\0\0\0\xff"s, "\0\0\0\xff"s},
        {{{63, 256}}, "\0\0\1\0"s, "\0\0\1\0"s},
        {{{63, 0xa1b2c3d4}}, "\xa1\xb2\xc3\xd4", "\xa1\xb2\xc3\xd4"},
        {{{63, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
        {{{63, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // range
        {{{65, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
        {{{66, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
        {{{65, 10}, {66, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
        {{{66, 10}, {65, 20}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
        {{{65, 0x01020304}, {66, 0xa1b2c3d4}}, "\x01\x02\x03\x04", "\xa1\xb2\xc3\xd4"},
        {{{65, 4294967295}, {66, 256}}, "\xff\xff\xff\xff", "\0\0\1\0"s},
        {{{65, nullptr}, {66, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // a later token
        {{{61, 5}, {62, 10}}, "\0\0\0\0"s, "\0\0\0\x09"s},
        {{{62, 10}, {61, 5}}, "\0\0\0\6"s, "\0\0\0\xff"s},
        {{{63, 5}, {65, 3}}, "\0\0\0\3"s, "\0\0\0\5"s},
        {{{63, 5}, {66, 9}}, "\0\0\0\5"s, "\0\0\0\x09"s},
    },
};

const Length kUrl = {
    4,
    8,
    {
        // greater than
        {{{124, 0}}, "\0\0\0\1"s, "\0\0\xff\xff"s},
        {{{124, 255}}, "\0\0\1\0"s, "\0\0\xff\xff"s},
        {{{124, 65533}}, "\0\0\xff\xfe"s, "\0\0\xff\xff"s},
        {{{124, 65534}}, "\0\0\xff\xff"s, "\0\0\xff\xff"s},
        {{{124, nullptr}}, "\0\0\0\1"s, "\0\0\xff\xff"s},
        // less than
        {{{125, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{125, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
        {{{125, 65536}}, "\0\0\0\0"s, "\0\0\xff\xff"s},
        {{{125, 65537}}, "\0\0\0\0"s, "\0\1\0\0"s},
        {{{125, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
        // equal
        {{{126, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{126, 65535}}, "\0\0\xff\xff"s, "\0\0\xff\xff"s},
        {{{126, 65536}}, "\0\1\0\0"s, "\0\1\0\0"s},
        {{{126, 0xa1b2c3d4}}, "\xa1\xb2\xc3\xd4", "\xa1\xb2\xc3\xd4"},
        {{{126, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
        {{{126, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // range
        {{{128, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
        {{{129, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
        {{{128, 10}, {129, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
        {{{129, 10}, {128, 20}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
        {{{128, 0x01020304}, {129, 0xa1b2c3d4}}, "\x01\x02\x03\x04", "\xa1\xb2\xc3\xd4"},
        {{{128, 4294967295}, {129, 65536}}, "\xff\xff\xff\xff", "\0\1\0\0"s},
        {{{128, nullptr}, {129, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // a later token
        {{{124, 5}, {125, 10}}, "\0\0\0\0"s, "\0\0\0\x09"s},
        {{{125, 10}, {124, 5}}, "\0\0\0\6"s, "\0\0\xff\xff"s},
        {{{126, 5}, {128, 3}}, "\0\0\0\3"s, "\0\0\0\5"s},
        {{{126, 5}, {129, 9}}, "\0\0\0\5"s, "\0\0\0\x09"s},
    },
};

const Length kContent = {
    4,
    8,
    {
        // greater than
        {{{132, 0}}, "\0\0\0\1"s, "\xff\xff\xff\xff"},
        {{{132, 65535}}, "\0\1\0\0"s, "\xff\xff\xff\xff"},
        {{{132, 0x7fffffff}}, "\x80\0\0\0"s, "\xff\xff\xff\xff"},
        {{{132, 4294967293}}, "\xff\xff\xff\xfe", "\xff\xff\xff\xff"},
        {{{132, 4294967294}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
        {{{132, nullptr}}, "\0\0\0\1"s, "\xff\xff\xff\xff"},
        // less than
        {{{133, 1}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{133, 2}}, "\0\0\0\0"s, "\0\0\0\1"s},
        {{{133, 0x80000000}}, "\0\0\0\0"s, "\x7f\xff\xff\xff"},
        {{{133, 4294967295}}, "\0\0\0\0"s, "\xff\xff\xff\xfe"},
        // equal
        {{{134, 0}}, "\0\0\0\0"s, "\0\0\0\0"s},
        {{{134, 65536}}, "\0\1\0\0"s, "\0\1\0\0"s},
        {{{134, 0xa1b2c3d4}}, "\xa1\xb2\xc3\xd4", "\xa1\xb2\xc3\xd4"},
        {{{134, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
        {{{134, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // range
        {{{136, 10}}, "\0\0\0\x0a"s, "\0\0\0\0"s},
        {{{137, 10}}, "\0\0\0\0"s, "\0\0\0\x0a"s},
        {{{136, 10}, {137, 20}}, "\0\0\0\x0a"s, "\0\0\0\x14"s},
        {{{137, 10}, {136, 20}}, "\0\0\0\x14"s, "\0\0\0\x0a"s},
        {{{136, 0x01020304}, {137, 0xa1b2c3d4}}, "\x01\x02\x03\x04", "\xa1\xb2\xc3\xd4"},
        {{{136, 4294967295}, {137, 4294967295}}, "\xff\xff\xff\xff", "\xff\xff\xff\xff"},
        {{{136, nullptr}, {137, nullptr}}, "\0\0\0\0"s, "\0\0\0\0"s},
        // a later token
        {{{132, 5}, {133, 10}}, "\0\0\0\0"s, "\0\0\0\x09"s},
        {{{133, 10}, {132, 5}}, "\0\0\0\6"s, "\xff\xff\xff\xff"},
        {{{134, 5}, {136, 3}}, "\0\0\0\3"s, "\0\0\0\5"s},
        {{{134, 5}, {137, 9}}, "\0\0\0\5"s, "\0\0\0\x09"s},
    },
};

const Events kBadHeader = http_match_refused("Error: Incorrect header length match, supported range 0-255\n");
const Events kBadUrl = http_match_refused("Error: Incorrect url length match, supported range 0-65535\n");
const Events kBadContent = http_match_refused("Error: Incorrect content length match, supported range 0-4294967295\n");

class PolicyMapInlineHttpLength : public PolicyMapInlineHttp {
 protected:
  void expect_rows(const Length& length) {
    for (std::size_t index = 0; index < length.rows.size(); ++index) {
      const auto& [tokens, low, high] = length.rows[index];
      EXPECT_EQ(match(tokens), http_match({{length.low, low}, {length.high, high}})) << "row " << index;
      // The kind that another keyword sets stays.
      Tokens with_kind = tokens;
      with_kind.insert(with_kind.begin(), Token(166));
      EXPECT_EQ(match(with_kind), http_match({{0, "\0\0\0\x15"s}, {length.low, low}, {length.high, high}}))
          << "row " << index;
    }
  }
};

TEST_F(PolicyMapInlineHttpLength, OfTheHeader) { expect_rows(kHeader); }
TEST_F(PolicyMapInlineHttpLength, OfTheUrl) { expect_rows(kUrl); }
TEST_F(PolicyMapInlineHttpLength, OfTheContent) { expect_rows(kContent); }

TEST_F(PolicyMapInlineHttpLength, WithTheKeywordOfTheirKind) {
  EXPECT_EQ(match({{113}, {61, 254}}), http_match({{0, "\0\0\0\x0c"s}, {8, "\0\0\0\xff"s}, {12, "\0\0\0\xff"s}}));
  EXPECT_EQ(match({{114}, {61, 254}}),
            http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}, {8, "\0\0\0\xff"s}, {12, "\0\0\0\xff"s}}));
  EXPECT_EQ(match({{61, 254}, {114}}),
            http_match({{0, "\0\0\0\x0d"s}, {4, "\0\0\0\1"s}, {8, "\0\0\0\xff"s}, {12, "\0\0\0\xff"s}}));
  EXPECT_EQ(match({{122}, {125, 10}}), http_match({{0, "\0\0\0\x0a"s}, {8, "\0\0\0\x09"s}}));
  EXPECT_EQ(match({{142}, {133, 1}}), http_match({{0, "\0\0\0\x0f"s}}));
}

TEST_F(PolicyMapInlineHttpLength, ImpossibleHeaderLengthsAreRefused) {
  for (std::uint32_t length : {255U, 256U, 65535U, 0x7fffffffU, 0x80000000U, 4294967294U, 4294967295U}) {
    EXPECT_EQ(match({{61, length}}), kBadHeader) << length;
    EXPECT_EQ(match({{61, length}}, kNo), kBadHeader) << length;
  }
  EXPECT_EQ(match({{62, 0}}), kBadHeader);
  EXPECT_EQ(match({{62, 0}}, kNo), kBadHeader);
  EXPECT_EQ(match({{62, nullptr}}), kBadHeader);
}

TEST_F(PolicyMapInlineHttpLength, ImpossibleUrlLengthsAreRefused) {
  for (std::uint32_t length : {65535U, 65536U, 0x7fffffffU, 0x80000000U, 4294967294U, 4294967295U}) {
    EXPECT_EQ(match({{124, length}}), kBadUrl) << length;
    EXPECT_EQ(match({{124, length}}, kNo), kBadUrl) << length;
  }
  EXPECT_EQ(match({{125, 0}}), kBadUrl);
  EXPECT_EQ(match({{125, 0}}, kNo), kBadUrl);
  EXPECT_EQ(match({{125, nullptr}}), kBadUrl);
}

TEST_F(PolicyMapInlineHttpLength, ImpossibleContentLengthsAreRefused) {
  EXPECT_EQ(match({{132, 4294967295}}), kBadContent);
  EXPECT_EQ(match({{132, 4294967295}}, kNo), kBadContent);
  EXPECT_EQ(match({{133, 0}}), kBadContent);
  EXPECT_EQ(match({{133, 0}}, kNo), kBadContent);
  EXPECT_EQ(match({{133, nullptr}}), kBadContent);
}

TEST_F(PolicyMapInlineHttpLength, ARefusalStopsAtItsToken) {
  struct Refusal {
    Token token;
    Token good;
    const Events* events;
  };
  const std::array refusals = {
      Refusal{{61, 255}, {61, 5}, &kBadHeader},           Refusal{{62, 0}, {62, 5}, &kBadHeader},
      Refusal{{124, 65535}, {124, 5}, &kBadUrl},          Refusal{{125, 0}, {125, 5}, &kBadUrl},
      Refusal{{132, 4294967295}, {132, 5}, &kBadContent}, Refusal{{133, 0}, {133, 5}, &kBadContent},
  };
  for (const auto& [token, good, events] : refusals) {
    EXPECT_EQ(match({token, good}), *events);
    EXPECT_EQ(match({good, token}), *events);
    EXPECT_EQ(match({token, {603}, {146}}), *events);  // texts and numbers that cannot be read
    for (const Refusal& other : refusals) {
      EXPECT_EQ(match({token, other.token}), *events);
    }
    EXPECT_EQ(match({token, {115, "a:b"}}), *events);
    EXPECT_EQ(match({{115, "a:b"}, token}), http_match_refused("Error: Invalid HTTP token in header name\n"));
    // It comes before every check of the finished record and of the names.
    EXPECT_EQ(match({{146, 256}, token}), *events);
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_inline_http_lengths_test
