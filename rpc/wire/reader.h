// Reads the payload of a frame: one flat msgpack array of integers, texts and byte strings, and nothing else. Bytes
// come from a stranger: every length is checked against what is there, nothing is allocated, nothing is thrown, nesting
// and every other msgpack form are refused.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace kvel::rpc {

enum class ValueKind : std::uint8_t { integer, text, bytes };

struct Value {
  ValueKind kind = ValueKind::integer;
  std::int64_t number = 0;    // integer; one above the range of int64_t reads as its maximum, which no field takes
  std::span<std::byte> data;  // text or bytes, within the payload

  [[nodiscard]] std::string_view text() const { return {reinterpret_cast<const char*>(data.data()), data.size()}; }
};

class Reader {
 public:
  explicit Reader(std::span<std::byte> payload) : rest_(payload) {}

  // The element count of the array that comes next; none when something else does.
  [[nodiscard]] std::optional<std::uint32_t> array();

  // The next value; none when it is cut off or of a kind that the protocol does not know.
  [[nodiscard]] std::optional<Value> value();

  [[nodiscard]] bool at_end() const { return rest_.empty(); }

 private:
  [[nodiscard]] std::optional<std::uint8_t> byte();
  [[nodiscard]] std::optional<std::uint64_t> big_endian(std::size_t width);
  [[nodiscard]] std::optional<Value> data(ValueKind kind, std::optional<std::uint64_t> length);
  [[nodiscard]] std::optional<Value> unsigned_integer(std::size_t width);
  [[nodiscard]] std::optional<Value> signed_integer(std::size_t width);

  std::span<std::byte> rest_;
};

}  // namespace kvel::rpc
