// A process killed at any moment: everything that was answered with success is there, and nothing half.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::durability_test {
namespace {

namespace fs = std::filesystem;

// A child process that writes one byte to a pipe after each success. Killed when this object goes.
class Writer {
 public:
  template <class Work>
  explicit Writer(Work work) {
    int ends[2];
    if (::pipe(ends) != 0) throw std::runtime_error("no pipe");
    child_ = ::fork();
    if (child_ == 0) {
      ::close(ends[0]);
      work([&] { return ::write(ends[1], "+", 1) == 1; });
      ::_exit(0);
    }
    ::close(ends[1]);
    successes_ = ends[0];
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { ::close(successes_); }

  // Waits for at least so many successes, kills the child and returns how many there were until then.
  int kill_after(int successes) {
    char byte = 0;
    int seen = 0;
    while (seen < successes && ::read(successes_, &byte, 1) == 1)
      ++seen;
    ::kill(child_, SIGKILL);
    ::waitpid(child_, nullptr, 0);
    while (::read(successes_, &byte, 1) == 1)
      ++seen;
    return seen;
  }

 private:
  pid_t child_ = -1;
  int successes_ = -1;
};

TEST(Durability, NothingAcknowledgedIsLostToAKill) {
  const Folder folder;
  const fs::path path = folder / "kvel.db";
  int created = 0;
  for (const int successes : {0, 1, 2, 3, 5, 8, 13, 50, 300}) {
    Writer writer([&](auto success) {
      auto store = SqliteStore::open(path);
      if (!store) return;
      const auto manager = Manager::open(*std::move(store));
      if (!manager) return;
      Client client(**manager);
      for (int index = created; client.create(fmt::format("n{:06}", index)) == Status::ok && success(); ++index) {
      }
    });
    const int acknowledged = created + writer.kill_after(successes);
    ASSERT_GE(acknowledged, created + successes);

    const auto manager = Manager::open(open_store(path)).value();
    Client client(*manager);
    const std::vector<std::string> names = client.names();
    created = static_cast<int>(names.size());
    // The last one may have been made without its success having been reported.
    ASSERT_GE(created, acknowledged);
    ASSERT_LE(created, acknowledged + 1);
    for (int index = 0; index < created; ++index)
      ASSERT_EQ(names[static_cast<std::size_t>(index)], fmt::format("n{:06}", index));
  }
}

TEST(Durability, ATransactionIsThereWholeOrNotAtAll) {
  const Folder folder;
  const fs::path path = folder / "kvel.db";
  for (const int successes : {1, 4, 20, 100}) {
    Writer writer([&](auto success) {
      auto store = SqliteStore::open(path);
      if (!store) return;
      for (std::uint64_t round = 0;; ++round) {
        const std::string body = std::to_string(round);
        std::vector<StoreChange> changes;
        for (std::uint64_t item = 0; item < 50; ++item)
          changes.push_back(put("web", body, item));
        if (!commit(**store, changes) || !success()) return;
      }
    });
    writer.kill_after(successes);
    const Records records = records_in(path);
    ASSERT_EQ(records.size(), 50U);
    for (const Record& record : records)
      ASSERT_EQ(std::get<4>(record), std::get<4>(records.front()));
  }
}

TEST(Durability, AKillDuringCreationLeavesNoHalfStore) {
  for (int attempt = 0; attempt < 40; ++attempt) {
    const Folder folder;
    const fs::path path = folder / "state/kvel.db";
    {
      Writer writer([&](auto success) {
        success();
        const auto store = SqliteStore::open(path, {.makes_folder = true});
        success();
      });
      // Half of them are killed somewhere in the middle, as the scheduler has it.
      writer.kill_after(attempt % 2 + 1);
    }
    const auto store = open_store(path, {.makes_folder = true});
    ASSERT_NE(store, nullptr);
    ASSERT_EQ(load(*store).value(), Records{});
  }
}

}  // namespace
}  // namespace kvel::manager::testing::durability_test
