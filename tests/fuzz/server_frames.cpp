// The server's half of the protocol on any bytes of a client. The service gets exactly the calls that the document of
// the protocol requires, with arguments that fit the call table; the answers are exactly the frames that it defines;
// how the bytes are cut on their way, and how few of the answer the peer takes at a time, changes nothing.
#include <asio.hpp>
#include <chrono>
#include <cstring>
#include <memory>
#include <msgpack.hpp>
#include <string>
#include <vector>

#include "rpc/server/session.h"
#include "tests/fuzz/expected_frames.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/sent_bytes.h"

namespace {

using namespace kvel::rpc;
using kvel::Status;
using kvel::fuzz::invariant;

constexpr Status kStatuses[] = {Status::ok, Status::more_data, Status::class_map_not_found, Status::internal};

// The status and the data that the service returns follow from the call alone.
struct Reply {
  Status status = Status::ok;
  unsigned char filling = 0;
  std::size_t response = 0;  // bytes
};

Reply reply_to(const std::string& call) {
  std::uint32_t sum = 0;
  for (const char byte : call)
    sum = sum * 31 + static_cast<unsigned char>(byte);
  return {kStatuses[sum % std::size(kStatuses)], static_cast<unsigned char>(sum >> 8U), (sum >> 16U) % 300};
}

class FakeService final : public Service {
 public:
  [[nodiscard]] Status call(std::size_t call, std::span<const Argument> arguments) noexcept override {
    invariant(call < kCalls.size(), "a call is a row of the table");
    const auto shapes = kCalls[call].args();
    std::string line(kCalls[call].name);
    invariant(arguments.size() == shapes.size(), "a call has the arguments of its row", line);
    for (std::size_t index = 0; index < shapes.size(); ++index)
      line += check(arguments[index], shapes[index]);
    const Reply reply = reply_to(line);
    for (std::size_t index = 0; index < shapes.size(); ++index) {
      if (!shapes[index].is_returned()) continue;
      if (shapes[index].type == ArgType::response) {
        const std::string filling(reply.response, static_cast<char>(reply.filling));
        arguments[index].response->append(filling);
      } else {
        std::memset(arguments[index].bytes.data(), reply.filling, arguments[index].bytes.size());
      }
    }
    calls.push_back(std::move(line));
    return reply.status;
  }

  std::vector<std::string> calls;

 private:
  // The argument as it is described, if it is sent.
  static std::string check(const Argument& argument, const ArgShape& shape) {
    invariant(argument.type == shape.type, "an argument is of the type of its row");
    const std::string_view data(reinterpret_cast<const char*>(argument.bytes.data()), argument.bytes.size());
    switch (shape.type) {
      case ArgType::u8:
        invariant(argument.number <= 0xFF, "a u8 is one");
        break;
      case ArgType::u16:
        invariant(argument.number <= 0xFFFF, "a u16 is one");
        break;
      case ArgType::string:
        invariant(argument.text.find('\0') == argument.text.npos, "a text has no NUL");
        return kvel::fuzz::describe_data('s', argument.text);
      case ArgType::buffer:
        invariant(argument.bytes.size() == shape.length, "a buffer has the length of its row");
        if (shape.is_sent()) return kvel::fuzz::describe_data('b', data);
        invariant(data.find_first_not_of('\0') == data.npos, "a buffer that is only returned begins as zeros");
        return {};
      case ArgType::response:
        invariant(argument.response != nullptr && argument.response->size() == 0, "a response begins empty");
        return {};
      default:
        break;
    }
    return kvel::fuzz::describe_number(argument.number);
  }
};

// What the peer sees when all bytes come at once.
struct Seen {
  std::string received;
  bool closed_for_a_fault = false;
};

Seen converse(const std::string& sent, FakeService& service) {
  Conversation conversation(service, [] { return true; });
  ByteBuffer in;
  in.append(sent.data(), sent.size());
  Seen seen;
  while (true) {
    ByteBuffer out;
    const auto next = conversation.proceed(in, out);
    invariant(next == Conversation::Next::close ? !conversation.error().empty() : true,
              "a closed session has a reason");
    seen.received.append(reinterpret_cast<const char*>(out.bytes().data()), out.size());
    if (next == Conversation::Next::send) continue;
    seen.closed_for_a_fault = next != Conversation::Next::receive;
    return seen;
  }
}

// ---- The same through a session

// A connection whose bytes come and go in pieces of sizes that the fuzzer chooses; then the peer closes.
class Wire {
 public:
  using executor_type = asio::io_context::executor_type;

  struct State {
    std::string sent;
    std::size_t read = 0;
    std::string received;
    FuzzedDataProvider* sizes = nullptr;
    bool is_open = true;

    std::size_t piece(std::size_t most) const {
      return most == 0 ? 0 : sizes->ConsumeIntegralInRange<std::size_t>(1, most);
    }
  };

  Wire(asio::io_context& io, State& state) : io_(&io), state_(&state) {}

  executor_type get_executor() const { return io_->get_executor(); }
  Wire& lowest_layer() { return *this; }
  void close(std::error_code&) { state_->is_open = false; }

