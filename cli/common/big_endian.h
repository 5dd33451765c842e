// Integers as they stand in records and words exchanged with the backend: big-endian on every host.
#pragma once

#include <cstdint>
#include <type_traits>

#include "wire/big_endian.h"

namespace kvel::cli {

// A field of sizeof(Integer) bytes without alignment, most significant byte first.
template <class Integer>
class BigEndian {
  static_assert(std::is_unsigned_v<Integer> && sizeof(Integer) > 1);

 public:
  constexpr BigEndian() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): a field is assigned like the integer that it holds
  constexpr BigEndian(Integer value) { wire::write_word(bytes_, value); }

  // NOLINTNEXTLINE(google-explicit-constructor): a field reads like the integer that it holds
  constexpr operator Integer() const { return wire::read_word<Integer>(bytes_); }

 private:
  unsigned char bytes_[sizeof(Integer)] = {};
};

using be16 = BigEndian<std::uint16_t>;
using be32 = BigEndian<std::uint32_t>;
using be64 = BigEndian<std::uint64_t>;

static_assert(sizeof(be16) == 2 && alignof(be16) == 1);
static_assert(sizeof(be32) == 4 && alignof(be32) == 1);
static_assert(sizeof(be64) == 8 && alignof(be64) == 1);

}  // namespace kvel::cli
