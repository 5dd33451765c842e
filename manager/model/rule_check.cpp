#include "manager/model/rule_check.h"

#include "manager/model/text.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kMaxProtocol = 255;
constexpr std::uint32_t kMaxPort = 65535;

Status check_mask(Ipv4 mask) { return is_mask(mask) ? Status::ok : Status::invalid_mask; }

// 0.0.0.0 means no address.
Status check_host(Ipv4 address, Ipv4 mask) {
  if (address != Ipv4{} && !is_host_address(address)) return Status::invalid_address;
  return check_mask(mask);
}

Status check_range(std::uint32_t low, std::uint32_t high) { return low <= high ? Status::ok : Status::empty_range; }

Status check_ports(std::uint32_t protocol, std::uint32_t lower, std::uint32_t upper) {
  if (protocol > kMaxProtocol) return Status::invalid_protocol;
  if (lower > kMaxPort || upper > kMaxPort) return Status::invalid_port;
  return check_range(lower, upper);
}

template <class Rule>
Status check_length(const Rule& rule) {
  if (rule.low > Rule::kMost || rule.high > Rule::kMost) return Status::invalid_length;
  return check_range(rule.low, rule.high);
}

// An expression that is left out matches anything. Expressions are compiled after all else is checked: when one is too
// large, nothing else is wrong with its rule.
Status check_optional_expression(const Expression& expression) {
  return is_expression_text(expression.text()) ? expression.check() : Status::invalid_text;
}

Status check_required_expression(const Expression& expression) {
  return expression.empty() ? Status::expression_empty : check_optional_expression(expression);
}

Status check_named_value(std::string_view name, const Expression& value) {
  return is_http_token(name) ? check_optional_expression(value) : Status::invalid_token;
}

Status check(const VirtualAddressRule& rule) {
  const Status status = check_host(rule.address, rule.mask);
  return succeeded(status) ? check_ports(rule.protocol, rule.lower, rule.upper) : status;
}
Status check(const SourceAddressRule& rule) { return check_host(rule.address, rule.mask); }
Status check(const DestinationAddressRule& rule) { return check_host(rule.address, rule.mask); }
Status check(const PortRule& rule) { return check_ports(rule.protocol, rule.lower, rule.upper); }
Status check(const AnyRule&) { return Status::ok; }
Status check(const AccessListRule& rule) { return is_object_name(rule.name) ? Status::ok : Status::invalid_name; }
// A management source and the source of a request may be a network of any kind.
Status check(const ManagementRule& rule) {
  const Status status = check_mask(rule.mask);
  return succeeded(status) ? check_ports(rule.protocol, rule.lower, rule.upper) : status;
}
Status check(const LbSourceAddressRule& rule) {
  constexpr Ipv4 kOneHost{0xffffffff};  // what a mask is that nobody gave
  if (!rule.mask_given && rule.mask != kOneHost) return Status::bad_arguments;
  return check_mask(rule.mask);
}
Status check(const LbUrlRule& rule) {
  return is_qualifier(rule.qualifier) ? check_required_expression(rule.expression) : Status::invalid_text;
}
Status check(const LbCookieRule& rule) { return check_named_value(rule.name, rule.value); }
Status check(const LbHeaderRule& rule) { return check_named_value(rule.name, rule.value); }
Status check(const NestedClassMapRule&) { return Status::ok; }
Status check(const HeaderLengthRule& rule) { return check_length(rule); }
Status check(const HeaderRule& rule) { return check_named_value(rule.name, rule.value); }
Status check(const UrlRule& rule) { return check_required_expression(rule.expression); }
Status check(const UrlLengthRule& rule) { return check_length(rule); }
// The expression must lie within the first bytes of the content that are looked at.
Status check(const ContentRule& rule) {
  if (rule.offset > kMaxExpressionBytes) return Status::invalid_offset;
  const std::size_t length = rule.expression.text().size();
  if (length <= kMaxExpressionBytes && length + rule.offset > kMaxExpressionBytes) return Status::invalid_offset;
  return check_required_expression(rule.expression);
}
Status check(const ContentLengthRule& rule) { return check_range(rule.low, rule.high); }
Status check(const LbValueRule& rule) { return check_required_expression(rule.value); }
Status check(const Kind21Rule&) { return Status::ok; }
Status check(const Kind22Rule&) { return Status::ok; }
template <CodeRuleKind Kind>
Status check(const CodeRule<Kind>& rule) {
  return rule.code >= rule.kFirst && rule.code <= rule.kLast ? Status::ok : Status::invalid_code;
}

}  // namespace

Status check_rule(const MatchRule& rule) {
  return std::visit([](const auto& kind) { return check(kind); }, rule);
}

}  // namespace kvel::manager
