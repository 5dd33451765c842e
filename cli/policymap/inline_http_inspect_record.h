// The rule of an inline match in an HTTP-inspection policy-map, as cm_update_l7_inline_http_insp_match carries it:
// buffer(328), big-endian. What lies after the kind depends on it.
#pragma once

#include <cstdint>

#include "cli/common/byte_record.h"

namespace kvel::cli::policymap {

struct InlineHttpInspectRecord : ByteRecord<328> {
  using Kind = Word<0>;                    // InlineHttpKind
  using HeaderName = TextField<4, 64>;     // char[65]
  using Expression = TextField<4, 255>;    // char[256]: of a URL or of the content
  using Length = WordRange<4>;             // of a URL or of the content: both ends included
  using Direction = Word<4>;               // of a header length: 0 request, 1 response
  using Code = Byte<4>;                    // of a property
  using HeaderLength = WordRange<8>;       // both ends included
  using HeaderValue = TextField<69, 255>;  // char[256]: an expression
  using ContentOffset = Half<260>;         // bytes 262 to 327: 0, but for a header value
};
static_assert(sizeof(InlineHttpInspectRecord) == 328 && alignof(InlineHttpInspectRecord) == 1);
static_assert(InlineHttpInspectRecord::HeaderName::kEnd == InlineHttpInspectRecord::HeaderValue::kOffset);
static_assert(InlineHttpInspectRecord::Expression::kEnd == InlineHttpInspectRecord::ContentOffset::kOffset);
static_assert(InlineHttpInspectRecord::Length::kEnd == 12 && InlineHttpInspectRecord::HeaderLength::kEnd == 16);
static_assert(InlineHttpInspectRecord::HeaderValue::kEnd == 325);

enum InlineHttpKind : std::uint32_t {
  kUrlExpression = 9,
  kUrlLength = 10,
  kHeader = 11,
  kRequestHeaderLength = 12,
  kResponseHeaderLength = 13,
  kContentExpression = 14,
  kContentLength = 15,
  kMimeType = 16,
  kPortMisuse = 17,
  kRequestMethod = 19,
  kTransferEncoding = 20,
  kKind21 = 21,
  kKind22 = 22,
};

}  // namespace kvel::cli::policymap
