// The msgpack forms that the protocol knows. Every width is taken for a value that fits it, so that other clients may
// use whatever msgpack library they have.
#include "rpc/wire/reader.h"

#include <algorithm>
#include <limits>

namespace kvel::rpc {

namespace {

// Format bytes of msgpack.
enum Format : std::uint8_t {
  kPositiveFixintLast = 0x7f,
  kFixarrayFirst = 0x90,
  kFixarrayLast = 0x9f,
  kFixstrFirst = 0xa0,
  kFixstrLast = 0xbf,
  kBin8 = 0xc4,
  kBin16 = 0xc5,
  kBin32 = 0xc6,
  kUint8 = 0xcc,
  kUint16 = 0xcd,
  kUint32 = 0xce,
  kUint64 = 0xcf,
  kInt8 = 0xd0,
  kInt16 = 0xd1,
  kInt32 = 0xd2,
  kInt64 = 0xd3,
  kStr8 = 0xd9,
  kStr16 = 0xda,
  kStr32 = 0xdb,
  kArray16 = 0xdc,
  kArray32 = 0xdd,
  kNegativeFixintFirst = 0xe0,
};

Value integer(std::int64_t number) { return {ValueKind::integer, number, {}}; }

}  // namespace

std::optional<std::uint8_t> Reader::byte() {
  if (rest_.empty()) return std::nullopt;
  const auto value = std::to_integer<std::uint8_t>(rest_.front());
  rest_ = rest_.subspan(1);
  return value;
}

std::optional<std::uint64_t> Reader::big_endian(std::size_t width) {
  if (rest_.size() < width) return std::nullopt;
  std::uint64_t value = 0;
  for (std::size_t index = 0; index < width; ++index)
    value = value << 8 | std::to_integer<std::uint64_t>(rest_[index]);
  rest_ = rest_.subspan(width);
  return value;
}

std::optional<Value> Reader::data(ValueKind kind, std::optional<std::uint64_t> length) {
  if (!length || *length > rest_.size()) return std::nullopt;
  const auto content = rest_.first(*length);
  rest_ = rest_.subspan(*length);
  return Value{kind, 0, content};
}

std::optional<Value> Reader::unsigned_integer(std::size_t width) {
  const auto value = big_endian(width);
  if (!value) return std::nullopt;
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  return integer(static_cast<std::int64_t>(std::min(*value, kMax)));
}

std::optional<Value> Reader::signed_integer(std::size_t width) {
  const auto value = big_endian(width);
  if (!value) return std::nullopt;
  const auto unused_bits = static_cast<unsigned>(64 - 8 * width);
  return integer(static_cast<std::int64_t>(*value << unused_bits) >> unused_bits);
}

std::optional<std::uint32_t> Reader::array() {
  const auto format = byte();
  if (!format) return std::nullopt;
  if (*format >= kFixarrayFirst && *format <= kFixarrayLast) return *format - kFixarrayFirst;
  if (*format != kArray16 && *format != kArray32) return std::nullopt;
  const auto count = big_endian(*format == kArray16 ? 2 : 4);
  if (!count) return std::nullopt;
  return static_cast<std::uint32_t>(*count);
}

std::optional<Value> Reader::value() {
  const auto format = byte();
  if (!format) return std::nullopt;
  if (*format <= kPositiveFixintLast) return integer(*format);
  if (*format >= kNegativeFixintFirst) return integer(*format - 0x100);
  if (*format >= kFixstrFirst && *format <= kFixstrLast) return data(ValueKind::text, *format - kFixstrFirst);
  switch (*format) {
    case kBin8:
      return data(ValueKind::bytes, big_endian(1));
    case kBin16:
      return data(ValueKind::bytes, big_endian(2));
    case kBin32:
      return data(ValueKind::bytes, big_endian(4));
    case kStr8:
      return data(ValueKind::text, big_endian(1));
    case kStr16:
      return data(ValueKind::text, big_endian(2));
    case kStr32:
      return data(ValueKind::text, big_endian(4));
    case kUint8:
      return unsigned_integer(1);
    case kUint16:
      return unsigned_integer(2);
    case kUint32:
      return unsigned_integer(4);
    case kUint64:
      return unsigned_integer(8);
    case kInt8:
      return signed_integer(1);
    case kInt16:
      return signed_integer(2);
    case kInt32:
      return signed_integer(4);
    case kInt64:
      return signed_integer(8);
    default:
      return std::nullopt;
  }
}

}  // namespace kvel::rpc
