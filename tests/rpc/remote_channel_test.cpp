// The remote client against managers that do not answer as they should.
#include "rpc/client/remote_channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <optional>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "tests/rpc/support.h"

namespace kvel::rpc::testing::remote_channel_test {
namespace {

using ::testing::HasSubstr;

// cm_update_classdesc answered with success, for the request id in the last digit.
const std::string kAnswer1 = from_hex("00 00 00 03 92 01 00");
const std::string kAnswer2 = from_hex("00 00 00 03 92 02 00");

void greet(PlainSocket& client) {
  EXPECT_EQ(to_hex(client.receive(8)), "4b 56 45 4c 00 01 00 00");
  client.send(from_hex("4b 56 45 4c 00 01 00 00"));
}

// The greeting, one request that is answered with `answer`, then the client's end of the connection.
ScriptedServer::Step answering(std::string answer) {
  return [=](PlainSocket& client) {
    greet(client);
    EXPECT_FALSE(client.receive_frame().empty());
    client.send(answer);
    EXPECT_EQ(client.receive_to_end(), "");
  };
}

class RemoteClient : public ::testing::Test {
 protected:
  void use() {
    installed_.reset();
    channel_.emplace(*parse_address(path_), kAmple, time_.wait());
    installed_.emplace(*channel_);
  }
  static std::int32_t call() { return tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, "b", 0, 0); }
  // The greeting, one request, as much of an answer as that, and then nothing for as long as the client waits.
  ScriptedServer::Step silent_after(std::string part) {
    return [=, this](PlainSocket& client) {
      greet(client);
      EXPECT_FALSE(client.receive_frame().empty());
      client.send(part);
      time_.pass();
      EXPECT_EQ(client.receive_to_end(), "");
    };
  }
  std::string failure() { return std::string(channel_->last_failure()); }
  void disconnect() {
    installed_.reset();
    channel_.reset();
  }

  TempFolder folder_;
  std::string path_ = folder_.file("manager");
  ClientTime time_;  // the scripts have it pass
  std::optional<RemoteChannel> channel_;
  std::optional<InstalledChannel> installed_;
};

TEST_F(RemoteClient, NobodyThere) {
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": cannot connect: No such file or directory");
  EXPECT_EQ(call(), -997);
}

TEST_F(RemoteClient, AFileIsNoManager) {
  std::ofstream(path_) << "text";
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(call(), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": cannot connect: Connection refused");
}

TEST_F(RemoteClient, ASocketThatNobodyServesAnyMore) {
  (void)listening_socket(path_, 1);
  use();
  EXPECT_EQ(call(), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": cannot connect: Connection refused");
}

TEST_F(RemoteClient, AnAnswerInPiecesIsWhole) {
  const ScriptedServer server(path_, {[](PlainSocket& client) {
                                greet(client);
                                (void)client.receive_frame();
                                for (char byte : kAnswer1) {
                                  client.send(std::string_view(&byte, 1));
                                  std::this_thread::yield();
                                }
                                (void)client.receive_to_end();
                              }});
  use();
  EXPECT_EQ(call(), 0);
  disconnect();
}

TEST_F(RemoteClient, SendsTheDocumentedBytes) {
  std::string request;
  {
    const ScriptedServer server(path_, {[&](PlainSocket& client) {
                                  greet(client);
                                  request = client.receive_frame();
                                  client.send(kAnswer1);
                                  (void)client.receive_to_end();
                                }});
    use();
    EXPECT_EQ(call(), 0);
    disconnect();
  }
  EXPECT_EQ(to_hex(request), "97 01 b3 63 6d 5f 75 70 64 61 74 65 5f 63 6c 61 73 73 64 65 73 63 00 00 a1 61 a1 62 00");
}

TEST_F(RemoteClient, TimesOutWhenNobodyGreets) {
  const auto silent = [&](PlainSocket& client) {
    EXPECT_EQ(client.receive(8).size(), 8U);
    time_.pass();
    EXPECT_EQ(client.receive_to_end(), "");
  };
  const ScriptedServer server(path_, {silent, silent});
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": no greeting within 60 s");
  time_.stand_still();
  EXPECT_EQ(call(), -998);
  disconnect();
}

