// The calls of the manager, one function each, bound to the call table in manager.cpp.
//
// A call that changes something goes the same way each time: check against the model, prepare all that needs memory,
// commit to the store, and only then change the model by steps that cannot fail. So a failed commit and a failed
// allocation leave both as they were.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "manager/model/configuration.h"
#include "manager/service/manager.h"
#include "manager/store/store.h"
#include "rpc/calls/binding.h"

namespace kvel::manager {

// A name in a cursor or a list: zero-padded to 65 bytes.
inline constexpr std::size_t kNameField = 65;
using CursorField = std::span<std::byte, kNameField>;
// The cursor of the object list: a canonical rank, then the name.
using ObjectCursorField = std::span<std::byte, kNameField + 1>;
// A 32-bit word in network byte order.
using WordField = std::span<std::byte, 4>;
// Two such words, low and high end; or three, the first a direction.
using RangeField = std::span<const std::byte, 8>;
using DirectedRangeField = std::span<const std::byte, 12>;

class Calls {
 public:
  Calls(std::unique_ptr<Store> store, FailureLog log);

  // Fills the model from the store; before any call.
  [[nodiscard]] StoreResult<void> load();

  // class_map_calls.cpp
  Status add_or_lookup_class_map(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                                 std::string_view name, std::uint8_t add, WordField created);
  Status update_class_map_description(std::uint16_t context, rpc::SessionId session, std::string_view name,
                                      std::string_view text, std::uint8_t add);
  Status list_class_maps(std::uint16_t context, std::uint32_t kind, CursorField cursor, WordField more,
                         rpc::ResponseBuffer& response);

  // layer34_rule_calls.cpp
  Status update_virtual_address_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type,
                                     std::uint8_t mode, std::string_view class_map, std::uint32_t address,
                                     std::uint32_t mask, std::uint32_t protocol, std::uint32_t port_operator,
                                     std::uint32_t lower, std::uint32_t upper, std::uint8_t add, std::uint32_t line);
  Status update_address_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                             std::uint32_t direction, std::string_view class_map, std::uint32_t source_address,
                             std::uint32_t source_mask, std::uint32_t destination_address,
                             std::uint32_t destination_mask, std::uint8_t add, std::uint32_t line);
  Status update_port_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                          std::string_view class_map, std::uint32_t protocol, std::uint32_t port_operator,
                          std::uint32_t lower, std::uint32_t upper, std::uint8_t add, std::uint32_t line);
  Status update_any_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                         std::string_view class_map, std::uint8_t add, std::uint32_t line);
  Status update_access_list_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                                 std::string_view class_map, std::string_view access_list, std::uint8_t add,
                                 std::uint32_t line);
  Status update_management_rule(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                                std::string_view class_map, std::uint32_t protocol, std::uint32_t port_operator,
                                std::uint32_t lower, std::uint32_t upper, std::uint32_t address, std::uint32_t mask,
                                std::uint8_t add, std::uint32_t line);

  // inspection_rule_calls.cpp
  Status update_ftp_method_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                std::uint8_t code, std::uint8_t add);
  Status update_header_length_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                   std::uint8_t code, DirectedRangeField range, std::uint8_t add);
  Status update_header_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                            std::string_view header, std::string_view value, std::uint8_t add);
  Status update_url_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line, std::uint8_t code,
                         std::string_view expression, RangeField range, std::uint8_t add);
  Status update_mime_type_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line, std::uint8_t code,
                               std::uint8_t add);
  Status update_content_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                             std::string_view expression, std::uint8_t offset, std::uint8_t add);
  Status update_content_length_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                    RangeField range, std::uint8_t add);
  Status update_request_method_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                    std::uint8_t code, std::uint8_t add);
  Status update_port_misuse_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                 std::uint8_t code, std::uint8_t add);
  Status update_transfer_encoding_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                       std::uint8_t code, std::uint8_t add);

  // load_balancing_rule_calls.cpp
  Status update_lb_url_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                            std::uint32_t line, std::uint32_t is_inline, std::string_view qualifier,
                            std::string_view expression, std::uint8_t add);
  Status update_lb_cookie_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                               std::uint32_t line, std::uint32_t is_inline, std::uint32_t option,
                               std::string_view cookie, std::string_view value, std::uint8_t add);
  Status update_lb_header_rule(std::uint16_t context, std::string_view class_map, std::string_view insert_before,
                               std::uint32_t line, std::uint32_t is_inline, std::string_view header,
                               std::string_view value, std::uint8_t add);
  Status update_lb_source_address_rule(std::uint16_t context, std::string_view class_map, std::uint32_t line,
                                       std::uint32_t address, std::uint32_t mask, std::uint32_t mask_given,
                                       std::uint32_t is_inline, std::uint8_t add);
  Status update_nested_class_map_rule(std::uint16_t context, rpc::SessionId session, std::string_view class_map,
                                      std::uint32_t line, std::string_view child, std::uint8_t add);

  // rule_calls.cpp: by line, of a class-map of one type or of any
  Status remove_typed_line(std::uint16_t context, rpc::SessionId session, std::uint8_t type, std::uint8_t mode,
                           std::string_view class_map, std::uint32_t line);
  Status remove_any_line(std::uint16_t context, std::string_view class_map, std::uint32_t line, std::uint8_t add);

  // view_calls.cpp
  Status get_object(std::uint16_t context, std::uint32_t kind, std::string_view name, rpc::ResponseBuffer& response);
  Status get_objects(std::uint16_t context, std::uint32_t kind, ObjectCursorField cursor, WordField more,
                     rpc::ResponseBuffer& response);

 private:
  [[nodiscard]] const Context& context(std::uint16_t number) const { return configuration_.context(number); }
  // ok, or the status of the store's error, which is logged.
  [[nodiscard]] Status commit(std::span<const Change> changes);
  [[nodiscard]] Status commit(const Change& change) { return commit({&change, 1}); }

  Status create_class_map(std::uint16_t context, std::string_view name, ClassMapSettings settings);
  Status delete_class_map(std::uint16_t context, std::string_view name, ClassMapType type);
  Status change_class_map(std::uint16_t context, std::string_view name, ClassMap& class_map, ClassMapSettings settings);

  struct RulePlace {
    std::uint16_t context = 0;
    std::string_view class_map;
    std::uint32_t line = 0;  // 0: the next free one, or wherever the rule is
  };
  // Every rule comes and goes through here, once its call has made it out of the arguments.
  Status update_rule(const RulePlace& place, std::uint8_t add, MatchRule match);
  Status add_rule(const RulePlace& place, ClassMap& class_map, MatchRule match);
  Status erase_rule(const RulePlace& place, ClassMap& class_map, std::uint32_t line);
  Status remove_line(const RulePlace& place, std::optional<ClassMapType> type);

  std::unique_ptr<Store> store_;
  FailureLog log_;
  Configuration configuration_;
};

}  // namespace kvel::manager
