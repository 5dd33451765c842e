// The path from tnrpc_call to the classification manager: in the same process, or over a connection.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "rpc/calls/argument.h"
#include "rpc/calls/status.h"

namespace kvel::rpc {

// Used by one thread at a time.
class Channel {
 public:
  Channel() = default;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;
  virtual ~Channel() = default;

  // Makes sure that the manager is there: ok, or timed_out or transport. Not needed before a call.
  [[nodiscard]] virtual Status bind() = 0;

  // Carries out the call in row `call` of kCalls with arguments that have been checked against that row; the response
  // is empty. After a success (kvel::succeeded) the returned buffers and the response are filled. After a failure the
  // response has no meaning; whether returned buffers were touched depends on the channel. Throws std::bad_alloc.
  [[nodiscard]] virtual Status call(std::size_t call, std::span<const Argument> arguments) = 0;

  // Why bind() or call() last answered timed_out or transport, as a sentence part for the user; empty when they never
  // did.
  [[nodiscard]] virtual std::string_view last_failure() const { return {}; }
};

}  // namespace kvel::rpc
