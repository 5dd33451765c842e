#include "tests/fuzz/expected_frames.h"

#include <limits>
#include <optional>

#include "rpc/calls/call_table.h"
#include "rpc/calls/status.h"

namespace kvel::fuzz {
namespace {

using rpc::ArgType;

constexpr std::size_t kHello = 8;
constexpr std::size_t kHeader = 4;
constexpr std::size_t kLongestPayload = 1048576;
constexpr std::uint32_t kMostArguments = 16;

std::uint64_t number_of(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes)
    number = number * 256 + static_cast<unsigned char>(byte);
  return number;
}

enum class Kind { natural, negative, text, bytes };

struct Element {
  Kind kind;
  std::uint64_t number = 0;
  std::string_view data;
};

// Takes `count` bytes from the front; none when there are fewer.
std::optional<std::string_view> take(std::string_view& rest, std::uint64_t count) {
  if (count > rest.size()) return std::nullopt;
  const std::string_view taken = rest.substr(0, count);
  rest.remove_prefix(count);
  return taken;
}

std::optional<Element> take_data(std::string_view& rest, Kind kind, std::optional<std::string_view> length) {
  if (!length) return std::nullopt;
  const auto data = take(rest, number_of(*length));
  if (!data) return std::nullopt;
  return Element{kind, 0, *data};
}

// The element at the front; none when it is cut off or of another kind.
std::optional<Element> take_element(std::string_view& rest) {
  const auto first = take(rest, 1);
  if (!first) return std::nullopt;
  const std::uint64_t format = number_of(*first);
  if (format < 0x80) return Element{Kind::natural, format, {}};
  if (format >= 0xe0) return Element{Kind::negative, 0, {}};
  if (format >= 0xa0 && format < 0xc0) {
    const char length = static_cast<char>(format - 0xa0);
    return take_data(rest, Kind::text, std::string_view(&length, 1));
  }
  if (format >= 0xc4 && format <= 0xc6) return take_data(rest, Kind::bytes, take(rest, 1ULL << (format - 0xc4)));
  if (format >= 0xd9 && format <= 0xdb) return take_data(rest, Kind::text, take(rest, 1ULL << (format - 0xd9)));
  if (format < 0xcc || format > 0xd3) return std::nullopt;
  const auto number = take(rest, 1ULL << ((format - 0xcc) % 4));
  if (!number) return std::nullopt;
  const bool is_negative = format >= 0xd0 && static_cast<unsigned char>(number->front()) >= 0x80;
  return Element{is_negative ? Kind::negative : Kind::natural, number_of(*number), {}};
}

// The elements of the one array that is the whole payload; none when it is anything else.
std::optional<std::vector<Element>> elements_of(std::string_view payload) {
  const std::uint64_t format = number_of(payload.substr(0, 1));
  payload.remove_prefix(1);
  std::uint64_t count = format - 0x90;
  if (format == 0xdc || format == 0xdd) {
    const auto width = take(payload, format == 0xdc ? 2 : 4);
    if (!width) return std::nullopt;
    count = number_of(*width);
  } else if (format < 0x90 || format > 0x9f) {
    return std::nullopt;
  }
  if (count > 2 + kMostArguments) return std::nullopt;
  std::vector<Element> elements;
  while (elements.size() < count) {
    const auto element = take_element(payload);
    if (!element) return std::nullopt;
    elements.push_back(*element);
  }
  if (!payload.empty()) return std::nullopt;
  return elements;
}

// The argument as it is described, or none when it does not fit.
std::optional<std::string> argument(const Element& element, const rpc::ArgShape& shape) {
  const auto number = [&](std::uint64_t highest) -> std::optional<std::string> {
    if (element.kind != Kind::natural || element.number > highest) return std::nullopt;
    return describe_number(static_cast<std::int64_t>(element.number));
  };
  switch (shape.type) {
    case ArgType::u8:
      return number(255);
    case ArgType::u16:
      return number(65535);
    case ArgType::u32:
    case ArgType::session:
      return number(4294967295);
    case ArgType::string:
      if (element.kind != Kind::text || element.data.find('\0') != element.data.npos) return std::nullopt;
      return describe_data('s', element.data);
    case ArgType::buffer:
      if (element.kind != Kind::bytes || element.data.size() != shape.length) return std::nullopt;
      return describe_data('b', element.data);
    case ArgType::response:
      break;
  }
  return std::nullopt;
}

// The answer to a request, or none when the peer has left the protocol.
std::optional<ExpectedAnswer> answer_to(std::string_view payload) {
  const auto elements = elements_of(payload);
  if (!elements || elements->size() < 2) return std::nullopt;
  const Element& id = (*elements)[0];
  const Element& name = (*elements)[1];
  if (id.kind != Kind::natural || id.number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  if (name.kind != Kind::text) return std::nullopt;

  ExpectedAnswer answer{static_cast<std::uint32_t>(id.number), static_cast<std::int32_t>(Status::bad_arguments), false,
                        std::string(name.data)};
  for (const rpc::CallRow& row : rpc::kCalls) {
    if (row.name != answer.call) continue;
    std::size_t next = 2;
    for (const rpc::ArgShape& shape : row.args()) {
      if (shape.direction == rpc::Direction::out) continue;
      if (next == elements->size()) return answer;
      const auto described = argument((*elements)[next++], shape);
      if (!described) return answer;
      answer.call += *described;
    }
    answer.is_called = next == elements->size();
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

ExpectedFrames expected_frames(std::string_view sent) {
  ExpectedFrames expected;
  if (sent.size() < kHello) return expected;
  expected.is_greeted = sent.starts_with("KVEL") && sent[6] == 0 && sent[7] == 0;
  expected.goes_on = expected.is_greeted && sent[4] == 0 && sent[5] == 1;
  expected.ends_in_fault = !expected.goes_on;
  if (!expected.goes_on) return expected;
  for (std::string_view rest = sent.substr(kHello); rest.size() >= kHeader;) {
    const std::size_t length = number_of(rest.substr(0, kHeader));
    const bool is_possible = length >= 1 && length <= kLongestPayload;
    if (is_possible && rest.size() < kHeader + length) break;
    auto answer = is_possible ? answer_to(rest.substr(kHeader, length)) : std::nullopt;
    if (!answer) {
      expected.ends_in_fault = true;
      break;
    }
    expected.answers.push_back(*std::move(answer));
    rest.remove_prefix(kHeader + length);
  }
  return expected;
}

}  // namespace kvel::fuzz
