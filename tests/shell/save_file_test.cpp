// Files written whole or not at all.
#include "shell/session/save_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>

#include "tests/shell/process.h"

namespace kvel::shell::save_file_test {
namespace {

using kvel::test::read_file;
using kvel::test::TemporaryFolder;
using kvel::test::write_file;
using ::testing::UnorderedElementsAre;

std::vector<std::string> files_in(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename());
  return names;
}

mode_t mode_of(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(stat(path.c_str(), &info), 0);
  return info.st_mode & 07777;
}

TEST(SaveFile, MakesAFileAndReplacesIt) {
  const TemporaryFolder folder;
  const std::string bytes("any \0 byte \xFF\n", 13);
  EXPECT_TRUE(save_file(folder.file("f"), bytes));
  EXPECT_EQ(read_file(folder.file("f")), bytes);
  EXPECT_TRUE(save_file(folder.file("f"), ""));
  EXPECT_EQ(read_file(folder.file("f")), "");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("f"));
}

TEST(SaveFile, TheModeIsTheUsualOneOrThatOfTheFileBefore) {
  const TemporaryFolder folder;
  const mode_t mask = umask(027);
  EXPECT_TRUE(save_file(folder.file("new"), "x"));
  umask(mask);
  EXPECT_EQ(mode_of(folder.file("new")), 0640U);
  ASSERT_EQ(chmod(folder.file("new").c_str(), 0604), 0);
  EXPECT_TRUE(save_file(folder.file("new"), "y"));
  EXPECT_EQ(mode_of(folder.file("new")), 0604U);
}

TEST(SaveFile, FollowsLinks) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("d"));
  write_file(folder.file("d/real"), "old");
  std::filesystem::create_symlink("d/real", folder.file("link"));
  EXPECT_TRUE(save_file(folder.file("link"), "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("link")));
  EXPECT_EQ(read_file(folder.file("d/real")), "new");
  EXPECT_THAT(files_in(folder.file("d")), UnorderedElementsAre("real"));
}

TEST(SaveFile, ReportsWhyItCannot) {
  const TemporaryFolder folder;
  write_file(folder.file("file"), "x");
  EXPECT_EQ(save_file(folder.path(), "x").error(), EISDIR);
  EXPECT_EQ(save_file(folder.file("new/"), "x").error(), EISDIR);
  EXPECT_EQ(save_file(folder.file("missing/f"), "x").error(), ENOENT);
  EXPECT_EQ(save_file(folder.file("file/f"), "x").error(), ENOTDIR);
  EXPECT_EQ(save_file(folder.file(std::string(256, 'n')), "x").error(), ENAMETOOLONG);
  EXPECT_EQ(save_file("/dev/full", "x").error(), ENOSPC);
  EXPECT_EQ(save_file("/proc/kvelsh", "x").error(), ENOENT);
  EXPECT_EQ(read_file(folder.file("file")), "x");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("file"));
}

TEST(SaveFile, TheLongestNameIsTakenToo) {
  const TemporaryFolder folder;
  const std::string name(255, 'n');
  EXPECT_TRUE(save_file(folder.file(name), "x"));
  EXPECT_EQ(read_file(folder.file(name)), "x");
}

// The disk is full half way: the limit of a file's size simulates it.
TEST(SaveFile, AFileThatCannotBeWrittenToItsEndLeavesTheOldOneAndNoOther) {
  const TemporaryFolder folder;
  write_file(folder.file("f"), "old");
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{4096, limit.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto saved = save_file(folder.file("f"), std::string(100'000, 'x'));
  const auto new_saved = save_file(folder.file("new"), std::string(100'000, 'x'));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(saved.error(), EFBIG);
  EXPECT_EQ(new_saved.error(), EFBIG);
  EXPECT_EQ(read_file(folder.file("f")), "old");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("f"));
}

TEST(SaveFile, ADeviceIsWrittenAsItIs) {
  EXPECT_TRUE(save_file("/dev/null", "x"));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

}  // namespace
}  // namespace kvel::shell::save_file_test
