#include "manager/traffic/rule_match.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "encoding/utf8.h"
#include "manager/model/address_format.h"
#include "manager/traffic/class_match.h"
#include "manager/traffic/flow_words.h"

namespace kvel::manager {

class Why {
 public:
  Why() = default;
  explicit Why(std::string& reason) : reason_(&reason) {}

  // Always false, as the answer of a rule that does not match.
  template <class... Parts>
  bool not_because(fmt::format_string<Parts...> format, Parts&&... parts) {
    if (reason_ != nullptr) *reason_ = fmt::format(format, std::forward<Parts>(parts)...);
    return false;
  }

 private:
  std::string* reason_ = nullptr;
};

namespace {

// Written only where a message is.
struct Quoted {
  std::string_view text;
};

// What a rule is held against, and the class-map that it nests.
struct Case {
  const Flow& flow;
  const ClassMatch* nested;
  Why& why;
};

}  // namespace
}  // namespace kvel::manager

template <>
struct fmt::formatter<kvel::manager::Quoted> : fmt::formatter<std::string_view> {
  auto format(const kvel::manager::Quoted& quoted, format_context& context) const {
    constexpr std::size_t kShown = 200;
    return fmt::format_to(context.out(), "{:?}{}", kvel::encoding::beginning_of(quoted.text, kShown),
                          quoted.text.size() > kShown ? "..." : "");
  }
};

