// Words as every record, frame and file of the system holds them: most significant byte first, on every host. No other
// file takes a word apart or puts one together. Needs no library, allocates nothing, knows no bounds.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

namespace kvel::wire {

template <class Type>
concept ByteLike = sizeof(Type) == 1 && (std::same_as<Type, std::byte> || std::integral<Type>);

// How far left in its word the byte at an index belongs.
template <class Word, std::size_t kIndex>
inline constexpr unsigned kShift = static_cast<unsigned>(8 * (sizeof(Word) - 1 - kIndex));

// The word in the sizeof(Word) bytes at `bytes`. Written without a loop, as is its counterpart: compilers know this
// form and make one instruction of it.
template <std::unsigned_integral Word, ByteLike Byte>
[[nodiscard]] constexpr Word read_word(const Byte* bytes) {
  return [bytes]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    return static_cast<Word>(
        ((static_cast<Word>(static_cast<unsigned char>(bytes[kIndex])) << kShift<Word, kIndex>) | ...));
  }
  (std::make_index_sequence<sizeof(Word)>());
}

// Writes the word to the sizeof(Word) bytes at `bytes`.
template <std::unsigned_integral Word, ByteLike Byte>
constexpr void write_word(Byte* bytes, Word word) {
  [=]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    ((bytes[kIndex] = static_cast<Byte>((word >> kShift<Word, kIndex>)&0xFFU)), ...);
  }
  (std::make_index_sequence<sizeof(Word)>());
}

}  // namespace kvel::wire
