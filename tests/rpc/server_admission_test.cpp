// Whom the server admits: the limit of sessions, connections that do not greet, and the want of descriptors.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "rpc/client/remote_channel.h"
#include "rpc/server/server.h"
#include "tests/rpc/server_fixture.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::server_admission_test {
namespace {

using namespace std::chrono_literals;

class ServerAdmission : public ServerTest {};

TEST_F(ServerAdmission, RefusesSessionsAboveItsLimitUntilOneLeaves) {
  start({.max_sessions = 2});
  auto first = std::make_unique<RemoteChannel>(address_, kAmple);
  RemoteChannel second(address_, kAmple);
  RemoteChannel third(address_, kAmple);
  EXPECT_TRUE(served(*first));
  EXPECT_TRUE(served(second));
  EXPECT_EQ(third.bind(), Status::transport);
  EXPECT_EQ(third.last_failure(), "unix:" + path_ + ": the manager has reached its session limit");
  EXPECT_TRUE(eventually([&] { return server_->logged("closed: the session limit is reached"); }));
  EXPECT_TRUE(served(second));
  first = nullptr;
  EXPECT_TRUE(eventually([&] { return third.bind() == Status::ok; }));
  EXPECT_TRUE(served(third));
}

// A peer that has not greeted takes nobody's place, however long it hangs on.
TEST_F(ServerAdmission, ASilentPeerKeepsNobodyOut) {
  start({.max_sessions = 1});
  const PlainSocket before = PlainSocket::connect(path_);
  ASSERT_TRUE(eventually([&] { return server_->logged("session 1 begins"); }));
  auto first = std::make_unique<RemoteChannel>(address_, kAmple);
  EXPECT_TRUE(served(*first));
  const PlainSocket after = PlainSocket::connect(path_);
  ASSERT_TRUE(eventually([&] { return server_->logged("session 3 begins"); }));
  first = nullptr;
  ASSERT_TRUE(eventually([&] { return server_->logged("session 2 ends"); }));
  RemoteChannel second(address_, kAmple);
  EXPECT_EQ(second.bind(), Status::ok) << second.last_failure();
}

// What the server holds besides its sessions: connections that may yet greet.
constexpr std::size_t kNewcomers = 64;

// Connections that never greet keep nobody out who does, however many they are, and their number stays limited.
TEST_F(ServerAdmission, TheOldestThatHaveNotGreetedMakeRoom) {
  start_in_manual_time({.max_sessions = 2});
  PlainSocket greeted = PlainSocket::greet(path_);
  std::vector<PlainSocket> silent;
  for (std::size_t count = 0; count < kNewcomers + 10; ++count)
    silent.push_back(PlainSocket::connect(path_));
  PlainSocket client = PlainSocket::connect(path_);
  client.send(kHello);
  server_->settle();
  // Each gets some time to greet: the last one is accepted and has to wait for a place.
  ASSERT_TRUE(server_->logged("session 67 begins"));
  EXPECT_FALSE(server_->logged("session 68 begins"));
  pass(99ms);
  EXPECT_FALSE(server_->logged("closed"));
  pass(1ms);
  server_->settle();
  // One goes for each that has come: the eleven connections that waited outside, less one place that was free.
  EXPECT_TRUE(server_->logged("warning: session 2 closed: it has not greeted, and another connection needs its place"));
  EXPECT_TRUE(server_->logged("session 11 closed: it has not greeted"));
  EXPECT_FALSE(server_->logged("session 12 closed"));
  EXPECT_TRUE(silent[0].is_closed_by_peer());
  EXPECT_TRUE(silent[9].is_closed_by_peer());
  EXPECT_FALSE(silent[10].is_closed_by_peer());
  ASSERT_EQ(to_hex(client.receive_at_once()), to_hex(kHello));
  for (PlainSocket* peer : {&client, &greeted}) {
    peer->send(kDescribe);
    server_->settle();
    ASSERT_EQ(to_hex(peer->receive_at_once()), "00 00 00 03 " + kDone);
  }
}

// A client that has greeted never makes room, and is told of the limit.
TEST_F(ServerAdmission, SessionsMakeNoRoomForSilentConnections) {
  start_in_manual_time({.max_sessions = 2});
  std::vector<PlainSocket> greeted;
  for (int count = 0; count < 2; ++count)
    greeted.push_back(PlainSocket::greet(path_));
  std::vector<PlainSocket> silent;
  for (std::size_t count = 0; count < 3 * kNewcomers; ++count)
    silent.push_back(PlainSocket::connect(path_));
  PlainSocket third = PlainSocket::connect(path_);
  third.send(kHello);
  for (int count = 0; count < 4; ++count) {
    server_->settle();
    pass(100ms);
  }
  server_->settle();
  EXPECT_EQ(to_hex(third.receive_at_once()), "4b 56 45 4c 00 01 00 02");
  for (PlainSocket& client : greeted) {
    ASSERT_FALSE(client.is_closed_by_peer());
    client.send(kDescribe);
    server_->settle();
    ASSERT_EQ(to_hex(client.receive_at_once()), "00 00 00 03 " + kDone);
  }
}

// While all that have not greeted are new, the first one that leaves lets the next one in, without any time passing.
TEST_F(ServerAdmission, OneThatLeavesLetsTheNextOneIn) {
  start_in_manual_time({.max_sessions = 1});
  std::vector<PlainSocket> silent;
  for (std::size_t count = 0; count < kNewcomers + 2; ++count)
    silent.push_back(PlainSocket::connect(path_));
  PlainSocket client = PlainSocket::connect(path_);
  client.send(kHello);
  server_->settle();
  ASSERT_TRUE(server_->logged("session 66 begins"));
  ASSERT_FALSE(server_->logged("session 67 begins"));
  silent[20].close();
  server_->settle();
  ASSERT_TRUE(server_->logged("session 67 begins"));
  ASSERT_EQ(to_hex(client.receive_at_once()), to_hex(kHello));
  EXPECT_FALSE(server_->logged("closed"));
  // It was let in by the place that became free, and there is no pause left that would let in another.
  const PlainSocket next = PlainSocket::connect(path_);
  server_->settle();
  EXPECT_FALSE(server_->logged("session 68 begins"));
  pass(100ms);
  server_->settle();
  EXPECT_TRUE(server_->logged("session 68 begins"));
}

// As long as it is there the process, the server in it included, can open nothing more.
class WithoutDescriptors {
 public:
  WithoutDescriptors() {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    rlimit low = before_;
    low.rlim_cur = 64;
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    for (Descriptor next = open_any(); next.is_open(); next = open_any())
      hoard_.push_back(std::move(next));
  }
  WithoutDescriptors(const WithoutDescriptors&) = delete;
  WithoutDescriptors& operator=(const WithoutDescriptors&) = delete;
  ~WithoutDescriptors() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before_), 0); }

  void leave_one() { hoard_.pop_back(); }

 private:
  static Descriptor open_any() { return Descriptor(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

  rlimit before_{};
  std::vector<Descriptor> hoard_;
};

TEST_F(ServerAdmission, SurvivesTheWantOfDescriptors) {
  start_in_manual_time();
  RemoteChannel early(address_, kAmple);
  ASSERT_TRUE(served(early));
  {
    WithoutDescriptors without;
    without.leave_one();
    const PlainSocket waiting = PlainSocket::connect(path_);  // takes the last descriptor
    server_->settle();
    EXPECT_TRUE(server_->logged("cannot accept sessions for now: Too many open files"));
    EXPECT_TRUE(served(early));
    pass(99ms);
    pass(1ms);
    pass(100ms);
    EXPECT_TRUE(served(early));
    EXPECT_EQ(std::ranges::count_if(server_->log(), [](const auto& line) { return line.starts_with("warning"); }), 1);
  }
  pass(100ms);
  RemoteChannel late(address_, kAmple);
  EXPECT_TRUE(served(late));
  EXPECT_TRUE(served(early));
}

// The same when it is the descriptors that have run out, long before the limit of sessions.
TEST_F(ServerAdmission, WithoutDescriptorsTheOldestThatHasNotGreetedMakesRoom) {
  start_in_manual_time();
  PlainSocket silent = PlainSocket::connect(path_);
  PlainSocket client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  server_->settle();
  ASSERT_TRUE(server_->logged("session 1 begins"));
  const WithoutDescriptors without;
  client.connect_to(path_);
  client.send(kHello);
  server_->settle();
  EXPECT_TRUE(server_->logged("cannot accept sessions for now: Too many open files"));
  EXPECT_FALSE(silent.is_closed_by_peer());  // it has had no time to greet
  pass(100ms);
  server_->settle();
  EXPECT_TRUE(silent.is_closed_by_peer());
  ASSERT_EQ(to_hex(client.receive_at_once()), to_hex(kHello));
}

}  // namespace
}  // namespace kvel::rpc::testing::server_admission_test
