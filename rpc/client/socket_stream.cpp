// Streams over sockets. The socket does not block; waiting is one poll with what is left of the deadline, so that a
// call costs a send, a poll and a receive and no timer.
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <asio.hpp>
#include <cerrno>
#include <limits>
#include <utility>

#include "process/descriptor.h"
#include "rpc/client/stream.h"

namespace kvel::rpc {

namespace {

using std::chrono::steady_clock;

std::error_code last_error() { return {errno, std::system_category()}; }
std::error_code timed_out() { return make_error_code(std::errc::timed_out); }

// Asio has a category of its own for system errors, which does not compare with std::errc.
std::error_code as_system_error(const std::error_code& error) {
  return error.category() == asio::system_category() ? std::error_code(error.value(), std::system_category()) : error;
}

// Milliseconds for poll, rounded up so that it does not return just before the deadline.
int poll_time(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

template <class Protocol>
class SocketStream final : public Stream {
 public:
  // Takes over a connected socket.
  SocketStream(const Protocol& protocol, int descriptor, Wait wait)
      : socket_(context_, protocol, descriptor), wait_(std::move(wait)) {
    socket_.non_blocking(true);
  }

  std::error_code write(std::span<const std::byte> bytes, Deadline deadline) override {
    while (true) {
      std::error_code error;
      const std::size_t written = socket_.write_some(asio::buffer(bytes.data(), bytes.size()), error);
      bytes = bytes.subspan(written);
      if (bytes.empty()) return {};
      if (error && !is_passing(error)) return as_system_error(error);
      if (error = wait_(socket_.native_handle(), POLLOUT, deadline); error) return error;
    }
  }

  tl::expected<std::size_t, std::error_code> read_some(std::span<std::byte> space, Deadline deadline) override {
    while (true) {
      // An answer is never there at once, so the wait comes first.
      if (const std::error_code error = wait_(socket_.native_handle(), POLLIN, deadline); error)
        return tl::unexpected(error);
      std::error_code error;
      const std::size_t count = socket_.read_some(asio::buffer(space.data(), space.size()), error);
      if (!error) return count;
      if (error == asio::error::eof) return tl::unexpected(make_error_code(std::errc::connection_reset));
      if (!is_passing(error)) return tl::unexpected(as_system_error(error));
    }
  }

  bool is_quiet() override {
    pollfd state{socket_.native_handle(), POLLIN, 0};
    return ::poll(&state, 1, 0) == 0;
  }

 private:
  static bool is_passing(const std::error_code& error) {
    return error == asio::error::would_block || error == asio::error::interrupted;
  }

  asio::io_context context_{1};
  asio::basic_stream_socket<Protocol> socket_;
  Wait wait_;
};

// A Unix socket that connects waits only for a slot in the listener's queue, and without blocking it would not wait at
// all. So it connects blocking, with the deadline as its send time-out.
std::error_code connect_by(int descriptor, const sockaddr* address, socklen_t length, Deadline deadline) {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - steady_clock::now()).count();
    if (left <= 0) return timed_out();
    timeval time{};
    time.tv_sec = static_cast<decltype(time.tv_sec)>(left / 1'000'000);
    time.tv_usec = static_cast<decltype(time.tv_usec)>(left % 1'000'000);
    if (::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) != 0) return last_error();
    if (::connect(descriptor, address, length) == 0) return {};
    if (errno == EAGAIN) return timed_out();
    if (errno != EINTR) return last_error();
  }
}

}  // namespace

std::error_code wait_by_clock(int socket, short events, Deadline deadline) {
  while (true) {
    pollfd state{socket, events, 0};
    const int ready = ::poll(&state, 1, poll_time(deadline));
    if (ready > 0) return {};
    if (ready == 0) return timed_out();
    if (errno != EINTR) return last_error();
  }
}

tl::expected<std::unique_ptr<Stream>, std::error_code> open_stream(const Address& address, Deadline deadline,
                                                                   Wait wait) {
  const asio::local::stream_protocol protocol;
  const asio::local::stream_protocol::endpoint endpoint(address.path());
  Descriptor descriptor(::socket(protocol.family(), protocol.type() | SOCK_CLOEXEC, protocol.protocol()));
  if (!descriptor.is_open()) return tl::unexpected(last_error());
  const auto* name = static_cast<const sockaddr*>(endpoint.data());
  if (const auto error = connect_by(descriptor.get(), name, static_cast<socklen_t>(endpoint.size()), deadline); error) {
    return tl::unexpected(error);
  }
  auto stream =
      std::make_unique<SocketStream<asio::local::stream_protocol>>(protocol, descriptor.get(), std::move(wait));
  (void)descriptor.release();
  return stream;
}

}  // namespace kvel::rpc
