// A connected byte stream whose operations end by a deadline. The protocol (remote_channel.h) knows no more than this
// of a transport; another one is another class here and another case in open_stream.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <system_error>
#include <tl/expected.hpp>

#include "rpc/wire/address.h"

namespace kvel::rpc {

using Deadline = std::chrono::steady_clock::time_point;

class Stream {
 public:
  Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  virtual ~Stream() = default;

  // Writes all of `bytes`. An error of std::errc::timed_out when the peer did not take them in time.
  [[nodiscard]] virtual std::error_code write(std::span<const std::byte> bytes, Deadline deadline) = 0;

  // Waits for bytes and reads what is there, at least one. The end of the stream is
  // std::errc::connection_reset.
  [[nodiscard]] virtual tl::expected<std::size_t, std::error_code> read_some(std::span<std::byte> space,
                                                                             Deadline deadline) = 0;

  // Whether nothing has happened on a connection on which nothing is due: neither the peer's end nor stray bytes.
  [[nodiscard]] virtual bool is_quiet() = 0;
};

// Waits for events of a socket, as poll() names them: no error when one is there, std::errc::timed_out when the
// deadline has passed before. A test can have time pass when it wants.
using Wait = std::function<std::error_code(int socket, short events, Deadline deadline)>;

// By the system's steady clock.
[[nodiscard]] std::error_code wait_by_clock(int socket, short events, Deadline deadline);

// A stream that waits with `wait`; the connecting itself always goes by the clock.
[[nodiscard]] tl::expected<std::unique_ptr<Stream>, std::error_code> open_stream(const Address& address,
                                                                                 Deadline deadline, Wait wait);

}  // namespace kvel::rpc
