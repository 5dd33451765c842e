// What others do to the files of an open store: no change is acknowledged that would not be there at the next start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_watch_test {
namespace {

using ::testing::SizeIs;

namespace fs = std::filesystem;

constexpr const char* kReplacedAdvice =
    "; no change can be stored: what is running is still whole, so save it (show running-config), then stop this "
    "process "
    "and put the right file in its place";

class StoreWatch : public ::testing::Test {
 protected:
  // Opens a store with two changes, does this to it, and expects changes to be refused from then on in these words. All
  // the files must then outlive the end as they are.
  void expect_noticed(const std::function<void()>& interfere, const std::string& words, bool kept_at_end = true) {
    SCOPED_TRACE(words);
    folder.restore({});
    FolderBytes left;
    {
      const auto store = open_store(path);
      ASSERT_TRUE(commit(*store, {put("web", "{}")}));
      ASSERT_TRUE(commit(*store, {put("mail", "{}")}));
      interfere();
      left = folder.bytes();
      for (int again = 0; again < 2; ++again) {
        const auto refused = commit(*store, {put("late", "{}")});
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().fault, StoreFault::replaced);
        EXPECT_EQ(refused.error().message, "store " + path.native() + ": " + words + kReplacedAdvice);
        const auto unsettled = store->settle();
        ASSERT_FALSE(unsettled);
        EXPECT_EQ(unsettled.error().fault, StoreFault::replaced);
      }
      EXPECT_TRUE(folder.bytes() == left) << "something has been written";
    }
    if (kept_at_end) {
      EXPECT_TRUE(folder.bytes() == left) << "something has been written at the end";
    }
  }

  Folder folder;
  fs::path path = folder / "kvel.db";
  fs::path log = folder / "kvel.db-wal";
  fs::path away = folder / "away";
};

TEST_F(StoreWatch, TheFileIsDeletedMovedOrReplaced) {
  expect_noticed([this] { fs::remove(path); }, "the file has been deleted or moved away");
  expect_noticed([this] { fs::rename(path, away); }, "the file has been deleted or moved away");
  expect_noticed(
      [this] {
        fs::copy_file(path, away);
        fs::rename(away, path);
      },
      "another file has been put in its place");
}

TEST_F(StoreWatch, TheFileIsWrittenTo) {
  expect_noticed([this] { fs::resize_file(path, 4096); }, "another program has written to the file");
  expect_noticed([this] { fs::resize_file(path, 0); }, "another program has written to the file");
  // A copy of the same size, put over it as cp does.
  expect_noticed(
      [this] {
        const std::string content = read_file(path);
        write_file(path, content);
      },
      "another program has written to the file");
}

TEST_F(StoreWatch, TheLogIsCutOff) {
  expect_noticed([this] { fs::resize_file(log, 4200); }, "its log has been cut off");
  EXPECT_THAT(records_in(path), SizeIs(1));  // refused
  expect_noticed([this] { fs::resize_file(log, 0); }, "its log has been cut off");
  EXPECT_EQ(SqliteStore::open(path).error().fault, StoreFault::incomplete);
}

// Everything is still there under no name, and is moved into the file at the end.
TEST_F(StoreWatch, TheLogIsDeletedMovedOrReplaced) {
  expect_noticed([this] { fs::remove(log); }, "its log has been deleted or moved away", false);
  EXPECT_THAT(records_in(path), SizeIs(2));
  expect_noticed(
      [this] {
        fs::remove(log);
        write_file(log, "somebody else's");
      },
      "another file has been put in the place of its log", false);
  EXPECT_EQ(read_file(log), "somebody else's");
  EXPECT_THAT(records_in(path), SizeIs(2));
}

TEST_F(StoreWatch, WhatIsPutBackIsTheStoreAgain) {
  const auto store = open_store(path);
  ASSERT_TRUE(commit(*store, {put("web", "{}")}));
  fs::rename(path, away);
  ASSERT_FALSE(commit(*store, {put("mail", "{}")}));
  EXPECT_THAT(*load(*store), SizeIs(1));
  fs::rename(away, path);
  ASSERT_TRUE(commit(*store, {put("mail", "{}")}));
}

// The store's own writing is nobody else's.
TEST_F(StoreWatch, NothingIsNoticedWhereNothingHappens) {
  const auto store = open_store(path);
  for (int index = 0; index < 60; ++index) {
    ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(index), std::string(100'000, 'b'))}));
    if (index % 7 == 0) {
      ASSERT_TRUE(store->settle());
    }
  }
  fs::permissions(path, fs::perms(0640));
  ASSERT_TRUE(commit(*store, {put("more", "{}")}));
}

}  // namespace
}  // namespace kvel::manager::testing::store_watch_test
