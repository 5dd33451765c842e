// The calls of the manager, one function each, bound to the call table in manager.cpp.
//
// A call that changes something checks the running configuration, makes a candidate of it, and commits that. A refusal,
// a failed allocation and a failed commit leave everything as it was: the candidate is dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "manager/configuration/candidate.h"
#include "manager/configuration/configuration.h"
#include "manager/service/action_edit.h"
#include "manager/service/fields.h"
#include "manager/service/manager.h"
#include "manager/service/object_status.h"
#include "manager/store/store.h"
#include "manager/traffic/classifier.h"
#include "manager/traffic/statistics_table.h"
#include "rpc/calls/binding.h"

namespace kvel::manager {

// The last name of a page.
using CursorField = std::span<std::byte, kNameBytes>;
// The cursor of the object list: a canonical rank, then the name.
using ObjectCursorField = std::span<std::byte, kNameBytes + 1>;
// Where the walk over a service policy goes on; all zeros: from its start.
using PositionField = std::span<std::byte, 20>;
// Where the parts of an object go on; all zeros: from their start.
using PartPositionField = std::span<std::byte, 16>;
// Which object a name means: entry_calls.cpp.
using IdentityField = std::span<std::byte, 20>;
// A 32-bit word in network byte order.
using WordField = std::span<std::byte, 4>;
// Two such words, low and high end; or three, the first a direction.
using RangeField = std::span<const std::byte, 8>;
using DirectedRangeField = std::span<const std::byte, 12>;
// A record of fixed size; its layout is where it is read.
template <std::size_t Size>
using FixedRecord = std::span<const std::byte, Size>;

class Calls {
 public:
  Calls(std::unique_ptr<Store> store, FailureLog log);

  // Makes the store's records the running configuration; before any call.
  [[nodiscard]] StoreResult<void> load();
  // Whether the running configuration is the store's. After a commit whose outcome is not known it is read again; false
  // when that fails. To be asked before each call.
  [[nodiscard]] bool is_current();

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

  // policy_map_calls.cpp
  Status add_or_lookup_policy_map(std::uint16_t context, rpc::SessionId session, std::string_view name,
                                  std::uint8_t type, std::uint8_t subtype, std::uint8_t add, WordField created);
  Status update_policy_map_description(std::uint16_t context, rpc::SessionId session, std::string_view name,
                                       std::string_view text, std::uint8_t add);
  Status set_line_interval(std::uint16_t context, rpc::SessionId session, std::string_view name,
                           std::uint32_t interval);
  Status list_policy_maps(std::uint16_t context, std::uint32_t kind, CursorField cursor, WordField more,
                          rpc::ResponseBuffer& response);

  // policy_class_calls.cpp
  Status update_policy_class(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                             std::string_view class_map, std::string_view insert_before, std::uint8_t type,
                             std::uint8_t subtype, std::uint8_t class_default, std::uint8_t add,
                             std::uint32_t reserved);

  // layer34_action_calls.cpp
  Status update_static_nat(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                           std::string_view class_map, std::uint32_t address, std::uint32_t mask, std::uint32_t port,
                           std::uint32_t vlan, std::uint32_t add);
  Status update_dynamic_nat(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                            std::string_view class_map, std::uint32_t pool, std::uint32_t vlan, std::uint32_t add);
  Status update_layer3_options(std::uint16_t context, std::uint8_t add, std::string_view policy,
                               std::string_view class_map, FixedRecord<8> options);
  Status update_vip_actions(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                            std::string_view class_map, FixedRecord<160> config);
  Status update_http_inspection(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                std::string_view policy, std::string_view class_map, FixedRecord<156> inspection);
  Status update_dns_inspection(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                               std::string_view class_map, FixedRecord<12> inspection);
  Status update_icmp_inspection(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                std::string_view policy, std::string_view class_map, FixedRecord<4> inspection);
  Status update_ftp_inspection(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                               std::string_view class_map, FixedRecord<72> inspection);
  Status update_rtsp_inspection(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                std::string_view policy, std::string_view class_map);
  Status update_attached_parameter_map(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                                       std::string_view class_map, std::string_view parameter_map, std::uint8_t kind,
                                       std::uint8_t add);
  Status update_permissions(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                            std::string_view class_map, std::uint32_t permit, std::uint32_t deny);

  // layer7_action_calls.cpp: of a class or of an inline match
  Status update_attached_ssl_proxy(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                                   std::string_view action, std::string_view ssl_proxy, std::uint8_t add);
  Status update_load_balancing(std::uint16_t context, std::uint8_t add, std::string_view policy,
                               std::string_view action, FixedRecord<732> config);
  Status update_http_verdict(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                             std::string_view action, std::uint8_t code);
  Status update_ftp_verdict(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                            std::string_view action, FixedRecord<4> verdict, std::uint8_t add);

