// The manager's side of remote channels: serves a Service to many sessions on the one thread that runs its io_context.
//
//   asio::io_context io(1);
//   Server server(io, manager, *parse_address("/run/kvel/manager"), {}, log);
//   if (auto listening = server.listen(); !listening) ... listening.error() gives the reason
//   io.run();  // until stop()
#pragma once

#include <asio/io_context.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <tl/expected.hpp>

#include "rpc/calls/service.h"
#include "rpc/server/log.h"
#include "rpc/server/timer.h"
#include "rpc/wire/address.h"

namespace kvel::rpc {

struct ServerOptions {
  // Clients that have greeted; one more is refused with a reason. Connections that have not may be some more, and the
  // oldest of them give way to new ones.
  std::size_t max_sessions = 256;
  // How long a client has for its hello, and for each 64 KiB of a request that it has begun; then it is given up.
  std::chrono::milliseconds receive_time = std::chrono::seconds(10);
  // How long a client has to take each 1 MiB of an answer that waits for it, or the rest; then it is given up.
  std::chrono::milliseconds answer_time = std::chrono::seconds(60);
  // The bound of all answers that clients have not taken yet, in bytes; above it new requests wait.
  std::size_t answer_memory = std::size_t{64} << 20;
  MakeTimer make_timer = make_steady_timer;
};

// Its functions are called on the thread that runs `io`, or while nobody runs it.
class Server {
 public:
  // Does nothing yet. `io` and `service` outlive the server. `log` may be empty.
  Server(asio::io_context& io, Service& service, Address address, ServerOptions options, Logger log);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server();  // stops

  // Opens the socket and begins to serve; the error is a sentence for the user. Once only.
  [[nodiscard]] tl::expected<void, std::string> listen();

  // Removes the socket file, closes the listening socket and all sessions. The call under way, if any, has been carried
  // out and its answer handed to the system as far as the peer's buffer takes it. `io` then runs out of work.
  void stop();

 private:
  class State;
  std::shared_ptr<State> state_;  // shared with completions that are still on their way
};

}  // namespace kvel::rpc
