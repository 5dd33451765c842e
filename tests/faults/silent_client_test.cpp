// Clients that stop reading their answers: the others are served, and the silent ones are given up in the end.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <vector>

#include "process/descriptor.h"
#include "rpc/wire/frame.h"
#include "tests/faults/daemon.h"
#include "tests/faults/inventory.h"
#include "tests/faults/length.h"
#include "tests/faults/remote_service.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"

namespace kvel::faults::silent_client_test {
namespace {

using manager::testing::Folder;

// Requests for pages of the configuration, one after the other.
std::string requests(std::size_t count) {
  rpc::ByteBuffer frames;
  std::array<std::byte, 66> cursor{};
  std::array<std::byte, 4> more{};
  for (std::size_t id = 1; id <= count; ++id) {
    std::array<rpc::Argument, 5> arguments{};
    arguments[0].type = rpc::ArgType::u16;
    arguments[1].type = rpc::ArgType::u32;
    arguments[2].type = rpc::ArgType::buffer;
    arguments[2].bytes = cursor;
    arguments[3].type = rpc::ArgType::buffer;
    arguments[3].bytes = more;
    arguments[4].type = rpc::ArgType::response;
    encode_request(frames, static_cast<std::uint32_t>(id), rpc::find_call("kvel_get_objects"), arguments);
  }
  const auto bytes = frames.bytes();
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// A client that asks and asks and reads nothing but the greeting.
Descriptor silent_client(const std::string& path, const std::string& asked) {
  Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  path.copy(name.sun_path, sizeof name.sun_path - 1);
  EXPECT_EQ(::connect(socket.get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
  auto hello = rpc::encode_hello({});
  EXPECT_EQ(::send(socket.get(), hello.data(), hello.size(), MSG_NOSIGNAL), static_cast<ssize_t>(hello.size()));
  EXPECT_EQ(::recv(socket.get(), hello.data(), hello.size(), MSG_WAITALL), static_cast<ssize_t>(hello.size()));
  // As much as the system takes.
  std::string_view rest = asked;
  while (!rest.empty()) {
    const ssize_t sent = ::send(socket.get(), rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) {
      EXPECT_EQ(errno, EAGAIN);
      break;
    }
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
  return socket;
}

// Whether the manager closes the connection, with nothing read from it; waits for that.
bool is_given_up(const Descriptor& socket) {
  pollfd state{socket.get(), POLLRDHUP, 0};
  return ::poll(&state, 1, static_cast<int>(std::chrono::milliseconds(kAmple).count())) == 1;
}

// A configuration whose page is a large answer.
void fill_a_page(rpc::Service& service) {
  manager::testing::Client client(service);
  for (int number = 0; number < 200; ++number) {
    const std::string name = "class-" + std::to_string(number);
    ASSERT_EQ(client.create(name), Status::ok);
    ASSERT_EQ(client.describe(name, std::string(240, 'd')), Status::ok);
  }
}

TEST(SilentClient, IsGivenUpWhileTheOthersAreServed) {
  const Folder folder;
  Daemon daemon(folder.path(), {"--answer-time", "1"});
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  RemoteService client(daemon.socket());
  ASSERT_NO_FATAL_FAILURE(fill_a_page(client));
  const std::string asked = requests(2000);
  ASSERT_FALSE(silent_client(daemon.socket(), asked).get() < 0);
  const std::size_t resident = daemon.resident();

  const int rounds = short_or_long(1, 20);
  const std::size_t silent = short_or_long<std::size_t>(10, 100);
  manager::testing::Client other(client);
  for (int round = 0; round < rounds; ++round) {
    std::vector<Descriptor> clients;
    for (std::size_t count = 0; count < silent; ++count) {
      clients.push_back(silent_client(daemon.socket(), asked));
      ASSERT_EQ(other.describe("class-7", "served " + std::to_string(count)), Status::ok);
    }
    for (const Descriptor& socket : clients) {
      ASSERT_TRUE(is_given_up(socket));
      ASSERT_EQ(other.describe("class-7", "served again"), Status::ok);
    }
  }
  EXPECT_TRUE(daemon.process().printed("closed: its client takes too long to read an answer"));
  // One answer of 64 KB at most is kept for each of them, and for none that has gone.
  EXPECT_LT(daemon.resident(), resident + silent * 256 * 1024 + (std::size_t{4} << 20U));
  EXPECT_EQ(daemon.stop(), 0);
}

// Without any memory for their answers, each is waited for until it is given up.
TEST(SilentClient, KeepsTheMemoryOfAnswersForItsTimeOnly) {
  const Folder folder;
  Daemon daemon(folder.path(), {"--answer-time", "1", "--answer-memory", "1k"});
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  RemoteService client(daemon.socket());
  ASSERT_NO_FATAL_FAILURE(fill_a_page(client));
  const std::string asked = requests(2000);
  const auto begin = std::chrono::steady_clock::now();
  const Descriptor first = silent_client(daemon.socket(), asked);
  const Descriptor second = silent_client(daemon.socket(), asked);
  manager::testing::Client other(client);
  ASSERT_EQ(other.describe("class-7", "served"), Status::ok);
  ASSERT_TRUE(is_given_up(first));
  ASSERT_TRUE(is_given_up(second));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));  // one after the other
  EXPECT_EQ(daemon.stop(), 0);
}

TEST(SilentClient, DoesNotHoldUpTheEnd) {
  const Folder folder;
  Daemon daemon(folder.path());
  ASSERT_NO_FATAL_FAILURE(daemon.start());
  RemoteService client(daemon.socket());
  ASSERT_NO_FATAL_FAILURE(fill_a_page(client));
  const Descriptor silent = silent_client(daemon.socket(), requests(2000));
  EXPECT_EQ(daemon.stop(), 0);
}

}  // namespace
}  // namespace kvel::faults::silent_client_test