TEST_F(RemoteClient, TimesOutInTheMiddleOfAGreeting) {
  const ScriptedServer server(path_, {[&](PlainSocket& client) {
                                EXPECT_EQ(client.receive(8).size(), 8U);
                                client.send("KVEL");
                                time_.pass();
                                EXPECT_EQ(client.receive_to_end(), "");
                              }});
  use();
  EXPECT_EQ(call(), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": no greeting within 60 s");
}

// By the clock, as is all connecting. The queue has no free slot however long it takes.
TEST_F(RemoteClient, TimesOutWhenTheQueueOfTheServerIsFull) {
  const Descriptor listener = listening_socket(path_, 0);
  const PlainSocket waiting = PlainSocket::connect(path_);
  use();
  channel_->set_call_time(std::chrono::milliseconds(20));
  EXPECT_EQ(tnrpc_clnt_init(2), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": cannot connect within 0.02 s");
}

// The deadline of the real clock, for one that never answers.
TEST_F(RemoteClient, TimesOutByTheClock) {
  const ScriptedServer server(path_, {[](PlainSocket& client) {
                                greet(client);
                                (void)client.receive_to_end();
                              }});
  RemoteChannel channel(*parse_address(path_), kAmple);
  const InstalledChannel installed(channel);
  ASSERT_EQ(tnrpc_clnt_init(2), 0);
  channel.set_call_time(std::chrono::milliseconds(20));
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(call(), -998);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(20));
  EXPECT_EQ(channel.last_failure(), "unix:" + path_ + ": no answer within 0.02 s");
}

TEST_F(RemoteClient, TimesOutWhenNothingIsAnsweredAndConnectsAnew) {
  const ScriptedServer server(path_, {silent_after(""), answering(kAnswer2)});
  use();
  EXPECT_EQ(call(), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": no answer within 60 s");
  time_.stand_still();
  EXPECT_EQ(call(), 0);
  disconnect();
}

TEST_F(RemoteClient, TimesOutInTheMiddleOfAnAnswer) {
  const ScriptedServer server(path_, {silent_after(kAnswer1.substr(0, 6)), silent_after(kAnswer2.substr(0, 2))});
  use();
  EXPECT_EQ(call(), -998);
  time_.stand_still();
  EXPECT_EQ(call(), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": no answer within 60 s");
  disconnect();
}

TEST_F(RemoteClient, TimesOutWhenTheServerDoesNotRead) {
  std::promise<void> over;
  const ScriptedServer server(path_, {[&](PlainSocket& client) {
                                greet(client);
                                time_.pass();
                                over.get_future().wait();
                              }});
  use();
  const std::string text(983'039, 'x');
  EXPECT_EQ(tnrpc_call("cm_update_classdesc", 5, 1, 0, 6, 0U, 4, "a", 4, text.c_str(), 0, 0), -998);
  EXPECT_EQ(failure(), "unix:" + path_ + ": the request was not sent within 60 s");
  over.set_value();
}

TEST_F(RemoteClient, AConnectionThatIsClosedIsLost) {
  const auto closing = [](std::string first) {
    return [=](PlainSocket& client) {
      greet(client);
      (void)client.receive_frame();
      client.send(first);
    };
  };
  const ScriptedServer server(
      path_, {[](PlainSocket& client) { (void)client.receive(8); }, [](PlainSocket& client) { client.close(); },
              closing(""), closing(kAnswer1.substr(0, 3)), closing(kAnswer1.substr(0, 6))});
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": no greeting: the manager closed the connection");
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  for (int count = 0; count < 3; ++count) {
    EXPECT_EQ(call(), -997);
    EXPECT_EQ(failure(), "unix:" + path_ + ": no answer: the manager closed the connection");
  }
}