  // inline_match_calls.cpp
  Status update_lb_match(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                         std::string_view match, std::string_view insert_before, FixedRecord<332> rule);
  Status update_http_match(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view policy,
                           std::string_view match, std::string_view insert_before, FixedRecord<328> rule);
  Status update_ftp_match(std::uint16_t context, rpc::SessionId session, std::string_view policy,
                          std::string_view match, std::uint8_t code, std::uint8_t add);

  // parameter_map_calls.cpp
  Status add_or_lookup_parameter_map(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                     std::string_view name, std::uint8_t type, WordField created);
  Status configure_parameter_map(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view name,
                                 std::uint8_t type, FixedRecord<140> settings);
  Status change_parameter_map(std::uint16_t context, rpc::SessionId session, std::uint8_t add, std::string_view name,
                              std::uint8_t type, FixedRecord<140> settings, std::uint32_t kept);
  Status list_parameter_maps(std::uint16_t context, std::uint16_t kind, CursorField cursor, WordField more,
                             rpc::ResponseBuffer& response);
  Status show_parameter_maps(std::uint16_t context, std::string_view name, CursorField cursor, WordField total,
                             WordField more, rpc::ResponseBuffer& response);

  // ssl_proxy_calls.cpp
  Status add_or_lookup_ssl_proxy(std::uint16_t context, std::string_view name, std::uint8_t add);
  Status update_key(std::uint16_t context, std::string_view service, std::string_view key, std::uint8_t add);
  Status update_certificate(std::uint16_t context, std::string_view service, std::string_view certificate,
                            std::uint8_t add);
  Status update_chain_group(std::uint16_t context, std::string_view service, std::string_view chain_group,
                            std::uint8_t add);
  Status update_ssl_parameters(std::uint16_t context, std::string_view service, std::string_view parameter_map,
                               std::uint8_t add);
  Status list_ssl_proxies(std::uint16_t context, CursorField cursor, WordField more, rpc::ResponseBuffer& response);

  // application_calls.cpp
  Status apply_policy(std::uint16_t context, rpc::SessionId session, std::string_view policy, std::uint32_t vlan,
                      std::uint8_t add);

  // service_policy_calls.cpp
  Status show_service_policy(std::uint16_t context, std::string_view policy, std::uint32_t detail,
                             PositionField position, WordField more, rpc::ResponseBuffer& response);
  Status clear_service_policy(std::uint16_t context, std::string_view policy);

  // traffic_calls.cpp
  Status count_flows(std::uint16_t context, std::uint32_t first_line, std::string_view lines,
                     rpc::ResponseBuffer& response);
  Status explain_flow(std::uint16_t context, std::string_view flow, rpc::ResponseBuffer& response);

  // view_calls.cpp
  Status get_object(std::uint16_t context, std::uint32_t kind, std::string_view name, rpc::ResponseBuffer& response);
  Status get_objects(std::uint16_t context, std::uint32_t kind, ObjectCursorField cursor, WordField more,
                     rpc::ResponseBuffer& response);
  Status get_parts(std::uint16_t context, std::uint32_t kind, std::string_view name, PartPositionField position,
                   WordField more, rpc::ResponseBuffer& response);

  // entry_calls.cpp
  Status enter_object(std::uint16_t context, rpc::SessionId session, std::uint32_t kind, std::string_view name,
                      std::uint8_t type, std::uint8_t setting, std::uint8_t given, IdentityField identity);
  Status identify_object(std::uint16_t context, std::uint32_t kind, std::string_view name, std::string_view entry,
                         IdentityField identity);

