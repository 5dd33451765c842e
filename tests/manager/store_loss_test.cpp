// Changes that were acknowledged and are missing: a store never comes back as it was before them without a word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "manager/store/log_scan.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::store_loss_test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace fs = std::filesystem;

constexpr std::size_t kChanges = 12;
constexpr std::size_t kFrame = kLogFrameHeaderSize + 4096;

constexpr const char* kLossAdvice =
    "; it was left as it is: copy the file and all that lies beside it before anything else, then put a sound copy in "
    "its place, or go on without these changes by --accept-loss";

std::string altered(std::string content, std::size_t offset, unsigned mask = 0x10) {
  content.at(offset) = static_cast<char>(static_cast<unsigned char>(content.at(offset)) ^ mask);
  return content;
}

// A store whose process was killed after some changes: the file, its log and the mark.
class StoreLoss : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto store = open_store(path);
    for (std::size_t index = 0; index < kChanges; ++index)
      ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(100 + index), R"({"type":9})")}));
    killed = folder.bytes();
    log = killed.at("kvel.db-wal");
    frames = (log.size() - kLogHeaderSize) / kFrame;
    ASSERT_EQ(log.size(), kLogHeaderSize + frames * kFrame);
    ASSERT_GE(frames, kChanges);
  }

  void restore(const std::string& changed_log, bool with_mark = true) const {
    FolderBytes files = killed;
    files["kvel.db-wal"] = changed_log;
    if (!with_mark) files.erase("kvel.db-mark");
    folder.restore(files);
  }

  // The error of opening it, which has to leave everything as it is.
  [[nodiscard]] StoreError refusal() const {
    const FolderBytes before = folder.bytes();
    const auto store = SqliteStore::open(path);
    if (store) {
      ADD_FAILURE() << "not refused";
      return {};
    }
    EXPECT_TRUE(folder.bytes() == before) << "the folder has changed";
    return store.error();
  }

  void expect_refused(const std::string& words) const {
    const StoreError error = refusal();
    EXPECT_EQ(error.fault, StoreFault::incomplete);
    EXPECT_EQ(error.message, "store " + path.native() + ": its log, " + path.native() + "-wal, " + words + kLossAdvice);
  }

  Folder folder;
  fs::path path = folder / "kvel.db";
  FolderBytes killed;
  std::string log;
  std::size_t frames = 0;
};

TEST_F(StoreLoss, AKilledStoreHasEverything) {
  folder.restore(killed);
  EXPECT_THAT(records_in(path), SizeIs(kChanges));
  EXPECT_THAT(folder.bytes(), SizeIs(1));
}

TEST_F(StoreLoss, EveryAlteredByteOfTheLogIsNoticed) {
  std::vector<std::size_t> offsets;
  for (std::size_t offset = 0; offset < kLogHeaderSize; ++offset)
    offsets.push_back(offset);
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const std::size_t start = kLogHeaderSize + frame * kFrame;
    for (std::size_t offset = 0; offset < kFrame; offset += offset < kLogFrameHeaderSize ? 1 : 701)
      offsets.push_back(start + offset);
  }
  for (const std::size_t offset : offsets) {
    restore(altered(log, offset, offset % 2 == 0 ? 0x01 : 0x80));
    ASSERT_EQ(refusal().fault, StoreFault::incomplete) << offset;
  }
}

// Without the mark a damaged last transaction looks like one that a power cut has torn; any other does not.
TEST_F(StoreLoss, WithoutItsMarkTheLogSpeaksForAllButItsLastChange) {
  for (std::size_t offset = 0; offset < log.size(); offset += 53) {
    restore(altered(log, offset), false);
    const Records records = records_in(path);
    if (records.size() == kChanges - 1) {
      ASSERT_GT(offset, log.size() - 2 * kFrame) << "not in the last change";
      continue;
    }
    ASSERT_THAT(records, SizeIs(1)) << offset;
    ASSERT_THAT(std::get<2>(records.front()), HasSubstr("-wal, is damaged")) << offset;
  }
}

TEST_F(StoreLoss, TheRefusalSaysWhatIsLost) {
  ASSERT_EQ(frames, 24U) << "each change is two pages: its own and that of the head";
  restore(altered(log, kLogHeaderSize + 18 * kFrame + 1000));
  expect_refused("is damaged or cut off behind frame 18: the last 3 changes are lost");
  restore(altered(log, log.size() - 1));
  expect_refused("is damaged or cut off behind frame 22: the last 1 change is lost");
  restore(altered(log, kLogHeaderSize + 18 * kFrame + 1000), false);
  expect_refused("is damaged or cut off behind frame 18: at least 3 changes are lost");
  restore(altered(log, 20));
  expect_refused("is damaged in its header: the last 12 changes are lost");
  restore(altered(log, 20), false);
  expect_refused("is damaged in its header: all changes in it are lost");
  restore("");
  expect_refused("is missing or empty: the last 12 changes are lost");
  fs::remove(path.native() + "-wal");
  expect_refused("is missing or empty: the last 12 changes are lost");
}

