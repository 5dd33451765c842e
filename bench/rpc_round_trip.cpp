// One validated call over the Unix socket, to a service that stores nothing, against a raw exchange of the
// same bytes. Client and server share one CPU, and both pairs take turns. Prints the two medians in nanoseconds a call.
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <asio/io_context.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kvel/rpc.h"
#include "rpc/client/client.h"
#include "rpc/client/remote_channel.h"
#include "rpc/server/server.h"

namespace {

using namespace kvel::rpc;

// The frames of the call below, as docs/rpc.md shows them.
constexpr std::size_t kRequestBytes = 47;
constexpr std::size_t kAnswerBytes = 13;
constexpr int kCalls = 20000;
constexpr int kRuns = 9;

class EmptyService final : public Service {
 public:
  kvel::Status call(std::size_t, std::span<const Argument> arguments) noexcept override {
    for (const Argument& argument : arguments) {
      if (argument.type == ArgType::buffer) std::ranges::fill(argument.bytes, std::byte{0});
    }
    return kvel::Status::ok;
  }
};

[[noreturn]] void serve(const Address& address, int ready) {
  EmptyService service;
  asio::io_context io(1);
  Server server(io, service, address, {}, {});
  if (!server.listen() || write(ready, "x", 1) != 1) _exit(1);
  io.run();
  _exit(0);
}

bool receive(int descriptor, char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t got = read(descriptor, bytes, count);
    if (got <= 0) return false;
    bytes += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

[[noreturn]] void echo(int descriptor) {
  std::array<char, kRequestBytes> request{};
  std::array<char, kAnswerBytes> answer{};
  while (receive(descriptor, request.data(), request.size())) {
    if (write(descriptor, answer.data(), answer.size()) != static_cast<ssize_t>(answer.size())) _exit(1);
  }
  _exit(0);
}

template <class Turn>
double nanoseconds_each(const Turn& turn) {
  const auto start = std::chrono::steady_clock::now();
  for (int call = 0; call < kCalls; ++call)
    turn();
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / kCalls;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void call_once() {
  std::array<char, 4> word{};
  const int32_t status = tnrpc_call("cm_add_or_lookup_classmap", 7, TNRPC_ARG_U16, 300, TNRPC_ARG_SESSION,
                                    uint32_t{70000}, TNRPC_ARG_U8, 0, TNRPC_ARG_U8, 1, TNRPC_ARG_STRING, "web",
                                    TNRPC_ARG_U8, 1, TNRPC_ARG_BUFFER, static_cast<void*>(word.data()), uint32_t{4});
  if (status != 0) std::abort();
}

}  // namespace

int main() {
  cpu_set_t one_cpu;
  CPU_ZERO(&one_cpu);
  CPU_SET(sched_getcpu(), &one_cpu);
  sched_setaffinity(0, sizeof one_cpu, &one_cpu);

  char folder[] = "/tmp/kvel-bench-XXXXXX";
  int ready[2];
  int raw[2];
  if (mkdtemp(folder) == nullptr || pipe(ready) != 0 || socketpair(AF_UNIX, SOCK_STREAM, 0, raw) != 0) return 1;
  const auto address = parse_address(std::string(folder) + "/socket");
  const pid_t server = fork();
  if (server == 0) serve(*address, ready[1]);
  const pid_t echoer = fork();
  if (echoer == 0) echo(raw[1]);

  char byte = 0;
  if (read(ready[0], &byte, 1) != 1) return 1;
  RemoteChannel channel(*address);
  const InstalledChannel installed(channel);
  const auto exchange_once = [&] {
    std::array<char, kRequestBytes> request{};
    std::array<char, kAnswerBytes> answer{};
    if (write(raw[0], request.data(), request.size()) != static_cast<ssize_t>(request.size()) ||
        !receive(raw[0], answer.data(), answer.size())) {
      std::abort();
    }
  };

  std::vector<double> ours;
  std::vector<double> floor;
  for (int run = 0; run <= kRuns; ++run) {
    ours.push_back(nanoseconds_each(call_once));
    floor.push_back(nanoseconds_each(exchange_once));
  }
  ours.erase(ours.begin());  // the first of each warms up
  floor.erase(floor.begin());
  std::printf("%.0f %.0f\n", median(ours), median(floor));

  kill(server, SIGTERM);
  kill(echoer, SIGTERM);
  while (wait(nullptr) > 0) {
  }
  unlink((std::string(folder) + "/socket").c_str());
  rmdir(folder);
  return 0;
}
