// The match rules of class-maps and of inline matches. Each kind states here, once, its name in records, the type of
// class-map that takes it, and its fields; writing, reading, comparing and checking follow from that.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "manager/model/address.h"
#include "manager/model/class_map_type.h"
#include "manager/model/expression.h"
#include "manager/model/field.h"
#include "manager/model/kind_variant.h"

namespace kvel::manager {

// Layer-3/4. The fields of a rule are as sent: an address is not cut by its mask.
struct VirtualAddressRule {
  static constexpr std::string_view kKind = "virtual-address";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  Ipv4 address;
  Ipv4 mask;
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = VirtualAddressRule;
    return visit(Field{"address", &Self::address}, Field{"mask", &Self::mask}, Field{"protocol", &Self::protocol},
                 Field{"lower", &Self::lower}, Field{"upper", &Self::upper});
  }
  friend auto operator<=>(const VirtualAddressRule&, const VirtualAddressRule&) = default;
};

struct SourceAddressRule {
  static constexpr std::string_view kKind = "source-address";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  Ipv4 address;
  Ipv4 mask;
  static constexpr auto fields(const auto& visit) {
    using Self = SourceAddressRule;
    return visit(Field{"address", &Self::address}, Field{"mask", &Self::mask});
  }
  friend auto operator<=>(const SourceAddressRule&, const SourceAddressRule&) = default;
};

struct DestinationAddressRule {
  static constexpr std::string_view kKind = "destination-address";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  Ipv4 address;
  Ipv4 mask;
  static constexpr auto fields(const auto& visit) {
    using Self = DestinationAddressRule;
    return visit(Field{"address", &Self::address}, Field{"mask", &Self::mask});
  }
  friend auto operator<=>(const DestinationAddressRule&, const DestinationAddressRule&) = default;
};

struct PortRule {
  static constexpr std::string_view kKind = "port";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = PortRule;
    return visit(Field{"protocol", &Self::protocol}, Field{"lower", &Self::lower}, Field{"upper", &Self::upper});
  }
  friend auto operator<=>(const PortRule&, const PortRule&) = default;
};

struct AnyRule {
  static constexpr std::string_view kKind = "any";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  static constexpr auto fields(const auto& visit) { return visit(); }
  friend auto operator<=>(const AnyRule&, const AnyRule&) = default;
};

struct AccessListRule {
  static constexpr std::string_view kKind = "access-list";
  static constexpr ClassMapType kType = ClassMapType::layer34;
  std::string name;
  static constexpr auto fields(const auto& visit) { return visit(Field{"name", &AccessListRule::name}); }
  friend auto operator<=>(const AccessListRule&, const AccessListRule&) = default;
};

// Management.
struct ManagementRule {
  static constexpr std::string_view kKind = "management";
  static constexpr ClassMapType kType = ClassMapType::management;
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  Ipv4 address;  // of the source
  Ipv4 mask;
  static constexpr auto fields(const auto& visit) {
    using Self = ManagementRule;
    return visit(Field{"protocol", &Self::protocol}, Field{"lower", &Self::lower}, Field{"upper", &Self::upper},
                 Field{"address", &Self::address}, Field{"mask", &Self::mask});
  }
  friend auto operator<=>(const ManagementRule&, const ManagementRule&) = default;
};

// HTTP load balancing.
struct LbUrlRule {
  static constexpr std::string_view kKind = "http-url";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  Expression expression;
  std::string qualifier;
  static constexpr auto fields(const auto& visit) {
    using Self = LbUrlRule;
    return visit(Field{"expression", &Self::expression},
                 Field{"qualifier", &Self::qualifier, Presence::unless_default});
  }
  friend auto operator<=>(const LbUrlRule&, const LbUrlRule&) = default;
};

struct LbCookieRule {
  static constexpr std::string_view kKind = "http-cookie";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  std::string name;
  Expression value;  // empty: any
  bool option = false;
  static constexpr auto fields(const auto& visit) {
    using Self = LbCookieRule;
    return visit(Field{"name", &Self::name}, Field{"value", &Self::value},
                 Field{"option", &Self::option, Presence::unless_default});
  }
  friend auto operator<=>(const LbCookieRule&, const LbCookieRule&) = default;
};