TEST_F(StoreLoss, ALogThatIsCutOffIsNoticed) {
  for (std::size_t length = 0; length < log.size(); length += 1031) {
    restore(log.substr(0, length));
    ASSERT_EQ(refusal().fault, StoreFault::incomplete) << length;
  }
}

TEST_F(StoreLoss, TheLossCanBeAccepted) {
  restore(altered(log, kLogHeaderSize + 18 * kFrame + 1000));
  FolderBytes later;
  std::string warnings;
  const auto warn = [&](std::string_view what) { warnings.append(what); };
  {
    const auto store = open_store(path, {.accepts_loss = true, .warn = warn});
    EXPECT_THAT(*load(*store), SizeIs(9));
    EXPECT_EQ(warnings,
              "store " + path.native() + ": its log, " + path.native() +
                  "-wal, is damaged or cut off behind frame 18: the last 3 changes are lost; going on without "
                  "them");
    // From now on, also after a kill, nothing is missing.
    EXPECT_EQ(folder.bytes().at("kvel.db-wal"), "");
    ASSERT_TRUE(commit(*store, {put("more", "{}")}));
    later = folder.bytes();
  }
  EXPECT_THAT(records_in(path), SizeIs(10));
  folder.restore(later);
  EXPECT_THAT(records_in(path), SizeIs(10));
  // A damaged header, with nothing of the log left.
  restore(altered(log, 20));
  { EXPECT_THAT(*load(*open_store(path, {.accepts_loss = true})), IsEmpty()); }
  EXPECT_THAT(records_in(path), IsEmpty());
}

// What a power cut leaves of a transaction that nobody was told of: some of its pages, in any order.
TEST_F(StoreLoss, ATornTransactionAtTheEndIsNone) {
  const std::string last = log.substr(log.size() - kFrame);
  const std::string zeros(kFrame, '\0');
  for (const std::string& tail : {std::string(1, 'x'), last.substr(0, 1000), zeros, last, zeros + last,
                                  altered(last, 4000) + zeros + zeros, zeros + zeros + altered(last, 100)}) {
    for (const bool with_mark : {true, false}) {
      restore(log + tail, with_mark);
      EXPECT_THAT(records_in(path), SizeIs(kChanges));
      EXPECT_THAT(folder.bytes(), SizeIs(1));
    }
  }
  // Two ends of transactions are one too many: the first was on disk before the second began.
  restore(log + last + last);
  EXPECT_EQ(refusal().fault, StoreFault::incomplete);
}

// After a power cut the mark may be an earlier one.
TEST_F(StoreLoss, AnEarlierMarkProvesNothingWrong) {
  std::vector<std::string> marks;
  folder.restore({});
  {
    const auto store = open_store(path);
    for (std::size_t index = 0; index < kChanges; ++index) {
      ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(index), "{}")}));
      marks.push_back(read_file(path.native() + "-mark"));
    }
    killed = folder.bytes();
  }
  for (const std::string& mark : marks) {
    killed["kvel.db-mark"] = mark;
    folder.restore(killed);
    EXPECT_THAT(records_in(path), SizeIs(kChanges));
  }
}

TEST_F(StoreLoss, AnAlteredMarkProvesNothing) {
  const std::string mark = killed.at("kvel.db-mark");
  for (std::size_t offset = 0; offset < mark.size(); ++offset) {
    killed["kvel.db-mark"] = altered(mark, offset);
    folder.restore(killed);
    ASSERT_THAT(records_in(path), SizeIs(kChanges)) << offset;
  }
}

// As when a copy is put in the place of a damaged store, and the mark of that still lies there.
TEST_F(StoreLoss, TheMarkOfAnotherStoreProvesNothing) {
  const Folder other;
  { ASSERT_TRUE(commit(*open_store(other / "kvel.db"), {put("other", "{}")})); }
  folder.restore({{"kvel.db", read_file(other / "kvel.db")}, {"kvel.db-mark", killed.at("kvel.db-mark")}});
  EXPECT_THAT(records_in(path), SizeIs(1));
}

