// Makes the calls of match rules, with the class-map, line and add byte where each call wants them.
#pragma once

#include <string>

#include "tests/manager/support/arguments.h"

namespace kvel::manager::testing {

// 10.1.1.1 and so on.
inline constexpr std::uint32_t ip(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  return a << 24U | b << 16U | c << 8U | d;
}

// Where a rule goes, and whether it comes or goes.
struct At {
  std::string class_map;
  std::uint32_t line = 0;
  std::uint32_t add = 1;
  std::uint32_t mode = 1;
};

class RuleClient {
 public:
  explicit RuleClient(rpc::Service& service, std::uint16_t context = 0) : service_(service), context_(u16(context)) {}

  Status vip(const At& at, std::uint32_t address, std::uint32_t mask = 0xffffffff, std::uint32_t protocol = 6,
             std::uint32_t lower = 80, std::uint32_t upper = 80, std::uint32_t type = 0, std::uint32_t op = 0) {
    return call(service_, "cm_update_class_to_vip",
                {context_, session(), u8(type), u8(at.mode), string(at.class_map), u32(address), u32(mask),
                 u32(protocol), u32(op), u32(lower), u32(upper), u8(at.add), u32(at.line)});
  }
  Status address(const At& at, std::uint32_t direction, std::uint32_t source, std::uint32_t source_mask,
                 std::uint32_t destination, std::uint32_t destination_mask, std::uint32_t type = 0) {
    return call(service_, "cm_update_class_to_ip",
                {context_, session(), u8(type), u8(at.mode), u32(direction), string(at.class_map), u32(source),
                 u32(source_mask), u32(destination), u32(destination_mask), u8(at.add), u32(at.line)});
  }
  Status port(const At& at, std::uint32_t protocol, std::uint32_t lower, std::uint32_t upper, std::uint32_t type = 0,
              std::uint32_t op = 0) {
    return call(service_, "cm_update_class_to_port",
                {context_, session(), u8(type), u8(at.mode), string(at.class_map), u32(protocol), u32(op), u32(lower),
                 u32(upper), u8(at.add), u32(at.line)});
  }
  Status any(const At& at, std::uint32_t type = 0) {
    return call(service_, "cm_update_class_to_any",
                {context_, session(), u8(type), u8(at.mode), string(at.class_map), u8(at.add), u32(at.line)});
  }
  Status access_list(const At& at, const std::string& name, std::uint32_t type = 0) {
    return call(
        service_, "cm_update_class_to_acl",
        {context_, session(), u8(type), u8(at.mode), string(at.class_map), string(name), u8(at.add), u32(at.line)});
  }
  Status management(const At& at, std::uint32_t protocol, std::uint32_t lower, std::uint32_t upper,
                    std::uint32_t address = 0, std::uint32_t mask = 0, std::uint32_t type = 1, std::uint32_t op = 0) {
    return call(service_, "cm_update_class_to_mgmtproto",
                {context_, session(), u8(type), u8(at.mode), string(at.class_map), u32(protocol), u32(op), u32(lower),
                 u32(upper), u32(address), u32(mask), u8(at.add), u32(at.line)});
  }

  Status remove_typed_line(const std::string& class_map, std::uint32_t line, std::uint32_t type = 0,
                           std::uint32_t mode = 1) {
    return call(service_, "cm_update_class_lineno",
                {context_, session(), u8(type), u8(mode), string(class_map), u32(line)});
  }
  Status remove_line(const std::string& class_map, std::uint32_t line, std::uint32_t add = 0) {
    return call(service_, "cm_del_match_with_linenum", {context_, string(class_map), u32(line), u8(add)});
  }

  // The rules that are a code and nothing else.
  Status code(const std::string& name, const At& at, std::uint32_t number) {
    return call(service_, name, {context_, string(at.class_map), u32(at.line), u8(number), u8(at.add)});
  }
  Status header_length(const At& at, std::uint32_t number, std::uint32_t direction, std::uint32_t low,
                       std::uint32_t high) {
    return call(service_, "cm_update_http_header_length_match",
                {context_, string(at.class_map), u32(at.line), u8(number),
                 buffer(word(direction) + word(low) + word(high)), u8(at.add)});
  }
  Status header(const At& at, const std::string& name, const std::string& value) {
    return call(service_, "cm_update_http_header_match",
                {context_, string(at.class_map), u32(at.line), string(name), string(value), u8(at.add)});
  }
  Status url(const At& at, std::uint32_t number, const std::string& expression, std::uint32_t low = 0,
             std::uint32_t high = 0) {
    return call(service_, "cm_update_http_url_match",
                {context_, string(at.class_map), u32(at.line), u8(number), string(expression),
                 buffer(word(low) + word(high)), u8(at.add)});
  }
  Status content(const At& at, const std::string& expression, std::uint32_t offset = 0) {
    return call(service_, "cm_update_http_content_match",
                {context_, string(at.class_map), u32(at.line), string(expression), u8(offset), u8(at.add)});
  }
  Status content_length(const At& at, std::uint32_t low, std::uint32_t high) {
    return call(service_, "cm_update_http_content_length_match",
                {context_, string(at.class_map), u32(at.line), buffer(word(low) + word(high)), u8(at.add)});
  }

  Status lb_url(const At& at, const std::string& expression, const std::string& qualifier = "",
                std::uint32_t is_inline = 0, const std::string& before = "") {
    return call(service_, "cm_update_lbclass_to_url",
                {context_, string(at.class_map), string(before), u32(at.line), u32(is_inline), string(qualifier),
                 string(expression), u8(at.add)});
  }
  Status lb_cookie(const At& at, const std::string& cookie, const std::string& value, std::uint32_t option = 0,
                   std::uint32_t is_inline = 0, const std::string& before = "") {
    return call(service_, "cm_update_lbclass_to_cookie",
                {context_, string(at.class_map), string(before), u32(at.line), u32(is_inline), u32(option),
                 string(cookie), string(value), u8(at.add)});
  }
  Status lb_header(const At& at, const std::string& header, const std::string& value, std::uint32_t is_inline = 0,
                   const std::string& before = "") {
    return call(service_, "cm_update_lbclass_to_header",
                {context_, string(at.class_map), string(before), u32(at.line), u32(is_inline), string(header),
                 string(value), u8(at.add)});
  }
  Status lb_source(const At& at, std::uint32_t address, std::uint32_t mask, std::uint32_t mask_given,
                   std::uint32_t is_inline = 0) {
    return call(service_, "cm_update_lbclass_to_srcaddr",
                {context_, string(at.class_map), u32(at.line), u32(address), u32(mask), u32(mask_given), u32(is_inline),
                 u8(at.add)});
  }
  Status nest(const At& at, const std::string& child) {
    return call(service_, "cm_update_l7class_to_cmap",
                {context_, session(), string(at.class_map), u32(at.line), string(child), u8(at.add)});
  }

 private:
  rpc::Service& service_;
  Value context_;
};

}  // namespace kvel::manager::testing
