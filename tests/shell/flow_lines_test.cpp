// Cutting flows into batches: which bytes are sent together, and which lines are not sent at all.
#include "shell/traffic/flow_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <string>
#include <vector>

namespace kvel::shell::flow_lines_test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// "NUMBER:text" of every piece that there is; of a refused line its fault.
std::vector<std::string> taken(FlowLines& lines) {
  std::vector<std::string> pieces;
  while (const auto piece = lines.take()) {
    const std::string number = std::to_string(piece->first_line) + ":";
    if (piece->kind == FlowPiece::Kind::lines) pieces.push_back(number + std::string(piece->text));
    if (piece->kind == FlowPiece::Kind::too_long) pieces.push_back(number + "too long");
    if (piece->kind == FlowPiece::Kind::nul_byte) pieces.push_back(number + "NUL");
  }
  return pieces;
}

std::vector<std::string> pieces_of(const std::string& stream) {
  FlowLines lines;
  lines.append(stream);
  lines.end();
  return taken(lines);
}

TEST(FlowLines, KeepsWholeLinesTogether) {
  EXPECT_THAT(pieces_of(""), IsEmpty());
  EXPECT_THAT(pieces_of("a\nb\n"), ElementsAre("1:a\nb\n"));
  EXPECT_THAT(pieces_of("a\r\n\n\nb"), ElementsAre("1:a\r\n\n\nb"));
  EXPECT_THAT(pieces_of("\n"), ElementsAre("1:\n"));
}

TEST(FlowLines, WaitsForTheRestOfALine) {
  FlowLines lines;
  lines.append("a\nb");
  EXPECT_THAT(taken(lines), ElementsAre("1:a\n"));
  EXPECT_EQ(lines.next_line(), 2U);
  lines.append("b");
  EXPECT_THAT(taken(lines), IsEmpty());
  lines.append("b\nc");
  EXPECT_THAT(taken(lines), ElementsAre("2:bbb\n"));
  EXPECT_EQ(lines.next_line(), 3U);
  lines.end();
  EXPECT_THAT(taken(lines), ElementsAre("3:c"));
  EXPECT_EQ(lines.next_line(), 4U);
}

TEST(FlowLines, ABatchHas64KiB) {
  const std::string half = std::string(32767, 'x') + "\n";
  EXPECT_THAT(pieces_of(half + half), ElementsAre("1:" + half + half));
  EXPECT_THAT(pieces_of(half + half + "\n"), ElementsAre("1:" + half + half, "3:\n"));
  EXPECT_THAT(pieces_of(half + "y" + half), ElementsAre("1:" + half, "2:y" + half));
}

TEST(FlowLines, ALongerLineIsABatchOfItsOwn) {
  const std::string longer = std::string(65536, 'x') + "\n";
  EXPECT_THAT(pieces_of("a\n" + longer + "b\n"), ElementsAre("1:a\n", "2:" + longer, "3:b\n"));
  const std::string longest(524288, 'x');
  EXPECT_THAT(pieces_of(longest), ElementsAre("1:" + longest));
  EXPECT_THAT(pieces_of(longest + "\nb"), ElementsAre("1:" + longest + "\n", "2:b"));
}

TEST(FlowLines, RefusesALineBeyond512KiB) {
  const std::string too_long(524289, 'x');
  EXPECT_THAT(pieces_of(too_long), ElementsAre("1:too long"));
  EXPECT_THAT(pieces_of("a\n" + too_long + "\nb\n"), ElementsAre("1:a\n", "2:too long", "3:b\n"));
  EXPECT_THAT(pieces_of(too_long + "\n" + too_long), ElementsAre("1:too long", "2:too long"));
  FlowLines lines;
  for (int part = 0; part < 16; ++part) {
    lines.append(std::string(std::size_t{1} << 20, 'x'));
    while (lines.take()) {
    }
    EXPECT_FALSE(lines.endless()) << part;
  }
  lines.append("xx");
  EXPECT_FALSE(lines.take());
  EXPECT_TRUE(lines.endless());
  lines.append("\na\n");
  EXPECT_TRUE(lines.take());
  EXPECT_FALSE(lines.endless());
}

// It is reported once, and the rest of it is dropped as it comes.
TEST(FlowLines, SkipsTheRestOfATooLongLine) {
  FlowLines lines;
  lines.append(std::string(524289, 'x'));
  EXPECT_THAT(taken(lines), ElementsAre("1:too long"));
  lines.append(std::string(100000, 'x'));
  EXPECT_THAT(taken(lines), IsEmpty());
  lines.append("x\nb\n");
  EXPECT_THAT(taken(lines), ElementsAre("2:b\n"));

  FlowLines open_end;
  open_end.append(std::string(524289, 'x'));
  EXPECT_THAT(taken(open_end), ElementsAre("1:too long"));
  open_end.end();
  EXPECT_THAT(taken(open_end), IsEmpty());
}

TEST(FlowLines, RefusesLinesWithANulByte) {
  EXPECT_THAT(pieces_of("\0"s), ElementsAre("1:NUL"));
  EXPECT_THAT(pieces_of("a\nb\0c\nd\n"s), ElementsAre("1:a\n", "2:NUL", "3:d\n"));
  EXPECT_THAT(pieces_of("a\n\0\n\0\0\nd"s), ElementsAre("1:a\n", "2:NUL", "3:NUL", "4:d"));
  EXPECT_THAT(pieces_of("a\n" + std::string(70000, 'x') + "\0\nb"s), ElementsAre("1:a\n", "2:NUL", "3:b"));
}

// However the bytes come: every line once, in its place, and no batch larger than it may be.
TEST(FlowLines, LosesNothing) {
  EXPECT_TRUE(rc::check([] {
    const auto sizes = *rc::gen::container<std::vector<std::size_t>>(
        rc::gen::weightedOneOf<std::size_t>({{6, rc::gen::inRange<std::size_t>(0, 200)},
                                             {2, rc::gen::inRange<std::size_t>(10000, 70000)},
                                             {1, rc::gen::inRange<std::size_t>(524280, 524300)}}));
    std::string stream;
    std::vector<std::string> expected;
    for (std::size_t index = 0; index < sizes.size(); ++index) {
      const std::string line(sizes[index], static_cast<char>('a' + index % 26));
      stream += line + "\n";
      expected.push_back(sizes[index] > 524288 ? "too long" : line + "\n");
    }
    FlowLines lines;
    std::vector<std::string> got;
    std::size_t given = 0;
    while (true) {
      const std::size_t count = std::min(lines.wanted(), stream.size() - given);
      if (count == 0) {
        lines.end();
      } else {
        lines.append(std::string_view(stream).substr(given, count));
        given += count;
      }
      while (const auto piece = lines.take()) {
        RC_ASSERT(piece->first_line == got.size() + 1);
        if (piece->kind == FlowPiece::Kind::too_long) {
          got.emplace_back("too long");
          continue;
        }
        RC_ASSERT(piece->text.size() <= 65536 || piece->text.find('\n') == piece->text.size() - 1);
        for (std::string_view rest = piece->text; !rest.empty(); rest.remove_prefix(got.back().size()))
          got.emplace_back(rest.substr(0, rest.find('\n') + 1));
      }
      if (count == 0) break;
    }
    RC_ASSERT(got == expected);
  }));
}

}  // namespace
}  // namespace kvel::shell::flow_lines_test
