// A real server on its socket against peers of every kind; whatever one does, the others are served.
#include "rpc/server/server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <new>
#include <random>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "rpc/client/remote_channel.h"
#include "tests/rpc/server_fixture.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::server_test {
namespace {

using namespace std::chrono_literals;

class IdleTimer : public Timer {
 public:
  void start(std::chrono::milliseconds, std::function<void()>) override {}
  void stop() override {}
};

class FailingTimer final : public IdleTimer {
 public:
  void start(std::chrono::milliseconds, std::function<void()>) override { throw std::bad_alloc(); }
};

TEST_F(ServerTest, AnswersInTheOrderOfRequests) {
  start();
  PlainSocket peer = PlainSocket::greet(path_);
  std::string requests;
  for (char id = 1; id <= 100; ++id) {
    std::string request = kDescribe;
    request[5] = id;
    requests += request;
  }
  peer.send(requests);
  for (char id = 1; id <= 100; ++id)
    EXPECT_EQ(to_hex(peer.receive_frame()), "92 " + to_hex({&id, 1}) + " 00");
  EXPECT_EQ(service_.calls().size(), 100U);
}

// Requests that were sent ahead do not keep the others waiting.
TEST_F(ServerTest, OtherSessionsHaveTheirTurnBetweenRequestsSentAhead) {
  start();
  PlainSocket eager = PlainSocket::greet(path_);
  PlainSocket other = PlainSocket::greet(path_);
  std::string others_request = kDescribe;
  others_request[26] = 9;  // its context
  service_.set_reply([&, is_first = true](std::span<const Argument>) mutable {
    if (std::exchange(is_first, false)) other.send(others_request);
    return Status::ok;
  });
  std::string requests;
  for (int count = 0; count < 50; ++count)
    requests += kDescribe;
  eager.send(requests);
  for (int count = 0; count < 50; ++count)
    ASSERT_EQ(to_hex(eager.receive_frame()), kDone);
  ASSERT_EQ(to_hex(other.receive_frame()), kDone);
  const auto calls = service_.calls();
  ASSERT_EQ(calls.size(), 51U);
  const auto turn = std::ranges::find(calls, "cm_update_classdesc, u16 9, session 0, string 'a', string 'b', u8 0");
  ASSERT_NE(turn, calls.end());
  EXPECT_LT(turn - calls.begin(), 5);
}

TEST_F(ServerTest, TakesARequestByteByByte) {
  start();
  PlainSocket peer = PlainSocket::connect(path_);
  for (char byte : from_hex("4b 56 45 4c 00 01 00 00") + kDescribe + kDescribe) {
    peer.send({&byte, 1});
    std::this_thread::yield();
  }
  EXPECT_EQ(to_hex(peer.receive(8)), "4b 56 45 4c 00 01 00 00");
  EXPECT_EQ(to_hex(peer.receive_frame()), kDone);
  EXPECT_EQ(to_hex(peer.receive_frame()), kDone);
}

TEST_F(ServerTest, AnswersSoundFramesWithWrongRequests) {
  start();
  PlainSocket peer = PlainSocket::greet(path_);
  peer.send(from_hex("00 00 00 06 92 01 a3 61 62 63"));
  EXPECT_EQ(to_hex(peer.receive_frame()), "92 01 d1 fc 19");  // -999
  peer.send(from_hex("00 00 00 16 92 01 b3 63 6d 5f 75 70 64 61 74 65 5f 63 6c 61 73 73 64 65 73 63"));
  EXPECT_EQ(to_hex(peer.receive_frame()), "92 01 d1 fc 1c");  // -996
  peer.send(kDescribe);
  EXPECT_EQ(to_hex(peer.receive_frame()), kDone);
  EXPECT_EQ(service_.calls().size(), 1U);
}

TEST_F(ServerTest, ClosesAMalformedSessionAndServesTheOthers) {
  start();
  RemoteChannel client(address_, kAmple);
  ASSERT_TRUE(served(client));
  const std::vector<std::pair<const char*, const char*>> malformed = {
      {"00 00 00 00", "a frame of an impossible length"},
      {"00 10 00 01", "a frame of an impossible length"},
      {"ff ff ff ff ff ff ff ff", "a frame of an impossible length"},
      {"00 00 00 01 c0", "a request is not an array"},
      {"00 00 00 01 92", "a request id is not an unsigned 32-bit number"},
      {"00 00 00 05 dc 00 13 01 a0", "a request with an impossible number of arguments"},
      {"00 00 00 08 dd ff ff ff ff 01 a1 61", "a request with an impossible number of arguments"},
      {"00 00 00 03 92 01 01", "a call name is not a text"},
      {"00 00 00 07 92 01 db ff ff ff ff", "a call name is not a text"},
      {"00 00 00 05 93 01 a1 61 c0", "a malformed argument"},
      {"00 00 00 05 93 01 a1 61 91", "a malformed argument"},
      {"00 00 00 05 92 01 a1 61 00", "bytes after the end of a request"},
  };
  for (const auto& [hex, reason] : malformed) {
    PlainSocket peer = PlainSocket::greet(path_);
    peer.send(from_hex(hex));
    EXPECT_EQ(peer.receive_to_end(), "") << hex;
    EXPECT_TRUE(server_->logged(std::string("closed: ") + reason)) << hex;
    EXPECT_TRUE(served(client)) << hex;
  }
  EXPECT_EQ(service_.calls().size(), 1 + malformed.size());
}

TEST_F(ServerTest, ClosesAPeerOfAnotherProtocol) {
  start();
  PlainSocket web = PlainSocket::connect(path_);
  web.send("GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(web.receive_to_end(), "");
  EXPECT_TRUE(server_->logged("closed: a greeting of another protocol"));
  PlainSocket future = PlainSocket::connect(path_);
  future.send(from_hex("4b 56 45 4c 00 02 00 00"));
  EXPECT_EQ(to_hex(future.receive_to_end()), "4b 56 45 4c 00 01 00 01");
  EXPECT_TRUE(server_->logged("closed: a version of the protocol that is not spoken here"));
}

TEST_F(ServerTest, AHalfSentFrameHoldsUpNobodyElse) {
  start();
  RemoteChannel client(address_, kAmple);
  PlainSocket silent = PlainSocket::connect(path_);
  PlainSocket greeting = PlainSocket::connect(path_);
  greeting.send("KV");
  PlainSocket half = PlainSocket::greet(path_);
  half.send(kDescribe.substr(0, 20));
  EXPECT_TRUE(served(client));
  half.send(kDescribe.substr(20));
  EXPECT_EQ(to_hex(half.receive_frame()), kDone);
  half.send(kDescribe.substr(0, 20));
  half.finish_sending();
  EXPECT_EQ(half.receive_to_end(), "");
  EXPECT_TRUE(server_->logged("closed: the peer closed in the middle of a frame"));
  EXPECT_TRUE(served(client));
}

TEST_F(ServerTest, ASessionThatSimplyEndsIsNoError) {
  start();
  {
    RemoteChannel client(address_, kAmple);
    EXPECT_TRUE(served(client));
  }
  EXPECT_TRUE(eventually([&] { return server_->logged("debug: session 1 ends"); }));
  EXPECT_FALSE(server_->logged("warning"));
}

// Sound frames with bytes changed, removed and added, in the greeting too. The only oracles are the sanitizers and
// the other client.
TEST_F(ServerTest, SurvivesRandomlyDamagedFrames) {
  start();
  RemoteChannel client(address_, kAmple);
  std::mt19937 random(20240608);
  for (int round = 0; round < 1500; ++round) {
    std::string bytes = from_hex("4b 56 45 4c 00 01 00 00") + kDescribe + kGetObject;
    const std::size_t from = round % 8 == 0 ? 0 : 8;
    for (std::uint32_t damage = random() % 4; damage < 4; ++damage) {
      const std::size_t at = from + random() % (bytes.size() - from);
      switch (random() % 4) {
        case 0:
          bytes.erase(at, random() % 5);
          break;
        case 1:
          bytes.insert(at, random() % 5, static_cast<char>(random()));
          break;
        default:
          bytes[at] = static_cast<char>(random());
          break;
      }
      if (bytes.size() <= from) break;
    }
    PlainSocket peer = PlainSocket::connect(path_);
    peer.send(bytes);
    if (round % 2 == 0) peer.finish_sending();
    if (round % 16 == 0) (void)peer.receive(8);
    if (round % 50 == 0) {
      EXPECT_TRUE(served(client)) << round;
    }
  }
  EXPECT_TRUE(served(client));
}

TEST_F(ServerTest, AClientThatNeverReadsHoldsUpItselfAlone) {
  start();
  service_.set_reply(answer_with_four_megabytes);
  std::vector<PlainSocket> stuck;
  for (int count = 0; count < 5; ++count) {
    stuck.push_back(PlainSocket::greet(path_));
    for (int request = 0; request < 50; ++request)
      stuck.back().send(kGetObject);
  }
  RemoteChannel client(address_, kAmple);
  for (int round = 0; round < 50; ++round)
    EXPECT_TRUE(served(client));
  // Each has one answer that it does not take; its other requests wait in the system's buffer.
  ASSERT_TRUE(eventually([&] { return service_.calls().size() >= 55; }));
  EXPECT_TRUE(served(client));
  EXPECT_EQ(service_.calls().size(), 56U);

  // One that begins to read gets everything.
  for (int answer = 0; answer < 50; ++answer)
    EXPECT_EQ(stuck[0].receive_frame().size(), (4U << 20) + 8);
  stuck.clear();
  EXPECT_TRUE(served(client));
}

TEST_F(ServerTest, ServesAHundredSessionsAtOnce) {
  start();
  std::vector<std::unique_ptr<RemoteChannel>> clients;
  for (int count = 0; count < 100; ++count) {
    clients.push_back(std::make_unique<RemoteChannel>(address_, kAmple));
    ASSERT_EQ(clients.back()->bind(), Status::ok) << count;
  }
  for (int round = 0; round < 3; ++round) {
    for (const auto& client : clients)
      ASSERT_TRUE(served(*client));
  }
  EXPECT_EQ(service_.calls().size(), 300U);
}

TEST_F(ServerTest, ServesSessionsOnManyThreads) {
  start();
  std::vector<std::thread> threads;
  std::atomic<int> done = 0;
  for (std::uint16_t thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&, thread] {
      RemoteChannel client(address_, kAmple);
      for (int round = 0; round < 100; ++round)
        done += describe(client, thread) == Status::ok ? 1 : 0;
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(done, 800);
  EXPECT_EQ(service_.calls().size(), 800U);
}

// One that does wrong again and again has some lines for it, then counts.
TEST_F(ServerTest, AMisbehavingPeerDoesNotFillTheLog) {
  start_in_manual_time();
  const auto misbehave = [&](int times, std::string_view hex) {
    for (int count = 0; count < times; ++count) {
      PlainSocket peer = PlainSocket::connect(path_);
      peer.send(from_hex(hex));
      EXPECT_EQ(peer.receive_to_end(), "");
    }
  };
  const auto warnings = [&] {
    std::vector<std::string> lines = server_->log();
    std::erase_if(lines, [](const std::string& line) { return !line.starts_with("warning"); });
    return lines;
  };
  misbehave(25, "47 45 54 20 2f 20 48 54");
  ASSERT_EQ(warnings().size(), 10U);
  EXPECT_EQ(warnings().back(), "warning: session 10 closed: a greeting of another protocol");
  // What another one does wrong is told all the same.
  PlainSocket other = PlainSocket::greet(path_);
  other.send(from_hex("00 00 00 00"));
  EXPECT_EQ(other.receive_to_end(), "");
  ASSERT_EQ(warnings().size(), 11U);
  EXPECT_EQ(warnings().back(), "warning: session 26 closed: a frame of an impossible length");
  pass(9999ms);
  EXPECT_EQ(warnings().size(), 11U);
  pass(1ms);
  ASSERT_EQ(warnings().size(), 12U);
  EXPECT_EQ(warnings().back(), "warning: session closed: a greeting of another protocol (15 more within 10 s)");
  pass(1h);
  EXPECT_EQ(warnings().size(), 12U);
  // Then anew; and the end tells what is left to tell.
  misbehave(11, "47 45 54 20 2f 20 48 54");
  EXPECT_EQ(warnings().size(), 22U);
  server_->stop();
  ASSERT_EQ(warnings().size(), 23U);
  EXPECT_EQ(warnings().back(), "warning: session closed: a greeting of another protocol (1 more within 10 s)");
}

// The timers stand for all the memory that a session needs before it has begun. Its place is free again: the next one
// is welcome.
TEST_F(ServerTest, ASessionThatCouldNotBeginLeavesNoTrace) {
  std::atomic<bool> is_short = false;
  start({.max_sessions = 1, .make_timer = [&](asio::io_context&) -> std::unique_ptr<Timer> {
           if (is_short.exchange(false)) throw std::bad_alloc();
           return std::make_unique<IdleTimer>();
         }});
  is_short = true;
  EXPECT_EQ(PlainSocket::connect(path_).receive_to_end(), "");
  EXPECT_TRUE(server_->logged("warning: session 1 could not begin: "));
  EXPECT_FALSE(server_->logged("session 1 begins"));
  RemoteChannel client(address_, kAmple);
  EXPECT_TRUE(served(client)) << client.last_failure();
}

TEST_F(ServerTest, ASessionWithoutMemoryForItsGreetingLeavesNoTrace) {
  std::atomic<bool> is_short = false;
  start({.max_sessions = 1, .make_timer = [&](asio::io_context&) -> std::unique_ptr<Timer> {
           if (is_short.exchange(false)) return std::make_unique<FailingTimer>();
           return std::make_unique<IdleTimer>();
         }});
  is_short = true;
  EXPECT_EQ(PlainSocket::connect(path_).receive_to_end(), "");
  EXPECT_TRUE(server_->logged("warning: session 1 closed: out of memory"));
  RemoteChannel client(address_, kAmple);
  EXPECT_TRUE(served(client)) << client.last_failure();
}

// A line of the log is lost, and no session with it.
TEST_F(ServerTest, ALogWithoutMemoryCostsNoSession) {
  asio::io_context io(1);
  std::atomic<int> lost = 0;
  Server server(io, service_, address_, {}, [&](LogLevel, std::string_view) {
    ++lost;
    throw std::bad_alloc();
  });
  ASSERT_TRUE(server.listen());
  std::thread thread([&] { io.run(); });
  {
    RemoteChannel client(address_, kAmple);
    EXPECT_TRUE(served(client)) << client.last_failure();
    PlainSocket malformed = PlainSocket::greet(path_);
    malformed.send(from_hex("00 00 00 00"));
    EXPECT_EQ(malformed.receive_to_end(), "");
    EXPECT_TRUE(served(client)) << client.last_failure();
  }
  asio::post(io, [&] { server.stop(); });
  thread.join();
  EXPECT_GE(lost, 5);  // listening, two sessions begin, one is closed, listening no longer
}

TEST_F(ServerTest, StopsCleanlyWithSessionsOfEveryKind) {
  start();
  RemoteChannel client(address_, kAmple);
  ASSERT_TRUE(served(client));
  service_.set_reply(answer_with_four_megabytes);
  PlainSocket stuck = PlainSocket::greet(path_);
  stuck.send(kGetObject + kGetObject);
  PlainSocket silent = PlainSocket::connect(path_);
  ASSERT_TRUE(eventually([&] { return service_.calls().size() == 2; }));
  server_->stop();
  EXPECT_FALSE(std::filesystem::exists(path_));
  EXPECT_EQ(silent.receive_to_end(), "");
  EXPECT_EQ(describe(client, 1), Status::transport);
  EXPECT_EQ(service_.calls().size(), 2U);
  EXPECT_EQ(server_->log().back(), "info: stopped listening on unix:" + path_);
}

TEST_F(ServerTest, MayGoBeforeItsEventLoop) {
  asio::io_context io(1);
  {
    Server server(io, service_, address_, {}, {});
    ASSERT_TRUE(server.listen());
    const PlainSocket peer = PlainSocket::connect(path_);
    (void)io.poll();
  }
  EXPECT_FALSE(std::filesystem::exists(path_));
  (void)io.poll();
}

TEST_F(ServerTest, MayGoWithAnEventLoopThatNeverRan) {
  auto io = std::make_unique<asio::io_context>(1);
  auto server = std::make_unique<Server>(*io, service_, address_, ServerOptions{}, Logger{});
  ASSERT_TRUE(server->listen());
  PlainSocket peer = PlainSocket::connect(path_);
  (void)io->poll();
  server = nullptr;
  io = nullptr;
  EXPECT_EQ(peer.receive_to_end(), "");
}

TEST_F(ServerTest, ReportsWhyItCannotListen) {
  start();
  asio::io_context io(1);
  Server second(io, service_, address_, {}, {});
  const auto listening = second.listen();
  ASSERT_FALSE(listening);
  EXPECT_EQ(listening.error(), "cannot listen on " + path_ + ": a server is already listening there");
  RemoteChannel client(address_, kAmple);
  EXPECT_TRUE(served(client));
}

}  // namespace
}  // namespace kvel::rpc::testing::server_test
