// The settings of a parameter-map, as cm_param_map_config carries them: buffer(140), big-endian words. The change mask
// selects the settings that a command changes; what the other words mean depends on the type of the map. The same
// words, without the mask, come back in the entries of cm_show_parameter_map.
#pragma once

#include <cstdint>

#include "cli/common/byte_record.h"

namespace kvel::cli::parammap {

struct ParamMapSettings : ByteRecord<140> {
  using ChangeMask = Word<0>;
};
static_assert(sizeof(ParamMapSettings) == 140 && alignof(ParamMapSettings) == 1);

// Connection maps. Timeouts in seconds; words 12, 36 and 80 are reserved.
struct Connection {
  using HalfClosedTimeout = Word<4>;
  using RxBufferShare = Word<8>;
  using Nagle = Word<16>;  // nonzero: disabled; so are slow start, keepalive and random sequence numbers
  using EmbryonicTimeout = Word<20>;
  using TxBufferShare = Word<24>;
  using SlowStart = Word<28>;
  using Keepalive = Word<32>;
  using QueueLimit = Word<40>;
  using SynRetryCount = Word<44>;
  using MssMax = Word<48>;
  using MssMin = Word<52>;
  using OptionsAllow = WordRange<56>;  // TCP options by number, both ends included
  using OptionsClear = WordRange<64>;
  using OptionsDrop = WordRange<72>;
  using SelectiveAck = Word<84>;  // 0 allow, 1 clear; so are timestamp, window scale and urgent flag
  using Timestamp = Word<88>;
  using WindowScale = Word<92>;
  using ReservedBits = Word<96>;  // 0 allow, 1 clear, 2 drop
  using RandomSequence = Word<100>;
  using SynData = Word<104>;    // 0 allow, 1 drop
  using ExceedMss = Word<108>;  // 0 allow, 1 drop
  using UrgentFlag = Word<112>;
  using Setting116 = Word<116>;
  using Setting120 = Word<120>;
  using TosRewrite = Word<124>;  // nonzero: the type of service is rewritten
  using TosValue = Byte<128>;    // bytes 129 to 131: 0
  using InactivityTimeout = Word<132>;
  using Setting136 = Word<136>;
};
static_assert(Connection::Setting136::kEnd == sizeof(ParamMapSettings));

// HTTP maps. Lengths in bytes; what is not named is 0.
struct Http {
  using ConnectionReuse = Word<4>;  // 1: on; so are the next two
  using CaseInsensitive = Word<8>;
  using PersistenceRebalance = Word<12>;
  using LengthExceed = Word<16>;  // 0 drop, 1 continue
  using HeaderMaxParse = Word<20>;
  using ContentMaxParse = Word<24>;
  using CookieDelimiters = RecordField<TextView<4>, 28, 4>;  // char[4]: no terminator after four
};

// SSL maps: one setting a command, named by the change mask.
struct Ssl {
  using Value = Word<4>;
  using CipherPriority = Word<8>;
};

}  // namespace kvel::cli::parammap