namespace kvel::manager {
namespace {

// Layer-3/4.

bool is_within(Why& why, std::string_view what, Ipv4 address, Ipv4 network, Ipv4 mask) {
  constexpr std::uint32_t kOneHost = 0xffffffff;
  if (((address.word ^ network.word) & mask.word) == 0) return true;
  if (mask.word == kOneHost) return why.not_because("the {} {} is not {}", what, address, network);
  return why.not_because("the {} {} is not in {} with the mask {}", what, address, network, mask);
}

// Protocol 0 means all of them.
bool is_protocol(Why& why, const Flow& flow, std::uint32_t protocol) {
  if (protocol == 0 || flow.protocol == protocol) return true;
  return why.not_because("the protocol {} is not {}", flow.protocol, protocol);
}

bool is_destination_port(Why& why, const Flow& flow, std::uint32_t lower, std::uint32_t upper) {
  const std::uint32_t port = flow.destination_port;
  if (!has_ports(flow.protocol) || (port >= lower && port <= upper)) return true;
  if (lower == upper) return why.not_because("the destination port {} is not {}", port, lower);
  return why.not_because("the destination port {} is not in {} to {}", port, lower, upper);
}

bool decide(const Case& on, const VirtualAddressRule& rule) {
  return is_within(on.why, "destination", on.flow.destination, rule.address, rule.mask) &&
         is_protocol(on.why, on.flow, rule.protocol) && is_destination_port(on.why, on.flow, rule.lower, rule.upper);
}
bool decide(const Case& on, const SourceAddressRule& rule) {
  return is_within(on.why, "source", on.flow.source, rule.address, rule.mask);
}
bool decide(const Case& on, const DestinationAddressRule& rule) {
  return is_within(on.why, "destination", on.flow.destination, rule.address, rule.mask);
}
bool decide(const Case& on, const PortRule& rule) {
  return is_protocol(on.why, on.flow, rule.protocol) && is_destination_port(on.why, on.flow, rule.lower, rule.upper);
}
bool decide(const Case& /*on*/, const AnyRule& /*rule*/) { return true; }
bool decide(const Case& on, const AccessListRule& rule) {
  const auto& permitting = on.flow.access_lists;
  if (std::find(permitting.begin(), permitting.end(), rule.name) != permitting.end()) return true;
  return on.why.not_because("access list {} does not permit the flow", Quoted{rule.name});
}
bool decide(const Case& on, const ManagementRule& rule) {
  return is_protocol(on.why, on.flow, rule.protocol) && is_destination_port(on.why, on.flow, rule.lower, rule.upper) &&
         is_within(on.why, "source", on.flow.source, rule.address, rule.mask);
}

// HTTP in general.

const HttpRequest* request_of(const Case& on) {
  if (!on.flow.http) on.why.not_because("the flow carries no HTTP request");
  return on.flow.http ? &*on.flow.http : nullptr;
}

bool is_matched(const Case& on, const Expression& expression, std::string_view what, std::string_view text) {
  if (expression.matches(text)) return true;
  return on.why.not_because("the {} {} does not match", what, Quoted{text});
}

const std::string* find_header(const HttpHeaders& headers, std::string_view name) {
  const auto found = std::find_if(headers.begin(), headers.end(),
                                  [&](const HttpHeader& header) { return is_same_token(header.name, name); });
  return found == headers.end() ? nullptr : &found->value;
}

bool has_url(const Case& on, const Expression& expression) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (!request->url) return on.why.not_because("the request has no URL");
  return is_matched(on, expression, "URL", *request->url);
}

bool has_header(const Case& on, std::string_view name, const Expression& expression) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  const std::string* const value = find_header(request->headers, name);
  if (value == nullptr) return on.why.not_because("the request has no header {}", Quoted{name});
  return is_matched(on, expression, "header", *value);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// Calls `take` with each part of a list until it returns true; whether it did.
template <class Take>
bool any_part(std::string_view list, char separator, const Take& take) {
  while (true) {
    const std::size_t end = list.find(separator);
    if (take(trimmed(list.substr(0, end)))) return true;
    if (end == std::string_view::npos) return false;
    list.remove_prefix(end + 1);
  }
}

// Load balancing. What the qualifier of a URL rule and the option of a cookie rule change is not looked at.

bool decide(const Case& on, const LbUrlRule& rule) { return has_url(on, rule.expression); }
bool decide(const Case& on, const LbCookieRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  const std::string* const cookies = find_header(request->headers, "Cookie");
  bool is_there = false;
  const bool found = cookies != nullptr && any_part(*cookies, ';', [&](std::string_view cookie) {
                       const std::size_t equals = cookie.find('=');
                       if (equals == std::string_view::npos || cookie.substr(0, equals) != rule.name) return false;
                       is_there = true;
                       return rule.value.matches(cookie.substr(equals + 1));
                     });
  if (found) return true;
  if (is_there) return on.why.not_because("the value of the cookie {} does not match", Quoted{rule.name});
  return on.why.not_because("the request has no cookie {}", Quoted{rule.name});
}
bool decide(const Case& on, const LbHeaderRule& rule) { return has_header(on, rule.name, rule.value); }
bool decide(const Case& on, const LbSourceAddressRule& rule) {
  return is_within(on.why, "source", on.flow.source, rule.address, rule.mask);
}
bool decide(const Case& on, const NestedClassMapRule& rule) {
  if (on.nested->matches(on.flow)) return true;
  return on.why.not_because("class-map {} does not match", Quoted{rule.name});
}
bool decide(const Case& on, const LbValueRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  const auto takes = [&](const HttpHeader& header) { return rule.value.matches(header.value); };
  if (std::any_of(request->headers.begin(), request->headers.end(), takes)) return true;
  return on.why.not_because("no header of the request has a value that matches");
}

// HTTP inspection.

// An upper end that is the greatest of its field is none: "longer than" leaves that behind, and so does a range up to
// it.
template <class Rule>
bool is_length(Why& why, std::string_view what, std::uint64_t length, const Rule& rule) {
  const std::uint32_t low = rule.low;
  const std::uint32_t high = rule.high;
  const bool is_open = high == Rule::kMost;
  if (length >= low && (is_open || length <= high)) return true;
  if (is_open) return why.not_because("the length {} of the {} is below {}", length, what, low);
  if (low == high) return why.not_because("the length {} of the {} is not {}", length, what, low);
  return why.not_because("the length {} of the {} is not in {} to {}", length, what, low, high);
}

// As the headers are sent: name, colon, blank, value, end of line.
std::uint64_t length_of(const HttpHeaders& headers) {
  constexpr std::uint64_t kAround = 4;
  std::uint64_t length = 0;
  for (const HttpHeader& header : headers)
    length += header.name.size() + header.value.size() + kAround;
  return length;
}

bool decide(const Case& on, const HeaderLengthRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (rule.direction == HttpDirection::request) {
    return is_length(on.why, "request's headers", length_of(request->headers), rule);
  }
  if (!request->response_headers) return on.why.not_because("the flow carries no headers of a response");
  return is_length(on.why, "response's headers", length_of(*request->response_headers), rule);
}
bool decide(const Case& on, const HeaderRule& rule) { return has_header(on, rule.name, rule.value); }
bool decide(const Case& on, const UrlRule& rule) { return has_url(on, rule.expression); }
bool decide(const Case& on, const UrlLengthRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (!request->url) return on.why.not_because("the request has no URL");
  return is_length(on.why, "URL", request->url->size(), rule);
}
bool decide(const Case& on, const ContentRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (!request->content) return on.why.not_because("the request has no content");
  const std::string_view content = *request->content;
  if (content.size() < rule.offset) {
    return on.why.not_because("the content has {} bytes and ends before offset {}", content.size(), rule.offset);
  }
  if (rule.expression.is_found_in(content.substr(rule.offset))) return true;
  return on.why.not_because("nothing in the content from offset {} on matches", rule.offset);
}
bool decide(const Case& on, const ContentLengthRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (!request->content_length && !request->content) {
    return on.why.not_because("the request has no content and no content length");
  }
  const std::uint64_t length = request->content_length ? *request->content_length : request->content->size();
  return is_length(on.why, "content", length, rule);
}

// Calls `take` with the headers of the request and of the response until it returns true; whether it did.
template <class Take>
bool any_message(const HttpRequest& request, const Take& take) {
  return take(request.headers) || (request.response_headers && take(*request.response_headers));
}

bool decide(const Case& on, const MimeTypeRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  const std::string_view wanted = kMimeTypeWords.word_of(rule.code);
  const bool found = any_message(*request, [&](const HttpHeaders& headers) {
    const std::string* const type = find_header(headers, "Content-Type");
    if (type == nullptr) return false;
    const std::string_view without_parameters = std::string_view(*type).substr(0, type->find(';'));
    return is_same_token(trimmed(without_parameters), wanted);
  });
  return found || on.why.not_because("neither request nor response has the content type {}", wanted);
}

bool decide(const Case& on, const RequestMethodRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (request->method_code == rule.code) return true;
  const std::string_view wanted = kRequestMethodWords.word_of(rule.code);
  return on.why.not_because("the method {} is not {}", Quoted{request->method}, wanted);
}

bool decide(const Case& on, const PortMisuseRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  if (std::find(request->misuses.begin(), request->misuses.end(), rule.code) != request->misuses.end()) return true;
  return on.why.not_because("the flow is no {}", kPortMisuseWords.word_of(rule.code));
}

// A coding may have an older name that begins with "x-".
bool is_coding(std::string_view coding, std::string_view wanted) {
  return is_same_token(coding, wanted) ||
         (coding.size() > 2 && is_same_token(coding.substr(0, 2), "x-") && is_same_token(coding.substr(2), wanted));
}

bool decide(const Case& on, const TransferEncodingRule& rule) {
  const HttpRequest* const request = request_of(on);
  if (request == nullptr) return false;
  const std::string_view wanted = kTransferEncodingWords.word_of(rule.code);
  bool is_coded = false;
  const bool found = any_message(*request, [&](const HttpHeaders& headers) {
    if (wanted == "trailers" && find_header(headers, "Trailer") != nullptr) return true;
    const std::string* const codings = find_header(headers, "Transfer-Encoding");
    is_coded = is_coded || codings != nullptr;
    return codings != nullptr &&
           any_part(*codings, ',', [&](std::string_view coding) { return is_coding(coding, wanted); });
  });
  if (found || (wanted == "identity" && !is_coded)) return true;
  return on.why.not_because("neither request nor response has the transfer encoding {}", wanted);
}

bool decide(const Case& on, const Kind21Rule& /*rule*/) {
  return on.why.not_because("nothing is known that a rule of this kind matches");
}
bool decide(const Case& on, const Kind22Rule& /*rule*/) {
  return on.why.not_because("nothing is known that a rule of this kind matches");
}

// FTP inspection.

bool decide(const Case& on, const FtpMethodRule& rule) {
  if (!on.flow.ftp) return on.why.not_because("the flow carries no FTP command");
  if (on.flow.ftp->command_code == rule.code) return true;
  const std::string_view wanted = kFtpMethodWords.word_of(rule.code);
  return on.why.not_because("the command {} is not {}", Quoted{on.flow.ftp->command}, wanted);
}

// Whether the expression of a rule is too large, after it has been made ready.
bool prepare_expression(const MatchRule& rule) {
  const Expression* const expression = expression_of(rule);
  if (expression == nullptr) return false;
  expression->prepare();
  return expression->check() == Status::expression_too_large;
}

}  // namespace

RuleMatch::RuleMatch(std::uint32_t line, MatchRule rule, std::shared_ptr<const ClassMatch> nested)
    : line_(line), rule_(std::move(rule)), nested_(std::move(nested)), is_too_large_(prepare_expression(rule_)) {}

bool RuleMatch::decide(const Flow& flow, Why& why) const {
  if (is_too_large_) return why.not_because("the expression is too large, so that the rule matches nothing");
  const Case on{flow, nested_.get(), why};
  return std::visit([&](const auto& rule) { return manager::decide(on, rule); }, rule_);
}

bool RuleMatch::matches(const Flow& flow) const {
  Why nobody_asks;
  return decide(flow, nobody_asks);
}

bool RuleMatch::matches(const Flow& flow, std::string& reason) const {
  Why why(reason);
  return decide(flow, why);
}

}  // namespace kvel::manager
