// The rules of layer-3/4 and management class-maps.
#include <string>

#include "manager/service/calls.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kDestination = 0;
constexpr std::uint32_t kSource = 1;

// What these calls carry beside the rule. The type is the call's own. The mode is not that of the class-map: a client
// that was not given one sends match-all, so storing it would change a match-any class-map without the user asking. It
// is checked and has no effect. The port operator has been settled by the client, who sends 0.
Status check_head(std::uint8_t type, ClassMapType expected, std::uint8_t mode, std::uint32_t port_operator = 0) {
  if (type != static_cast<std::uint8_t>(expected) || port_operator != 0) return Status::bad_arguments;
  return mode > kMaxMatchMode ? Status::invalid_match_mode : Status::ok;
}

}  // namespace

Status Calls::update_virtual_address_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type,
                                          std::uint8_t mode, std::string_view class_map, std::uint32_t address,
                                          std::uint32_t mask, std::uint32_t protocol, std::uint32_t port_operator,
                                          std::uint32_t lower, std::uint32_t upper, std::uint8_t add,
                                          std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::layer34, mode, port_operator);
  if (!succeeded(status)) return status;
  return update_rule({context, class_map, line}, add,
                     VirtualAddressRule{Ipv4{address}, Ipv4{mask}, protocol, lower, upper});
}

Status Calls::update_address_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type,
                                  std::uint8_t mode, std::uint32_t direction, std::string_view class_map,
                                  std::uint32_t source_address, std::uint32_t source_mask,
                                  std::uint32_t destination_address, std::uint32_t destination_mask, std::uint8_t add,
                                  std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::layer34, mode);
  if (!succeeded(status)) return status;
  // The fields of the other direction are no part of the rule, whatever they hold.
  const RulePlace place{context, class_map, line};
  switch (direction) {
    case kSource:
      return update_rule(place, add, SourceAddressRule{Ipv4{source_address}, Ipv4{source_mask}});
    case kDestination:
      return update_rule(place, add, DestinationAddressRule{Ipv4{destination_address}, Ipv4{destination_mask}});
    default:
      return Status::bad_arguments;
  }
}

Status Calls::update_port_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type, std::uint8_t mode,
                               std::string_view class_map, std::uint32_t protocol, std::uint32_t port_operator,
                               std::uint32_t lower, std::uint32_t upper, std::uint8_t add, std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::layer34, mode, port_operator);
  if (!succeeded(status)) return status;
  return update_rule({context, class_map, line}, add, PortRule{protocol, lower, upper});
}

Status Calls::update_any_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type, std::uint8_t mode,
                              std::string_view class_map, std::uint8_t add, std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::layer34, mode);
  if (!succeeded(status)) return status;
  return update_rule({context, class_map, line}, add, AnyRule{});
}

Status Calls::update_access_list_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type,
                                      std::uint8_t mode, std::string_view class_map, std::string_view access_list,
                                      std::uint8_t add, std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::layer34, mode);
  if (!succeeded(status)) return status;
  return update_rule({context, class_map, line}, add, AccessListRule{std::string(access_list)});
}

Status Calls::update_management_rule(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type,
                                     std::uint8_t mode, std::string_view class_map, std::uint32_t protocol,
                                     std::uint32_t port_operator, std::uint32_t lower, std::uint32_t upper,
                                     std::uint32_t address, std::uint32_t mask, std::uint8_t add, std::uint32_t line) {
  const Status status = check_head(type, ClassMapType::management, mode, port_operator);
  if (!succeeded(status)) return status;
  return update_rule({context, class_map, line}, add,
                     ManagementRule{protocol, lower, upper, Ipv4{address}, Ipv4{mask}});
}

}  // namespace kvel::manager
