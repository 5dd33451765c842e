// How long the server waits for a client, and how much memory it keeps for those that do not take their answers.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "rpc/client/remote_channel.h"
#include "rpc/server/server.h"
#include "tests/rpc/server_fixture.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::server_patience_test {
namespace {

using namespace std::chrono_literals;

class ServerPatience : public ServerTest {};

// Connections that send nothing would take the place of clients.
TEST_F(ServerPatience, AClientThatDoesNotGreetIsGivenUp) {
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
TEST_F(ServerPatience, AClientThatGreetsByteByByteGainsNoTime) {
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

TEST_F(ServerPatience, AClientThatHasStoppedReadingIsGivenUp) {
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
TEST_F(ServerPatience, AClientThatReadsSlowlyGetsEverything) {
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
TEST_F(ServerPatience, AClientThatReadsTooSlowlyIsGivenUp) {
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
TEST_F(ServerPatience, AClientThatDoesNotFinishARequestIsGivenUp) {
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
TEST_F(ServerPatience, EachRequestHasTimeOfItsOwn) {
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
TEST_F(ServerPatience, AClientThatSendsMuchHasTimeForEachPiece) {
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
class AnswerMemoryTest : public ServerPatience {
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

TEST_F(ServerPatience, AnAnswerMayBeLargerThanTheMemoryOfAnswers) {
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

}  // namespace
}  // namespace kvel::rpc::testing::server_patience_test
