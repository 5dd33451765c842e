// How a refused line is shown: the line, the caret, the message.
#include "shell/matcher/mismatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "shell/matcher/printable.h"
#include "tests/shell/matching.h"

namespace kvel::shell::mismatch_test {
namespace {

using ::testing::HasSubstr;

std::string shown(const std::string& line) {
  const std::vector<ModeLevel> stack{{0, {}}};
  const auto matched = match(shell_grammar(), stack, line);
  return matched ? "matched" : format_mismatch(matched.error(), line);
}

Mismatch at(std::size_t column, std::string word = "x") {
  Mismatch mismatch(MismatchKind::unexpected_word);
  mismatch.column = column;
  mismatch.word = std::move(word);
  mismatch.expected = {{Expected::Kind::end, "<cr>", ""}};
  return mismatch;
}

TEST(Printable, NothingThatATerminalCouldTakeForMoreThanText) {
  EXPECT_EQ(printable("caf\u00E9 \u65E5\u672C"), "caf\u00E9 \u65E5\u672C");
  for (const char* hidden : {"\x1B", "\n", "\t", "\x7F", "\u0085", "\u061C", "\u200B", "\u200D", "\u200F", "\u2028",
                             "\u2029", "\u202A", "\u202E", "\u2060", "\u2066", "\u2069", "\uFEFF", "\xFF"})
    EXPECT_EQ(printable(std::string("a") + hidden + "b"), "a?b");
  EXPECT_EQ(printable_lines("a\tb\nc\rd\u2028e"), "a\tb\nc?d?e");
}

TEST(FormatMismatch, PutsTheCaretUnderTheWord) {
  EXPECT_EQ(shown("class-map mach-any web"),
            "class-map mach-any web\n"
            "          ^\n"
            "Error: unknown word \"mach-any\" (did you mean \"match-any\"?)\n"
            "expected:\n  match-all\n  match-any\n  type\n  NAME\n");
  EXPECT_EQ(shown("show"),
            "show\n"
            "     ^\n"
            "Error: incomplete command\n"
            "expected:\n  class-map\n  history\n  parameter-map\n  policy-map\n  running-config\n  service-policy\n"
            "  ssl-proxy\n  uses\n  version\n");
  EXPECT_EQ(shown("e"),
            "e\n"
            "^\n"
            "Error: ambiguous word \"e\"; it could be: end, exit\n");
}

TEST(FormatMismatch, KeepsTabsBeforeTheCaret) {
  EXPECT_EQ(shown("\tshow\tnothing"),
            "\tshow\tnothing\n"
            "\t    \t^\n"
            "Error: unknown word \"nothing\"\n"
            "expected:\n  class-map\n  history\n  parameter-map\n  policy-map\n  running-config\n  service-policy\n"
            "  ssl-proxy\n  uses\n  version\n");
}

TEST(FormatMismatch, DropsTheLineEnd) {
  EXPECT_EQ(format_mismatch(at(5), "exit x\r\n"), "exit x\n     ^\nError: unexpected word \"x\"; expected: <cr>\n");
}

TEST(FormatMismatch, CountsColumnsNotBytes) {
  // u umlaut is two bytes in one column, each Chinese character three bytes in two, a combining accent none.
  EXPECT_EQ(format_mismatch(at(3), "\xC3\xBC x"), "\xC3\xBC x\n  ^\nError: unexpected word \"x\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(7), "\xE6\x97\xA5\xE6\x9C\xAC x"),
            "\xE6\x97\xA5\xE6\x9C\xAC x\n     ^\nError: unexpected word \"x\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(4), "e\xCC\x81 x"), "e\xCC\x81 x\n  ^\nError: unexpected word \"x\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(5), "\xF0\x9F\x9A\x80 x"),  // U+1F680, a pictograph
            "\xF0\x9F\x9A\x80 x\n   ^\nError: unexpected word \"x\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(7), "\xE0\xA4\x95\xE0\xA5\x8D x"),  // U+094D combines with the letter before it
            "\xE0\xA4\x95\xE0\xA5\x8D x\n  ^\nError: unexpected word \"x\"; expected: <cr>\n");
}

TEST(FormatMismatch, ShowsUnprintableBytesAsQuestionMarks) {
  EXPECT_EQ(shown("exit \x1B[2J"), "exit ?[2J\n     ^\nError: control character\n");
  EXPECT_EQ(shown("exit \xFF\xFE."), "exit ??.\n     ^\nError: not valid UTF-8\n");
  EXPECT_EQ(shown("exit \xC2\x9B."), "exit ?.\n     ^\nError: control character\n");
}

TEST(FormatMismatch, CutsLongLinesAroundTheCaret) {
  const std::string line = std::string(100, 'a') + " bad " + std::string(100, 'c');
  EXPECT_EQ(format_mismatch(at(101, "bad"), line, 39),
            "...aaaaaaaaaaaaaaa bad ccccccccccccc...\n"
            "                   ^\n"
            "Error: unexpected word \"bad\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(0, "a"), line, 39),
            "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa...\n"
            "^\n"
            "Error: unexpected word \"a\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(205, ""), line, 39),
            "...ccccccccccccccccccccccccccccccccc\n"
            "                                    ^\n"
            "Error: unexpected word \"\"; expected: <cr>\n");
}

// The caret of an incomplete command is one blank after the line, within the width too.
TEST(FormatMismatch, CutsALineThatLeavesNoRoomForTheCaretAfterIt) {
  EXPECT_EQ(format_mismatch(at(38, ""), std::string(37, 'a'), 39),
            "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n"
            "                                      ^\n"
            "Error: unexpected word \"\"; expected: <cr>\n");
  EXPECT_EQ(format_mismatch(at(39, ""), std::string(38, 'a'), 39),
            "...aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n"
            "                                     ^\n"
            "Error: unexpected word \"\"; expected: <cr>\n");
}

TEST(FormatMismatch, StaysBoundedForEveryColumn) {
  std::string line;
  for (int i = 0; i < 500; ++i)
    line += "\xE6\x97\xA5 \xC3\xBC\xFF\x01";
  for (std::size_t column = 0; column <= line.size() + 1; ++column) {
    const std::string text = format_mismatch(at(column), line, 40);
    const std::string_view first = std::string_view(text).substr(0, text.find('\n'));
    const std::string_view caret = std::string_view(text).substr(first.size() + 1, text.find("^\n") - first.size());
    EXPECT_LE(first.size(), 120U) << column;
    EXPECT_LE(caret.size(), 41U) << column;
    for (const char c : first)
      EXPECT_TRUE(static_cast<unsigned char>(c) >= 0x20) << column;
  }
}

TEST(FormatMismatch, ShowsTheEndOfAnEndlessLine) {
  const std::string line(70000, 'x');
  EXPECT_EQ(shown(line), "..." + std::string(73, 'x') + "...\n" + std::string(39, ' ') +
                             "^\nError: the line is longer than 65536 bytes\n");
}

TEST(FormatMismatch, OffersTheNearestWords) {
  EXPECT_EQ(shown("show polcy-map"),
            "show polcy-map\n"
            "     ^\n"
            "Error: unknown word \"polcy-map\" (did you mean \"policy-map\"?)\n"
            "expected:\n  class-map\n  history\n  parameter-map\n  policy-map\n  running-config\n  service-policy\n"
            "  ssl-proxy\n  uses\n  version\n");
  Mismatch mismatch(MismatchKind::unknown_word);
  mismatch.word = "x";
  mismatch.nearby = {"a", "b"};
  mismatch.expected = {{Expected::Kind::end, "<cr>", ""}};
  EXPECT_EQ(describe(mismatch), "unknown word \"x\" (did you mean \"a\" or \"b\"?); expected: <cr>");
}

TEST(FormatMismatch, SaysWhichModeKnowsAWord) {
  EXPECT_THAT(shown("reset"),
              HasSubstr("\nError: unknown word \"reset\", which is a command of class mode of a policy-map "
                        "(type http-inspection) or match mode of a policy-map (type http-inspection)\n"));
  EXPECT_THAT(shown("no reset"), HasSubstr("unknown word \"reset\", which is a command of class mode"));
  EXPECT_THAT(shown("certificate"), HasSubstr("which is a command of SSL-proxy mode\n"));
  EXPECT_THAT(shown("match any"), HasSubstr("which is a command of class-map mode or policy-map mode"));
  EXPECT_THAT(shown("show reset"), HasSubstr("unknown word \"reset\"\n"));
}

// 80 columns, with "Error: " in front.
TEST(Describe, ListsInOneLineWhatFitsThere) {
  Mismatch mismatch(MismatchKind::incomplete);
  mismatch.expected = {{Expected::Kind::word, std::string(43, 'a'), ""}};
  EXPECT_EQ(describe(mismatch), "incomplete command; expected: " + std::string(43, 'a'));
  mismatch.expected = {{Expected::Kind::word, std::string(44, 'a'), ""}};
  EXPECT_EQ(describe(mismatch), "incomplete command\nexpected:\n  " + std::string(44, 'a'));
}

TEST(Describe, CutsLongWordsButNoList) {
  Mismatch mismatch(MismatchKind::unknown_word);
  mismatch.word = std::string(60, 'w') + "\t\x01";
  std::string listed;
  for (int i = 10; i < 45; ++i) {
    mismatch.expected.push_back({Expected::Kind::word, "w" + std::to_string(i), ""});
    listed += "\n  w" + std::to_string(i);
  }
  EXPECT_EQ(describe(mismatch), "unknown word \"" + std::string(40, 'w') + "...\"\nexpected:" + listed);
  mismatch.word = "a\tb\x01";
  mismatch.expected.resize(1);
  EXPECT_EQ(describe(mismatch), "unknown word \"a b?\"; expected: w10");
}

}  // namespace
}  // namespace kvel::shell::mismatch_test
