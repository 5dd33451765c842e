// The SQLite store as it should be used: what is committed is there again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "manager/store/null_store.h"
#include "manager/store/record_checksum.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

using namespace std::string_literals;
namespace fs = std::filesystem;

class SqliteStoreTest : public ::testing::Test {
 protected:
  Folder folder;
  fs::path path = folder / "kvel.db";
};

TEST_F(SqliteStoreTest, MakesFileAndFolders) {
  const fs::path deep = folder / "state/kvel/config.db";
  { open_store(deep, {.makes_folder = true}); }
  EXPECT_EQ(mode_of(folder / "state"), 0700U);
  EXPECT_EQ(mode_of(folder / "state/kvel"), 0700U);
  EXPECT_EQ(mode_of(deep), 0600U);
  EXPECT_THAT(records_in(deep), IsEmpty());
  EXPECT_THAT(folder.bytes(), ElementsAre(Key("state/"), Key("state/kvel/"), Key("state/kvel/config.db")));
}

TEST_F(SqliteStoreTest, ANewFileIsPrivateWhateverTheMask) {
  const mode_t mask = ::umask(0);
  { open_store(path); }
  ::umask(mask);
  EXPECT_EQ(mode_of(path), 0600U);
}

TEST_F(SqliteStoreTest, AnEmptyFileIsANewStore) {
  write_file(path, "");
  {
    const auto store = open_store(path);
    ASSERT_TRUE(commit(*store, {put("web", "{}")}));
  }
  EXPECT_THAT(records_in(path), ElementsAre(Record{0, 5, "web", 0, "{}"}));
}

TEST_F(SqliteStoreTest, AFolderIsMadeOnlyWhenThatIsAskedFor) {
  const fs::path deep = folder / "stat/kvel.db";
  const auto store = SqliteStore::open(deep);
  ASSERT_FALSE(store);
  EXPECT_EQ(store.error().fault, StoreFault::no_access);
  EXPECT_EQ(store.error().message,
            "store " + deep.native() + ": its folder does not exist; check the path and its permissions");
  EXPECT_THAT(folder.bytes(), IsEmpty());
}

// Of whatever name it is: what was not made here is not removed here.
TEST_F(SqliteStoreTest, MakingAStoreLeavesTheFilesOfOthersAlone) {
  const FolderBytes others{
      {"kvel.db.new", "somebody's"}, {"kvel.db.new-wal", "else's"}, {"kvel.db.new-journal", "files"}};
  folder.restore(others);
  { open_store(path); }
  EXPECT_THAT(records_in(path), IsEmpty());
  FolderBytes after = folder.bytes();
  EXPECT_EQ(after.erase("kvel.db"), 1U);
  EXPECT_EQ(after, others);
}

TEST_F(SqliteStoreTest, ADanglingLinkHasTheStoreMadeWhereItLeads) {
  fs::create_directory(folder / "far");
  fs::create_symlink("far/away", folder / "middle");
  fs::create_symlink("middle", path);
  { ASSERT_TRUE(commit(*open_store(path), {put("web", "{}")})); }
  EXPECT_THAT(folder.bytes(), ElementsAre(Pair("far/", ""), Key("far/away"), Pair("kvel.db", "-> middle"),
                                          Pair("middle", "-> far/away")));
  EXPECT_THAT(records_in(folder / "far/away"), ElementsAre(Record{0, 5, "web", 0, "{}"}));
  EXPECT_THAT(records_in(path), ElementsAre(Record{0, 5, "web", 0, "{}"}));
}

TEST_F(SqliteStoreTest, LinksThatLeadNowhereAreRefused) {
  const std::string missing = (folder / "no/such").native();
  fs::create_symlink(missing, path);
  EXPECT_EQ(SqliteStore::open(path, {.makes_folder = true}).error().message,
            "store " + missing + ": its folder does not exist; check the path and its permissions");
  fs::create_symlink("loop", folder / "loop");
  EXPECT_THAT(SqliteStore::open(folder / "loop").error().message, HasSubstr("Too many levels of symbolic links"));
  EXPECT_THAT(folder.bytes(), ElementsAre(Key("kvel.db"), Key("loop")));
}

