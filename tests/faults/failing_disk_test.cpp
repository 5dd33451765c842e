// Every sync and every write of a scenario fails in turn: the call reports it, and the manager, the store opened again,
// and the store as a kill at that moment would leave it all hold what was acknowledged.
#include "tests/faults/failing_disk.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/faults/inventory.h"
#include "tests/faults/length.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::faults::failing_disk_test {
namespace {

using manager::Manager;
using manager::SqliteStore;
using manager::StoreFault;
using manager::testing::Folder;
using manager::testing::FolderBytes;
using Failure = FailingDisk::Failure;
using Kind = Step::Kind;

constexpr Failure kFailures[] = {Failure::sync, Failure::write, Failure::full, Failure::short_write};

struct Case {
  Failure failure = Failure::sync;
  bool lasting = false;
  int before = 0;

  [[nodiscard]] bool is_full() const { return failure == Failure::full || failure == Failure::short_write; }
  [[nodiscard]] Status status() const { return is_full() ? Status::store_full : Status::store_failed; }
  [[nodiscard]] StoreFault fault() const { return is_full() ? StoreFault::full : StoreFault::failed; }
  [[nodiscard]] std::string text() const {
    static constexpr const char* kNames[] = {"sync", "write", "full", "short write"};
    return std::string(kNames[static_cast<int>(failure)]) + (lasting ? " from " : " at ") + std::to_string(before);
  }
};

// Each kind of step, those that touch many records among them.
std::vector<Step> fixed_steps() {
  return {{Kind::make_class, "a"},
          {Kind::add_rule, "a", "one"},
          {Kind::add_rule, "a", "two"},
          {Kind::describe_class, "a", "front door"},
          {Kind::drop_rule, "a", "", "", 10},
          {Kind::make_class, "b"},
          {Kind::add_rule, "b", "three"},
          {Kind::make_policy, "p"},
          {Kind::put_class, "p", "a"},
          {Kind::put_class, "p", "b", "a"},
          {Kind::put_class, "p", "a", "b"},
          {Kind::take_class, "p", "b"},
          {Kind::drop_class, "b"},
          {Kind::drop_policy, "p"},
          {Kind::drop_class, "a"}};
}

class FailingDiskTest : public ::testing::Test {
 protected:
  std::unique_ptr<Manager> open() {
    auto manager = Manager::open(manager::testing::open_store(path_));
    if (manager) return *std::move(manager);
    ADD_FAILURE() << manager.error().message;
    return nullptr;
  }
  std::vector<std::string> reopened() { return records_of(*open(), 0, ""); }

  void run(const std::vector<Step>& steps, const Case& at);
  // Every operation of the scenario in turn, until one is beyond its end.
  void run_all(const std::vector<Step>& steps);

