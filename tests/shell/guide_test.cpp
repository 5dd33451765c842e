// docs/grammar.md shows code that is there, and a transcript that the shell prints.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/shell/process.h"

namespace kvel::test::guide_test {
namespace {

// A block of code in the document: what follows its three backquotes, and its lines.
struct Block {
  std::string kind;
  std::string file;
  std::string text;
};

std::vector<Block> blocks_of(const std::string& document) {
  std::vector<Block> blocks;
  std::istringstream lines(document);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      inside = !inside;
      if (!inside) continue;
      std::istringstream words(line.substr(3));
      Block& block = blocks.emplace_back();
      words >> block.kind >> block.file;
    } else if (inside) {
      blocks.back().text += line + "\n";
    }
  }
  return blocks;
}

std::string only_text(const std::vector<Block>& blocks, const std::string& kind) {
  std::string text;
  for (const Block& block : blocks) {
    if (block.kind == kind) text += block.text;
  }
  return text;
}

const std::vector<Block>& guide() {
  static const std::vector<Block> blocks = blocks_of(read_file(KVEL_ROOT "/docs/grammar.md"));
  return blocks;
}

TEST(Guide, ShowsCodeThatIsThere) {
  int shown = 0;
  for (const Block& block : guide()) {
    if (block.file.empty()) continue;
    ++shown;
    EXPECT_NE(read_file(KVEL_ROOT "/" + block.file).find(block.text), std::string::npos)
        << block.file << " does not hold\n"
        << block.text;
  }
  EXPECT_EQ(shown, 10);
}

TEST(Guide, ItsTranscriptIsWhatTheShellPrints) {
  const TemporaryFolder folder;
  write_file(folder.file("commands.kvel"), only_text(guide(), "kvel"));
  const Finished done = run_kvelsh({"--memory", folder.file("commands.kvel")});
  EXPECT_EQ(done.out, only_text(guide(), "output"));
  EXPECT_EQ(done.err, folder.file(only_text(guide(), "error")));
  EXPECT_EQ(done.status, 1);
}

}  // namespace
}  // namespace kvel::test::guide_test
