#include "tests/fuzz/sent_bytes.h"

#include <cstdint>
#include <vector>

#include "rpc/calls/call_table.h"
#include "rpc/wire/frame.h"

namespace kvel::fuzz {
namespace {

using namespace rpc;

constexpr std::size_t kMostBytes = 4096;
constexpr std::uint32_t kMostRequests = 6;
constexpr std::uint32_t kMostChanges = 4;
constexpr std::size_t kMostText = 80;

std::uint32_t any_number(ArgType type, FuzzedDataProvider& bytes) {
  switch (type) {
    case ArgType::u8:
      return bytes.ConsumeIntegral<std::uint8_t>();
    case ArgType::u16:
      return bytes.ConsumeIntegral<std::uint16_t>();
    default:
      return bytes.ConsumeIntegral<std::uint32_t>();
  }
}

void append_request(ByteBuffer& out, FuzzedDataProvider& bytes) {
  const auto call = bytes.ConsumeIntegralInRange<std::size_t>(0, kCalls.size() - 1);
  const auto shapes = kCalls[call].args();
  std::vector<std::string> content(shapes.size());
  std::vector<Argument> arguments(shapes.size());
  for (std::size_t index = 0; index < shapes.size(); ++index) {
    arguments[index].type = shapes[index].type;
    if (shapes[index].type == ArgType::string) {
      content[index] = bytes.ConsumeRandomLengthString(kMostText);
      arguments[index].text = content[index];
    } else if (shapes[index].type == ArgType::buffer) {
      content[index] = bytes.ConsumeRandomLengthString(shapes[index].length);
      content[index].resize(shapes[index].length);
      arguments[index].bytes = std::as_writable_bytes(std::span(content[index]));
    } else if (shapes[index].type != ArgType::response) {
      arguments[index].number = any_number(shapes[index].type, bytes);
    }
  }
  encode_request(out, bytes.ConsumeIntegral<std::uint32_t>(), call, arguments);
}

void change(std::string& sent, FuzzedDataProvider& bytes) {
  const auto at = bytes.ConsumeIntegralInRange<std::size_t>(0, sent.size());
  switch (bytes.ConsumeIntegralInRange<int>(0, 2)) {
    case 0:
      if (at < sent.size()) sent[at] = bytes.ConsumeIntegral<char>();
      break;
    case 1:
      sent.insert(at, bytes.ConsumeRandomLengthString(8));
      break;
    default:
      sent.erase(at, bytes.ConsumeIntegralInRange<std::size_t>(1, 8));
  }
}

}  // namespace

std::string any_connection(FuzzedDataProvider& bytes) {
  if (bytes.ConsumeBool()) return bytes.ConsumeRandomLengthString(kMostBytes);
  ByteBuffer out;
  const auto hello = encode_hello({});
  out.append(hello.data(), hello.size());
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(1, kMostRequests); left > 0; --left)
    append_request(out, bytes);
  std::string sent(reinterpret_cast<const char*>(out.bytes().data()), out.size());
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostChanges); left > 0; --left)
    change(sent, bytes);
  return sent;
}

}  // namespace kvel::fuzz
