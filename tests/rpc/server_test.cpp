// A real server on its socket against peers of every kind; whatever one does, the others are served.
#include "rpc/server/server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <new>
#include <optional>
#include <random>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "rpc/client/remote_channel.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::server_test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kDescription = find_call("cm_update_classdesc");

// cm_update_classdesc(0, 0, "a", "b", 0) with request id 1, and the same for kvel_get_object(0, 1, "a").
const std::string kDescribe =
    from_hex("00 00 00 1d 97 01 b3 63 6d 5f 75 70 64 61 74 65 5f 63 6c 61 73 73 64 65 73 63 00 00 a1 61 a1 62 00");
const std::string kGetObject =
    from_hex("00 00 00 16 95 01 af 6b 76 65 6c 5f 67 65 74 5f 6f 62 6a 65 63 74 00 01 a1 61");
const std::string kDone = "92 01 00";
const std::string kHello = from_hex("4b 56 45 4c 00 01 00 00");

// A call on a channel of its own, for tests that have many.
Status describe(RemoteChannel& channel, std::uint16_t context) {
  const std::array arguments = {
      Argument{ArgType::u16, context, {}, {}, nullptr}, Argument{ArgType::session, 0, {}, {}, nullptr},
      Argument{ArgType::string, 0, "a", {}, nullptr}, Argument{ArgType::string, 0, "b", {}, nullptr},
      Argument{ArgType::u8, 0, {}, {}, nullptr}};
  return channel.call(kDescription, arguments);
}

class IdleTimer : public Timer {
 public:
  void start(std::chrono::milliseconds, std::function<void()>) override {}
  void stop() override {}
};

class FailingTimer final : public IdleTimer {
 public:
  void start(std::chrono::milliseconds, std::function<void()>) override { throw std::bad_alloc(); }
};

class ServerTest : public ::testing::Test {
 protected:
  void start(ServerOptions options = {}) { server_.emplace(service_, path_, std::move(options)); }
  // Its time stands still but for pass().
  void start_in_manual_time(ServerOptions options = {}) {
    options.make_timer = time_.timers();
    start(std::move(options));
  }
  void pass(std::chrono::milliseconds time) {
    server_->run([&] { time_.pass(time); });
  }
  bool served(RemoteChannel& client) { return describe(client, 7) == Status::ok; }