TEST_F(SqliteStoreTest, WhatOthersMayWriteIsWarnedAbout) {
  const auto warnings = [this] {
    std::string all;
    (void)load(*open_store(path, {.warn = [&](std::string_view what) { all.append(what).append("\n"); }}));
    return all;
  };
  EXPECT_EQ(warnings(), "");
  fs::permissions(path, fs::perms(0660));
  EXPECT_EQ(warnings(), "store " + path.native() +
                            ": others than the owner may write the file (mode 0660); take that "
                            "away: chmod go-w " +
                            path.native() + "\n");
  fs::permissions(path, fs::perms(0644));
  fs::permissions(folder.path(), fs::perms(01777));
  EXPECT_EQ(warnings(), "store " + path.native() +
                            ": others than the owner may write its folder (mode 1777); take that "
                            "away: chmod go-w " +
                            folder.path().native() + "\n");
  fs::permissions(folder.path(), fs::perms(0755));
  EXPECT_EQ(warnings(), "");
}

TEST_F(SqliteStoreTest, TheHeadGoesOnWithEachCommit) {
  {
    const auto store = open_store(path);
    EXPECT_EQ(store->head(), (StoreHead{0, 1}));
    ASSERT_TRUE(store->commit({0, 5, std::vector{put("web", "{}")}}));
    EXPECT_EQ(store->head(), (StoreHead{1, 5}));
    const auto refused = store->commit({0, 9, std::vector{put("web", "[]")}});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().fault, StoreFault::conflict);
    EXPECT_EQ(refused.error().message, "store " + path.native() +
                                           ": it is at revision 1, not 0; somebody else has changed it: look at what "
                                           "is there now and try again");
    EXPECT_THAT(*load(*store), ElementsAre(Record{0, 5, "web", 0, "{}"}));
    ASSERT_TRUE(store->commit({1, 5, {}})) << "nothing to do";
    EXPECT_EQ(store->head(), (StoreHead{1, 5}));
  }
  EXPECT_EQ(open_store(path)->head(), (StoreHead{1, 5}));
}

TEST_F(SqliteStoreTest, ObjectsOfOneNameAreToldByTheirNumbers) {
  const auto store = open_store(path);
  const StoreKey first{0, 5, "web", 0, 1};
  const StoreKey second{0, 5, "web", 0, 2};
  ASSERT_TRUE(store->commit({0, 3, std::vector<StoreChange>{{first, "one"}, {{0, 5, "web", 10, 1}, "rule"}}}));
  ASSERT_TRUE(store->commit({1, 3, std::vector<StoreChange>{{first, std::nullopt}, {second, "two"}}}));
  EXPECT_THAT(*load(*store), ElementsAre(Record{0, 5, "web", 0, "two"}));
}

TEST_F(SqliteStoreTest, CommittedRecordsAreThereAgain) {
  {
    const auto store = open_store(path);
    ASSERT_TRUE(commit(*store, {put("web", "one")}));
    ASSERT_TRUE(commit(*store, {put("mail", "caf\xc3\xa9", 0, 65535, 255)}));
    ASSERT_TRUE(commit(*store, {put("web", "rule", 0x7fffffffffffffff)}));
    ASSERT_TRUE(commit(*store, {put("web", "")}));
  }
  EXPECT_THAT(records_in(path), ElementsAre(Record{0, 5, "web", 0, ""}, Record{0, 5, "web", 0x7fffffffffffffff, "rule"},
                                            Record{65535, 255, "mail", 0, "caf\xc3\xa9"}));
  EXPECT_THAT(folder.bytes(), ElementsAre(Key("kvel.db")));
}

TEST_F(SqliteStoreTest, LoadsInTheOrderOfKeys) {
  const auto store = open_store(path);
  for (const StoreChange& change : {put("b", "", 2), put("b", "", 10), put("b", ""), put("\xc3\xa4", ""), put("B", ""),
                                    put("a", "", 0, 1), put("z", "", 0, 0, 4)})
    ASSERT_TRUE(commit(*store, {change}));
  EXPECT_THAT(*load(*store), ElementsAre(Record{0, 4, "z", 0, ""}, Record{0, 5, "B", 0, ""}, Record{0, 5, "b", 0, ""},
                                         Record{0, 5, "b", 2, ""}, Record{0, 5, "b", 10, ""},
                                         Record{0, 5, "\xc3\xa4", 0, ""}, Record{1, 5, "a", 0, ""}));
}

TEST_F(SqliteStoreTest, ErasesOnePart) {
  const auto store = open_store(path);
  ASSERT_TRUE(commit(*store, {put("web", "object"), put("web", "first", 1), put("web", "second", 2)}));
  ASSERT_TRUE(commit(*store, {erase("web", 1)}));
  EXPECT_THAT(*load(*store), ElementsAre(Record{0, 5, "web", 0, "object"}, Record{0, 5, "web", 2, "second"}));
}