  Folder folder_;
  std::filesystem::path path_ = folder_ / "kvel.db";
  FailingDisk disk_;
  int failed_calls_ = 0;
  int there_after_kill_ = 0;  // of the failed changes
  bool struck_ = false;
};

void FailingDiskTest::run(const std::vector<Step>& steps, const Case& at) {
  SCOPED_TRACE(at.text());
  folder_.restore({});
  Inventory known;
  auto manager = open();
  ASSERT_NE(manager, nullptr);
  disk_.fail(at.failure, at.before, at.lasting);
  FolderBytes killed;
  Inventory known_at_kill;
  std::optional<Step> failed;
  for (const Step& step : steps) {
    Status status = carry_out(*manager, 0, step);
    if (status != Status::ok) {
      ++failed_calls_;
      ASSERT_EQ(status, at.status()) << step.name;
      ASSERT_GT(disk_.failures(), 0);
      ASSERT_EQ(records_of(*manager, 0, ""), known.records());
      killed = folder_.bytes();
      known_at_kill = known;
      failed = step;
      if (at.lasting) {  // it stays so until the disk is sound again
        ASSERT_EQ(carry_out(*manager, 0, step), at.status());
        ASSERT_EQ(records_of(*manager, 0, ""), known.records());
        disk_.repair();
      }
      status = carry_out(*manager, 0, step);
    }
    ASSERT_EQ(status, Status::ok) << step.name;
    known.apply(step);
    ASSERT_EQ(records_of(*manager, 0, ""), known.records());
  }
  struck_ = failed || disk_.failures() > 0;
  disk_.repair();
  manager.reset();
  ASSERT_EQ(reopened(), known.records());

  if (!failed) return;
  folder_.restore(killed);
  const auto after_kill = reopened();
  if (after_kill == known_at_kill.records()) return;
  // All of it was written when the log could not be forced to disk, and never could be since then.
  ASSERT_TRUE(at.failure == Failure::sync && at.lasting);
  ++there_after_kill_;
  known_at_kill.apply(*failed);
  ASSERT_EQ(after_kill, known_at_kill.records());
}

void FailingDiskTest::run_all(const std::vector<Step>& steps) {
  for (const Failure failure : kFailures) {
    for (const bool lasting : {false, true}) {
      int before = 0;
      for (struck_ = true; struck_; ++before) {
        ASSERT_LT(before, 10'000);
        ASSERT_NO_FATAL_FAILURE(run(steps, {failure, lasting, before}));
      }
      EXPECT_GT(before, static_cast<int>(steps.size())) << "some steps were not struck";
    }
  }
}

TEST_F(FailingDiskTest, EverySyncAndEveryWriteOfAScenario) {
  ASSERT_NO_FATAL_FAILURE(run_all(fixed_steps()));
  std::printf("%d failed calls, %d of them there after a kill\n", failed_calls_, there_after_kill_);
}

TEST_F(FailingDiskTest, EverySyncAndEveryWriteOfRandomScenarios) {
  std::mt19937 random(seed());
  for (int round = 0; round < short_or_long(1, 10); ++round) {
    Inventory planned;
    std::vector<Step> steps;
    for (int count = 0; count < short_or_long(12, 40); ++count) {
      steps.push_back(planned.choose("", random));
      planned.apply(steps.back());
    }
    ASSERT_NO_FATAL_FAILURE(run_all(steps));
  }
}

// What can outlive its refusal, and what takes it away.
TEST_F(FailingDiskTest, AChangeThatTheDiskNeitherKeepsNorGivesBack) {
  const std::string warning = "; the refused change may be there when the store is opened again";
  const auto owners = [this] {
    std::vector<std::string> found;
    for (const auto& record : manager::testing::records_in(path_))
      found.push_back(std::get<2>(record));
    return found;
  };
  using Owners = std::vector<std::string>;
  for (const bool lasting : {false, true}) {
    folder_.restore({});
    auto store = manager::testing::open_store(path_);
    ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put("kept", "{}")}));
    disk_.fail(Failure::sync, 0, lasting);
    const auto refused = manager::testing::commit(*store, {manager::testing::put("refused", "{}")});
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().message.ends_with(warning), lasting) << refused.error().message;
    const FolderBytes killed = folder_.bytes();
    store.reset();  // the disk still fails, if it fails for good
    const FolderBytes stopped = folder_.bytes();
    disk_.repair();
    for (const FolderBytes& left : {killed, stopped}) {
      folder_.restore(left);
      EXPECT_EQ(owners(), lasting ? (Owners{"kept", "refused"}) : Owners{"kept"});
    }
  }

  // Either takes it away: a stop, or a later change, once the disk is sound again.
  for (const bool changes : {false, true}) {
    folder_.restore({});
    auto store = manager::testing::open_store(path_);
    ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put("kept", "{}")}));
    disk_.fail(Failure::sync, 0, true);
    ASSERT_FALSE(manager::testing::commit(*store, {manager::testing::put("refused", "{}")}));
    disk_.repair();
    if (changes) {
      ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put("later", "{}")}));
      const FolderBytes killed_later = folder_.bytes();
      store.reset();
      folder_.restore(killed_later);
    }
    store.reset();
    EXPECT_EQ(owners(), changes ? (Owners{"kept", "later"}) : Owners{"kept"});
  }
}

