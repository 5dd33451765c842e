// The settings of a load-balancing action, as cm_lb_add_or_lookup_action carries them: buffer(732), big-endian. Fields
// count by their presence bits; target name and target word lie on the same bytes.
#pragma once

#include <cstdint>

#include "cli/common/byte_record.h"

namespace kvel::cli::policymap {

struct SlbActionRecord : ByteRecord<732> {
  using Number = Byte<0>;                   // bytes 1 to 3: 0
  using Target = TextField<4, 64>;          // char[65]: server farm or group
  using TargetWord = Word<4>;               // 1: drop, or forward
  using Backup = TextField<69, 64>;         // char[65]: backup server farm; bytes 134 and 135: 0
  using BackupOption = Word<136>;           // 1
  using TargetOption = Word<140>;           // 1
  using PresenceA = Word<144>;              // SlbPresenceA; bytes 148 to 212: 0
  using HeaderName = TextField<213, 255>;   // char[256]
  using HeaderValue = TextField<469, 255>;  // char[256]; bytes 725 to 727: 0
  using PresenceB = Word<728>;              // SlbPresenceB
};
static_assert(sizeof(SlbActionRecord) == 732 && alignof(SlbActionRecord) == 1);
static_assert(SlbActionRecord::Target::kEnd == SlbActionRecord::Backup::kOffset);
static_assert(SlbActionRecord::Backup::kEnd == 134);
static_assert(SlbActionRecord::HeaderName::kEnd == SlbActionRecord::HeaderValue::kOffset);
static_assert(SlbActionRecord::HeaderValue::kEnd == 725);
static_assert(SlbActionRecord::PresenceB::kEnd == 732);

enum SlbPresenceA : std::uint32_t {
  kTargetGiven = 0x80000000,
  kBackupGiven = 0x40000000,
  kBackupOptionGiven = 0x20000000,
  kTargetOptionGiven = 0x10000000,
};

enum SlbPresenceB : std::uint32_t {
  kFlag585Given = 0x80000000,
  kServerfarmGiven = 0x40000000,
  kDropGiven = 0x20000000,
  kForwardGiven = 0x10000000,
  kHeaderGiven = 0x04000000,
  kFlag587Given = 0x02000000,
  kGroupGiven = 0x01000000,
};

}  // namespace kvel::cli::policymap
