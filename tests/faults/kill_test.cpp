// The manager is killed at any moment while many clients write: whatever was acknowledged is there, and nothing half.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <optional>
#include <random>
#include <thread>

#include "manager/store/sqlite_store.h"
#include "tests/faults/daemon.h"
#include "tests/faults/inventory.h"
#include "tests/faults/length.h"
#include "tests/faults/remote_service.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"

namespace kvel::faults::kill_test {
namespace {

using manager::testing::Folder;
using std::chrono::microseconds;

constexpr std::size_t kWriters = 8;
constexpr int kPolicyMap = 4;

// One client, over many lives of the manager.
class Writer {
 public:
  Writer(std::size_t number, unsigned seed)
      : context_(static_cast<std::uint16_t>(number % 2)),
        prefix_("client-" + std::to_string(number) + "-"),
        random_(seed + static_cast<unsigned>(number)) {}

  // Writes until the manager is gone; counts what was acknowledged.
  void write(const std::string& socket, std::atomic<int>& acknowledged) {
    RemoteService service(socket);
    while (true) {
      const Step step = known_.choose(prefix_, random_);
      const Status status = carry_out(service, context_, step);
      if (status != Status::ok) {
        EXPECT_EQ(status, Status::transport) << static_cast<int>(step.kind) << ' ' << step.name << ' ' << step.other;
        open_ = step;
        return;
      }
      known_.apply(step);
      ++acknowledged;
    }
  }

  // Whether what the manager shows is what this client knows, with or without the step that was not answered.
  void settle(rpc::Service& service) {
    const std::vector<std::string> shown = records_of(service, context_, prefix_);
    if (open_ && shown != known_.records()) {
      known_.apply(*open_);
      ++unanswered_done_;
    }
    open_.reset();
    ASSERT_EQ(shown, known_.records()) << prefix_;
  }

  [[nodiscard]] int unanswered_done() const { return unanswered_done_; }

 private:
  std::uint16_t context_;
  std::string prefix_;
  std::mt19937 random_;
  Inventory known_;
  std::optional<Step> open_;  // sent when the manager went
  int unanswered_done_ = 0;
};

// Moves the classes of every policy-map to the first places there are, so that the next change of the order has to give
// all places anew.
void crowd(const std::filesystem::path& path) {
  const auto store = manager::testing::open_store(path);
  std::vector<manager::StoreChange> changes;
  std::deque<std::string> bodies;
  std::uint64_t policy = 0;
  std::uint64_t place = 0;
  const auto move = [&](const manager::StoreKey& key, std::string_view body) -> tl::expected<void, std::string> {
    if (key.kind != kPolicyMap || key.item == 0 || key.item == manager::kMaxItem) return {};
    if (std::exchange(policy, key.object) != key.object) place = 0;
    ++place;
    if (key.item == place) return {};
    changes.push_back({{key.context, key.kind, {}, key.item, key.object}, std::nullopt});
    changes.push_back({{key.context, key.kind, {}, place, key.object}, bodies.emplace_back(body)});
    return {};
  };
  ASSERT_TRUE(store->load(move, manager::testing::all_is_well));
  const manager::StoreHead head = store->head();
  ASSERT_TRUE(store->commit({head.revision, head.next_number, changes}));
}

// How many policy-maps have their classes where crowd() put them.
std::size_t crowded(const std::filesystem::path& path) {
  std::size_t count = 0;
  for (const auto& [context, kind, owner, item, body] : manager::testing::records_in(path))
    count += kind == kPolicyMap && item == 1 ? 1 : 0;
  return count;
}

std::string integrity(const std::filesystem::path& path) {
  sqlite3* connection = nullptr;
  EXPECT_EQ(sqlite3_open(path.c_str(), &connection), SQLITE_OK);
  std::string verdict;
  sqlite3_exec(
      connection, "PRAGMA integrity_check",
      [](void* text, int, char** values, char**) {
        *static_cast<std::string*>(text) += values[0];
        return 0;
      },
      &verdict, nullptr);
  sqlite3_close(connection);
  return verdict;
}

class Kill : public ::testing::Test {
 protected:
  void settle_all() {
    RemoteService service(daemon_.socket());
    for (Writer& writer : writers_)
      ASSERT_NO_FATAL_FAILURE(writer.settle(service));
  }

  // Kills while all write, after so many acknowledgements and a little more.
  void kill_amid_writing(int acknowledgements, microseconds more) {
    std::atomic<int> acknowledged = 0;
    std::atomic<std::size_t> ended = 0;
    std::vector<std::thread> threads;
    for (Writer& writer : writers_) {
      threads.emplace_back([&] {
        writer.write(daemon_.socket(), acknowledged);
        ++ended;
      });
    }
    while (acknowledged < acknowledgements && ended < kWriters)
      std::this_thread::sleep_for(microseconds(50));
    std::this_thread::sleep_for(more);
    EXPECT_EQ(ended, 0U) << "a client has ended before the kill";
    daemon_.kill();
    for (std::thread& thread : threads)
      thread.join();
    acknowledged_ += acknowledged;
  }

  int random_below(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random_); }

  void SetUp() override {
    for (std::size_t number = 0; number < kWriters; ++number)
      writers_.emplace_back(number, random_());
  }

  Folder folder_;
  Daemon daemon_{folder_.path()};
  std::mt19937 random_{seed()};
  std::vector<Writer> writers_;
  long acknowledged_ = 0;
};

TEST_F(Kill, NothingAcknowledgedIsLostAndNothingHalfIsSeen) {
  const int kills = short_or_long(5, 200);
  std::size_t crowds = 0;
  for (int round = 0; round < kills; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const bool is_crowded = round % 2 == 1;
    if (is_crowded) {
      ASSERT_NO_FATAL_FAILURE(crowd(daemon_.store()));
      crowds += crowded(daemon_.store());
    }
    if (round % 5 == 4) {  // also while it is coming up
      daemon_.start_only();
      std::this_thread::sleep_for(microseconds(random_below(20'000)));
      daemon_.kill();
    }
    ASSERT_NO_FATAL_FAILURE(daemon_.start());
    ASSERT_NO_FATAL_FAILURE(settle_all());
    // The first one makes something to lose.
    const int acknowledgements = round == 0 ? 400 : 1 + random_below(is_crowded ? 60 : 400);
    ASSERT_NO_FATAL_FAILURE(kill_amid_writing(acknowledgements, microseconds(random_below(2'000))));
  }
  EXPECT_GT(crowds, 0U) << "no places were given anew";

  ASSERT_NO_FATAL_FAILURE(daemon_.start());
  ASSERT_NO_FATAL_FAILURE(settle_all());
  EXPECT_EQ(daemon_.stop(), 0);
  EXPECT_EQ(integrity(daemon_.store()), "ok");
  ASSERT_NO_FATAL_FAILURE(daemon_.start());
  ASSERT_NO_FATAL_FAILURE(settle_all());
  EXPECT_EQ(daemon_.stop(), 0);
  int unanswered_done = 0;
  for (const Writer& writer : writers_)
    unanswered_done += writer.unanswered_done();
  std::printf("%d kills, %ld changes acknowledged, %d not answered and yet there; %zu orders crowded\n", kills,
              acknowledged_, unanswered_done, crowds);
}

}  // namespace
}  // namespace kvel::faults::kill_test
