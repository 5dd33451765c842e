#include "manager/service/inline_match_records.h"

#include <optional>
#include <string>
#include <string_view>

#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<Status>;

// Both records begin alike: the kind, then its fields over one another.
constexpr std::size_t kKindAt = 0;
constexpr std::size_t kNameAt = 4;         // of a header or cookie
constexpr std::size_t kExpressionAt = 4;   // of a URL or of the content
constexpr std::size_t kValueAt = 69;       // of a header or cookie, or on its own
constexpr std::size_t kFirstNumberAt = 4;  // low end of a URL or content length; a source address
constexpr std::size_t kSecondNumberAt = 8;
constexpr std::size_t kThirdNumberAt = 12;
constexpr std::size_t kCodeAt = 4;  // one byte
// Load balancing only.
constexpr std::size_t kQualifierAt = 260;
constexpr std::size_t kCookieOptionAt = 328;
// HTTP inspection only: 16 bits.
constexpr std::size_t kContentOffsetAt = 260;

// Kinds of load-balancing matches.
constexpr std::uint32_t kLbHeader = 0;
constexpr std::uint32_t kLbSourceAddress = 2;
constexpr std::uint32_t kLbUrl = 5;
constexpr std::uint32_t kLbValue = 6;
constexpr std::uint32_t kLbCookie = 7;

// Kinds of HTTP inspection matches.
constexpr std::uint32_t kUrl = 9;
constexpr std::uint32_t kUrlLength = 10;
constexpr std::uint32_t kHeader = 11;
constexpr std::uint32_t kRequestHeaderLength = 12;
constexpr std::uint32_t kResponseHeaderLength = 13;
constexpr std::uint32_t kContent = 14;
constexpr std::uint32_t kContentLength = 15;
constexpr std::uint32_t kMimeType = 16;
constexpr std::uint32_t kPortMisuse = 17;
constexpr std::uint32_t kRequestMethod = 19;
constexpr std::uint32_t kTransferEncoding = 20;
constexpr std::uint32_t kKind21 = 21;
constexpr std::uint32_t kKind22 = 22;

using Read = tl::expected<MatchRule, Status>;

// A rule of one text and what else it has.
template <class Rule, class... Fields>
Read rule_of(const std::optional<std::string_view>& text, Fields... fields) {
  if (!text) return Refusal(Status::bad_arguments);
  return Rule{std::string(*text), fields...};
}

// A rule of a name and a value.
template <class Rule, std::size_t Size, class... Fields>
Read named_rule_of(std::span<const std::byte, Size> record, Fields... fields) {
  const auto name = text_at<kNameAt, kNameBytes>(record);
  const auto value = text_at<kValueAt, kTextBytes>(record);
  if (!name || !value) return Refusal(Status::bad_arguments);
  return Rule{std::string(*name), std::string(*value), fields...};
}

Read read_source_address(std::span<const std::byte, 332> record) {
  constexpr std::uint32_t kOneHost = 0xffffffff;  // the mask that nobody gave
  const std::uint32_t given = word_at<kThirdNumberAt>(record);
  if (given > 1) return Refusal(Status::bad_arguments);
  const std::uint32_t mask = given == 1 ? word_at<kSecondNumberAt>(record) : kOneHost;
  return LbSourceAddressRule{Ipv4{word_at<kFirstNumberAt>(record)}, Ipv4{mask}, given == 1};
}

Read read_url(std::span<const std::byte, 332> record) {
  const auto qualifier = text_at<kQualifierAt, kNameBytes>(record);
  if (!qualifier) return Refusal(Status::bad_arguments);
  return rule_of<LbUrlRule>(text_at<kExpressionAt, kTextBytes>(record), std::string(*qualifier));
}

Read read_cookie(std::span<const std::byte, 332> record) {
  const std::uint32_t option = word_at<kCookieOptionAt>(record);
  if (option > 1) return Refusal(Status::bad_arguments);
  return named_rule_of<LbCookieRule>(record, option == 1);
}

constexpr std::uint32_t kCompressCoding = 84;

HeaderLengthRule read_header_length(std::span<const std::byte, 328> record, HttpDirection direction) {
  return {direction, word_at<kSecondNumberAt>(record), word_at<kThirdNumberAt>(record)};
}

}  // namespace

tl::expected<MatchRule, Status> read_lb_match(std::span<const std::byte, 332> record) {
  switch (word_at<kKindAt>(record)) {
    case kLbHeader:
      return named_rule_of<LbHeaderRule>(record);
    case kLbSourceAddress:
      return read_source_address(record);
    case kLbUrl:
      return read_url(record);
    case kLbValue:
      return rule_of<LbValueRule>(text_at<kValueAt, kTextBytes>(record));
    case kLbCookie:
      return read_cookie(record);
    default:
      return Refusal(Status::invalid_code);
  }
}

tl::expected<MatchRule, Status> read_http_match(std::span<const std::byte, 328> record) {
  const auto expression = text_at<kExpressionAt, kTextBytes>(record);
  const std::uint32_t first = word_at<kFirstNumberAt>(record);
  const std::uint32_t second = word_at<kSecondNumberAt>(record);
  const auto code = std::to_integer<std::uint32_t>(record[kCodeAt]);
  switch (word_at<kKindAt>(record)) {
    case kUrl:
      return rule_of<UrlRule>(expression);
    case kUrlLength:
      return UrlLengthRule{first, second};
    case kHeader:
      return named_rule_of<HeaderRule>(record);
    case kRequestHeaderLength:
      return read_header_length(record, HttpDirection::request);
    case kResponseHeaderLength:
      return read_header_length(record, HttpDirection::response);
    case kContent:
      return rule_of<ContentRule>(expression, half_word_at<kContentOffsetAt>(record));
    case kContentLength:
      return ContentLengthRule{first, second};
    case kMimeType:
      return MimeTypeRule{code};
    case kPortMisuse:
      return PortMisuseRule{code};
    case kRequestMethod:
      return RequestMethodRule{code};
    case kTransferEncoding:
      if (code == kCompressCoding) return Refusal(Status::invalid_code);  // of class-maps only
      return TransferEncodingRule{code};
    case kKind21:
      return Kind21Rule{};
    case kKind22:
      return Kind22Rule{};
    default:
      return Refusal(Status::invalid_code);
  }
}

}  // namespace kvel::manager
