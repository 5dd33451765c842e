// Text: what printf prints, with the angle brackets around values gone.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "kvel/output.h"
#include "tests/output/support.h"

namespace kvel::output::testing::text_test {
namespace {

template <class... Arguments>
std::string text_of(const char* format, Arguments... arguments) {
  return written(Format::text, [&] { xprint(format, arguments...); });
}

TEST(Text, LinesWithoutValues) {
  EXPECT_EQ(text_of(""), "");
  EXPECT_EQ(text_of("\n"), "\n");
  EXPECT_EQ(text_of("Status     : ACTIVE\n"), "Status     : ACTIVE\n");
  EXPECT_EQ(written(Format::text, [] { xprint(nullptr); }), "");
}

TEST(Text, FixedLineIgnoresTheTagThatIsPassedWithIt) {
  EXPECT_EQ(text_of("VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state"), "VIP Route Advertise  : ENABLED\n");
}

TEST(Text, ValuesInBracketsLoseTheBrackets) {
  EXPECT_EQ(text_of("<%s>", "tag", "web"), "web");
  EXPECT_EQ(text_of("    class: <%s>\n", "sp_class_name", "web"), "    class: web\n");
  EXPECT_EQ(text_of("<%d> ", "sp_interface_vlan", -12), "-12 ");
  EXPECT_EQ(text_of("<%s><%s>", "tag", "a", "b"), "ab");
}

TEST(Text, PaddingStays) {
  EXPECT_EQ(text_of("<%-10u>|", "tag", 5U), "5         |");
  EXPECT_EQ(text_of("<%10s>|", "tag", "web"), "       web|");
  EXPECT_EQ(
      text_of("        client pkt count : <%-10u>, client byte count: <%-20llu>\n", "tag", 7U, 18446744073709551615ULL),
      "        client pkt count : 7         , client byte count: 18446744073709551615\n");
}

TEST(Text, PlainValuesBesideValuesInBrackets) {
  EXPECT_EQ(text_of("%s <%d> of %d%%\n", "tag", "used", 3, 80), "used 3 of 80%\n");
  EXPECT_EQ(text_of("<%s> %s\n", "tag", "a", "b"), "a b\n");
}

TEST(Text, PlainValuesAloneTakeNoTag) {
  EXPECT_EQ(text_of("          class/match : %s\n", "m1"), "          class/match : m1\n");
  EXPECT_EQ(text_of("%d/%u/%x\n", -1, 2U, 255U), "-1/2/ff\n");
}

TEST(Text, BracketsThatHoldNoValueAreLiteral) {
  EXPECT_EQ(text_of("<cr>\n"), "<cr>\n");
  EXPECT_EQ(text_of("<1-%d>\n", 9), "<1-9>\n");
  EXPECT_EQ(text_of("<%d-%d>\n", 1, 9), "<1-9>\n");
  EXPECT_EQ(text_of("<%s >\n", "x"), "<x >\n");
  EXPECT_EQ(text_of("< %s>\n", "x"), "< x>\n");
  EXPECT_EQ(text_of("%s>\n", "x"), "x>\n");
  EXPECT_EQ(text_of("<%%>\n"), "<%>\n");
  EXPECT_EQ(text_of("a < b\n"), "a < b\n");
  EXPECT_EQ(text_of("<"), "<");
  EXPECT_EQ(text_of("<%"), "<%");
}

TEST(Text, OnlyTheInnermostBracketsGo) {
  EXPECT_EQ(text_of("<<%s>>\n", "tag", "x"), "<x>\n");
  EXPECT_EQ(text_of("<a<%s>\n", "tag", "x"), "<ax\n");
  EXPECT_EQ(text_of("100%<%s>\n", "tag", "x"), "100%x\n");
}

TEST(Text, TagsAreTakenAndNotShown) {
  EXPECT_EQ(text_of("<%s>\n", static_cast<const char*>(nullptr), "x"), "x\n");
  EXPECT_EQ(written(Format::text,
                    [] {
                      xprint_header("service_policy");
                      xprint("<%s>\n", "sp_name", "web");
                      xprint_footer("service_policy");
                      xprint_footer("never_opened");
                      xprint_header(nullptr);
                      xprint_footer(nullptr);
                    }),
            "web\n");
}

TEST(Text, IntegersOfEveryLength) {
  EXPECT_EQ(text_of("%hhd %hhu", 0x1FF, 0x1FF), "-1 255");
  EXPECT_EQ(text_of("%hd %hu", 0x1FFFF, 0x1FFFF), "-1 65535");
  EXPECT_EQ(text_of("%d %u", INT_MIN, UINT_MAX), "-2147483648 4294967295");
  EXPECT_EQ(text_of("%ld %lu", LONG_MIN, ULONG_MAX), "-9223372036854775808 18446744073709551615");
  EXPECT_EQ(text_of("%lld %llu", LLONG_MIN, ULLONG_MAX), "-9223372036854775808 18446744073709551615");
  EXPECT_EQ(text_of("%zd %zu", std::ptrdiff_t{-5}, SIZE_MAX), "-5 18446744073709551615");
  EXPECT_EQ(text_of("%jd %ju", INTMAX_MIN, UINTMAX_MAX), "-9223372036854775808 18446744073709551615");
  EXPECT_EQ(text_of("%td %ti", std::ptrdiff_t{-7}, std::ptrdiff_t{8}), "-7 8");
  EXPECT_EQ(text_of("%x %X %o %#x %#o", 0xBEEFU, 0xBEEFU, 8U, 0xBEEFU, 8U), "beef BEEF 10 0xbeef 010");
}

TEST(Text, CharactersPointersAndFloats) {
  EXPECT_EQ(text_of("[%c%3c%-3c]", 'a', 'b', 'c'), "[a  bc  ]");
  EXPECT_EQ(text_of("%c", '\0'), std::string(1, '\0'));
  EXPECT_EQ(text_of("%p", reinterpret_cast<void*>(0xABC)), "0xabc");
  EXPECT_EQ(text_of("%f %.2f %e %G", 1.5, 2.345678, 12345.678, 1e-10), "1.500000 2.35 1.234568e+04 1E-10");
  EXPECT_EQ(text_of("%a %Lf", 1.0, 2.5L), "0x1p+0 2.500000");
  EXPECT_EQ(text_of("%f %F %5.1f|%-7.1f|%07.2f", std::nan(""), HUGE_VAL, 1.25, 1.25, -1.25),
            "nan INF   1.2|1.2    |-001.25");
}

TEST(Text, WideTextAndCharacters) {
  EXPECT_EQ(text_of("%ls %lc|%6ls|%.2ls", L"wide", L'w', L"ab", L"abc"), "wide w|    ab|ab");
}

TEST(Text, WidthAndPrecisionAsArguments) {
  EXPECT_EQ(text_of("%*d|%-*d|%*d|", 5, 1, 5, 2, -5, 3), "    1|2    |3    |");
  EXPECT_EQ(text_of("%.*s|%.*s|%.s|%.1s|", 2, "abc", -1, "abc", "abc", "abc"), "ab|abc||a|");
  EXPECT_EQ(text_of("<%*.*f>|", "tag", 8, 2, 3.14159), "    3.14|");
}

TEST(Text, PrecisionBoundsTheReadOfAText) {
  const char unterminated[3] = {'a', 'b', 'c'};
  EXPECT_EQ(text_of("%.3s", static_cast<const char*>(unterminated)), "abc");
}

TEST(Text, NullTexts) {
  const char* none = nullptr;
  EXPECT_EQ(text_of("%s", none), "(null)");
  EXPECT_EQ(text_of("<%10s>|", "tag", none), "    (null)|");
}

TEST(Text, WritingConversionIsRefusedAndTakesItsArgument) {
  int untouched = 42;
  EXPECT_EQ(text_of("ab%n<%s>\n", "tag", &untouched, "x"), "ab%nx\n");
  EXPECT_EQ(text_of("%hhn%s", &untouched, "x"), "%hhnx");
  EXPECT_EQ(text_of("<%n><%s>\n", "tag", &untouched, "x"), "%nx\n");
  EXPECT_EQ(untouched, 42);
}

TEST(Text, UnknownConversionsAreLiteral) {
  EXPECT_EQ(text_of("%y %s\n", "x"), "%y x\n");
  EXPECT_EQ(text_of("%-5.3k|"), "%-5.3k|");
  EXPECT_EQ(text_of("<%y>\n"), "<%y>\n");
  EXPECT_EQ(text_of("%1$s"), "%1$s");
  EXPECT_EQ(text_of("100%"), "100%");
  EXPECT_EQ(text_of("%l"), "%l");
  EXPECT_EQ(text_of("%5."), "%5.");
}

TEST(Text, PercentSigns) {
  EXPECT_EQ(text_of("100%%"), "100%");
  EXPECT_EQ(text_of("%%s%%%d\n", 1), "%s%1\n");
}

TEST(Text, LongTextsAndNumbers) {
  const std::string mega(1 << 20, 'm');
  EXPECT_EQ(text_of("<%s>\n", "tag", mega.c_str()), mega + "\n");
  EXPECT_EQ(text_of("%.700d", 1), std::string(699, '0') + "1");
  EXPECT_EQ(text_of("%0700d", 1), std::string(699, '0') + "1");
  EXPECT_EQ(text_of("%9000d", 1), std::string(8999, ' ') + "1");
  EXPECT_EQ(text_of("%.3f", 1e300).size(), 305U);
  EXPECT_EQ(text_of((mega + "%d").c_str(), 7), mega + "7");
}

// Every combination of flags, width and precision is printed exactly as the C library prints it.
template <class Value>
void compare_with_printf(const std::string& conversion, Value value) {
  for (unsigned flags = 0; flags < 64; ++flags) {
    for (const char* width : {"", "1", "12"}) {
      for (const char* precision : {"", ".", ".0", ".1", ".9"}) {
        std::string format = "[%";
        for (unsigned flag = 0; flag < 6; ++flag) {
          if ((flags >> flag & 1U) != 0) format += "-+ #0'"[flag];
        }
        format += std::string(width) + precision + conversion + "]";
        char expected[256];
        std::snprintf(expected, sizeof expected, format.c_str(), value);
        ASSERT_EQ(text_of(format.c_str(), value), expected) << format;
        format.front() = '<';
        format.back() = '>';
        const std::string bare(expected + 1, std::string(expected).size() - 2);
        ASSERT_EQ(text_of(format.c_str(), "tag", value), bare) << format;
      }
    }
  }
}

TEST(Text, FlagsWidthsAndPrecisionsAsTheLibraryPrintsThem) {
  for (const char* type : {"d", "i", "u", "x", "X", "o"}) {
    for (const int value : {0, 1, -1, 48879, INT_MIN, INT_MAX})
      compare_with_printf(type, value);
    for (const char* length : {"l", "ll", "z", "j", "t"})
      compare_with_printf(std::string(length) + type, LONG_MIN + 77);
    for (const char* length : {"h", "hh"})
      compare_with_printf(std::string(length) + type, 0x12345);
  }
  for (const char* type : {"f", "F", "e", "E", "g", "G", "a", "A"}) {
    for (const double value : {0.0, -0.0, 1.5, -123.456, 1e20, HUGE_VAL})
      compare_with_printf(type, value);
    compare_with_printf(std::string("L") + type, 3.25L);
  }
}

TEST(Text, TextsInEveryWidthAndPrecisionAsTheLibraryPrintsThem) {
  for (const char* format : {"%s", "%12s", "%-12s", "%.0s", "%.2s", "%12.2s", "%-12.2s", "%.9s"}) {
    for (const char* value : {"", "a", "class", static_cast<const char*>(nullptr)}) {
      char expected[64];
      std::snprintf(expected, sizeof expected, format, value);
      EXPECT_EQ(text_of(format, value), expected) << format;
    }
  }
}

}  // namespace
}  // namespace kvel::output::testing::text_test
