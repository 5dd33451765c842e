// Filtering by line.
#include "shell/session/line_filter.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace kvel::shell::line_filter_test {
namespace {

using Kind = LineFilter::Kind;

const std::string kLines = "one\ntwo words\n\nthree\n  four\n";

TEST(LineFilter, Include) {
  EXPECT_EQ(filter_lines({{Kind::include, "o"}}, kLines), "one\ntwo words\n  four\n");
  EXPECT_EQ(filter_lines({{Kind::include, "o w"}}, kLines), "two words\n");
  EXPECT_EQ(filter_lines({{Kind::include, "One"}}, kLines), "");
  EXPECT_EQ(filter_lines({{Kind::include, "e\nt"}}, kLines), "");
  EXPECT_EQ(filter_lines({{Kind::include, ".*"}}, kLines), "");
}

TEST(LineFilter, Exclude) {
  EXPECT_EQ(filter_lines({{Kind::exclude, "o"}}, kLines), "\nthree\n");
  EXPECT_EQ(filter_lines({{Kind::exclude, "\n"}}, kLines), kLines);
}

TEST(LineFilter, Begin) {
  EXPECT_EQ(filter_lines({{Kind::begin, "th"}}, kLines), "three\n  four\n");
  EXPECT_EQ(filter_lines({{Kind::begin, "one"}}, kLines), kLines);
  EXPECT_EQ(filter_lines({{Kind::begin, "five"}}, kLines), "");
}

TEST(LineFilter, Count) {
  EXPECT_EQ(filter_lines({{Kind::count}}, kLines), "5\n");
  EXPECT_EQ(filter_lines({{Kind::count}}, ""), "0\n");
  EXPECT_EQ(filter_lines({{Kind::count}}, "\n"), "1\n");
  EXPECT_EQ(filter_lines({{Kind::count}}, "without its end"), "1\n");
}

TEST(LineFilter, Chains) {
  EXPECT_EQ(filter_lines({{Kind::include, "o"}, {Kind::exclude, "four"}, {Kind::count}}, kLines), "2\n");
  EXPECT_EQ(filter_lines({{Kind::count}, {Kind::include, "5"}}, kLines), "5\n");
  EXPECT_EQ(filter_lines({}, "as it is"), "as it is");
}

TEST(LineFilter, ALastLineWithoutItsEndGetsIt) {
  EXPECT_EQ(filter_lines({{Kind::include, "b"}}, "a\nb"), "b\n");
  EXPECT_EQ(filter_lines({{Kind::exclude, "a"}}, "a\nb"), "b\n");
  EXPECT_EQ(filter_lines({{Kind::begin, "a"}}, "a\nb"), "a\nb\n");
}

TEST(LineFilter, AnyByteAndAnyLength) {
  const std::string binary("\0\xFF\x01 needle \x80\0\n", 14);
  const std::string other("\0\0\n", 3);
  EXPECT_EQ(filter_lines({{Kind::include, "needle"}}, binary + other), binary);
  EXPECT_EQ(filter_lines({{Kind::exclude, std::string("\0\0", 2)}}, binary + other), binary);
  const std::string length(10'000'000, 'x');
  EXPECT_EQ(filter_lines({{Kind::include, "y"}}, length + "\n" + length + "y\n"), length + "y\n");
}

TEST(LineFilter, IncludeAndExcludeShareTheLinesOut) {
  EXPECT_TRUE(rc::check([] {
    const auto lines = *rc::gen::container<std::vector<std::string>>(
        rc::gen::container<std::string>(rc::gen::element('a', 'b', ' ', '\0', '\xFF')));
    const auto text = *rc::gen::nonEmpty(rc::gen::container<std::string>(rc::gen::element('a', 'b', ' ')));
    std::string all;
    std::string with;
    std::string without;
    for (const std::string& line : lines) {
      all += line + "\n";
      (line.find(text) != std::string::npos ? with : without) += line + "\n";
    }
    RC_ASSERT(filter_lines({{Kind::include, text}}, all) == with);
    RC_ASSERT(filter_lines({{Kind::exclude, text}}, all) == without);
    RC_ASSERT(filter_lines({{Kind::count}}, all) == std::to_string(lines.size()) + "\n");
  }));
}

}  // namespace
}  // namespace kvel::shell::line_filter_test
