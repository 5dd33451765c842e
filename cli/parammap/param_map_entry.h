// One parameter-map in a page of cm_show_parameter_map: 288 bytes, big-endian. A page is a word with the number of
// entries and the entries one after the other.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cli/common/byte_record.h"
#include "cli/parammap/param_map_settings.h"

namespace kvel::cli::parammap {

struct ParamMapEntry : ByteRecord<288> {
  using ByteRecord::ByteRecord;

  using Type = Word<8>;            // bytes 0 to 7 are not read
  using Name = TextField<12, 64>;  // char[65]
  // The offset of a word of the settings in this entry: they begin at 80, without their change mask.
  template <class Setting>
  using Shown = RecordField<typename Setting::View, 76 + Setting::kOffset, Setting::kEnd - Setting::kOffset>;

  // The settings of an SSL map are not those of its commands.
  using HasCiphers = Word<80>;  // nonzero: there is a cipher list
  template <std::size_t Code>
  using Priority = Byte<84 + Code>;  // of a cipher by its code, 0 to 11; 0: not accepted
  using Version = Word<96>;          // 1 SSL 3, 2 TLS 1, else all
  using CloseProtocol = Word<112>;   // 1 none, 2 disabled, else strict
};
static_assert(sizeof(ParamMapEntry) == 288 && alignof(ParamMapEntry) == 1);
static_assert(ParamMapEntry::Name::kEnd == 77);
static_assert(ParamMapEntry::Shown<Connection::HalfClosedTimeout>::kOffset == 80);
static_assert(ParamMapEntry::Shown<Http::CookieDelimiters>::kOffset == 104);

}  // namespace kvel::cli::parammap
