// Every backend call: its name, the types of its arguments and, for buffers, their length and direction. The client
// checks variable arguments against this table, the channels marshal by it, and the manager's functions are bound to it
// at compile time (binding.h). A new call is one row here and one function there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string_view>

#include "kvel/rpc.h"

namespace kvel::rpc {

// The type codes of kvel/rpc.h.
enum class ArgType : std::uint8_t {
  u8 = TNRPC_ARG_U8,
  u16 = TNRPC_ARG_U16,
  u32 = TNRPC_ARG_U32,
  string = TNRPC_ARG_STRING,
  session = TNRPC_ARG_SESSION,
  buffer = TNRPC_ARG_BUFFER,
  response = TNRPC_ARG_RESPONSE,
};

enum class Direction : std::uint8_t { in, out, in_out };

struct ArgShape {
  ArgType type = ArgType::u8;
  Direction direction = Direction::in;
  std::uint32_t length = 0;  // bytes of a buffer, exact

  [[nodiscard]] constexpr bool is_sent() const { return direction != Direction::out; }
  [[nodiscard]] constexpr bool is_returned() const { return direction != Direction::in; }
};

inline constexpr std::size_t kMaxArguments = 16;

struct CallRow {
  std::string_view name;
  std::array<ArgShape, kMaxArguments> shapes{};
  std::size_t count = 0;

