// Backups: whole, a store of their own, and nothing where they cannot be made.
#include "manager/store/store_backup.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "manager/store/log_mark.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_backup_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Key;
using ::testing::SizeIs;

namespace fs = std::filesystem;

class StoreBackup : public ::testing::Test {
 protected:
  void make_store(int records) const {
    const auto store = open_store(path);
    for (int index = 0; index < records; ++index)
      ASSERT_TRUE(commit(*store, {put(fmt::format("object-{:04}", index), "{}")}));
  }

  Folder folder;
  Folder elsewhere;
  fs::path path = folder / "kvel.db";
  fs::path copy = elsewhere / "copy.db";
};

TEST_F(StoreBackup, OfAStoppedStore) {
  make_store(40);
  const FolderBytes before = folder.bytes();
  ASSERT_TRUE(back_up_store(path, copy));
  EXPECT_TRUE(folder.bytes() == before);
  EXPECT_THAT(elsewhere.bytes(), ElementsAre(Key("copy.db")));
  EXPECT_EQ(mode_of(copy), 0600U);
  EXPECT_EQ(records_in(copy), records_in(path));
  EXPECT_THAT(records_in(copy), SizeIs(40));
}

TEST_F(StoreBackup, OfAKilledStore) {
  {
    const auto store = open_store(path);
    for (int index = 0; index < 30; ++index)
      ASSERT_TRUE(commit(*store, {put(fmt::format("object-{:04}", index), std::string(3000, 'b'))}));
    const FolderBytes killed = folder.bytes();
    EXPECT_EQ(killed.size(), 3U);
    elsewhere.restore(killed);
  }
  const FolderBytes before = elsewhere.bytes();
  ASSERT_TRUE(back_up_store(elsewhere / "kvel.db", folder / "copy"));
  EXPECT_TRUE(elsewhere.bytes() == before);
  EXPECT_THAT(records_in(folder / "copy"), SizeIs(30));

  // Not of one that has lost changes.
  FolderBytes damaged = before;
  damaged["kvel.db-wal"][200'000 % damaged["kvel.db-wal"].size()] ^= 1;
  elsewhere.restore(damaged);
  const auto refused = back_up_store(elsewhere / "kvel.db", folder / "other");
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().fault, StoreFault::incomplete);
  EXPECT_FALSE(fs::exists(folder / "other"));
}

// The backup is a store of its own: what lies beside the other is not taken for its own.
TEST_F(StoreBackup, PutInThePlaceOfAKilledStore) {
  make_store(5);
  ASSERT_TRUE(back_up_store(path, copy));
  FolderBytes killed;
  {
    const auto store = open_store(path);
    ASSERT_TRUE(commit(*store, {put("later", "{}")}));
    killed = folder.bytes();
  }
  killed["kvel.db"] = read_file(copy);
  folder.restore(killed);
  EXPECT_THAT(SqliteStore::open(path).error().message, HasSubstr("is that of another store"));
  killed.erase("kvel.db-wal");
  folder.restore(killed);
  EXPECT_THAT(records_in(path), SizeIs(5));
}

// Many copies are made while a process writes, moves its log and is stopped and started again. Every one holds all
// changes up to some moment, and none that came before is missing from a later one.
TEST_F(StoreBackup, BesideAProcessThatWrites) {
  make_store(1);
  const pid_t child = ::fork();
  if (child == 0) {
    for (int round = 0;; ++round) {
      const auto store = SqliteStore::open(path);
      for (int index = 0; store && index < 60; ++index) {
        const std::string body = std::to_string(round * 60 + index);
        // Two records in one transaction, and much to be moved.
        const std::string bulk(100'000, 'b');
        const std::string bulk_name = fmt::format("bulk-{}", index % 7);
        if (!commit(**store, {put("first", body), put("second", body), put(bulk_name, bulk)})) {
          ::_exit(1);
        }
        if (index % 20 == 19) (void)(*store)->settle();
      }
    }
  }
  int made = 0;
  int last = -1;
  for (int attempt = 0; attempt < 30; ++attempt) {
    const fs::path one = elsewhere / fmt::format("copy-{}", attempt);
    const auto done = back_up_store(path, one);
    if (!done) {
      EXPECT_EQ(done.error().fault, StoreFault::busy) << done.error().message;
      continue;
    }
    ++made;
    int first = -1;
    int second = -1;
    for (const Record& record : records_in(one)) {
      ASSERT_NE(std::get<0>(record), -1) << std::get<2>(record);
      if (std::get<2>(record) == "first") first = std::stoi(std::get<4>(record));
      if (std::get<2>(record) == "second") second = std::stoi(std::get<4>(record));
    }
    ASSERT_EQ(first, second);
    ASSERT_GE(first, last);
    last = first;
    fs::remove(one);
  }
  ::kill(child, SIGKILL);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status)) << "a change was refused";
  EXPECT_GT(made, 10);
  EXPECT_GT(last, 60);
  EXPECT_THAT(elsewhere.bytes(), SizeIs(0));
}

