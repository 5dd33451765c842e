// Parameters of every kind: accepted and refused neighbours.
#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::parameter_test {
namespace {

using test::number_token;
using test::string_token;
using test::Tokens;
using test::word_token;

class Parameters : public ::testing::Test {
 protected:
  const Grammar& grammar = test::sample_grammar();
  std::vector<ModeLevel> stack = test::stack_of(grammar, {"top", "group"});

  void accepts(const std::string& line, const Tokens& tokens) {
    const auto matched = match(grammar, stack, line);
    ASSERT_TRUE(matched) << line << ": " << describe(matched.error());
    EXPECT_EQ(matched->tokens, tokens) << line;
  }
  void refuses(const std::string& line, MismatchKind kind, std::size_t column, const std::string& message) {
    const auto matched = match(grammar, stack, line);
    ASSERT_FALSE(matched) << line;
    EXPECT_EQ(matched.error().kind, kind) << line;
    EXPECT_EQ(matched.error().column, column) << line;
    EXPECT_EQ(describe(matched.error()), message) << line;
  }
};

TEST_F(Parameters, Numbers) {
  accepts("port 1", {number_token(20, 1)});
  accepts("port 65535", {number_token(20, 65535)});
  accepts("port 00080", {number_token(20, 80)});
  accepts("timeout 4294967295", {number_token(21, 4294967295U)});
  const std::string expected = "; expected: <1-65535>";
  for (const char* outside : {"0", "65536", "4294967296", "4294967297", "18446744073709551615", "18446744073709551616",
                              "18446744073709551617", "99999999999999999999999999999999"}) {
    refuses(std::string("port ") + outside, MismatchKind::out_of_range, 5,
            "\"" + std::string(outside) + "\" is out of range" + expected);
  }
  for (const char* other : {"-1", "+1", "0x10", "1e3", "80a", "a", "1.5"}) {
    refuses(std::string("port ") + other, MismatchKind::not_a_number, 5,
            "\"" + std::string(other) + "\" is not a number" + expected);
  }
  refuses("port \"80\"", MismatchKind::unknown_word, 5, "unknown word \"80\"; expected: <1-65535>");
  refuses("timeout 9", MismatchKind::out_of_range, 8, "\"9\" is out of range; expected: <10-4294967295>");
}

TEST_F(Parameters, Addresses) {
  accepts("route 10.0.0.1", {number_token(31, 0x0A000001)});
  accepts("route 0.0.0.0", {number_token(31, 0)});
  accepts("route 255.255.255.255 255.255.255.0", {number_token(31, 0xFFFFFFFF), number_token(32, 0xFFFFFF00)});
  // Whether a mask is contiguous is for the handlers to validate.
  accepts("route 10.0.0.0 255.0.255.0", {number_token(31, 0x0A000000), number_token(32, 0xFF00FF00)});
  for (const char* bad :
       {"10.0.0", "10.0.0.256", "10.0.0.1.2", "10.0.0.", "10..0.1", "010.0.0.1", "1.2.3.0004", "1."}) {
    refuses(std::string("route ") + bad, MismatchKind::bad_address, 6,
            "\"" + std::string(bad) + "\" is not an IPv4 address; expected: any, ADDRESS");
  }
  refuses("route x.y", MismatchKind::unknown_word, 6, "unknown word \"x.y\"; expected: any, ADDRESS");
  refuses("route 10", MismatchKind::unknown_word, 6, "unknown word \"10\"; expected: any, ADDRESS");
  refuses("route 10.0.0.1 300.0.0.0", MismatchKind::bad_address, 15,
          "\"300.0.0.0\" is not an IPv4 address; expected: metric, MASK, <cr>");
}

TEST_F(Parameters, Strings) {
  accepts("colour-table abcdefgh", {string_token(45, "abcdefgh")});
  accepts("colour-table \"a b\"", {string_token(45, "a b")});
  refuses("colour-table abcdefghi", MismatchKind::too_long, 13, "FILE is too long: at most 8 characters");
  refuses("colour-table \"\"", MismatchKind::empty_value, 13, "FILE must not be empty");
}

TEST_F(Parameters, Texts) {
  accepts("note a  b\tc", {string_token(60, "a  b\tc")});
  accepts("note  a b  ", {string_token(60, "a b")});
  accepts("note say \"hi\" now", {string_token(60, "say \"hi\" now")});
  accepts("note \" a b \"", {string_token(60, " a b ")});
  accepts(R"(note "\"")", {string_token(60, "\"")});
  // Within a text that does not begin with a quote, quotes need no partner.
  accepts("note 5\" disk", {string_token(60, "5\" disk")});
  accepts("note a \"b", {string_token(60, "a \"b")});
  accepts("note a \"b\"c", {string_token(60, "a \"b\"c")});
  accepts("note quit", {string_token(60, "quit")});
  accepts("note " + std::string(20, 'x'), {string_token(60, std::string(20, 'x'))});
  refuses("note " + std::string(21, 'x'), MismatchKind::too_long, 5, "TEXT is too long: at most 20 characters");
  refuses("note \"a\" b", MismatchKind::unexpected_word, 9, "unexpected word \"b\"; expected: <cr>");
  refuses("note \"a", MismatchKind::unclosed_quote, 5, "this quote is not closed");
  refuses("note \"a\"b", MismatchKind::text_after_quote, 8, "a blank is missing after the closing quote");
  refuses("note \"\"", MismatchKind::empty_value, 5, "TEXT must not be empty");
}

TEST_F(Parameters, NumbersWinOverNamesAndWordsOverBoth) {
  accepts("level 7", {number_token(50, 7)});
  accepts("level 10", {string_token(52, "10")});
  accepts("level \"7\"", {string_token(52, "7")});
  accepts("level maximum", {word_token(51)});
  accepts("level max", {word_token(51)});
  accepts("level \"max\"", {string_token(52, "max")});
  accepts("level maximal", {string_token(52, "maximal")});
}

}  // namespace
}  // namespace kvel::shell::parameter_test
