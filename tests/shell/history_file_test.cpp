// The history of all prompts of a user: lines added, bounded, and what a disk that is full leaves of it.
#include "shell/editor/history_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdint>

#include "tests/shell/process.h"

namespace kvel::shell::history_file_test {
namespace {

using kvel::test::read_file;
using kvel::test::TemporaryFolder;

TEST(HistoryFile, KeepsLinesAfterOneHeading) {
  const TemporaryFolder folder;
  const HistoryFile file(folder.file("kvel/history"));
  EXPECT_TRUE(file.append("show version\n"));
  EXPECT_TRUE(file.append("class-map web\n"));
  EXPECT_EQ(read_file(folder.file("kvel/history")), "_HiStOrY_V2_\nshow\\040version\\012\nclass-map\\040web\\012\n");
}

TEST(HistoryFile, ALineThatFindsNoSpaceLeavesItAsItWas) {
  const TemporaryFolder folder;
  const HistoryFile file(folder.file("history"));
  ASSERT_TRUE(file.append("show version\n"));
  const std::string before = read_file(folder.file("history"));

  const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit old_limit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old_limit), 0);
  const rlimit limit{before.size() + 5, old_limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  EXPECT_FALSE(file.append("class-map web\n"));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old_limit), 0);
  std::signal(SIGXFSZ, old_handler);

  EXPECT_EQ(read_file(folder.file("history")), before);
  EXPECT_TRUE(file.append("class-map web\n"));
  EXPECT_EQ(read_file(folder.file("history")), before + "class-map\\040web\\012\n");
}

TEST(HistoryFile, TrimsTheOldestLines) {
  const TemporaryFolder folder;
  const HistoryFile file(folder.file("history"));
  for (int number = 0; number < 1003; ++number)
    ASSERT_TRUE(file.append("! " + std::to_string(number) + "\n"));
  file.trim();
  const std::string kept = read_file(folder.file("history"));
  EXPECT_TRUE(kept.starts_with("_HiStOrY_V2_\n!\\0403\\012\n!\\0404\\012\n")) << kept.substr(0, 60);
  EXPECT_TRUE(kept.ends_with("\n!\\0401002\\012\n"));
}

TEST(HistoryFile, WithoutAPathNothingIsKept) {
  const HistoryFile file{std::filesystem::path()};
  EXPECT_TRUE(file.append("show version\n"));
  file.trim();
}

}  // namespace
}  // namespace kvel::shell::history_file_test
