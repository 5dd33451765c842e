// Words and names in the fixed fields of calls.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "wire/big_endian.h"

namespace kvel::manager {

// Fields of texts, filled up with zeros, of which one at least ends the text.
inline constexpr std::size_t kNameBytes = 65;
inline constexpr std::size_t kTextBytes = 256;

// How much of a list one answer holds.
inline constexpr std::size_t kPageBytes = std::size_t{64} * 1024;

inline void put_word(std::span<std::byte, 4> field, std::uint32_t word) { wire::write_word(field.data(), word); }
inline void put_double_word(std::span<std::byte, 8> field, std::uint64_t word) { wire::write_word(field.data(), word); }

[[nodiscard]] constexpr std::uint32_t word_of(std::span<const std::byte, 4> field) {
  return wire::read_word<std::uint32_t>(field.data());
}

template <std::size_t Offset, std::size_t Size>
[[nodiscard]] constexpr std::uint32_t word_at(std::span<const std::byte, Size> field) {
  return word_of(field.template subspan<Offset, 4>());
}

template <std::size_t Offset, std::size_t Size>
[[nodiscard]] constexpr std::uint64_t double_word_at(std::span<const std::byte, Size> field) {
  return wire::read_word<std::uint64_t>(field.template subspan<Offset, 8>().data());
}

template <std::size_t Offset, std::size_t Size>
[[nodiscard]] constexpr std::uint32_t half_word_at(std::span<const std::byte, Size> field) {
  return wire::read_word<std::uint16_t>(field.template subspan<Offset, 2>().data());
}

// The text up to the first NUL, or nothing when there is none.
inline std::optional<std::string_view> text_of(std::span<const std::byte> field) {
  const auto* start = reinterpret_cast<const char*>(field.data());
  const void* end = std::memchr(start, 0, field.size());
  if (end == nullptr) return std::nullopt;
  return std::string_view(start, static_cast<std::size_t>(static_cast<const char*>(end) - start));
}

// The same for a field of a record.
template <std::size_t Offset, std::size_t Length, std::size_t Size>
[[nodiscard]] std::optional<std::string_view> text_at(std::span<const std::byte, Size> record) {
  return text_of(record.template subspan<Offset, Length>());
}

// The text must fit into the field; what it leaves of that is filled with zeros.
inline void put_text(std::span<std::byte> field, std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  const auto rest = std::copy(bytes.begin(), bytes.end(), field.begin());
  std::fill(rest, field.end(), std::byte{0});
}

}  // namespace kvel::manager
