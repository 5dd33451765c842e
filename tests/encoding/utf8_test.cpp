// UTF-8: what is a character, what is none, and where texts are cut.
#include "encoding/utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kvel::encoding::testing::utf8_test {
namespace {

using namespace std::string_literals;

// By the formula that defines the encoding; nothing for what is no character.
std::string encoded(char32_t code) {
  if (code >= 0xD800 && code <= 0xDFFF) return {};
  const auto tail = [code](unsigned shift) { return static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
  if (code < 0x80) return {static_cast<char>(code)};
  if (code < 0x800) return {static_cast<char>(0xC0U | code >> 6U), tail(0)};
  if (code < 0x10000) return {static_cast<char>(0xE0U | code >> 12U), tail(6), tail(0)};
  return {static_cast<char>(0xF0U | code >> 18U), tail(12), tail(6), tail(0)};
}

TEST(Decoding, TakesEveryCharacterWhateverFollows) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    const std::string bytes = encoded(code);
    if (bytes.empty()) continue;
    for (const auto& after : {""s, "\x80"s}) {
      const DecodedCharacter character = decode_utf8("x" + bytes + after, 1);
      ASSERT_TRUE(character.code == code) << encoded(code);
      ASSERT_EQ(character.length, bytes.size()) << bytes;
    }
  }
}

TEST(Decoding, RefusesEveryOtherBeginning) {
  // Every lead byte with every second one and ends that go with most: what it takes is what it would write itself.
  std::size_t taken = 0;
  for (unsigned lead = 0x80; lead < 0x100; ++lead) {
    for (unsigned second = 0; second < 0x100; ++second) {
      for (const auto& rest : {""s, "\x80"s, "\xbf\xbf"s, "\x80z"s}) {
        const std::string text = std::string{static_cast<char>(lead), static_cast<char>(second)} + rest;
        const DecodedCharacter character = decode_utf8(text, 0);
        if (character.length == 0) continue;
        ASSERT_EQ(text.substr(0, character.length), encoded(character.code)) << lead << ' ' << second;
        ++taken;
      }
    }
  }
  // 30 leads of two bytes with 64 seconds each, 4 ends; of three bytes 16 * 64 but 32 overlong ones and 32 surrogates,
  // with the 3 ends that begin with a continuation; of four bytes 5 * 64 but 16 overlong ones and 48 beyond U+10FFFF,
  // with the 1 end that has two.
  EXPECT_EQ(taken, 30U * 64 * 4 + (16U * 64 - 64) * 3 + (5U * 64 - 64));
}

TEST(Decoding, OfControls) {
  EXPECT_TRUE(is_control(0));
  EXPECT_TRUE(is_control(U'\t'));
  EXPECT_TRUE(is_control(0x1F));
  EXPECT_FALSE(is_control(U' '));
  EXPECT_FALSE(is_control(0x7E));
  EXPECT_TRUE(is_control(0x7F));
  EXPECT_TRUE(is_control(0x9F));
  EXPECT_FALSE(is_control(0xA0));
}

TEST(PlainText, TakesWellFormedUtf8) {
  for (const auto& text : {""s, "a b~"s, "\xc2\xa0"s, "\xdf\xbf"s, "\xe0\xa0\x80"s, "\xed\x9f\xbf"s, "\xee\x80\x80"s,
                           "\xef\xbf\xbf"s, "\xf0\x90\x80\x80"s, "\xf4\x8f\xbf\xbf"s})
    EXPECT_TRUE(is_plain_text(text)) << text;
}

TEST(PlainText, RefusesControlCharacters) {
  for (const auto& text : {"\0"s, "\x01"s, "a\n"s, "\x1f"s, "\x7f"s, "\xc2\x80"s, "\xc2\x9f"s})
    EXPECT_FALSE(is_plain_text(text)) << text;
}

TEST(PlainText, RefusesMalformedUtf8) {
  for (const auto& text :
       {"\x80"s, "\xbf"s, "\xc0\x80"s, "\xc1\xbf"s, "\xc2"s, "\xc2 "s, "\xe0\x9f\xbf"s, "\xe0\xa0"s, "\xe1\x80 "s,
        "\xed\xa0\x80"s, "\xed\xbf\xbf"s, "\xf0\x8f\xbf\xbf"s, "\xf0\x90\x80"s, "\xf4\x90\x80\x80"s,
        "\xf5\x80\x80\x80"s, "\xf8\x88\x80\x80\x80"s, "\xfe"s, "\xff"s, "abc\xe2\x82"s})
    EXPECT_FALSE(is_plain_text(text)) << text;
}

TEST(Beginnings, EndBetweenTwoCharacters) {
  EXPECT_EQ(beginning_of("abc", 3), "abc");
  EXPECT_EQ(beginning_of("abc", 2), "ab");
  EXPECT_EQ(beginning_of("abc", 0), "");
  EXPECT_EQ(beginning_of("a\xc3\xa4"
                         "b",
                         3),
            "a\xc3\xa4");
  EXPECT_EQ(beginning_of("a\xc3\xa4"
                         "b",
                         2),
            "a");
  EXPECT_EQ(beginning_of("\xf0\x9f\x94\x92"
                         "b",
                         3),
            "");
}

TEST(Characters, AreCountedWhereTheyBegin) {
  EXPECT_EQ(count_characters(""), 0U);
  EXPECT_EQ(count_characters("abc"), 3U);
  EXPECT_EQ(count_characters("e\xcc\x81"), 2U);  // a letter and the accent on it
  EXPECT_EQ(count_characters("\xc3\xbc\xe6\x97\xa5\xf0\x9f\x94\x92"), 3U);
}

}  // namespace
}  // namespace kvel::encoding::testing::utf8_test
