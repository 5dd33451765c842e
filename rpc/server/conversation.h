// One session's protocol on the server: what the bytes received so far ask for. It knows no sockets; session.h moves
// the bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
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

  // Asked once, when the peer has greeted in words that are spoken here: whether there is a place for it. Otherwise it
  // is greeted with a refusal.
  using Admit = std::function<bool()>;

  // `service` outlives the conversation.
  Conversation(Service& service, Admit admit) : service_(service), admit_(std::move(admit)) {}

  // Takes at most one hello or request from the front of `in` and puts the reply into the empty `out`. Throws
  // std::bad_alloc.
  [[nodiscard]] Next proceed(ByteBuffer& in, ByteBuffer& out);

  // Whether the next step is to carry out a request, or to refuse it.
  [[nodiscard]] bool has_request(ByteBuffer& in) const;

  // What is wrong, when the session is closed; empty when nothing is.
  [[nodiscard]] std::string_view error() const { return error_; }

 private:
  Next greet(ByteBuffer& in, ByteBuffer& out);
  void answer(std::span<std::byte> payload, ByteBuffer& out);
  void call(Request& request, ByteBuffer& out);
  Next close(std::string_view error);

  Service& service_;
  Admit admit_;
  bool greeted_ = false;
  std::string_view error_;          // a literal
  std::vector<std::byte> scratch_;  // returned buffers that the peer did not send
  ResponseBuffer response_;
};

}  // namespace kvel::rpc
