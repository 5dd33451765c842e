// Reads the payload of a frame: one flat msgpack array of integers, texts and byte strings, and nothing else. Bytes
// come from a stranger: nothing is allocated for a length that is only announced, nesting and every other msgpack form
// are refused.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "rpc/calls/argument.h"

namespace kvel::rpc {

enum class ValueKind : std::uint8_t { integer, text, bytes };

struct Value {
  ValueKind kind = ValueKind::integer;
  std::int64_t number = 0;    // integer; one above the range of int64_t reads as its maximum, which no field takes
  std::span<std::byte> data;  // text or bytes, within the payload

  [[nodiscard]] std::string_view text() const { return {reinterpret_cast<const char*>(data.data()), data.size()}; }
};

// The longest array that a frame can hold: a request's id, name and arguments.
inline constexpr std::size_t kMaxValues = 2 + kMaxArguments;

class Reader {
 public:
  // Reads the payload as far as it is sound. Throws std::bad_alloc.
  explicit Reader(std::span<std::byte> payload);

  // The element count that the array announces; none when the payload begins with something else.
  [[nodiscard]] std::optional<std::uint32_t> array() const { return announced_; }

  // The next element; none when it is missing, cut off, of a kind that the protocol does not know, or beyond
  // kMaxValues.
  [[nodiscard]] std::optional<Value> value();

  // Whether the whole array was read and nothing is after it.
  [[nodiscard]] bool is_whole() const { return whole_; }

 private:
  class Visitor;

  std::optional<std::uint32_t> announced_;
  std::array<Value, kMaxValues> values_;
  std::size_t count_ = 0;  // of the values
  std::size_t next_ = 0;
  bool whole_ = false;
};

}  // namespace kvel::rpc
