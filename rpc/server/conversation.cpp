// The server's half of the protocol.
#include "rpc/server/conversation.h"

namespace kvel::rpc {

namespace {

// The block of a larger response is not kept for the next one.
constexpr std::size_t kKeptResponse = std::size_t{64} * 1024;

}  // namespace

Conversation::Next Conversation::proceed(ByteBuffer& in, ByteBuffer& out) {
  if (!greeted_) return greet(in, out);
  const FrameScan frame = scan_frame(in.bytes(), kMaxRequestBytes);
  if (frame.state == FrameScan::State::incomplete) return Next::receive;
  if (frame.state == FrameScan::State::refused) return close("a frame of an impossible length");
  answer(frame.payload, out);
  if (!error_.empty()) return Next::close;
  in.consume(frame.size);
  return Next::send;
}

bool Conversation::has_request(ByteBuffer& in) const {
  return greeted_ && scan_frame(in.bytes(), kMaxRequestBytes).state == FrameScan::State::complete;
}

Conversation::Next Conversation::greet(ByteBuffer& in, ByteBuffer& out) {
  if (in.size() < kHelloBytes) return Next::receive;
  const auto hello = decode_hello(in.bytes());
  if (!hello || hello->welcome != Welcome::accepted) return close("a greeting of another protocol");
  in.consume(kHelloBytes);
  greeted_ = true;

  Hello reply;
  if (hello->version != kProtocolVersion) {
    reply.welcome = Welcome::version_refused;
    error_ = "a version of the protocol that is not spoken here";
  } else if (!admit_()) {
    reply.welcome = Welcome::full;
    error_ = "the session limit is reached";
  }
  const auto bytes = encode_hello(reply);
  out.append(bytes.data(), bytes.size());
  return error_.empty() ? Next::send : Next::send_and_close;
}

void Conversation::answer(std::span<std::byte> payload, ByteBuffer& out) {
  auto request = decode_request(payload);
  if (!request) {
    error_ = request.error();
  } else if (request->verdict != Status::ok) {
    encode_failure(out, request->id, request->verdict);
  } else {
    call(*request, out);
  }
}

void Conversation::call(Request& request, ByteBuffer& out) {
  const auto shapes = kCalls[request.call].args();
  const auto arguments = std::span(request.arguments).first(shapes.size());

  // Buffers that are only returned begin as zeros, so that no bytes of an earlier call can travel to this peer.
  std::size_t needed = 0;
  for (const ArgShape& shape : shapes)
    needed += shape.is_sent() ? 0 : shape.length;
  scratch_.assign(needed, std::byte{0});
  std::size_t used = 0;
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    const ArgShape& shape = shapes[index];
    if (shape.type == ArgType::response) {
      arguments[index].response = &response_;
    } else if (!shape.is_sent()) {
      arguments[index].bytes = std::span(scratch_).subspan(used, shape.length);
      used += shape.length;
    }
  }

  response_.clear();
  Status status = service_.call(request.call, arguments);
  if (response_.size() > kMaxResultBytes) status = Status::internal;
  encode_answer(out, request.id, status, arguments, shapes);
  if (response_.size() > kKeptResponse) response_ = ResponseBuffer();
}

Conversation::Next Conversation::close(std::string_view error) {
  error_ = error;
  return Next::close;
}

}  // namespace kvel::rpc
