#include "manager/store/record_checksum.h"

#include <zlib.h>

#include <array>
#include <cstddef>

#include "wire/big_endian.h"

namespace kvel::manager {
namespace {

class Crc32 {
 public:
  void add(std::string_view bytes) {
    // Without a buffer the function would begin anew.
    if (!bytes.empty()) value_ = ::crc32_z(value_, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  }

  template <class Number>
  void add_number(Number number) {
    std::array<char, sizeof(Number)> bytes{};
    wire::write_word(bytes.data(), number);
    add({bytes.data(), bytes.size()});
  }

  [[nodiscard]] std::uint32_t value() const { return static_cast<std::uint32_t>(value_); }

 private:
  uLong value_ = 0;
};

void add_owner(Crc32& crc, const StoreKey& key) {
  crc.add_number(key.context);
  crc.add_number(key.kind);
  crc.add_number(static_cast<std::uint32_t>(key.owner.size()));
  crc.add(key.owner);
}

}  // namespace

std::uint32_t record_checksum(const StoreKey& key, std::string_view body) {
  Crc32 crc;
  crc.add_number(key.object);
  crc.add_number(key.item);
  if (key.item == 0) add_owner(crc, key);
  crc.add(body);
  return crc.value();
}

std::uint32_t checksum_without_numbers(const StoreKey& key, std::string_view body) {
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