TEST_F(RemoteClient, ALateAnswerIsNotTakenForAnother) {
  const ScriptedServer server(path_,
                              {silent_after(""), answering(kAnswer1), answering(from_hex("00 00 00 03 92 03 00"))});
  use();
  EXPECT_EQ(call(), -998);
  time_.stand_still();
  EXPECT_EQ(call(), -997);  // id 2, answered as 1
  EXPECT_EQ(failure(), "unix:" + path_ + ": an answer to another request");
  EXPECT_EQ(call(), 0);
  disconnect();
}

TEST_F(RemoteClient, AnotherProtocolIsNoManager) {
  const auto greeting = [](std::string_view hex) {
    return [=](PlainSocket& client) {
      (void)client.receive(8);
      client.send(from_hex(hex));
      (void)client.receive_to_end();
    };
  };
  const ScriptedServer server(path_, {greeting("48 54 54 50 2f 31 2e 31"), greeting("4b 56 45 4c 00 02 00 01"),
                                      greeting("4b 56 45 4c 00 01 00 02"), greeting("4b 56 45 4c 00 01 00 09")});
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": who listens there is no manager");
  EXPECT_EQ(call(), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": the manager speaks version 2 of the protocol, not 1");
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": the manager has reached its session limit");
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
  EXPECT_EQ(failure(), "unix:" + path_ + ": the manager refused the session");
}

TEST_F(RemoteClient, AMalformedAnswerEndsTheConnection) {
  std::vector<ScriptedServer::Step> steps;
  for (const char* frame :
       {"00 00 00 00", "ff ff ff ff", "04 00 00 01", "00 00 00 01 c0", "00 00 00 02 92 01", "00 00 00 04 92 01 00 00",
        "00 00 00 04 93 01 00 c0", "00 00 00 03 92 ff 00", "00 00 00 03 92 01 00 00"}) {
    steps.push_back(answering(from_hex(frame)));
  }
  const std::size_t count = steps.size();
  const ScriptedServer server(path_, std::move(steps));
  for (std::size_t round = 0; round < count; ++round) {
    use();
    EXPECT_EQ(call(), -997) << round;
    EXPECT_THAT(failure(), HasSubstr("unix:" + path_ + ": ")) << round;
  }
}

TEST_F(RemoteClient, ARestartedManagerIsFoundAgain) {
  RecordingService service;
  auto server = std::make_unique<ServerThread>(service, path_);
  use();
  EXPECT_EQ(call(), 0);
  server = nullptr;
  EXPECT_EQ(call(), -997);  // also survives the signal of a write to a closed connection
  EXPECT_EQ(failure(), "unix:" + path_ + ": cannot connect: No such file or directory");
  server = std::make_unique<ServerThread>(service, path_);
  EXPECT_EQ(call(), 0);
  EXPECT_EQ(service.calls().size(), 2U);
}

TEST_F(RemoteClient, AManagerThatRestartedBetweenTwoCallsIsNotMissed) {
  RecordingService service;
  auto server = std::make_unique<ServerThread>(service, path_);
  use();
  EXPECT_EQ(call(), 0);
  server = nullptr;
  server = std::make_unique<ServerThread>(service, path_);
  EXPECT_EQ(call(), 0);
  server = nullptr;
  server = std::make_unique<ServerThread>(service, path_);
  EXPECT_EQ(tnrpc_clnt_init(2), 0);
  EXPECT_EQ(call(), 0);
  EXPECT_EQ(service.calls().size(), 3U);
  EXPECT_EQ(failure(), "");
}

TEST_F(RemoteClient, BindingNoticesThatTheManagerHasGone) {
  RecordingService service;
  auto server = std::make_unique<ServerThread>(service, path_);
  use();
  EXPECT_EQ(tnrpc_clnt_init(2), 0);
  server = nullptr;
  EXPECT_EQ(tnrpc_clnt_init(2), -997);
}

}  // namespace
}  // namespace kvel::rpc::testing::remote_channel_test