TEST_F(SqliteStoreTest, ErasingAnObjectErasesItsParts) {
  const auto store = open_store(path);
  ASSERT_TRUE(commit(*store, {put("web", "object"), put("web", "part", 1), put("web", "part", 2), put("webs", "other"),
                              put("web", "elsewhere", 0, 1), put("web", "of another kind", 0, 0, 4)}));
  ASSERT_TRUE(commit(*store, {erase("web")}));
  EXPECT_THAT(*load(*store), ElementsAre(Record{0, 4, "web", 0, "of another kind"}, Record{0, 5, "webs", 0, "other"},
                                         Record{1, 5, "web", 0, "elsewhere"}));
}

TEST_F(SqliteStoreTest, ErasingNothingIsNoError) {
  const auto store = open_store(path);
  EXPECT_TRUE(commit(*store, {erase("web")}));
  EXPECT_TRUE(commit(*store, {erase("web", 7)}));
  EXPECT_TRUE(commit(*store, {}));
  EXPECT_THAT(*load(*store), IsEmpty());
}

TEST_F(SqliteStoreTest, ManyPartsEachByACommitOfItsOwn) {
  {
    const auto store = open_store(path);
    for (std::uint64_t item = 0; item < 500; ++item)
      ASSERT_TRUE(commit(*store, {put("web", "rule " + std::to_string(item), item)}));
  }
  const Records records = records_in(path);
  ASSERT_EQ(records.size(), 500U);
  EXPECT_EQ(records.front(), (Record{0, 5, "web", 0, "rule 0"}));
  EXPECT_EQ(records.back(), (Record{0, 5, "web", 499, "rule 499"}));
}

TEST_F(SqliteStoreTest, ALinkLeadsToTheStore) {
  { ASSERT_TRUE(commit(*open_store(path), {put("web", "{}")})); }
  fs::create_symlink(path, folder / "link");
  EXPECT_THAT(records_in(folder / "link"), ElementsAre(Record{0, 5, "web", 0, "{}"}));
  const auto store = open_store(folder / "link");
  const auto second = SqliteStore::open(path);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().fault, StoreFault::busy);
}

TEST_F(SqliteStoreTest, ARelativePathIsTakenFromTheWorkingFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder.path());
  { ASSERT_TRUE(commit(*open_store("kvel.db"), {put("web", "{}")})); }
  fs::current_path(before);
  EXPECT_THAT(records_in(path), ElementsAre(Record{0, 5, "web", 0, "{}"}));
}

TEST_F(SqliteStoreTest, ACopyWithoutLogModeIsTaken) {
  { ASSERT_TRUE(commit(*open_store(path), {put("web", "{}")})); }
  const fs::path copy = folder / "copy.db";
  {
    auto connection = Connection::open(path.native());
    ASSERT_TRUE(connection);
    ASSERT_TRUE(connection->run(("VACUUM INTO '" + copy.native() + "'").c_str()));
  }
  { ASSERT_TRUE(commit(*open_store(copy), {put("mail", "{}")})); }
  EXPECT_THAT(records_in(copy), ElementsAre(Record{0, 5, "mail", 0, "{}"}, Record{0, 5, "web", 0, "{}"}));
}

TEST(NullStoreTest, KeepsNothing) {
  NullStore store;
  EXPECT_TRUE(commit(store, {put("web", "{}")}));
  EXPECT_THAT(*load(store), IsEmpty());
}

TEST(RecordChecksum, CoversKeyAndBody) {
  // CRC-32 of 0000000000000007 0000000000000000 0000 05 00000003 "web" "{}", worked out with another program.
  EXPECT_EQ(record_checksum({0, 5, "web", 0, 7}, "{}"), 0x670cc147U);
  // A part has no owner of its own.
  EXPECT_EQ(record_checksum({258, 3, "owner", 0x0102030405060708, 0x1112131415161718}, "a longer body"), 0x9cbc27e6U);
  EXPECT_EQ(record_checksum({0, 0, "", 0x0102030405060708, 0x1112131415161718}, "a longer body"), 0x9cbc27e6U);
  // What belongs to which field counts.
  EXPECT_NE(record_checksum({0, 5, "web", 0, 7}, "{}"), record_checksum({0, 5, "web{", 0, 7}, "}"));
  // Before numbers.
  EXPECT_EQ(checksum_without_numbers({0, 5, "web", 0, 0}, "{}"), 0x839d01d8U);
}

}  // namespace
}  // namespace kvel::manager::testing::store_test