struct LbHeaderRule {
  static constexpr std::string_view kKind = "http-header";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  std::string name;
  Expression value;  // empty: any
  static constexpr auto fields(const auto& visit) {
    using Self = LbHeaderRule;
    return visit(Field{"name", &Self::name}, Field{"value", &Self::value});
  }
  friend auto operator<=>(const LbHeaderRule&, const LbHeaderRule&) = default;
};

struct LbSourceAddressRule {
  static constexpr std::string_view kKind = "http-source-address";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  Ipv4 address;
  Ipv4 mask;
  bool mask_given = false;
  static constexpr auto fields(const auto& visit) {
    using Self = LbSourceAddressRule;
    return visit(Field{"address", &Self::address}, Field{"mask", &Self::mask}, Field{"mask_given", &Self::mask_given});
  }
  friend auto operator<=>(const LbSourceAddressRule&, const LbSourceAddressRule&) = default;
};

struct NestedClassMapRule {
  static constexpr std::string_view kKind = "class-map";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  std::string name;
  static constexpr auto fields(const auto& visit) { return visit(Field{"name", &NestedClassMapRule::name}); }
  friend auto operator<=>(const NestedClassMapRule&, const NestedClassMapRule&) = default;
};

// HTTP inspection. Ranges include both ends; one whose upper end is kMost, the greatest that a client can give, has
// none.
struct HeaderLengthRule {
  static constexpr std::string_view kKind = "header-length";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kMost = 255;
  HttpDirection direction = HttpDirection::request;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = HeaderLengthRule;
    return visit(Field{"direction", &Self::direction}, Field{"low", &Self::low}, Field{"high", &Self::high});
  }
  friend auto operator<=>(const HeaderLengthRule&, const HeaderLengthRule&) = default;
};

struct HeaderRule {
  static constexpr std::string_view kKind = "header";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  std::string name;
  Expression value;  // empty: any
  static constexpr auto fields(const auto& visit) {
    using Self = HeaderRule;
    return visit(Field{"name", &Self::name}, Field{"value", &Self::value});
  }
  friend auto operator<=>(const HeaderRule&, const HeaderRule&) = default;
};

struct UrlRule {
  static constexpr std::string_view kKind = "url";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  Expression expression;
  static constexpr auto fields(const auto& visit) { return visit(Field{"expression", &UrlRule::expression}); }
  friend auto operator<=>(const UrlRule&, const UrlRule&) = default;
};

struct UrlLengthRule {
  static constexpr std::string_view kKind = "url-length";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kMost = 65535;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = UrlLengthRule;
    return visit(Field{"low", &Self::low}, Field{"high", &Self::high});
  }
  friend auto operator<=>(const UrlLengthRule&, const UrlLengthRule&) = default;
};

struct ContentRule {
  static constexpr std::string_view kKind = "content";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  Expression expression;
  std::uint32_t offset = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = ContentRule;
    return visit(Field{"expression", &Self::expression}, Field{"offset", &Self::offset});
  }
  friend auto operator<=>(const ContentRule&, const ContentRule&) = default;
};

struct ContentLengthRule {
  static constexpr std::string_view kKind = "content-length";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kMost = 0xffff'ffff;
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  static constexpr auto fields(const auto& visit) {
    using Self = ContentLengthRule;
    return visit(Field{"low", &Self::low}, Field{"high", &Self::high});
  }
  friend auto operator<=>(const ContentLengthRule&, const ContentLengthRule&) = default;
};

// A rule that matches one of a list of values, each known by its code.
enum class CodeRuleKind : std::uint8_t { mime_type, request_method, port_misuse, transfer_encoding, ftp_method };