// What is left of refused changes behind a later one is no sign of damage.
TEST_F(FailingDiskTest, LaterChangesAreWholeWhateverWasRefusedBefore) {
  folder_.restore({});
  auto store = manager::testing::open_store(path_);
  ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put("kept", "{}")}));
  disk_.fail(Failure::sync, 0, true);
  for (const std::size_t size : {60'000U, 40'000U, 20'000U})
    ASSERT_FALSE(manager::testing::commit(*store, {manager::testing::put("refused", std::string(size, 'r'))}));
  disk_.repair();
  ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put("later", "{}")}));
  const FolderBytes killed = folder_.bytes();
  store.reset();
  FolderBytes without_mark = killed;
  without_mark.erase("kvel.db-mark");
  for (const FolderBytes& left : {killed, without_mark}) {
    folder_.restore(left);
    EXPECT_EQ(manager::testing::records_in(path_),
              (manager::testing::Records{{0, 5, "kept", 0, "{}"}, {0, 5, "later", 0, "{}"}}));
  }
}

// Also where the log is moved into the file, in between commits and at the end.
TEST_F(FailingDiskTest, EverySyncAndEveryWriteAroundAFullLog) {
  const int write_stride = short_or_long(499, 7);
  const int sync_stride = short_or_long(4, 1);
  for (const Failure failure : kFailures) {
    struck_ = true;
    for (int before = 0; struck_; before += failure == Failure::sync ? sync_stride : write_stride) {
      const Case at{failure, false, before};
      SCOPED_TRACE(at.text());
      folder_.restore({});
      std::size_t known = 0;
      {
        const auto store = manager::testing::open_store(path_);
        disk_.fail(failure, before, false);
        // Each takes about 50 pages; the log is moved when it has more than 1000.
        for (std::size_t number = 0; number < 24; ++number) {
          const std::string name = "object-" + std::to_string(100 + number);
          const std::string body(200'000, static_cast<char>('a' + number));
          const auto committed = manager::testing::commit(*store, {manager::testing::put(name, body)});
          if (!committed) {
            ASSERT_EQ(committed.error().fault, at.fault()) << committed.error().message;
            ASSERT_TRUE(manager::testing::commit(*store, {manager::testing::put(name, body)}));
          }
          ++known;
        }
        ASSERT_EQ(manager::testing::load(*store).value().size(), known);
      }
      struck_ = disk_.failures() > 0;
      disk_.repair();
      const auto records = manager::testing::records_in(path_);
      ASSERT_EQ(records.size(), known);
      for (std::size_t number = 0; number < known; ++number)
        ASSERT_EQ(std::get<4>(records[number]), std::string(200'000, static_cast<char>('a' + number)));
    }
  }
}

// A store that cannot be made or taken over is refused, and nothing that was in it is lost.
TEST_F(FailingDiskTest, EverySyncAndEveryWriteOfOpening) {
  FolderBytes killed;
  {
    const auto manager = open();
    for (const Step& step : {Step{Kind::make_class, "a"}, Step{Kind::add_rule, "a", "one"}})
      ASSERT_EQ(carry_out(*manager, 0, step), Status::ok);
    killed = folder_.bytes();  // with a log that is still to be moved
  }
  const std::vector<std::string> kept{
      R"({"kind":"class-map","name":"a","type":0,"match_all":true,"rules":[{"line":10,"match":"access-list","name":"one"}]})"};
  int refused = 0;
  for (const bool is_new : {true, false}) {
    for (const Failure failure : kFailures) {
      for (const bool lasting : {false, true}) {
        struck_ = true;
        for (int before = 0; struck_; ++before) {
          const Case at{failure, lasting, before};
          SCOPED_TRACE(at.text());
          folder_.restore(is_new ? FolderBytes() : killed);
          disk_.fail(failure, before, lasting);
          {
            auto store = SqliteStore::open(path_);
            if (store) {
              const auto manager = Manager::open(*std::move(store));
              if (!manager) {
                ++refused;
                ASSERT_EQ(manager.error().fault, at.fault()) << manager.error().message;
              }
            } else {
              ++refused;
              ASSERT_EQ(store.error().fault, at.fault()) << store.error().message;
            }
          }
          struck_ = disk_.failures() > 0;
          disk_.repair();
          ASSERT_EQ(reopened(), is_new ? std::vector<std::string>() : kept);
        }
      }
    }
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace kvel::faults::failing_disk_test