TEST_F(StoreBackup, TheFileStaysAsItIsAsLongAsOneIsMade) {
  FolderBytes left;
  MarkFile held;
  {
    const auto store = open_store(path);
    ASSERT_TRUE(load(*store));
    const std::string before = read_file(path);
    held = MarkFile::open(path.native() + "-mark");
    ASSERT_TRUE(held.try_lock_shared());
    for (int index = 0; index < 30; ++index)
      ASSERT_TRUE(commit(*store, {put(fmt::format("object-{}", index), std::string(200'000, 'b'))}));
    EXPECT_EQ(store->settle().error().fault, StoreFault::busy);
    EXPECT_EQ(read_file(path), before);
    held.unlock();
    ASSERT_TRUE(store->settle());
    EXPECT_NE(read_file(path), before);
    // Nor does a stop wait for it.
    ASSERT_TRUE(held.try_lock_shared());
    ASSERT_TRUE(commit(*store, {put("last", "{}")}));
    left = folder.bytes();
  }
  EXPECT_TRUE(folder.bytes() == left);
  held.unlock();
  EXPECT_THAT(records_in(path), SizeIs(31));
  EXPECT_THAT(folder.bytes(), ElementsAre(Key("kvel.db")));
}

TEST_F(StoreBackup, ReplacesNothingAndMakesNoFolders) {
  make_store(2);
  write_file(copy, "precious");
  EXPECT_EQ(back_up_store(path, copy).error().message,
            copy.native() + ": it exists already, and a backup replaces no file; name a new one");
  EXPECT_EQ(back_up_store(path, path).error().message,
            path.native() + ": it exists already, and a backup replaces no file; name a new one");
  EXPECT_THAT(back_up_store(path, elsewhere / "no/copy").error().message, HasSubstr("its folder does not exist"));
  EXPECT_THAT(back_up_store(folder / "none.db", elsewhere / "b").error().message,
              HasSubstr("store " + (folder / "none.db").native() + ": it cannot be opened: No such file"));
  write_file(folder / "text", std::string(5000, 'x'));
  EXPECT_THAT(back_up_store(folder / "text", elsewhere / "b").error().message,
              HasSubstr("store " + (folder / "text").native() + ": "));
  EXPECT_EQ(elsewhere.bytes(), (FolderBytes{{"copy.db", "precious"}}));
  EXPECT_THAT(folder.bytes(), ElementsAre(Key("kvel.db"), Key("text")));
}

TEST_F(StoreBackup, NotOfADamagedStore) {
  make_store(40);
  std::string content = read_file(path);
  content[content.find("object-0020") + 3] = 'X';
  write_file(path, content);
  const auto refused = back_up_store(path, copy);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().fault, StoreFault::damaged);
  EXPECT_THAT(refused.error().message, HasSubstr("store " + path.native() + ": it is damaged: "));
  EXPECT_THAT(elsewhere.bytes(), SizeIs(0));
}

TEST_F(StoreBackup, LeavesNothingOnAFullDisk) {
  make_store(2000);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  for (rlim_t size = 0; size < fs::file_size(path); size += 16'384) {
    const rlimit low{size, limit.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &low), 0);
    const auto refused = back_up_store(path, copy);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    ASSERT_FALSE(refused) << size;
    EXPECT_THAT(refused.error().message, HasSubstr("the backup cannot be written"));
    ASSERT_THAT(elsewhere.bytes(), SizeIs(0));
  }
  std::signal(SIGXFSZ, handler);
  if (::mount("none", elsewhere.path().c_str(), "tmpfs", 0, "size=64k") != 0) return;  // needs root
  const auto refused = back_up_store(path, copy);
  EXPECT_FALSE(refused);
  if (!refused) {
    EXPECT_EQ(refused.error().fault, StoreFault::full) << refused.error().message;
  }
  EXPECT_THAT(elsewhere.bytes(), SizeIs(0));
  EXPECT_EQ(::umount(elsewhere.path().c_str()), 0);
}

}  // namespace
}  // namespace kvel::manager::testing::store_backup_test
