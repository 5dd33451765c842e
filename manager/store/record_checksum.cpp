#include "manager/store/record_checksum.h"

#include <zlib.h>

#include <array>
#include <cstddef>

namespace kvel::manager {
namespace {

class Crc32 {
 public:
  void add(std::string_view bytes) {
    // Without a buffer the function would begin anew.
    if (!bytes.empty()) value_ = ::crc32_z(value_, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  }

  void add_number(std::uint64_t number, std::size_t width) {
    std::array<char, 8> bytes{};
    for (std::size_t index = 0; index < width; ++index)
      bytes[index] = static_cast<char>(number >> (8 * (width - 1 - index)));
    add({bytes.data(), width});
  }

  [[nodiscard]] std::uint32_t value() const { return static_cast<std::uint32_t>(value_); }

 private:
  uLong value_ = 0;
};

}  // namespace

std::uint32_t record_checksum(const RecordKey& key, std::string_view body) {
  Crc32 crc;
  crc.add_number(key.context, 2);
  crc.add_number(key.kind, 1);
  crc.add_number(key.item, 8);
  crc.add_number(key.owner.size(), 4);
  crc.add(key.owner);
  crc.add(body);
  return crc.value();
}

}  // namespace kvel::manager
