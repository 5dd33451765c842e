// The rules of HTTP load-balancing class-maps.
#include <string>
#include <utility>

#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

// The rules of a class-map stand in the order of their lines, so there is nothing to insert one before.
Status check_head(std::uint32_t is_inline, std::string_view insert_before) {
  if (is_inline > 1) return Status::bad_arguments;
  return is_inline == 1 || insert_before.empty() ? Status::ok : Status::insert_before_not_found;
}

}  // namespace

// The rule goes to a class-map, or to the inline match whose hidden class has that name.
Status Calls::update_lb_rule(const RulePlace& place, std::string_view insert_before, std::uint32_t is_inline,
                             std::uint8_t add, MatchRule match) {
  return is_inline == 1 ? update_rule_of_match(place, insert_before, add, std::move(match))
                        : update_rule(place, add, std::move(match));
}

Status Calls::update_lb_url_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                                 std::uint32_t line, std::uint32_t is_inline, std::string_view qualifier,
                                 std::string_view expression, std::uint8_t add) {
  const Status status = check_head(is_inline, insert_before);
  if (!succeeded(status)) return status;
  return update_lb_rule({context, class_map, line}, insert_before, is_inline, add,
                        LbUrlRule{std::string(expression), std::string(qualifier)});
}

Status Calls::update_lb_cookie_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                                    std::uint32_t line, std::uint32_t is_inline, std::uint32_t option,
                                    std::string_view cookie, std::string_view value, std::uint8_t add) {
  const Status status = check_head(is_inline, insert_before);
  if (!succeeded(status)) return status;
  if (option > 1) return Status::bad_arguments;
  return update_lb_rule({context, class_map, line}, insert_before, is_inline, add,
                        LbCookieRule{std::string(cookie), std::string(value), option == 1});
}

Status Calls::update_lb_header_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                                    std::uint32_t line, std::uint32_t is_inline, std::string_view header,
                                    std::string_view value, std::uint8_t add) {
  const Status status = check_head(is_inline, insert_before);
  if (!succeeded(status)) return status;
  return update_lb_rule({context, class_map, line}, insert_before, is_inline, add,
                        LbHeaderRule{std::string(header), std::string(value)});
}

Status Calls::update_lb_source_address_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                            std::uint32_t address, std::uint32_t mask, std::uint32_t mask_given,
                                            std::uint32_t is_inline, std::uint8_t add) {
  const Status status = check_head(is_inline, {});
  if (!succeeded(status)) return status;
  if (mask_given > 1) return Status::bad_arguments;
  return update_lb_rule({context, class_map, line}, {}, is_inline, add,
                        LbSourceAddressRule{Ipv4{address}, Ipv4{mask}, mask_given == 1});
}

Status Calls::update_nested_class_map_rule(std::uint16_t context, rpc::SessionId /*session*/,
                                           std::string_view class_map, std::uint32_t line, std::string_view child,
                                           std::uint8_t add) {
  return update_rule({context, class_map, line}, add, NestedClassMapRule{std::string(child)});
}

}  // namespace kvel::manager
