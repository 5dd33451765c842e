// Very many sessions and very many commands: each session gets its own answers, deadlines hold, and memory stays flat.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "tests/faults/daemon.h"
#include "tests/faults/inventory.h"
#include "tests/faults/length.h"
#include "tests/faults/remote_service.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"

namespace kvel::faults::crowd_test {
namespace {

using manager::testing::Folder;
using std::chrono::milliseconds;

constexpr std::size_t kSessions = 100;

#ifdef KVEL_SANITIZED
constexpr std::size_t kGrowthBound = std::size_t{64} << 20U;  // the sanitizer's own books
#else
constexpr std::size_t kGrowthBound = std::size_t{1} << 20U;
#endif

std::string prefix_of(std::size_t session) { return "session-" + std::to_string(1000 + session) + "-"; }

class Crowd : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(daemon_.start()); }

  Folder folder_;
  Daemon daemon_{folder_.path()};
};

TEST_F(Crowd, AHundredSessionsEachWithCommandsOfItsOwn) {
  const unsigned first_seed = seed();
  const int steps = short_or_long(20, 500);
  std::atomic<std::size_t> connected = 0;
  std::atomic<bool> is_failing = false;
  std::vector<std::thread> threads;
  for (std::size_t session = 0; session < kSessions; ++session) {
    threads.emplace_back([&, session] {
      RemoteService service(daemon_.socket());
      const Status bound = service.channel().bind();
      if (bound != Status::ok) is_failing = true;
      ASSERT_EQ(bound, Status::ok) << service.channel().last_failure();
      ++connected;
      while (connected < kSessions && !is_failing)  // all are there before the first command
        std::this_thread::sleep_for(milliseconds(1));
      std::mt19937 random(first_seed + static_cast<unsigned>(session));
      Inventory known;
      for (int count = 0; count < steps; ++count) {
        const Step step = known.choose(prefix_of(session), random);
        ASSERT_EQ(carry_out(service, 0, step), Status::ok) << step.name;
        known.apply(step);
        if (count % 10 == 9) {
          ASSERT_EQ(records_of(service, 0, prefix_of(session)), known.records());
        }
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(daemon_.stop(), 0);
}

// A manager that hangs answers nobody: every session hears of it by its deadline, and is served again afterwards.
TEST_F(Crowd, DeadlinesHold) {
  std::vector<std::unique_ptr<RemoteService>> services;
  for (std::size_t session = 0; session < kSessions; ++session) {
    services.push_back(std::make_unique<RemoteService>(daemon_.socket()));
    ASSERT_EQ(services.back()->channel().bind(), Status::ok);
  }
  for (int round = 0; round < short_or_long(2, 50); ++round) {
    daemon_.process().signal(SIGSTOP);
    std::vector<std::thread> threads;
    for (auto& service : services) {
      threads.emplace_back([&] {
        service->channel().set_call_time(milliseconds(100));
        EXPECT_EQ(manager::testing::Client(*service).describe("none", "text"), Status::timed_out);
        service->channel().set_call_time(kAmple);
      });
    }
    for (std::thread& thread : threads)
      thread.join();
    daemon_.process().signal(SIGCONT);
    for (auto& service : services)
      ASSERT_EQ(manager::testing::Client(*service).describe("none", "text"), Status::class_map_not_found);
  }
  EXPECT_EQ(daemon_.stop(), 0);
}

// One command in ten changes the configuration, which has as many objects after all of them as before.
// Counts the answers that were right.
void send_commands(rpc::Service& service, const std::string& prefix, int commands, unsigned seed,
                   std::atomic<int>& answered) {
  std::mt19937 random(seed);
  manager::testing::Client client(service);
  Inventory known;
  for (int count = 0; count < commands;) {
    const Step step = known.choose(prefix, random);
    ASSERT_EQ(carry_out(service, 0, step), Status::ok);
    known.apply(step);
    ++count;
    ++answered;
    for (int look = 0; look < 9 && count < commands; ++look, ++count) {
      // By name, as a list, and what cannot be.
      const Status status = look % 3 == 0   ? client.object(prefix + "class-1").status
                            : look % 3 == 1 ? client.policy_maps(8).status
                                            : client.describe("no such class-map", "text");
      ASSERT_TRUE(status == Status::ok || status == Status::class_map_not_found) << static_cast<std::int32_t>(status);
      ++answered;
    }
  }
  // Nothing is left for those who come after.
  for (const char* policy : {"policy-0", "policy-1"})
    (void)carry_out(service, 0, {Step::Kind::drop_policy, prefix + policy});
  for (int number = 0; number < 6; ++number)
    (void)carry_out(service, 0, {Step::Kind::drop_class, prefix + "class-" + std::to_string(number)});
  ASSERT_TRUE(records_of(service, 0, prefix).empty());
}

TEST_F(Crowd, MemoryStaysFlat) {
  constexpr int kClients = 4;
  const int commands = short_or_long(20'000, 1'000'000);
  const unsigned first_seed = seed();
  const auto send = [&](int count, unsigned phase) {
    std::atomic<int> answered = 0;
    std::vector<std::thread> threads;
    for (unsigned client = 0; client < kClients; ++client) {
      threads.emplace_back([&, client] {
        RemoteService service(daemon_.socket());
        send_commands(service, prefix_of(client), count / kClients, first_seed + phase * kClients + client, answered);
      });
    }
    for (std::thread& thread : threads)
      thread.join();
    EXPECT_EQ(answered, count);
  };
  send(20'000, 0);  // until the log and SQLite's cache have their size
  const std::size_t resident = daemon_.resident();
  send(commands, 1);
  const std::size_t after = daemon_.resident();
  std::printf("%d commands: %zu KB before, %zu KB after\n", commands, resident / 1024, after / 1024);
  EXPECT_LE(after, resident + kGrowthBound);
  EXPECT_EQ(daemon_.stop(), 0);
}

}  // namespace
}  // namespace kvel::faults::crowd_test
