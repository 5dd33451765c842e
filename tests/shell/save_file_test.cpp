// Files written whole or not at all.
#include "shell/session/save_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
  EXPECT_EQ(save_file(folder.path(), "x").error(), std::strerror(EISDIR));
  EXPECT_EQ(save_file(folder.file("new/"), "x").error(), std::strerror(EISDIR));
  EXPECT_EQ(save_file(folder.file("missing/f"), "x").error(), std::strerror(ENOENT));
  EXPECT_EQ(save_file(folder.file("file/f"), "x").error(), std::strerror(ENOTDIR));
  EXPECT_EQ(save_file(folder.file(std::string(256, 'n')), "x").error(), std::strerror(ENAMETOOLONG));
  EXPECT_EQ(save_file("/proc/kvelsh", "x").error(), std::strerror(ENOENT));
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
  EXPECT_EQ(saved.error(), std::strerror(EFBIG));
  EXPECT_EQ(new_saved.error(), std::strerror(EFBIG));
  EXPECT_EQ(read_file(folder.file("f")), "old");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("f"));
}

// Nobody waits for the reader of a FIFO, and no device is written over.
TEST(SaveFile, WhatIsNoRegularFileIsRefused) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("fifo", folder.file("link"));
  for (const std::string& path :
       {folder.file("fifo"), folder.file("link"), std::string("/dev/null"), std::string("/dev/full")})
    EXPECT_EQ(save_file(path, "x").error(), "it is no regular file; give another name") << path;
  EXPECT_TRUE(std::filesystem::is_fifo(folder.file("fifo")));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("fifo", "link"));
}

TEST(SaveFile, AFileWithSeveralNamesIsRefused) {
  const TemporaryFolder folder;
  write_file(folder.file("f"), "old");
  std::filesystem::create_hard_link(folder.file("f"), folder.file("g"));
  EXPECT_EQ(save_file(folder.file("f"), "new").error(),
            "it has other names (hard links), which would keep the old content; give a new name");
  EXPECT_EQ(read_file(folder.file("f")), "old");
  EXPECT_EQ(read_file(folder.file("g")), "old");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("f", "g"));
}

TEST(SaveFile, ALinkToNothingYetStaysALink) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.file("d"));
  std::filesystem::create_symlink("d/to", folder.file("from"));
  std::filesystem::create_symlink("new", folder.file("d/to"));
  EXPECT_TRUE(save_file(folder.file("from"), "x"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("from")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file("d/to")));
  EXPECT_EQ(read_file(folder.file("d/new")), "x");
  std::filesystem::create_symlink("b", folder.file("a"));
  std::filesystem::create_symlink("a", folder.file("b"));
  EXPECT_EQ(save_file(folder.file("a"), "x").error(), std::strerror(ELOOP));
}

// What a killed shell left behind is in nobody's way.
TEST(SaveFile, TemporaryNamesAreNotTaken) {
  const TemporaryFolder folder;
  for (int attempt = 0; attempt < 100; ++attempt)
    write_file(folder.file(".kvelsh-save-" + std::to_string(getpid()) + "-" + std::to_string(attempt)), "");
  EXPECT_TRUE(save_file(folder.file("f"), "x"));
}

TEST(SaveFile, OwnerAndGroupAreKept) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  const TemporaryFolder folder;
  write_file(folder.file("f"), "old");
  ASSERT_EQ(chown(folder.file("f").c_str(), 1234, 2345), 0);
  ASSERT_EQ(chmod(folder.file("f").c_str(), 04755), 0);
  EXPECT_TRUE(save_file(folder.file("f"), "new"));
  struct stat info {};
  ASSERT_EQ(stat(folder.file("f").c_str(), &info), 0);
  EXPECT_EQ(info.st_uid, 1234U);
  EXPECT_EQ(info.st_gid, 2345U);
  EXPECT_EQ(mode_of(folder.file("f")), 04755U);
}

TEST(SaveFile, AFileWhoseOwnerCannotBeKeptIsRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only root becomes another user";
  const TemporaryFolder folder;
  write_file(folder.file("f"), "old");
  ASSERT_EQ(chmod(folder.path().c_str(), 0777), 0);
  const auto save_as_another = [&] {
    constexpr uid_t kAnother = 1234;
    if (setresuid(kAnother, kAnother, kAnother) != 0) std::_Exit(1);
    const auto saved = save_file(folder.file("f"), "new");
    std::fputs(saved ? "saved\n" : (saved.error() + "\n").c_str(), stderr);
    std::_Exit(0);
  };
  EXPECT_EXIT(save_as_another(), ::testing::ExitedWithCode(0),
              "^its owner and group could not be kept: Operation not permitted; give another name\n$");
  EXPECT_EQ(read_file(folder.file("f")), "old");
  EXPECT_THAT(files_in(folder.path()), UnorderedElementsAre("f"));
}

}  // namespace
}  // namespace kvel::shell::save_file_test
