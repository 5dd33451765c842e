// Encoding and checked decoding of hellos, requests and answers, by the call table. What msgpack reads is narrowed to
// the protocol's forms in reader.h.
#include "rpc/wire/frame.h"

#include <algorithm>
#include <limits>
#include <msgpack.hpp>

#include "rpc/wire/reader.h"
#include "wire/big_endian.h"

namespace kvel::rpc {

namespace {

using Packer = msgpack::packer<ByteBuffer>;

constexpr std::array kMagic = {std::byte{'K'}, std::byte{'V'}, std::byte{'E'}, std::byte{'L'}};

// A response is returned like a buffer, and never sent.
constexpr std::size_t count_sent(std::span<const ArgShape> shapes) {
  return static_cast<std::size_t>(std::ranges::count_if(shapes, &ArgShape::is_sent));
}
constexpr std::size_t count_returned(std::span<const ArgShape> shapes) {
  return static_cast<std::size_t>(std::ranges::count_if(shapes, &ArgShape::is_returned));
}

// The frame reserve covers every row: array, id, status or name, the numbers, the headers of all values, the buffers.
consteval bool reserve_suffices() {
  constexpr std::size_t kLongestHeader = 5;
  return std::ranges::all_of(kCalls, [](const CallRow& call) {
    std::size_t bytes = 3 * kLongestHeader + call.name.size() + call.count * kLongestHeader;
    for (const ArgShape& shape : call.args())
      bytes += shape.length;
    return bytes <= kFrameReserve;
  });
}
static_assert(reserve_suffices());

consteval bool at_most_one_response() {
  return std::ranges::all_of(kCalls, [](const CallRow& call) {
    return std::ranges::count(call.args(), ArgType::response, &ArgShape::type) <= 1;
  });
}
static_assert(at_most_one_response());

constexpr std::int64_t max_of(ArgType type) {
  switch (type) {
    case ArgType::u8:
      return std::numeric_limits<std::uint8_t>::max();
    case ArgType::u16:
      return std::numeric_limits<std::uint16_t>::max();
    default:
      return std::numeric_limits<std::uint32_t>::max();
  }
}

// Writes the length of the frame that it was made for when it goes out of scope.
class FrameWriter {
 public:
  explicit FrameWriter(ByteBuffer& out) : out_(out), start_(out.size()) {
    constexpr std::array<std::byte, kFrameHeaderBytes> kUnknownYet{};
    out_.append(kUnknownYet.data(), kUnknownYet.size());
  }
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;
  ~FrameWriter() {
    const std::size_t length = out_.size() - start_ - kFrameHeaderBytes;
    wire::write_word(out_.bytes().data() + start_, static_cast<std::uint32_t>(length));
  }

 private:
  ByteBuffer& out_;
  std::size_t start_;
};

void pack_text(Packer& packer, std::string_view text) {
  packer.pack_str(static_cast<std::uint32_t>(text.size()));
  packer.pack_str_body(text.data(), static_cast<std::uint32_t>(text.size()));
}

void pack_bytes(Packer& packer, std::span<const std::byte> bytes) {
  packer.pack_bin(static_cast<std::uint32_t>(bytes.size()));
  packer.pack_bin_body(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()));
}

tl::unexpected<std::string_view> malformed(std::string_view how) { return tl::unexpected(how); }

std::optional<std::uint32_t> as_id(const std::optional<Value>& value) {
  if (!value || value->kind != ValueKind::integer) return std::nullopt;
  if (value->number < 0 || value->number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(value->number);
}

// Puts a received value into an argument; false when it does not fit its column of the call table.
bool assign(Argument& argument, const ArgShape& shape, const Value& value) {
  switch (shape.type) {
    case ArgType::string:
      argument.text = value.text();
      return value.kind == ValueKind::text && argument.text.find('\0') == std::string_view::npos;
    case ArgType::buffer:
      argument.bytes = value.data;
      return value.kind == ValueKind::bytes && value.data.size() == shape.length;
    case ArgType::response:
      return false;  // never sent
    default:
      argument.number = static_cast<std::uint32_t>(value.number);
      return value.kind == ValueKind::integer && value.number >= 0 && value.number <= max_of(shape.type);
  }
}

}  // namespace

std::array<std::byte, kHelloBytes> encode_hello(Hello hello) {
  std::array<std::byte, kHelloBytes> bytes{};
  std::ranges::copy(kMagic, bytes.begin());
  wire::write_word(&bytes[4], hello.version);
  wire::write_word(&bytes[6], static_cast<std::uint16_t>(hello.welcome));
  return bytes;
}

std::optional<Hello> decode_hello(std::span<const std::byte> bytes) {
  if (!std::ranges::equal(bytes.first(kMagic.size()), kMagic)) return std::nullopt;
  return Hello{wire::read_word<std::uint16_t>(&bytes[4]),
               static_cast<Welcome>(wire::read_word<std::uint16_t>(&bytes[6]))};
}

FrameScan scan_frame(std::span<std::byte> received, std::size_t limit) {
  if (received.size() < kFrameHeaderBytes) return {};
  const std::size_t length = wire::read_word<std::uint32_t>(received.data());
  const std::size_t size = kFrameHeaderBytes + length;
  if (length == 0 || length > limit) return {FrameScan::State::refused, size, {}};
  if (received.size() < size) return {};
  return {FrameScan::State::complete, size, received.subspan(kFrameHeaderBytes, length)};
}

void encode_request(ByteBuffer& out, std::uint32_t id, std::size_t call, std::span<const Argument> arguments) {
  const auto shapes = kCalls[call].args();
  const FrameWriter frame(out);
  Packer packer(out);
  packer.pack_array(static_cast<std::uint32_t>(2 + count_sent(shapes)));
  packer.pack_uint32(id);
  pack_text(packer, kCalls[call].name);
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    const Argument& argument = arguments[index];
    if (!shapes[index].is_sent()) continue;
    if (argument.type == ArgType::string) {
      pack_text(packer, argument.text);
    } else if (argument.type == ArgType::buffer) {
      pack_bytes(packer, argument.bytes);
    } else {
      packer.pack_uint32(argument.number);
    }
  }
}

