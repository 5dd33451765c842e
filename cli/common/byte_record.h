// Records whose fields overlap: one block of zero-filled bytes and named views of it. A view touches its own bytes
// only, so overlapping fields overwrite one another in the order in which they are written.
//
//   struct Record : ByteRecord<12> {
//     using Kind = Word<0>;
//     using Name = TextField<4, 7>;
//   };
//   Text<kFieldOf<&Request::record, Record::Name>>      // in a keyword table
//   record.field<Record::Kind>() = 7U;                  // in a handler
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "cli/common/big_endian.h"

namespace kvel::cli {

// A big-endian integer at an offset of a record, to be read and assigned like the integer.
template <class Integer>
class IntegerView {
 public:
  explicit IntegerView(char* bytes) : bytes_(bytes) {}

  IntegerView& operator=(Integer value) {  // NOLINT(misc-unconventional-assign-operator): assigns through the view
    if constexpr (sizeof(Integer) == 1) {
      *bytes_ = static_cast<char>(value);
    } else {
      const BigEndian<Integer> wire(value);
      std::memcpy(bytes_, &wire, sizeof(wire));
    }
    return *this;
  }

  // NOLINTNEXTLINE(google-explicit-constructor): a field reads like the integer that it holds
  operator Integer() const {
    if constexpr (sizeof(Integer) == 1) {
      return static_cast<Integer>(*bytes_);
    } else {
      BigEndian<Integer> wire;
      std::memcpy(&wire, bytes_, sizeof(wire));
      return wire;
    }
  }

 private:
  char* bytes_;
};

// A text at an offset of a record: at most `Bound` bytes, the rest of the bound zero, nothing after the bound touched.
template <std::size_t Bound>
class TextView {
 public:
  explicit TextView(char* bytes) : bytes_(bytes) {}

  void assign(const char* text) { std::strncpy(bytes_, text, Bound); }
  // Up to the next zero byte, whatever put it there: that may lie after the bound.
  [[nodiscard]] const char* c_str() const { return bytes_; }

 private:
  char* bytes_;
};

// Two integers side by side.
struct RangeView {
  explicit RangeView(char* bytes) : low(bytes), high(bytes + sizeof(std::uint32_t)) {}
  IntegerView<std::uint32_t> low;
  IntegerView<std::uint32_t> high;
};

// Where a field lies and how it is seen.
template <class ViewType, std::size_t FieldOffset, std::size_t FieldSize>
struct RecordField {
  using View = ViewType;
  static constexpr std::size_t kOffset = FieldOffset;
  static constexpr std::size_t kEnd = FieldOffset + FieldSize;
};
template <std::size_t Offset>
using Byte = RecordField<IntegerView<std::uint8_t>, Offset, 1>;
template <std::size_t Offset>
using Half = RecordField<IntegerView<std::uint16_t>, Offset, 2>;
template <std::size_t Offset>
using Word = RecordField<IntegerView<std::uint32_t>, Offset, 4>;
template <std::size_t Offset>
using WordRange = RecordField<RangeView, Offset, 8>;
// char[Bound + 1]: the last byte is only ever another field's.
template <std::size_t Offset, std::size_t Bound>
using TextField = RecordField<TextView<Bound>, Offset, Bound + 1>;

template <std::size_t Size>
class ByteRecord {
 public:
  ByteRecord() = default;
  // Takes over `Size` bytes of a buffer.
  explicit ByteRecord(const char* bytes) { std::memcpy(bytes_, bytes, Size); }

  template <class Field>
  [[nodiscard]] typename Field::View field() {
    static_assert(Field::kEnd <= Size);
    return typename Field::View(bytes_ + Field::kOffset);
  }

 private:
  char bytes_[Size] = {};
};

// A field of a request's record as a place of a keyword table.
template <auto Record, class Field>
struct FieldOf {
  template <class Request>
  static typename Field::View in(Request& request) {
    return (request.*Record).template field<Field>();
  }
};
template <auto Record, class Field>
inline constexpr FieldOf<Record, Field> kFieldOf{};

}  // namespace kvel::cli