  template <class Handler>
  void async_read_some(asio::mutable_buffer space, Handler handler) {
    const std::size_t count = state_->piece(std::min(space.size(), state_->sent.size() - state_->read));
    std::memcpy(space.data(), state_->sent.data() + state_->read, count);
    state_->read += count;
    const std::error_code error = count == 0 ? std::error_code(asio::error::eof) : std::error_code();
    asio::post(*io_, [handler = std::move(handler), error, count]() mutable { handler(error, count); });
  }

  template <class Buffers, class Handler>
  void async_write_some(const Buffers& buffers, Handler handler) {
    const std::size_t count = take(*asio::buffer_sequence_begin(buffers));
    asio::post(*io_, [handler = std::move(handler), count]() mutable { handler(std::error_code(), count); });
  }

  std::size_t take(asio::const_buffer bytes) {
    invariant(state_->is_open, "nothing is sent on a closed connection");
    const std::size_t count = state_->piece(bytes.size());
    state_->received.append(static_cast<const char*>(bytes.data()), count);
    return count;
  }

 private:
  asio::io_context* io_;
  State* state_;
};

[[maybe_unused]] std::size_t send_now(Wire& wire, asio::const_buffer bytes, std::error_code&) {
  return wire.take(bytes);
}

Seen converse_in_pieces(const std::string& sent, FakeService& service, FuzzedDataProvider& sizes) {
  asio::io_context io(1);
  Wire::State state{sent, 0, {}, &sizes, true};
  int ends = 0;
  Seen seen;
  const auto on_end = [&](std::string_view reason) {
    ++ends;
    seen.closed_for_a_fault = !reason.empty();
  };
  const auto session = std::make_shared<Session<Wire>>(
      Wire(io, state), service, Timeouts{std::chrono::hours(1), std::chrono::hours(1)},
      kvel::rpc::make_steady_timer(io), std::make_shared<AnswerMemory>(1), SessionEvents{[] { return true; }, on_end});
  session->start();
  io.run();
  invariant(ends == 1 && !state.is_open, "a session ends once, and its connection is closed");
  seen.received = state.received;
  return seen;
}

// ---- What the answers must be

// Takes the frame of one answer off the front of `received`.
void check_answer(std::string_view& received, const kvel::fuzz::ExpectedAnswer& expected) {
  invariant(received.size() >= 4, "an answer follows", expected.call);
  std::size_t length = 0;
  for (const char byte : received.substr(0, 4))
    length = length * 256 + static_cast<unsigned char>(byte);
  invariant(received.size() >= 4 + length, "an answer is whole", expected.call);
  std::size_t end = 0;
  const auto handle = msgpack::unpack(received.data() + 4, length, end);
  invariant(end == length && handle->type == msgpack::type::ARRAY, "an answer is one array", expected.call);
  received.remove_prefix(4 + length);

  const Reply reply = reply_to(expected.call);
  const std::int32_t status = expected.is_called ? static_cast<std::int32_t>(reply.status) : expected.status;
  const auto& values = handle->via.array;
  invariant(values.size >= 2 && values.ptr[0].as<std::uint32_t>() == expected.id, "an answer has the request's id",
            expected.call);
  invariant(values.ptr[1].as<std::int32_t>() == status, "an answer has the status", expected.call);
  std::uint32_t next = 2;
  if (expected.is_called && (reply.status == Status::ok || reply.status == Status::more_data)) {
    const std::string name = expected.call.substr(0, expected.call.find(' '));
    for (const ArgShape& shape : kCalls[find_call(name)].args()) {
      if (shape.direction == Direction::in) continue;
      invariant(next < values.size && values.ptr[next].type == msgpack::type::BIN, "a returned value is there", name);
      const auto& bytes = values.ptr[next++].via.bin;
      const std::size_t size = shape.type == ArgType::response ? reply.response : shape.length;
      invariant(std::string_view(bytes.ptr, bytes.size) == std::string(size, static_cast<char>(reply.filling)),
                "a value is returned as the service wrote it", name);
    }
  }
  invariant(next == values.size, "an answer has no value too many", expected.call);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  const std::string sent = kvel::fuzz::any_connection(bytes);
  const kvel::fuzz::ExpectedFrames expected = kvel::fuzz::expected_frames(sent);

  FakeService service;
  const Seen seen = converse(sent, service);
  invariant(seen.closed_for_a_fault == expected.ends_in_fault, "the server closes the connection where it must");
  const std::string greeting = std::string("KVEL\0\1\0", 7) + (expected.goes_on ? '\0' : '\1');
  std::string_view received = seen.received;
  if (expected.is_greeted) {
    invariant(received.starts_with(greeting), "a greeting is answered");
    received.remove_prefix(greeting.size());
  }
  std::vector<std::string> calls;
  for (const auto& answer : expected.answers) {
    check_answer(received, answer);
    if (answer.is_called) calls.push_back(answer.call);
  }
  invariant(received.empty(), "nothing is sent that nobody asked for");
  invariant(service.calls == calls, "the service gets the calls that were asked for");

  FakeService again;
  const Seen pieces = converse_in_pieces(sent, again, bytes);
  invariant(pieces.received == seen.received && again.calls == service.calls, "pieces make no difference");
  if (seen.closed_for_a_fault) invariant(pieces.closed_for_a_fault, "a fault closes the session in pieces too");
  return 0;
}
