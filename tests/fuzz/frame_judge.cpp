#include "tests/fuzz/frame_judge.h"

#include <limits>
#include <msgpack.hpp>
#include <optional>

#include "rpc/calls/call_table.h"
#include "rpc/calls/status.h"

namespace kvel::fuzz {
namespace {

using msgpack::type::BIN;
using msgpack::type::NEGATIVE_INTEGER;
using msgpack::type::POSITIVE_INTEGER;
using msgpack::type::STR;
using rpc::ArgType;

constexpr std::size_t kHello = 8;
constexpr std::size_t kHeader = 4;
constexpr std::size_t kLongestPayload = 1048576;
constexpr std::uint32_t kMostArguments = 16;

std::size_t length_at(std::string_view bytes) {
  std::size_t length = 0;
  for (const char byte : bytes.substr(0, kHeader))
    length = length * 256 + static_cast<unsigned char>(byte);
  return length;
}

// The one array that is the whole payload; none when it is anything else.
std::optional<msgpack::object_handle> unpack(std::string_view payload) {
  const msgpack::unpack_limit limits(2 + kMostArguments, 0, kLongestPayload, kLongestPayload, 0, 1);
  try {
    std::size_t end = 0;
    auto handle = msgpack::unpack(payload.data(), payload.size(), end, nullptr, nullptr, limits);
    if (end != payload.size() || handle->type != msgpack::type::ARRAY) return std::nullopt;
    return handle;
  } catch (const msgpack::unpack_error&) {
    return std::nullopt;
  }
}

bool is_value(const msgpack::object& object) {
  return object.type == POSITIVE_INTEGER || object.type == NEGATIVE_INTEGER || object.type == STR || object.type == BIN;
}

// The argument as it is described, or none when it does not fit.
std::optional<std::string> argument(const msgpack::object& object, const rpc::ArgShape& shape) {
  const auto number = [&](std::uint64_t highest) -> std::optional<std::string> {
    if (object.type != POSITIVE_INTEGER || object.via.u64 > highest) return std::nullopt;
    return describe_number(static_cast<std::int64_t>(object.via.u64));
  };
  switch (shape.type) {
    case ArgType::u8:
      return number(255);
    case ArgType::u16:
      return number(65535);
    case ArgType::u32:
    case ArgType::session:
      return number(4294967295);
    case ArgType::string: {
      if (object.type != STR) return std::nullopt;
      const std::string_view text(object.via.str.ptr, object.via.str.size);
      if (text.find('\0') != text.npos) return std::nullopt;
      return describe_data('s', text);
    }
    case ArgType::buffer:
      if (object.type != BIN || object.via.bin.size != shape.length) return std::nullopt;
      return describe_data('b', {object.via.bin.ptr, object.via.bin.size});
    case ArgType::response:
      break;
  }
  return std::nullopt;
}

// The answer to a request, or none when the peer has left the protocol.
std::optional<ExpectedAnswer> answer_to(std::string_view payload) {
  const auto handle = unpack(payload);
  if (!handle) return std::nullopt;
  const msgpack::object_array& values = handle->get().via.array;
  if (values.size < 2 || values.size > 2 + kMostArguments) return std::nullopt;
  for (std::uint32_t index = 0; index < values.size; ++index) {
    if (!is_value(values.ptr[index])) return std::nullopt;
  }
  const msgpack::object& id = values.ptr[0];
  const msgpack::object& name = values.ptr[1];
  if (id.type != POSITIVE_INTEGER || id.via.u64 > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  if (name.type != STR) return std::nullopt;

  ExpectedAnswer answer{static_cast<std::uint32_t>(id.via.u64), static_cast<std::int32_t>(Status::bad_arguments), false,
                        std::string(name.via.str.ptr, name.via.str.size)};
  for (const rpc::CallRow& row : rpc::kCalls) {
    if (row.name != answer.call) continue;
    std::uint32_t next = 2;
    for (const rpc::ArgShape& shape : row.args()) {
      if (shape.direction == rpc::Direction::out) continue;
      if (next == values.size) return answer;
      const auto described = argument(values.ptr[next++], shape);
      if (!described) return answer;
      answer.call += *described;
    }
    answer.is_called = next == values.size;
    return answer;
  }
  answer.status = static_cast<std::int32_t>(Status::unknown_call);
  return answer;
}

}  // namespace

std::string describe_number(std::int64_t number) { return " " + std::to_string(number); }

std::string describe_data(char kind, std::string_view data) {
  return " " + std::string(1, kind) + std::to_string(data.size()) + ":" + std::string(data);
}

Judgement judge(std::string_view sent) {
  Judgement judgement;
  if (sent.size() < kHello) return judgement;
  judgement.is_greeted = sent.starts_with("KVEL") && sent[6] == 0 && sent[7] == 0;
  judgement.goes_on = judgement.is_greeted && sent[4] == 0 && sent[5] == 1;
  judgement.ends_in_fault = !judgement.goes_on;
  if (!judgement.goes_on) return judgement;
  for (std::string_view rest = sent.substr(kHello); rest.size() >= kHeader;) {
    const std::size_t length = length_at(rest);
    const bool is_possible = length >= 1 && length <= kLongestPayload;
    if (is_possible && rest.size() < kHeader + length) break;
    auto answer = is_possible ? answer_to(rest.substr(kHeader, length)) : std::nullopt;
    if (!answer) {
      judgement.ends_in_fault = true;
      break;
    }
    judgement.answers.push_back(*std::move(answer));
    rest.remove_prefix(kHeader + length);
  }
  return judgement;
}

}  // namespace kvel::fuzz