tl::expected<Request, std::string_view> decode_request(std::span<std::byte> payload) {
  Reader reader(payload);
  const auto count = reader.array();
  if (!count) return malformed("a request is not an array");
  if (*count < 2) return malformed("a request without id and name");
  if (*count > kMaxValues) return malformed("a request with an impossible number of arguments");
  const auto id = as_id(reader.value());
  if (!id) return malformed("a request id is not an unsigned 32-bit number");
  const auto name = reader.value();
  if (!name || name->kind != ValueKind::text) return malformed("a call name is not a text");

  tl::expected<Request, std::string_view> request{Request{}};
  request->id = *id;
  request->call = find_call(name->text());
  const bool known = request->call != kNoCall;
  const auto shapes = known ? kCalls[request->call].args() : std::span<const ArgShape>{};
  if (!known) {
    request->verdict = Status::unknown_call;
  } else if (*count - 2 != count_sent(shapes)) {
    request->verdict = Status::bad_arguments;
  }

  for (std::size_t index = 0; index < shapes.size(); ++index)
    request->arguments[index].type = shapes[index].type;
  std::size_t column = 0;
  for (std::uint32_t received = 2; received < *count; ++received) {
    const auto value = reader.value();
    if (!value) return malformed("a malformed argument");
    if (request->verdict != Status::ok) continue;  // the rest must be sound all the same
    while (!shapes[column].is_sent())
      ++column;
    if (!assign(request->arguments[column], shapes[column], *value)) request->verdict = Status::bad_arguments;
    ++column;
  }
  if (!reader.is_whole()) return malformed("bytes after the end of a request");
  return request;
}

void encode_answer(ByteBuffer& out, std::uint32_t id, Status status, std::span<const Argument> arguments,
                   std::span<const ArgShape> shapes) {
  if (!succeeded(status)) return encode_failure(out, id, status);
  const FrameWriter frame(out);
  Packer packer(out);
  packer.pack_array(static_cast<std::uint32_t>(2 + count_returned(shapes)));
  packer.pack_uint32(id);
  packer.pack_int32(static_cast<std::int32_t>(status));
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    if (!shapes[index].is_returned()) continue;
    if (shapes[index].type == ArgType::response) {
      pack_bytes(packer, arguments[index].response->bytes());
    } else {
      pack_bytes(packer, arguments[index].bytes);
    }
  }
}

void encode_failure(ByteBuffer& out, std::uint32_t id, Status status) {
  const FrameWriter frame(out);
  Packer packer(out);
  packer.pack_array(2);
  packer.pack_uint32(id);
  packer.pack_int32(static_cast<std::int32_t>(status));
}

tl::expected<Status, std::string_view> decode_answer(std::span<std::byte> payload, std::uint32_t id,
                                                     std::span<const Argument> arguments,
                                                     std::span<const ArgShape> shapes) {
  Reader reader(payload);
  const auto count = reader.array();
  if (!count || *count < 2) return malformed("an answer is not an array of id and status");
  const auto answered = as_id(reader.value());
  if (!answered) return malformed("an answer id is not an unsigned 32-bit number");
  if (*answered != id) return malformed("an answer to another request");
  const auto number = reader.value();
  using Limits = std::numeric_limits<std::int32_t>;
  if (!number || number->kind != ValueKind::integer || number->number < Limits::min() ||
      number->number > Limits::max()) {
    return malformed("a status is not a signed 32-bit number");
  }
  const auto status = static_cast<Status>(number->number);
  if (*count != 2 + (succeeded(status) ? count_returned(shapes) : 0)) {
    return malformed("an answer with a wrong number of values");
  }

  // All is read before anything is written.
  std::array<std::span<std::byte>, kMaxArguments> returned{};
  for (std::size_t index = 0; succeeded(status) && index < shapes.size(); ++index) {
    if (!shapes[index].is_returned()) continue;
    const auto value = reader.value();
    if (!value || value->kind != ValueKind::bytes) return malformed("a returned value is not a byte string");
    if (shapes[index].type == ArgType::buffer && value->data.size() != shapes[index].length) {
      return malformed("a returned buffer of a wrong length");
    }
    if (value->data.size() > kMaxResultBytes) return malformed("a response that is too large");
    returned[index] = value->data;
  }
  if (!reader.is_whole()) return malformed("bytes after the end of an answer");

  // The response first: only its allocation can fail.
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    if (shapes[index].type == ArgType::response) arguments[index].response->append(returned[index]);
  }
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    if (shapes[index].type == ArgType::buffer && !returned[index].empty()) {
      std::ranges::copy(returned[index], arguments[index].bytes.begin());
    }
  }
  return status;
}

}  // namespace kvel::rpc