  TempFolder folder_;
  std::string path_ = folder_.file("manager");
  Address address_ = *parse_address(path_);
  RecordingService service_;
  ServerTime time_;
  std::optional<ServerThread> server_;
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
  service_.set_reply([](std::span<const Argument> arguments) {
    if (arguments.size() == 4) std::memset(arguments[3].response->extend(4 << 20), 'x', 4 << 20);
    return Status::ok;
  });
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

// Connections that send nothing would take the place of clients.
TEST_F(ServerTest, AClientThatDoesNotGreetIsGivenUp) {
  start_in_manual_time({.max_sessions = 2, .receive_time = 5s});
  PlainSocket greeted = PlainSocket::greet(path_);
  PlainSocket silent = PlainSocket::connect(path_);
  ASSERT_TRUE(eventually([&] { return server_->logged("session 2 begins"); }));
  pass(1s);
  PlainSocket half = PlainSocket::connect(path_);
  half.send("KVEL");
  ASSERT_TRUE(eventually([&] { return server_->logged("session 3 begins"); }));
  pass(3999ms);
  EXPECT_FALSE(server_->logged("closed"));
  pass(1ms);
  EXPECT_TRUE(server_->logged("session 2 closed: its client has not greeted"));
  ASSERT_TRUE(silent.is_closed_by_peer());
  EXPECT_EQ(silent.receive_to_end(), "");
  EXPECT_FALSE(server_->logged("session 3 closed"));
  pass(1s);
  EXPECT_TRUE(server_->logged("session 3 closed: its client has not greeted"));
  ASSERT_TRUE(half.is_closed_by_peer());
  EXPECT_EQ(half.receive_to_end(), "");
  PlainSocket next = PlainSocket::greet(path_);  // there is a free slot again
  pass(1h);
  for (PlainSocket* client : {&greeted, &next}) {
    client->send(kDescribe);
    EXPECT_EQ(to_hex(client->receive_frame()), kDone);
  }
}

// The greeting has as long as it takes to come whole, and no longer.
TEST_F(ServerTest, AClientThatGreetsByteByByteGainsNoTime) {
  start_in_manual_time();
  PlainSocket peer = PlainSocket::connect(path_);
  ASSERT_TRUE(eventually([&] { return server_->logged("session 1 begins"); }));
  for (char byte : std::string_view("KVEL")) {
    peer.send({&byte, 1});
    EXPECT_TRUE(PlainSocket::greet(path_).is_open());  // the byte has come before
    pass(2499ms);
  }
  EXPECT_FALSE(server_->logged("closed"));
  pass(4ms);
  EXPECT_TRUE(server_->logged("session 1 closed: its client has not greeted"));
  ASSERT_TRUE(peer.is_closed_by_peer());
  EXPECT_EQ(peer.receive_to_end(), "");
}

Status answer_with_four_megabytes(std::span<const Argument> arguments) {
  if (arguments.size() == 4) std::memset(arguments[3].response->extend(4 << 20), 'x', 4 << 20);
  return Status::ok;
}

TEST_F(ServerTest, AClientThatHasStoppedReadingIsGivenUp) {
  start_in_manual_time();
  service_.set_reply(answer_with_four_megabytes);
  PlainSocket silent = PlainSocket::greet(path_);
  PlainSocket stuck = PlainSocket::greet(path_);
  stuck.send(kGetObject);
  ASSERT_TRUE(eventually([&] { return service_.calls().size() == 1; }));
  pass(59'999ms);
  EXPECT_FALSE(server_->logged("closed"));
  pass(1ms);
  EXPECT_TRUE(server_->logged("session 2 closed: its client takes too long to read an answer"));
  ASSERT_TRUE(stuck.is_closed_by_peer());
  EXPECT_LT(stuck.receive_to_end().size(), 4U << 20);
  // One that asks for nothing may be silent for as long as it likes.
  pass(1h);
  silent.send(kDescribe);
  EXPECT_EQ(to_hex(silent.receive_frame()), kDone);
}

// An answer that is taken at a fair pace may last longer than that in all.
TEST_F(ServerTest, AClientThatReadsSlowlyGetsEverything) {
  start_in_manual_time({.answer_time = 3s});
  service_.set_reply(answer_with_four_megabytes);
  PlainSocket slow = PlainSocket::greet(path_);
  slow.send(kGetObject);
  std::size_t taken = 0;
  for (int piece = 0; piece < 16; ++piece) {
    taken += slow.receive(256 << 10).size();
    server_->settle();
    pass(500ms);
  }
  taken += slow.receive(12).size();
  EXPECT_EQ(taken, (4U << 20) + 12);
  pass(1h);  // nothing is due any more
  slow.send(kDescribe);
  EXPECT_EQ(to_hex(slow.receive_frame()), kDone);
}

// One that takes a little now and then would hold the memory of its answer for days.
TEST_F(ServerTest, AClientThatReadsTooSlowlyIsGivenUp) {
  start_in_manual_time({.answer_time = 3s});
  service_.set_reply(answer_with_four_megabytes);
  PlainSocket slow = PlainSocket::greet(path_);
  slow.send(kGetObject);
  for (int piece = 0; piece < 3; ++piece) {
    EXPECT_EQ(slow.receive(256 << 10).size(), 256U << 10);
    server_->settle();
    pass(999ms);
  }
  EXPECT_FALSE(server_->logged("closed"));
  pass(3ms);
  EXPECT_TRUE(server_->logged("session 1 closed: its client takes too long to read an answer"));
  ASSERT_TRUE(slow.is_closed_by_peer());
}

// A frame that is begun has its time, whatever trickles in; a client between two frames has as much as it likes.
TEST_F(ServerTest, AClientThatDoesNotFinishARequestIsGivenUp) {
  start_in_manual_time({.receive_time = 5s});
  PlainSocket idle = PlainSocket::greet(path_);
  PlainSocket half = PlainSocket::greet(path_);
  PlainSocket trickling = PlainSocket::greet(path_);
  pass(1h);
  half.send(kDescribe + kDescribe.substr(0, 1));  // with the first byte of the next frame
  trickling.send(kDescribe.substr(0, 20));
  server_->settle();
  EXPECT_EQ(to_hex(half.receive_at_once()), "00 00 00 03 " + kDone);
  for (const char byte : kDescribe.substr(20, 5)) {
    pass(999ms);
    trickling.send({&byte, 1});
    server_->settle();
  }
  EXPECT_FALSE(server_->logged("closed"));
  pass(5ms);
  EXPECT_TRUE(server_->logged("session 2 closed: its client takes too long to send a request"));
  EXPECT_TRUE(server_->logged("session 3 closed: its client takes too long to send a request"));
  ASSERT_TRUE(half.is_closed_by_peer());
  ASSERT_TRUE(trickling.is_closed_by_peer());
  idle.send(kDescribe);
  server_->settle();
  EXPECT_EQ(to_hex(idle.receive_at_once()), "00 00 00 03 " + kDone);
  EXPECT_EQ(service_.calls().size(), 2U);
}

// The time begins anew with each frame, and ends with it.
TEST_F(ServerTest, EachRequestHasTimeOfItsOwn) {
  start_in_manual_time({.receive_time = 5s});
  PlainSocket peer = PlainSocket::greet(path_);
  for (int round = 0; round < 3; ++round) {
    peer.send(kDescribe.substr(0, 20));
    server_->settle();
    pass(4999ms);
    peer.send(kDescribe.substr(20));
    server_->settle();
    ASSERT_EQ(to_hex(peer.receive_at_once()), "00 00 00 03 " + kDone);
  }
  pass(1h);
  EXPECT_FALSE(server_->logged("closed"));
}

// A large request over a slow connection: 64 KiB within each five seconds are enough, and necessary.
TEST_F(ServerTest, AClientThatSendsMuchHasTimeForEachPiece) {
  start_in_manual_time({.receive_time = 5s});
  PlainSocket peer = PlainSocket::greet(path_);
  std::string request = from_hex("00 08 00 0c 92 01 db 00 08 00 05");  // an unknown call with a name of 512 KiB
  request.append((512 << 10) + 5, 'x');
  constexpr std::size_t kPiece = 64 << 10;
  for (std::size_t piece = 0; piece < 8; ++piece) {
    peer.send(std::string_view(request).substr(piece * kPiece, kPiece));
    server_->settle();
    pass(4999ms);
  }
  ASSERT_FALSE(server_->logged("closed"));
  peer.send(std::string_view(request).substr(8 * kPiece));
  server_->settle();
  EXPECT_EQ(to_hex(peer.receive_at_once()), "00 00 00 05 92 01 d1 fc 19");  // -999

  for (std::size_t sent = 0; sent < 4 * kPiece; sent += kPiece / 4) {
    peer.send(std::string_view(request).substr(sent, kPiece / 4));
    server_->settle();
    pass(2s);
  }
  EXPECT_TRUE(server_->logged("session 1 closed: its client takes too long to send a request"));
  EXPECT_TRUE(peer.is_closed_by_peer());
}

// Requests for answers that together are more than the bound, and others that come after them.
class AnswerMemoryTest : public ServerTest {
 protected:
  void SetUp() override {
    start_in_manual_time({.answer_memory = std::size_t{6} << 20});
    service_.set_reply(answer_with_four_megabytes);
    for (int count = 0; count < 2; ++count) {
      stuck_.push_back(PlainSocket::greet(path_));
      stuck_.back().send(kGetObject);
    }
    server_->settle();
    for (char context : {'\3', '\4'}) {
      waiting_.push_back(PlainSocket::greet(path_));
      std::string request = kDescribe;
      request[26] = context;
      waiting_.back().send(request);
      server_->settle();
    }
    ASSERT_EQ(service_.calls().size(), 2U);
  }

  void expect_that_the_others_are_served() {
    const auto calls = service_.calls();
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[2], "cm_update_classdesc, u16 3, session 0, string 'a', string 'b', u8 0");
    EXPECT_EQ(calls[3], "cm_update_classdesc, u16 4, session 0, string 'a', string 'b', u8 0");
    for (PlainSocket& client : waiting_)
      EXPECT_EQ(to_hex(client.receive_at_once()), "00 00 00 03 " + kDone);
  }

  std::vector<PlainSocket> stuck_;
  std::vector<PlainSocket> waiting_;
};

TEST_F(AnswerMemoryTest, RequestsWaitUntilAnAnswerIsTaken) {
  pass(59s);
  EXPECT_EQ(stuck_[0].receive_frame().size(), (4U << 20) + 8);
  server_->settle();
  expect_that_the_others_are_served();
  pass(59s);
  // They waited for others, which is not held against them.
  EXPECT_FALSE(server_->logged("session 3 closed"));
  EXPECT_FALSE(server_->logged("session 4 closed"));
}

TEST_F(AnswerMemoryTest, RequestsWaitUntilAClientIsGone) {
  stuck_[1].close();
  server_->settle();
  expect_that_the_others_are_served();
}

TEST_F(AnswerMemoryTest, RequestsWaitUntilAClientIsGivenUp) {
  pass(60s);
  server_->settle();
  EXPECT_TRUE(stuck_[0].is_closed_by_peer());
  expect_that_the_others_are_served();
}

// The first that has its turn takes the memory that has become free, and the next one waits on.
TEST_F(AnswerMemoryTest, ATurnThatNeedsTheMemoryAgainEndsTheOthers) {
  PlainSocket third = PlainSocket::greet(path_);
  third.send(kGetObject);
  server_->settle();
  PlainSocket last = PlainSocket::greet(path_);
  last.send(kDescribe);
  server_->settle();
  stuck_[0].close();
  server_->settle();
  EXPECT_EQ(service_.calls().size(), 5U);
  EXPECT_EQ(last.receive_at_once(), "");
  EXPECT_EQ(third.receive_frame().size(), (4U << 20) + 8);
  server_->settle();
  EXPECT_EQ(to_hex(last.receive_at_once()), "00 00 00 03 " + kDone);
}

TEST_F(AnswerMemoryTest, AGreetingIsAnsweredMeanwhile) {
  PlainSocket client = PlainSocket::connect(path_);
  client.send(kHello);
  server_->settle();
  EXPECT_EQ(to_hex(client.receive_at_once()), to_hex(kHello));
}

TEST_F(AnswerMemoryTest, AClientThatLeavesWhileItsRequestWaitsHarmsNobody) {
  waiting_[0].close();
  server_->settle();
  stuck_.clear();
  server_->settle();
  EXPECT_EQ(to_hex(waiting_[1].receive_at_once()), "00 00 00 03 " + kDone);
  EXPECT_TRUE(eventually([&] { return server_->logged("session 2 closed") && server_->logged("session 3 "); }));
}

// A request that waits is not carried out by the end.
TEST_F(AnswerMemoryTest, NoRequestHasItsTurnAtTheEnd) {
  server_->stop();
  EXPECT_EQ(service_.calls().size(), 2U);
  for (PlainSocket& client : waiting_)
    EXPECT_EQ(client.receive_to_end(), "");
}

TEST_F(ServerTest, AnAnswerMayBeLargerThanTheMemoryOfAnswers) {
  start_in_manual_time({.answer_memory = 1});
  service_.set_reply(answer_with_four_megabytes);
  PlainSocket first = PlainSocket::greet(path_);
  PlainSocket second = PlainSocket::greet(path_);
  first.send(kGetObject + kGetObject);
  server_->settle();
  second.send(kGetObject);
  EXPECT_EQ(first.receive_frame().size(), (4U << 20) + 8);
  EXPECT_EQ(second.receive_frame().size(), (4U << 20) + 8);
  EXPECT_EQ(first.receive_frame().size(), (4U << 20) + 8);
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

TEST_F(ServerTest, RefusesSessionsAboveItsLimitUntilOneLeaves) {
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

// A peer that has not greeted takes nobody's place, however long it hangs on.
TEST_F(ServerTest, ASilentPeerKeepsNobodyOut) {
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

// What the server holds besides its sessions: connections that may yet greet.
constexpr std::size_t kNewcomers = 64;

// Connections that never greet keep nobody out who does, however many they are, and their number stays limited.
TEST_F(ServerTest, TheOldestThatHaveNotGreetedMakeRoom) {
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
  for (PlainSocket* peer : {&client, &greeted}) {
    if (peer == &client) {
      ASSERT_EQ(to_hex(client.receive_at_once()), to_hex(kHello));
    }
    peer->send(kDescribe);
    server_->settle();
    ASSERT_EQ(to_hex(peer->receive_at_once()), "00 00 00 03 " + kDone);
  }
}

// A client that has greeted never makes room, and is told of the limit.
TEST_F(ServerTest, SessionsMakeNoRoomForSilentConnections) {
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
TEST_F(ServerTest, OneThatLeavesLetsTheNextOneIn) {
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

TEST_F(ServerTest, SurvivesTheWantOfDescriptors) {
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
TEST_F(ServerTest, WithoutDescriptorsTheOldestThatHasNotGreetedMakesRoom) {
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

TEST_F(ServerTest, StopsCleanlyWithSessionsOfEveryKind) {
  start();
  RemoteChannel client(address_, kAmple);
  ASSERT_TRUE(served(client));
  service_.set_reply([](std::span<const Argument> arguments) {
    std::memset(arguments[3].response->extend(4 << 20), 'x', 4 << 20);
    return Status::ok;
  });
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
