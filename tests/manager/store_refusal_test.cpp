// Files that are refused, each with its fault and its words, and left as they are with all that lies beside them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_refusal_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using namespace std::string_literals;
namespace fs = std::filesystem;

class StoreRefusal : public ::testing::Test {
 protected:
  // Opens the store, which must be refused with these words after "store PATH: ".
  void expect_refused(StoreFault fault, const std::string& words) const {
    const FolderBytes before = folder.bytes();
    const auto store = SqliteStore::open(path);
    ASSERT_FALSE(store);
    EXPECT_EQ(store.error().fault, fault);
    EXPECT_EQ(store.error().message, "store " + path.native() + ": " + words);
    EXPECT_TRUE(folder.bytes() == before) << "the folder has changed";
  }

  void make_store(int records = 3) const {
    const auto store = open_store(path);
    for (int index = 0; index < records; ++index)
      ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(index), R"({"type":0,"match_all":true})")}));
  }

  void change_byte(std::size_t offset, char byte) const {
    std::string content = read_file(path);
    content.at(offset) = byte;
    write_file(path, content);
  }

  // Runs SQL on the store past the store's own code.
  void run_sql(const std::string& sql) const {
    sqlite3* connection = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << error;
    sqlite3_close(connection);
  }

  Folder folder;
  fs::path path = folder / "kvel.db";
};

constexpr const char* kDamagedAdvice =
    "; it was left as it is: put a sound copy in its place, or move it away to start anew";

TEST_F(StoreRefusal, SecondOpener) {
  const auto first = open_store(path);
  ASSERT_TRUE(commit(*first, {put("web", "{}")}));
  const auto second = SqliteStore::open(path);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().fault, StoreFault::busy);
  EXPECT_EQ(second.error().message,
            "store " + path.native() +
                ": it is in use; only one process can have it open, which may be a kvelmgrd that shells connect to");
  ASSERT_TRUE(commit(*first, {put("mail", "{}")}));
  EXPECT_THAT(*load(*first), SizeIs(2));
}

TEST_F(StoreRefusal, UsedByAnotherProgram) {
  make_store();
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "SELECT * FROM objects", nullptr, nullptr, nullptr), SQLITE_OK);
  const auto store = SqliteStore::open(path);
  ASSERT_FALSE(store);
  EXPECT_EQ(store.error().fault, StoreFault::busy);
  sqlite3_close(other);
  EXPECT_THAT(records_in(path), SizeIs(3));
}

TEST_F(StoreRefusal, Directory) {
  fs::create_directory(path);
  expect_refused(StoreFault::not_a_file, "this is a directory; name a file");
}

TEST_F(StoreRefusal, NamesThatAreNoFile) {
  EXPECT_EQ(SqliteStore::open("").error().fault, StoreFault::not_a_file);
  EXPECT_EQ(SqliteStore::open(folder / "").error().fault, StoreFault::not_a_file);
  EXPECT_EQ(SqliteStore::open("/dev/null").error().fault, StoreFault::not_a_file);
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(SqliteStore::open(folder / "pipe").error().message,
            "store " + (folder / "pipe").native() + ": this is not a file; name a file");
}

TEST_F(StoreRefusal, FolderThatIsAFile) {
  write_file(folder / "file", "x");
  const auto store = SqliteStore::open(folder / "file/kvel.db");
  ASSERT_FALSE(store);
  EXPECT_EQ(store.error().fault, StoreFault::no_access);
  EXPECT_EQ(store.error().message, "store " + (folder / "file/kvel.db").native() +
                                       ": its folder cannot be used: Not a directory; check the path and its "
                                       "permissions");
}

TEST_F(StoreRefusal, FileMarkedReadOnly) {
  make_store();
  fs::permissions(path, fs::perms::owner_read);
  expect_refused(StoreFault::read_only, "the file is read-only; make it writable, or name another file");
}

TEST_F(StoreRefusal, FolderMarkedReadOnly) {
  make_store();
  fs::permissions(folder.path(), fs::perms::owner_read | fs::perms::owner_exec);
  expect_refused(StoreFault::read_only, "its folder is read-only; make it writable, or name another file");
  path = folder / "new.db";
  expect_refused(StoreFault::read_only, "its folder is read-only; make it writable, or name another file");
  fs::permissions(folder.path(), fs::perms::owner_all);
}

