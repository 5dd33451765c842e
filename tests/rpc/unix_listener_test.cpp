// The socket file: its mode, what it replaces and what it refuses to.
#include "rpc/server/unix_listener.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/rpc/support.h"

namespace kvel::rpc::testing::unix_listener_test {
namespace {

namespace fs = std::filesystem;

class Listener : public ::testing::Test {
 protected:
  static mode_t mode_of(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode : 0;
  }
  static tl::expected<UnixListener, std::string> open(const std::string& path) {
    return UnixListener::open(*parse_address(path));
  }
  static std::string refusal(const std::string& path) {
    auto listener = open(path);
    return listener ? "" : listener.error();
  }

  TempFolder folder_;
  std::string path_ = folder_.file("manager");
};

TEST_F(Listener, IsForOwnerAndGroupWhateverTheUmask) {
  for (const mode_t mask : {0000, 0022, 0077, 0777}) {
    const mode_t before = ::umask(mask);
    const auto listener = open(path_);
    ::umask(before);
    ASSERT_TRUE(listener) << listener.error();
    EXPECT_EQ(mode_of(path_), static_cast<mode_t>(S_IFSOCK | 0660)) << mask;
  }
}

TEST_F(Listener, TakesItsFileWithIt) {
  {
    const auto listener = open(path_);
    ASSERT_TRUE(listener);
    EXPECT_TRUE(fs::exists(path_));
  }
  EXPECT_FALSE(fs::exists(path_));
}

TEST_F(Listener, LeavesAFileThatHasTakenItsPlace) {
  {
    const auto listener = open(path_);
    ASSERT_TRUE(listener);
    fs::remove(path_);
    std::ofstream(path_) << "another";
  }
  EXPECT_TRUE(fs::is_regular_file(path_));
}

TEST_F(Listener, ReplacesTheSocketOfADeadServer) {
  (void)listening_socket(path_, 1);
  ASSERT_TRUE(fs::is_socket(path_));
  const auto listener = open(path_);
  ASSERT_TRUE(listener) << listener.error();
  EXPECT_NO_THROW((void)PlainSocket::connect(path_));
}

TEST_F(Listener, RefusesThePathOfALiveServer) {
  const auto listener = open(path_);
  ASSERT_TRUE(listener);
  EXPECT_EQ(refusal(path_), "cannot listen on " + path_ + ": a server is already listening there");
  EXPECT_NO_THROW((void)PlainSocket::connect(path_));
}

TEST_F(Listener, RefusesThePathOfALiveServerWithAFullQueue) {
  const Descriptor listener = listening_socket(path_, 0);
  const PlainSocket waiting = PlainSocket::connect(path_);
  EXPECT_EQ(refusal(path_), "cannot listen on " + path_ + ": a server is already listening there");
}

TEST_F(Listener, RefusesEveryOtherKindOfFile) {
  const std::string expected = "cannot listen on " + path_ + ": something else than a socket has this name";
  std::ofstream(path_) << "text";
  EXPECT_EQ(refusal(path_), expected);
  EXPECT_TRUE(fs::is_regular_file(path_));
  fs::remove(path_);

  fs::create_directory(path_);
  EXPECT_EQ(refusal(path_), expected);
  EXPECT_TRUE(fs::is_directory(path_));
  fs::remove(path_);

  (void)listening_socket(folder_.file("other"), 1);
  fs::create_symlink(folder_.file("other"), path_);
  EXPECT_EQ(refusal(path_), expected);
  EXPECT_TRUE(fs::is_symlink(path_));
}

TEST_F(Listener, RefusesAFolderThatIsNotThere) {
  EXPECT_EQ(refusal(folder_.file("none/manager")),
            "cannot listen on " + folder_.file("none/manager") + ": cannot open the folder: No such file or directory");
  std::ofstream(path_) << "text";
  EXPECT_EQ(refusal(path_ + "/manager"),
            "cannot listen on " + path_ + "/manager: cannot open the folder: Not a directory");
}

TEST_F(Listener, TakesARelativePath) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  {
    const auto listener = open("manager");
    EXPECT_TRUE(listener);
    EXPECT_TRUE(fs::is_socket(path_));
  }
  fs::current_path(before);
}

TEST_F(Listener, WaitsItsTurnInTheFolder) {
  const Descriptor folder(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
  ASSERT_EQ(::flock(folder.get(), LOCK_EX), 0);
  int pauses = 0;
  const auto listener = UnixListener::open(*parse_address(path_), [&] {
    EXPECT_FALSE(fs::exists(path_));
    if (++pauses == 3) ::flock(folder.get(), LOCK_UN);
  });
  EXPECT_TRUE(listener) << listener.error();
  EXPECT_EQ(pauses, 3);
}

TEST_F(Listener, GivesUpOnAFolderThatIsNeverFree) {
  const Descriptor folder(::open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY));
  ASSERT_EQ(::flock(folder.get(), LOCK_EX), 0);
  int pauses = 0;
  const auto listener = UnixListener::open(*parse_address(path_), [&] { ++pauses; });
  ASSERT_FALSE(listener);
  EXPECT_EQ(listener.error(), "cannot listen on " + path_ + ": the folder is locked by another process");
  EXPECT_EQ(pauses, 50);
  EXPECT_FALSE(fs::exists(path_));
}

}  // namespace
}  // namespace kvel::rpc::testing::unix_listener_test
