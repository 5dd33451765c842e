// How a refused line is shown: the line, the caret, the message.
#include "shell/matcher/mismatch.h"

#include <gtest/gtest.h>

#include "shell/matcher/utf8.h"
#include "tests/shell/matching.h"

namespace kvel::shell::mismatch_test {
namespace {

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
            "Error: unknown word \"mach-any\"; expected: match-all, match-any, type, NAME\n");
  EXPECT_EQ(shown("show"),
            "show\n"
            "     ^\n"
            "Error: incomplete command; expected: class-map, history, parameter-map, policy-map, running-config, "
            "service-policy, ssl-proxy, uses, version\n");
  EXPECT_EQ(shown("e"),
            "e\n"
            "^\n"
            "Error: ambiguous word \"e\"; it could be: end, exit\n");
}

TEST(FormatMismatch, KeepsTabsBeforeTheCaret) {
  EXPECT_EQ(shown("\tshow\tnothing"),
            "\tshow\tnothing\n"
            "\t    \t^\n"
            "Error: unknown word \"nothing\"; expected: class-map, history, parameter-map, policy-map, running-config, "
            "service-policy, ssl-proxy, uses, version\n");
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

TEST(Describe, CutsLongWordsAndLists) {
  Mismatch mismatch(MismatchKind::unknown_word);
  mismatch.word = std::string(60, 'w') + "\t\x01";
  for (int i = 10; i < 45; ++i)
    mismatch.expected.push_back({Expected::Kind::word, "w" + std::to_string(i), ""});
  EXPECT_EQ(describe(mismatch), "unknown word \"" + std::string(40, 'w') +
                                    "...\"; expected: w10, w11, w12, w13, w14, w15, w16, w17, w18, w19, w20, w21, w22, "
                                    "w23, w24, w25, w26, w27, w28, w29 and 15 more");
  mismatch.word = "a\tb\x01";
  mismatch.expected.resize(1);
  EXPECT_EQ(describe(mismatch), "unknown word \"a b?\"; expected: w10");
}

}  // namespace
}  // namespace kvel::shell::mismatch_test
