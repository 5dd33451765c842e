// Commits that cannot be written: nothing changes, and the next one works when the cause is gone.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_failure_test {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

namespace fs = std::filesystem;

std::string name(std::size_t index) { return fmt::format("object-{:05}", index); }

// Commits records of a kilobyte until one is refused; returns how many went in.
std::size_t fill(Store& store, StoreFault expected) {
  const std::string body(1000, 'b');
  for (std::size_t count = 0; count < 10000; ++count) {
    const auto committed = commit(store, {put(name(count), body)});
    if (committed) continue;
    EXPECT_EQ(committed.error().fault, expected) << committed.error().message;
    return count;
  }
  ADD_FAILURE() << "the store never filled up";
  return 0;
}

class StoreFailure : public ::testing::Test {
 protected:
  Folder folder;
  fs::path path = folder / "kvel.db";
};

TEST_F(StoreFailure, FullFile) {
  std::size_t count = 0;
  {
    const auto store = open_store(path, {.page_limit = 20});
    count = fill(*store, StoreFault::full);
    EXPECT_GT(count, 10U);
    EXPECT_THAT(*load(*store), SizeIs(count));
    // A transaction of several changes is refused as a whole.
    const auto refused = commit(*store, {put("a-small-one", "{}"), put("too-much", std::string(30000, 'b'))});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().fault, StoreFault::full);
    EXPECT_THAT(refused.error().message, HasSubstr("free some space and try again"));
    EXPECT_THAT(*load(*store), SizeIs(count));
    // Space again.
    ASSERT_TRUE(commit(*store, {erase(name(0)), erase(name(1)), erase(name(2)), erase(name(3)), erase(name(4))}));
    ASSERT_TRUE(commit(*store, {put(name(0), "{}"), put(name(1), "{}")}));
  }
  EXPECT_THAT(records_in(path), SizeIs(count - 3));
}

// The kernel refuses to let any file grow further: an input/output error in the middle of a commit.
TEST_F(StoreFailure, FileSizeLimit) {
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  std::size_t count = 0;
  {
    const auto store = open_store(path);
    ASSERT_TRUE(commit(*store, {put("before", "{}")}));
    const rlimit low{200'000, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &low), 0);
    count = fill(*store, StoreFault::failed);
    const auto again = commit(*store, {put("again", "{}"), put("more", std::string(9000, 'm'))});
    const auto records = load(*store);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    EXPECT_GT(count, 5U);
    ASSERT_FALSE(again);
    EXPECT_THAT(*records, SizeIs(count + 1));
    ASSERT_TRUE(commit(*store, {put("after", "{}"), put("more", std::string(9000, 'm'))}));
    EXPECT_THAT(*load(*store), SizeIs(count + 3));
  }
  std::signal(SIGXFSZ, handler);
  EXPECT_THAT(records_in(path), SizeIs(count + 3));
}

// A full file system, where one can be mounted.
class FullDisk : public ::testing::Test {
 protected:
  void SetUp() override {
    if (::mount("none", folder.path().c_str(), "tmpfs", 0, "size=256k") != 0) GTEST_SKIP() << "needs root";
    mounted = true;
  }
  void TearDown() override {
    if (mounted) {
      EXPECT_EQ(::umount(folder.path().c_str()), 0);
    }
  }

  Folder folder;
  fs::path path = folder / "kvel.db";
  bool mounted = false;
};

TEST_F(FullDisk, RefusesAndRecovers) {
  write_file(folder / "ballast", std::string(40000, 'x'));
  std::size_t count = 0;
  {
    const auto store = open_store(path);
    count = fill(*store, StoreFault::full);
    EXPECT_THAT(*load(*store), SizeIs(count));
    EXPECT_FALSE(commit(*store, {put("one", std::string(5000, 'x')), put("two", std::string(5000, 'x'))}));
    fs::remove(folder / "ballast");
    ASSERT_TRUE(commit(*store, {put("one", "{}"), put("two", "{}")}));
    EXPECT_THAT(*load(*store), SizeIs(count + 2));
  }
  EXPECT_THAT(records_in(path), SizeIs(count + 2));
}

TEST_F(FullDisk, ANewStoreIsMadeWholeOrNotAtAll) {
  std::string ballast(256 * 1024, 'x');
  while (true) {
    try {
      write_file(folder / "ballast", ballast);
      break;
    } catch (const std::exception&) {
      ballast.resize(ballast.size() - 4096);
    }
  }
  const FolderBytes before = folder.bytes();
  const auto refused = SqliteStore::open(path);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().fault, StoreFault::full) << refused.error().message;
  EXPECT_TRUE(folder.bytes() == before);
  fs::remove(folder / "ballast");
  EXPECT_THAT(records_in(path), SizeIs(0));
}

TEST_F(FullDisk, ReadOnlyFileSystem) {
  { ASSERT_TRUE(commit(*open_store(path), {put("web", "{}")})); }
  ASSERT_EQ(::mount("none", folder.path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const auto refused = SqliteStore::open(path);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().fault, StoreFault::read_only) << refused.error().message;
  ASSERT_EQ(::mount("none", folder.path().c_str(), nullptr, MS_REMOUNT, nullptr), 0);
  EXPECT_THAT(records_in(path), SizeIs(1));
}

}  // namespace
}  // namespace kvel::manager::testing::store_failure_test