  [[nodiscard]] constexpr std::span<const ArgShape> args() const { return {shapes.data(), count}; }
};

namespace detail {

consteval ArgShape u8() { return {ArgType::u8}; }
consteval ArgShape u16() { return {ArgType::u16}; }
consteval ArgShape u32() { return {ArgType::u32}; }
consteval ArgShape string() { return {ArgType::string}; }
consteval ArgShape session() { return {ArgType::session}; }
consteval ArgShape in(std::uint32_t length) { return {ArgType::buffer, Direction::in, length}; }
consteval ArgShape out(std::uint32_t length) { return {ArgType::buffer, Direction::out, length}; }
consteval ArgShape in_out(std::uint32_t length) { return {ArgType::buffer, Direction::in_out, length}; }
consteval ArgShape response() { return {ArgType::response, Direction::out}; }

consteval CallRow call(std::string_view name, std::initializer_list<ArgShape> args) {
  CallRow row{name, {}, args.size()};
  std::size_t index = 0;
  for (const ArgShape& arg : args)
    row.shapes[index++] = arg;  // more than kMaxArguments does not compile
  return row;
}

consteval auto call_table() {
  // The context comes first everywhere; most calls carry the session second. A cursor is the last name returned, a
  // more word states whether to ask again, an add byte is 0 in the "no" form.
  return std::array{
      // class-maps
      call("cm_classmap_get_list", {u16(), u32(), in_out(65), in_out(4), response()}),  // kind, cursor, more
      call("cm_add_or_lookup_classmap",
           {u16(), session(), u8(), u8(), string(), u8(), out(4)}),               // type, mode, name, add
      call("cm_update_classdesc", {u16(), session(), string(), string(), u8()}),  // name, text, add

      // rules of layer-3/4 and management class-maps: type, match mode, class-map, the rule's fields, add, line
      call("cm_update_class_to_vip", {u16(), session(), u8(), u8(), string(), u32(), u32(), u32(), u32(), u32(), u32(),
                                      u8(), u32()}),  // address, mask, protocol, operator, lower and upper port
      call("cm_update_class_to_ip", {u16(), session(), u8(), u8(), u32(), string(), u32(), u32(), u32(), u32(), u8(),
                                     u32()}),  // direction before the name; source and destination with masks
      call("cm_update_class_to_port", {u16(), session(), u8(), u8(), string(), u32(), u32(), u32(), u32(), u8(),
                                       u32()}),  // protocol, operator, lower and upper port
      call("cm_update_class_to_any", {u16(), session(), u8(), u8(), string(), u8(), u32()}),
      call("cm_update_class_to_acl", {u16(), session(), u8(), u8(), string(), string(), u8(), u32()}),  // access list
      call("cm_update_class_to_mgmtproto", {u16(), session(), u8(), u8(), string(), u32(), u32(), u32(), u32(), u32(),
                                            u32(), u8(), u32()}),  // protocol, operator, ports, source with mask

      // removing a rule by its line
      call("cm_update_class_lineno", {u16(), session(), u8(), u8(), string(), u32()}),  // type, mode, class-map, line
      call("cm_del_match_with_linenum", {u16(), string(), u32(), u8()}),                // class-map, line, add

      // rules of inspection class-maps: class-map, line, the rule's fields, add; ranges are big-endian words
      call("cm_update_ftp_request_method_match", {u16(), string(), u32(), u8(), u8()}),
      call("cm_update_http_header_length_match",
           {u16(), string(), u32(), u8(), in(12), u8()}),  // code; direction, range
      call("cm_update_http_header_match", {u16(), string(), u32(), string(), string(), u8()}),  // header, value
      call("cm_update_http_url_match",
           {u16(), string(), u32(), u8(), string(), in(8), u8()}),  // code, expression, length range
      call("cm_update_mime_type_match", {u16(), string(), u32(), u8(), u8()}),
      call("cm_update_http_content_match", {u16(), string(), u32(), string(), u8(), u8()}),  // expression, offset
      call("cm_update_http_content_length_match", {u16(), string(), u32(), in(8), u8()}),
      call("cm_update_request_method_match", {u16(), string(), u32(), u8(), u8()}),
      call("cm_update_p80_misuse_match", {u16(), string(), u32(), u8(), u8()}),
      call("cm_update_transfer_encoding_match", {u16(), string(), u32(), u8(), u8()}),

      // rules of HTTP load-balancing class-maps: name, insert-before name, line, inline flag, the rule's fields, add
      call("cm_update_lbclass_to_url",
           {u16(), string(), string(), u32(), u32(), string(), string(), u8()}),  // qualifier, expression
      call("cm_update_lbclass_to_cookie",
           {u16(), string(), string(), u32(), u32(), u32(), string(), string(), u8()}),  // option, cookie, value
      call("cm_update_lbclass_to_header",
           {u16(), string(), string(), u32(), u32(), string(), string(), u8()}),  // header, value
      call("cm_update_lbclass_to_srcaddr",
           {u16(), string(), u32(), u32(), u32(), u32(), u32(), u8()}),  // line, address, mask, mask given, inline flag
      call("cm_update_l7class_to_cmap", {u16(), session(), string(), u32(), string(), u8()}),  // line, nested class-map

      // policy-maps
      call("cm_policymap_get_list", {u16(), u32(), in_out(65), in_out(4), response()}),  // kind, cursor, more
      call("cm_add_or_lookup_pmap_by_name",
           {u16(), session(), string(), u8(), u8(), u8(), out(4)}),                    // name, type, subtype, add
      call("cm_update_policydesc", {u16(), session(), string(), string(), u8()}),      // name, text, add
      call("cm_set_policy_class_line_interval", {u16(), session(), string(), u32()}),  // name, interval
      call("cm_update_policy_to_class", {u16(), session(), string(), string(), string(), u8(), u8(), u8(), u8(),
                                         u32()}),  // policy, class, insert before, type, subtype, default, add, 0

      // actions of a class: policy, class, the action's fields, add; records are documented with the manager's readers
      call("cm_update_static_nat", {u16(), session(), string(), string(), u32(), u32(), u32(), u32(),
                                    u32()}),  // address, mask, port, VLAN; add is a whole word
      call("cm_update_dynamic_nat",
           {u16(), session(), string(), string(), u32(), u32(), u32()}),          // pool, VLAN; add is a whole word
      call("cm_update_l3_opt_config", {u16(), u8(), string(), string(), in(8)}),  // two words of options
      call("cm_update_l3_lb_config", {u16(), session(), u8(), string(), string(), in(160)}),
      call("cm_update_l3_http_insp_config", {u16(), session(), u8(), string(), string(), in(156)}),
      call("cm_update_l3_dns_insp_config", {u16(), session(), u8(), string(), string(), in(12)}),
      call("cm_update_l3_icmp_insp_config", {u16(), session(), u8(), string(), string(), in(4)}),
      call("cm_update_l3_ftp_insp_config", {u16(), session(), u8(), string(), string(), in(72)}),
      call("cm_update_l3_rtsp_insp_config", {u16(), session(), u8(), string(), string()}),
      call("cm_update_ssl_config", {u16(), session(), string(), string(), string(), u8()}),  // SSL-proxy service
      call("cm_update_l3_param_map_config",
           {u16(), session(), string(), string(), string(), u8(), u8()}),  // parameter-map, its kind
      call("cm_update_mgmt_action", {u16(), session(), u8(), string(), string(), u32(), u32()}),  // two flags
      call("cm_lb_add_or_lookup_action", {u16(), u8(), string(), string(), in(732)}),
      call("cm_update_l7_http_insp_action", {u16(), session(), u8(), string(), string(), u8()}),  // code
      call("cm_update_l7_ftp_insp_action", {u16(), session(), string(), string(), in(4), u8()}),  // add last

      // matches written into a policy-map: policy, match, the match's fields
      call("cm_update_l7_inline_lb_match",
           {u16(), session(), u8(), string(), string(), string(), in(332)}),  // add; insert before
      call("cm_update_l7_inline_http_insp_match",
           {u16(), session(), u8(), string(), string(), string(), in(328)}),  // add; insert before
      call("cm_update_l7_inline_ftp_insp_match", {u16(), session(), string(), string(), u8(), u8()}),  // code, add

      // parameter-maps
      call("cm_param_map_list_bytype", {u16(), u16(), in_out(65), in_out(4), response()}),   // kind, cursor, more
      call("cm_param_map_add_or_lookup", {u16(), session(), u8(), string(), u8(), out(4)}),  // add, name, type
      call("cm_param_map_config", {u16(), session(), u8(), string(), u8(), in(140)}),  // add, name, type, settings
      call("cm_show_parameter_map",
           {u16(), string(), in_out(65), in_out(4), in_out(4), response()}),  // name or none, cursor, total, more

      // SSL-proxy services; the calls of members: service, what the member is to be, add
      call("cm_get_sslproxy_list", {u16(), in_out(65), in_out(4), response()}),  // cursor, more
      call("cm_add_or_lookup_ssl_proxy", {u16(), string(), u8()}),               // name, add
      call("cm_update_key", {u16(), string(), string(), u8()}),
      call("cm_update_cert", {u16(), string(), string(), u8()}),
      call("cm_update_chaingrp", {u16(), string(), string(), u8()}),
      call("cm_update_param_map", {u16(), string(), string(), u8()}),

      // service policies: policy-maps that are applied to traffic
      call("kvel_apply_policy", {u16(), session(), string(), u32(), u8()}),  // policy, VLAN or 0 for all traffic, add
      call("cm_show_service_policy",
           {u16(), string(), u32(), in_out(20), in_out(4), response()}),  // policy or none, detail, position, more
      call("cm_clear_service_policy", {u16(), string()}),                 // policy or none

      // traffic, as lines of JSON (docs/flows.md)
      call("kvel_count_flows", {u16(), u32(), string(), response()}),  // number of the first line, lines
      call("kvel_explain_flow", {u16(), string(), response()}),        // one flow

      // the shell's own view of the configuration: JSON objects, see docs/configuration-records.md
      call("kvel_get_object", {u16(), u32(), string(), response()}),                // kind, name
      call("kvel_get_objects", {u16(), u32(), in_out(66), in_out(4), response()}),  // kind, cursor, more
      call("kvel_get_parts",
           {u16(), u32(), string(), in_out(16), in_out(4), response()}),  // kind, name, position, more

      // the shell's own forms of calls that handlers make, which say more than these can
      // (docs/configuration-records.md)
      call("kvel_enter_object", {u16(), session(), u32(), string(), u8(), u8(), u8(),
                                 out(20)}),  // kind, name, type, match mode or subtype, whether that is given; identity
      call("kvel_identify_object", {u16(), u32(), string(), string(), out(20)}),  // kind, name, class or none; identity
      call("kvel_change_parameter_map",
           {u16(), session(), u8(), string(), u8(), in(140), u32()}),  // add, name, type, settings, fields that stay
  };
}

}  // namespace detail

inline constexpr auto kCalls = detail::call_table();

inline constexpr std::size_t kNoCall = kCalls.size();

// The row of a call, or kNoCall.
[[nodiscard]] constexpr std::size_t find_call(std::string_view name) {
  for (std::size_t index = 0; index < kCalls.size(); ++index) {
    if (kCalls[index].name == name) return index;
  }
  return kNoCall;
}

}  // namespace kvel::rpc
