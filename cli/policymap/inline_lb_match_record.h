// The rule of an inline match in a load-balancing policy-map, as cm_update_l7_inline_lb_match carries it: buffer(332),
// big-endian. What lies at offset 4 depends on the kind.
#pragma once

#include <cstdint>

#include "cli/common/byte_record.h"

namespace kvel::cli::policymap {

struct InlineLbMatchRecord : ByteRecord<332> {
  using Kind = Word<0>;                  // InlineLbKind
  using Name = TextField<4, 64>;         // char[65]: of a header or cookie
  using Expression = TextField<4, 255>;  // char[256]: of a URL
  using Address = Word<4>;               // of the source
  using Mask = Word<8>;                  // of the source
  using MaskGiven = Word<12>;            // 1: there is a mask
  using Value = TextField<69, 255>;      // char[256]: expression of a header's or cookie's value
  using Qualifier = TextField<260, 64>;  // char[65]: of a URL; bytes 325 to 327: 0
  using CookieOption = Word<328>;        // 1
};
static_assert(sizeof(InlineLbMatchRecord) == 332 && alignof(InlineLbMatchRecord) == 1);
static_assert(InlineLbMatchRecord::Name::kEnd == InlineLbMatchRecord::Value::kOffset);
static_assert(InlineLbMatchRecord::Expression::kEnd == InlineLbMatchRecord::Qualifier::kOffset);
static_assert(InlineLbMatchRecord::Value::kEnd == 325 && InlineLbMatchRecord::Qualifier::kEnd == 325);
static_assert(InlineLbMatchRecord::CookieOption::kEnd == 332);

enum InlineLbKind : std::uint32_t {
  kHeaderMatch = 0,  // what a record is that no keyword gave a kind
  kSourceAddressMatch = 2,
  kUrlMatch = 5,
  kValueMatch = 6,
  kCookieMatch = 7,
};

}  // namespace kvel::cli::policymap