// What belongs to somebody else. Only root can become another user to try it.
TEST_F(StoreRefusal, OfAnotherUser) {
  make_store();
  if (::geteuid() != 0) GTEST_SKIP() << "needs root";
  constexpr uid_t kNobody = 65534;
  fs::permissions(folder.path(), fs::perms::all);
  fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::others_read);
  ASSERT_EQ(::seteuid(kNobody), 0);
  const auto readable = SqliteStore::open(path);
  ASSERT_EQ(::seteuid(0), 0);
  fs::permissions(path, fs::perms::owner_all);
  ASSERT_EQ(::seteuid(kNobody), 0);
  const auto unreadable = SqliteStore::open(path);
  ASSERT_EQ(::seteuid(0), 0);
  ASSERT_FALSE(readable);
  EXPECT_EQ(readable.error().fault, StoreFault::read_only);
  ASSERT_FALSE(unreadable);
  EXPECT_EQ(unreadable.error().fault, StoreFault::no_access);
  EXPECT_EQ(unreadable.error().message, "store " + path.native() +
                                            ": it cannot be opened: Permission denied; check the path and its "
                                            "permissions");
}

TEST_F(StoreRefusal, TextFile) {
  write_file(path, "class-map match-any web\n");
  expect_refused(StoreFault::damaged, "this is not a store of this system"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, CutOffInItsHeader) {
  make_store();
  fs::resize_file(path, 99);
  expect_refused(StoreFault::damaged, "it is damaged: cut off in its header"s + kDamagedAdvice);
  fs::resize_file(path, 15);
  expect_refused(StoreFault::damaged, "this is not a store of this system"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, CutOffAnywhere) {
  make_store(200);
  const FolderBytes sound = folder.bytes();
  const std::size_t size = sound.at("kvel.db").size();
  ASSERT_GT(size, 20000U);
  for (std::size_t length = 1; length < size; length += 509) {
    folder.restore({{"kvel.db", sound.at("kvel.db").substr(0, length)}});
    const FolderBytes before = folder.bytes();
    const auto store = SqliteStore::open(path);
    ASSERT_FALSE(store) << length;
    EXPECT_EQ(store.error().fault, StoreFault::damaged) << store.error().message;
    ASSERT_TRUE(folder.bytes() == before) << length;
  }
}

TEST_F(StoreRefusal, NewerVersion) {
  make_store();
  change_byte(63, 4);
  expect_refused(StoreFault::newer,
                 "written by a newer version (format 4, this version reads 3); use that version, or name another file");
}

TEST_F(StoreRefusal, NoVersion) {
  make_store();
  change_byte(63, 0);
  expect_refused(StoreFault::damaged, "it is damaged: no format 0 exists"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, AnotherProgramsDatabase) {
  make_store();
  change_byte(68, 'k');
  expect_refused(StoreFault::foreign, "this is a database of another program; name another file");
}

TEST_F(StoreRefusal, OrdinaryDatabase) {
  run_sql("CREATE TABLE notes (text)");
  expect_refused(StoreFault::foreign, "this is a database of another program; name another file");
}

TEST_F(StoreRefusal, OtherTables) {
  make_store();
  run_sql("CREATE TABLE notes (text)");
  expect_refused(StoreFault::damaged, "it is damaged: its tables are not those of this format"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, UnreadableSchema) {
  make_store();
  run_sql("PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql = 'CREATE TABLE nonsense('");
  const FolderBytes before = folder.bytes();
  const auto store = SqliteStore::open(path);
  ASSERT_FALSE(store);
  EXPECT_EQ(store.error().fault, StoreFault::damaged);
  EXPECT_TRUE(folder.bytes() == before);
}

TEST_F(StoreRefusal, APartWithoutItsObject) {
  make_store(1);
  ASSERT_TRUE(commit(*open_store(path), {put("object-0", R"({"match":"any"})", 7)}));
  run_sql("DELETE FROM objects; UPDATE parts SET object = 12");
  const auto records = load(*open_store(path));
  ASSERT_FALSE(records);
  EXPECT_EQ(records.error().fault, StoreFault::damaged);
  EXPECT_EQ(records.error().message, "store " + path.native() +
                                         ": it is damaged: the object of a record is missing (object 12, item 7)" +
                                         kDamagedAdvice);
}

TEST_F(StoreRefusal, NoHead) {
  make_store(1);
  run_sql("DELETE FROM head");
  expect_refused(StoreFault::damaged, "it is damaged: it has no head"s + kDamagedAdvice);
  run_sql("INSERT INTO head VALUES (-1, 1)");
  expect_refused(StoreFault::damaged, "it is damaged: its head is none"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, RecordsChangedByHand) {
  make_store(1);
  ASSERT_TRUE(commit(*open_store(path), {put("object-0", R"({"match":"any"})", 7)}));
  for (const char* sql :
       {"UPDATE objects SET body = '{\"type\":1,\"match_all\":true}'", "UPDATE objects SET kind = 4",
        "UPDATE objects SET name = 'other'", "UPDATE objects SET context = 65536", "UPDATE objects SET kind = 261",
        "UPDATE objects SET checksum = checksum + 1", "UPDATE objects SET number = 1; UPDATE parts SET object = 1; ",
        "UPDATE parts SET body = '{}'", "UPDATE parts SET item = 8", "UPDATE parts SET item = -1",
        "UPDATE parts SET checksum = checksum + 1"}) {
    const FolderBytes sound = folder.bytes();
    run_sql(sql);
    const FolderBytes before = folder.bytes();
    {
      const auto store = open_store(path);
      const auto records = load(*store);
      ASSERT_FALSE(records) << sql;
      EXPECT_EQ(records.error().fault, StoreFault::damaged);
      EXPECT_THAT(records.error().message, ::testing::HasSubstr("has been altered (checksum)"));
    }
    EXPECT_TRUE(folder.bytes() == before) << sql;
    folder.restore(sound);
  }
  EXPECT_THAT(records_in(path), SizeIs(2));
}

TEST_F(StoreRefusal, RefusedByItsReader) {
  make_store(2);
  const FolderBytes before = folder.bytes();
  {
    const auto store = open_store(path);
    const auto loaded = store->load(
        [](const StoreKey&, std::string_view) { return tl::expected<void, std::string>(tl::unexpect, "bad record"); },
        all_is_well);
    ASSERT_FALSE(loaded);
    EXPECT_EQ(loaded.error().fault, StoreFault::damaged);
    EXPECT_EQ(loaded.error().message, "store " + path.native() + ": it is damaged: bad record" + kDamagedAdvice);
  }
  EXPECT_TRUE(folder.bytes() == before);
}

TEST_F(StoreRefusal, LogWithoutItsFile) {
  write_file(folder / "kvel.db-wal", "a log");
  expect_refused(StoreFault::damaged, "it is missing or empty, but its log is there"s + kDamagedAdvice);
  write_file(path, "");
  expect_refused(StoreFault::damaged, "it is missing or empty, but its log is there"s + kDamagedAdvice);
}

TEST_F(StoreRefusal, SomebodyElsesJournal) {
  make_store();
  write_file(folder / "kvel.db-journal", "a journal");
  expect_refused(StoreFault::damaged,
                 "another program's unfinished change (a -journal file) lies beside it"s + kDamagedAdvice);
}

// No changed byte gives other records than were written: it is found, or it lies where nothing is.
TEST_F(StoreRefusal, AnyChangedByte) {
  make_store(40);
  const FolderBytes sound = folder.bytes();
  const Records records = records_in(path);
  ASSERT_THAT(records, SizeIs(40));
  const std::string& content = sound.at("kvel.db");
  int refused = 0;
  for (std::size_t offset = 0; offset < content.size(); offset += offset < 200 ? 1 : 17) {
    for (const unsigned mask : {0x01U, 0xffU}) {
      std::string changed = content;
      changed[offset] = static_cast<char>(static_cast<unsigned char>(changed[offset]) ^ mask);
      folder.restore({{"kvel.db", changed}});
      const FolderBytes before = folder.bytes();
      const Records found = records_in(path);
      if (found == records) continue;
      ASSERT_THAT(found, SizeIs(1)) << offset;
      ASSERT_EQ(std::get<0>(found.front()), -1) << offset;
      ASSERT_TRUE(folder.bytes() == before) << offset;
      ++refused;
    }
  }
  EXPECT_GT(refused, 300);
}

// A store whose process was killed: the file and its log, copied while it is open.
class KilledStore : public StoreRefusal {
 protected:
  void SetUp() override {
    const auto store = open_store(path);
    for (int index = 0; index < 30; ++index)
      ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(100 + index), R"({"type":9})")}));
    killed = folder.bytes();
    ASSERT_THAT(killed.at("kvel.db-wal"), Not(IsEmpty()));
  }

  FolderBytes killed;
};

TEST_F(KilledStore, OpensWithEverythingInIt) {
  folder.restore(killed);
  EXPECT_THAT(records_in(path), SizeIs(30));
}

TEST_F(KilledStore, ARefusedOneKeepsItsLog) {
  folder.restore(killed);
  {
    const auto store = open_store(path);
    EXPECT_FALSE(store->load(
        [](const StoreKey&, std::string_view) { return tl::expected<void, std::string>(tl::unexpect, "type 9"); },
        all_is_well));
  }
  EXPECT_TRUE(folder.bytes() == killed);
}

TEST_F(KilledStore, ACutLogLosesOnlyItsEnd) {
  const std::string& log = killed.at("kvel.db-wal");
  std::size_t most = 0;
  for (std::size_t length = 0; length <= log.size(); length += 1031) {
    folder.restore({{"kvel.db", killed.at("kvel.db")}, {"kvel.db-wal", log.substr(0, length)}});
    const Records records = records_in(path);
    ASSERT_LE(records.size(), 30U);
    ASSERT_GE(records.size(), most);
    most = records.size();
    for (std::size_t index = 0; index < records.size(); ++index)
      ASSERT_EQ(std::get<2>(records[index]), "object-" + std::to_string(100 + index));
  }
  EXPECT_GE(most, 29U);
}

}  // namespace
}  // namespace kvel::manager::testing::store_refusal_test
