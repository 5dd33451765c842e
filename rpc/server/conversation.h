// One session's protocol on the server: what the bytes received so far ask for. It knows no sockets; session.h moves
// the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "rpc/calls/service.h"
#include "rpc/wire/byte_buffer.h"
#include "rpc/wire/frame.h"

namespace kvel::rpc {

class Conversation {
 public:
  enum class Next : std::uint8_t {
    receive,         // more bytes are needed
    send,            // send what is in `out`, then ask again
    send_and_close,  // likewise, then close
    close,           // the peer does not keep to the protocol; error() gives the reason
  };

  // With `admitted` false the peer is greeted with a refusal. `service` outlives the conversation.
  Conversation(Service& service, bool admitted) : service_(service), admitted_(admitted) {}

  // Takes at most one hello or request from the front of `in` and puts the reply into the empty `out`. Throws
  // std::bad_alloc.
  [[nodiscard]] Next proceed(ByteBuffer& in, ByteBuffer& out);

  // What is wrong, when the session is closed; empty when nothing is.
  [[nodiscard]] std::string_view error() const { return error_; }

 private:
  Next greet(ByteBuffer& in, ByteBuffer& out);
  void answer(std::span<std::byte> payload, ByteBuffer& out);
  void call(Request& request, ByteBuffer& out);
  Next close(std::string_view error);

  Service& service_;
  bool admitted_;
  bool greeted_ = false;
  std::string_view error_;          // a literal
  std::vector<std::byte> scratch_;  // returned buffers that the peer did not send
  ResponseBuffer response_;
};

}  // namespace kvel::rpc