TEST_F(StoreLoss, TheLogOfAnotherStoreIsRefused) {
  const Folder other;
  { open_store(other / "kvel.db"); }
  FolderBytes files = killed;
  files["kvel.db"] = read_file(other / "kvel.db");
  folder.restore(files);
  const StoreError error = refusal();
  EXPECT_EQ(error.fault, StoreFault::damaged);
  EXPECT_THAT(error.message, HasSubstr("the log beside it, " + path.native() + "-wal, is that of another store"));
  EXPECT_FALSE(SqliteStore::open(path, {.accepts_loss = true})) << "it would be made of both";
}

TEST_F(StoreLoss, AChangeOfNothingIsNotMissed) {
  folder.restore({});
  std::vector<FolderBytes> moments;
  {
    const auto store = open_store(path);
    for (const std::vector<StoreChange>& changes : {std::vector<StoreChange>{erase("nobody")},
                                                    {put("web", "{}")},
                                                    {erase("nobody")},
                                                    {erase("nobody"), erase("anybody")}}) {
      ASSERT_TRUE(commit(*store, changes));
      moments.push_back(folder.bytes());
    }
  }
  for (std::size_t index = 0; index < moments.size(); ++index) {
    folder.restore(moments[index]);
    EXPECT_THAT(records_in(path), SizeIs(index == 0 ? 0 : 1));
  }
}

// The log begins anew when it is long, and is watched over as before.
TEST_F(StoreLoss, AfterTheLogHasBegunAnew) {
  folder.restore({});
  const std::string body(400'000, 'b');  // a hundred pages
  std::size_t count = 0;
  std::vector<FolderBytes> moments;
  std::vector<std::size_t> counts;
  {
    const auto store = open_store(path);
    std::string salts;
    bool was_anew = false;
    for (int begun = 0; begun < 3 && count < 200;) {
      ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(count++), body)}));
      const std::string now = read_file(path.native() + "-wal").substr(16, 8);
      const bool is_anew = std::exchange(salts, now) != now;
      begun += is_anew ? 1 : 0;
      if (is_anew || was_anew) {
        moments.push_back(folder.bytes());
        counts.push_back(count);
      }
      was_anew = is_anew;
    }
  }
  ASSERT_THAT(moments, SizeIs(5)) << count;
  for (std::size_t index = 0; index < moments.size(); ++index) {
    folder.restore(moments[index]);
    ASSERT_THAT(records_in(path), SizeIs(counts[index])) << index;
    FolderBytes damaged = moments[index];
    damaged["kvel.db-wal"] = altered(damaged["kvel.db-wal"], kLogHeaderSize + 2 * kFrame + 50);
    folder.restore(damaged);
    ASSERT_EQ(refusal().fault, StoreFault::incomplete) << index;
  }
}

// A file of that name which is no mark belongs to somebody else.
TEST_F(StoreLoss, SomebodyElsesFileOfThatNameIsLeftAlone) {
  folder.restore({{"kvel.db-mark", "shopping: eggs"}});
  std::string warnings;
  {
    const auto store = open_store(path, {.warn = [&](std::string_view what) { warnings.append(what); }});
    ASSERT_TRUE(commit(*store, {put("web", "{}")}));
  }
  EXPECT_THAT(warnings, HasSubstr("there can be no " + path.native() + "-mark"));
  EXPECT_EQ(read_file(path.native() + "-mark"), "shopping: eggs");
  EXPECT_THAT(records_in(path), SizeIs(1));
}

TEST_F(StoreLoss, SettlingMovesTheLogIntoTheFile) {
  folder.restore({});
  const auto store = open_store(path);
  for (std::size_t index = 0; index < kChanges; ++index)
    ASSERT_TRUE(commit(*store, {put("object-" + std::to_string(index), "{}")}));
  ASSERT_THAT(read_file(path.native() + "-wal"), Not(IsEmpty()));
  ASSERT_TRUE(store->settle());
  EXPECT_EQ(read_file(path.native() + "-wal"), "");
  const FolderBytes settled = folder.bytes();
  ASSERT_TRUE(commit(*store, {put("more", "{}")}));
  const FolderBytes later = folder.bytes();
  folder.restore({{"kvel.db", settled.at("kvel.db")}});  // and nothing beside it
  EXPECT_THAT(records_in(path), SizeIs(kChanges));
  folder.restore(settled);
  EXPECT_THAT(records_in(path), SizeIs(kChanges));
  folder.restore(later);
  EXPECT_THAT(records_in(path), SizeIs(kChanges + 1));
}

}  // namespace
}  // namespace kvel::manager::testing::store_loss_test