template <CodeRuleKind Kind>
struct CodeRuleTraits;
template <>
struct CodeRuleTraits<CodeRuleKind::mime_type> {
  static constexpr std::string_view kKind = "mime-type";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kFirst = 33;
  static constexpr std::uint32_t kLast = 77;
};
template <>
struct CodeRuleTraits<CodeRuleKind::request_method> {
  static constexpr std::string_view kKind = "request-method";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kFirst = 1;
  static constexpr std::uint32_t kLast = 27;
};
template <>
struct CodeRuleTraits<CodeRuleKind::port_misuse> {
  static constexpr std::string_view kKind = "port-misuse";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kFirst = 1;
  static constexpr std::uint32_t kLast = 3;
};
template <>
struct CodeRuleTraits<CodeRuleKind::transfer_encoding> {
  static constexpr std::string_view kKind = "transfer-encoding";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr std::uint32_t kFirst = 83;
  static constexpr std::uint32_t kLast = 88;
};
template <>
struct CodeRuleTraits<CodeRuleKind::ftp_method> {
  static constexpr std::string_view kKind = "ftp-method";
  static constexpr ClassMapType kType = ClassMapType::ftp_inspection;
  static constexpr std::uint32_t kFirst = 1;
  static constexpr std::uint32_t kLast = 13;
};

template <CodeRuleKind Kind>
struct CodeRule : CodeRuleTraits<Kind> {
  CodeRule() = default;
  explicit CodeRule(std::uint32_t initial) : code(initial) {}

  std::uint32_t code = 0;
  static constexpr auto fields(const auto& visit) { return visit(Field{"code", &CodeRule::code}); }
  friend bool operator==(const CodeRule& left, const CodeRule& right) { return left.code == right.code; }
  friend auto operator<=>(const CodeRule& left, const CodeRule& right) { return left.code <=> right.code; }
};

using MimeTypeRule = CodeRule<CodeRuleKind::mime_type>;
using RequestMethodRule = CodeRule<CodeRuleKind::request_method>;
using PortMisuseRule = CodeRule<CodeRuleKind::port_misuse>;
using TransferEncodingRule = CodeRule<CodeRuleKind::transfer_encoding>;
using FtpMethodRule = CodeRule<CodeRuleKind::ftp_method>;

// Kinds that only an inline match of a policy-map has; their type is that of the class-maps which the policy-map takes.
struct LbValueRule {
  static constexpr std::string_view kKind = "http-value";
  static constexpr ClassMapType kType = ClassMapType::http_load_balancing;
  Expression value;
  static constexpr auto fields(const auto& visit) { return visit(Field{"value", &LbValueRule::value}); }
  friend auto operator<=>(const LbValueRule&, const LbValueRule&) = default;
};

// Known by no more than their number.
struct Kind21Rule {
  static constexpr std::string_view kKind = "kind-21";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr auto fields(const auto& visit) { return visit(); }
  friend auto operator<=>(const Kind21Rule&, const Kind21Rule&) = default;
};
struct Kind22Rule {
  static constexpr std::string_view kKind = "kind-22";
  static constexpr ClassMapType kType = ClassMapType::http_inspection;
  static constexpr auto fields(const auto& visit) { return visit(); }
  friend auto operator<=>(const Kind22Rule&, const Kind22Rule&) = default;
};

struct MatchRuleKinds {
  using Variant =
      std::variant<VirtualAddressRule, SourceAddressRule, DestinationAddressRule, PortRule, AnyRule, AccessListRule,
                   ManagementRule, LbUrlRule, LbCookieRule, LbHeaderRule, LbSourceAddressRule, NestedClassMapRule,
                   HeaderLengthRule, HeaderRule, UrlRule, UrlLengthRule, MimeTypeRule, ContentRule, ContentLengthRule,
                   RequestMethodRule, PortMisuseRule, TransferEncodingRule, FtpMethodRule, LbValueRule, Kind21Rule,
                   Kind22Rule>;
};

// What a rule is apart from its line: its kind and all its fields. Rules that compare equal are the same rule.
using MatchRule = KindVariant<MatchRuleKinds>;

// The type of class-map that takes the rule.
[[nodiscard]] ClassMapType type_of(const MatchRule& rule);

// Whether a class-map can have the rule, and whether an inline match can.
[[nodiscard]] bool fits_class_map(const MatchRule& rule);
[[nodiscard]] bool fits_inline_match(const MatchRule& rule);

// The expression that the rule holds something against, or null for a rule without one.
[[nodiscard]] const Expression* expression_of(const MatchRule& rule);

// The class-map that the rule nests, or null for any other kind of rule.
[[nodiscard]] const std::string* nested_class_map(const MatchRule& rule);

}  // namespace kvel::manager
