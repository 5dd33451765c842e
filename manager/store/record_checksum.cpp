#include "manager/store/record_checksum.h"

#include <array>
#include <cstddef>

#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

// Four tables, so that four bytes are taken in one step.
using Tables = std::array<std::array<std::uint32_t, 256>, 4>;

consteval Tables crc_tables() {
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc >> 1) ^ ((crc & 1U) != 0 ? 0xedb88320U : 0U);
    tables[0][byte] = crc;
  }
  for (std::size_t byte = 0; byte < 256; ++byte) {
    for (std::size_t step = 1; step < tables.size(); ++step) {
      const std::uint32_t previous = tables[step - 1][byte];
      tables[step][byte] = (previous >> 8) ^ tables[0][previous & 0xffU];
    }
  }
  return tables;
}

constexpr Tables kTables = crc_tables();

class Crc32 {
 public:
  void add(std::string_view bytes) {
    std::size_t index = 0;
    for (; bytes.size() - index >= 4; index += 4) {
      value_ ^= at(bytes, index) | at(bytes, index + 1) << 8 | at(bytes, index + 2) << 16 | at(bytes, index + 3) << 24;
      value_ = kTables[3][value_ & 0xffU] ^ kTables[2][(value_ >> 8) & 0xffU] ^ kTables[1][(value_ >> 16) & 0xffU] ^
               kTables[0][value_ >> 24];
    }
    for (; index < bytes.size(); ++index)
      value_ = (value_ >> 8) ^ kTables[0][(value_ ^ at(bytes, index)) & 0xffU];
  }

  template <class Number>
  void add_number(Number number) {
    std::array<char, sizeof(Number)> bytes{};
    wire::write_word(bytes.data(), number);
    add({bytes.data(), bytes.size()});
  }

  [[nodiscard]] std::uint32_t value() const { return ~value_; }

 private:
  static std::uint32_t at(std::string_view bytes, std::size_t index) {
    return static_cast<unsigned char>(bytes[index]);
  }

  std::uint32_t value_ = 0xffffffffU;
};

}  // namespace

std::uint32_t record_checksum(const RecordKey& key, std::string_view body) {
  Crc32 crc;
  crc.add_number(key.context);
  crc.add_number(key.kind);
  crc.add_number(key.item);
  crc.add_number(static_cast<std::uint32_t>(key.owner.size()));
  crc.add(key.owner);
  crc.add(body);
  return crc.value();
}

}  // namespace kvel::manager