 private:
  // Of the running configuration, until the next commit.
  [[nodiscard]] const Context& context(std::uint16_t number) const { return *running_.context(number); }
  // A number of this process for an object: never 0.
  [[nodiscard]] std::uint32_t identity_of(Number number) const {
    return first_change_ + static_cast<std::uint32_t>(number % 0x7fff'ffff);
  }
  // The running configuration, for changing one context of it.
  [[nodiscard]] Candidate candidate(std::uint16_t context) const { return {running_, context}; }
  // Makes the candidate durable and then the running configuration: ok, or the status of the store's error, which is
  // logged.
  [[nodiscard]] Status commit(const Candidate& candidate);
  [[nodiscard]] Status refuse(const StoreError& error, const Configuration& next);
  // What is in the store. Classes have the numbers that they have in a configuration that is known.
  [[nodiscard]] StoreResult<Configuration> read(const Configuration& known);
  [[nodiscard]] bool read_again(const Configuration& known);
  void make_current(Configuration next);
  void make_current(Configuration next, const Changes& changes) noexcept;

  // Gives an object its settings, and makes it when it is not there.
  template <class Object>
  Status put(std::uint16_t context, std::string_view name, typename Object::Settings settings) {
    Candidate next = candidate(context);
    next.put<Object>(name, std::move(settings));
    return commit(next);
  }
  // Deletes an object of the right type that nobody uses.
  template <class Object, class IsType>
  Status erase(std::uint16_t context_number, std::string_view name, const IsType& is_type) {
    const Context& shown = context(context_number);
    const Object* const present = shown.find<Object>(name);
    if (present == nullptr) return not_found(Object::kKind);
    if (!is_type(*present->settings)) return type_differs(Object::kKind);
    if (shown.references.in_use(Object::kKind, name) || is_applied(*present->settings)) return in_use(Object::kKind);
    Candidate next = candidate(context_number);
    next.erase<Object>(name);
    return commit(next);
  }
  static bool is_applied(const PolicyMapSettings& settings) { return settings.application.anywhere(); }
  template <class Settings>
  static bool is_applied(const Settings& /*settings*/) {
    return false;
  }
  // What enter_object() is to make, or to look up.
  struct ObjectToEnter {
    std::uint16_t context = 0;
    rpc::SessionId session{};
    ObjectKind kind = ObjectKind::class_map;
    std::string_view name;
    std::uint8_t type = 0;
    std::uint8_t setting = 0;
  };
  Status make_or_look_up(const ObjectToEnter& object, WordField created);

  struct RulePlace {
    std::uint16_t context = 0;
    std::string_view class_map;
    std::uint32_t line = 0;  // 0: the next free one, or wherever the rule is
  };
  // Every rule comes and goes through here, once its call has made it out of the arguments.
  Status update_rule(const RulePlace& place, std::uint8_t add, MatchRule match);
  Status add_rule(const RulePlace& place, const ClassMap& class_map, MatchRule match);
  Status erase_rule(const RulePlace& place, std::uint32_t line);
  Status remove_line(const RulePlace& place, std::optional<ClassMapType> type);
  Status update_lb_rule(const RulePlace& place, std::string_view insert_before, std::uint32_t is_inline,
                        std::uint8_t add, MatchRule match);

  // A class or an inline match of a policy-map, by a name; and the one before which it shall stand, if that matters.
  struct ClassPlace {
    std::uint16_t context = 0;
    std::string_view policy;
    std::string_view name;
    std::string_view insert_before;
  };
  // policy_entries.cpp: what classes and inline matches share
  Status insert_entry(const ClassPlace& place, const PolicyMap& policy, PolicyClassContent content,
                      const PolicyClass& before);
  Status change_entry(const ClassPlace& place, const PolicyMap& policy, const PolicyClass& entry,
                      PolicyClassContent content, const ClassPointer& before);
  Status erase_entry(const ClassPlace& place, const PolicyClass& entry);

  Status add_class(const ClassPlace& place, PolicyMapType type);
  Status remove_class(const ClassPlace& place, PolicyMapType type);

  // A match is updated with a rule, or removed without one.
  Status put_match(const ClassPlace& place, PolicyMapType type, MatchRule rule);
  Status remove_match(const ClassPlace& place, PolicyMapType type);
  Status insert_match(const ClassPlace& place, const PolicyMap& policy, MatchRule rule, const PolicyClass& before);
  // By the name of its hidden class, as the rule calls of class-maps do.
  Status update_rule_of_match(const RulePlace& place, std::string_view insert_before, std::uint8_t add,
                              MatchRule match);

  // action_calls.cpp: every action comes and goes through here.
  Status change_actions(const ClassPlace& place, PolicyMapType type, const ActionEdits& edits);
  Status replace_actions(const ClassPlace& place, const PolicyClass& acting, ActionList actions);
  template <class Inspection, class Read>
  Status update_inspection(const ClassPlace& place, std::uint8_t add, const Read& read);
  // Attaches an object by its name; detaches what is attached, which must be the named one if there is a name.
  template <class Attachment>
  Status update_attachment(const ClassPlace& place, PolicyMapType type, std::string_view name, std::uint8_t add) {
    if (add > 1) return Status::bad_arguments;
    if (add == 1) return change_actions(place, type, {put_action(Attachment(name))});
    if (name.empty()) return change_actions(place, type, {remove_kind<Attachment>()});
    return change_actions(place, type, {remove_action(Attachment(name))});
  }

  Status update_member(std::uint16_t context, std::string_view service, std::string SslProxySettings::*member,
                       std::string_view name, std::uint8_t add);

  std::unique_ptr<Store> store_;
  FailureLog log_;
  StoreHead head_;         // of the running configuration
  bool is_stale_ = false;  // what is in the store is not known
  Configuration running_;
  StatisticsTable statistics_;  // of the classes of the running configuration
  Classifiers classifiers_;     // of both; they go before these do
  // A number for each change, from a different beginning in each process; never 0.
  const std::uint32_t first_change_;
  std::uint32_t last_change_ = first_change_;
};

}  // namespace kvel::manager
