// The manager in another process: one kept connection, one request at a time, each with a deadline.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "rpc/client/channel.h"
#include "rpc/client/stream.h"
#include "rpc/wire/address.h"
#include "rpc/wire/byte_buffer.h"

namespace kvel::rpc {

// Connects when bound or first called. After a failure on the connection it is closed, and the next call connects anew;
// a connection that the manager closed while nothing was under way is replaced without a failure.
//   timed_out  the deadline passed: while connecting, greeting, sending or waiting for the answer
//   transport  nobody there, the connection lost, a peer of another protocol or version
// In both cases the manager may have carried out the call or not. A failed call never writes to a returned buffer.
class RemoteChannel final : public Channel {
 public:
  explicit RemoteChannel(Address address, std::chrono::milliseconds call_time = std::chrono::seconds(30),
                         Wait wait = wait_by_clock);

  [[nodiscard]] Status bind() override;
  [[nodiscard]] Status call(std::size_t call, std::span<const Argument> arguments) override;
  [[nodiscard]] std::string_view last_failure() const override { return last_failure_; }

  // From the next call on.
  void set_call_time(std::chrono::milliseconds call_time) { call_time_ = call_time; }

 private:
  [[nodiscard]] Deadline deadline() const { return std::chrono::steady_clock::now() + call_time_; }
  [[nodiscard]] Status connect(Deadline deadline);
  [[nodiscard]] Status send_request(Deadline deadline);
  [[nodiscard]] Status receive_answer(std::size_t call, std::span<const Argument> arguments, Deadline deadline);
  // Reads on until at least `least` bytes have been received.
  [[nodiscard]] std::error_code receive(std::size_t least, Deadline deadline);

  void disconnect();
  // Drops the connection, remembers the reason and gives the status for it.
  Status fail(std::string_view doing, const std::error_code& error);
  Status fail(std::string reason);
  Status fail_without_memory();

  Address address_;
  std::chrono::milliseconds call_time_;
  Wait wait_;
  std::unique_ptr<Stream> stream_;
  ByteBuffer request_;
  ByteBuffer received_;
  std::uint32_t last_id_ = 0;
  std::string last_failure_;
};

}  // namespace kvel::rpc
