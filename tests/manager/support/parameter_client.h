// Calls of parameter-maps and SSL-proxy services as a test writes them, and the policy-maps that refer to them.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rpc/calls/service.h"
#include "tests/manager/support/arguments.h"

namespace kvel::manager::testing {

enum ParameterType : std::uint8_t { kConnectionMap = 0, kHttpMap = 1, kSslMap = 2 };

// Zero bytes with texts at some places.
using Bytes = std::vector<std::pair<std::size_t, std::string>>;
inline std::string block(std::size_t size, const Bytes& parts) {
  std::string bytes(size, '\0');
  for (const auto& [at, part] : parts)
    bytes.replace(at, part.size(), part);
  return bytes;
}

// A settings record: the mask, and what lies after it.
inline std::string settings_record(std::uint32_t mask, Bytes parts = {}) {
  parts.emplace_back(0, word(mask));
  return block(140, parts);
}

struct Page {
  Status status = Status::internal;
  std::string response;
  std::string cursor = std::string(65, '\0');
  std::string total = word(0);
  std::string more = word(0);
};

class ParameterClient {
 public:
  explicit ParameterClient(rpc::Service& service, std::uint16_t context = 0) : service_(service), context_(context) {}

  // The result word of the last add or lookup of a parameter-map.
  std::string created;

  Status create(std::string_view name, std::uint32_t type, std::uint32_t add = 1) {
    std::vector values{u16(context_), session(), u8(add), text(name), u8(type), buffer("????")};
    const Status status = call_with(service_, "cm_param_map_add_or_lookup", values);
    created = values[5].text;
    return status;
  }
  Status remove(std::string_view name, std::uint32_t type) { return create(name, type, 0); }
  Status configure(std::string_view name, std::uint32_t type, const std::string& settings, std::uint32_t add = 1) {
    return call("cm_param_map_config", {u16(context_), session(), u8(add), text(name), u8(type), buffer(settings)});
  }
  Status reset(std::string_view name, std::uint32_t type, const std::string& settings) {
    return configure(name, type, settings, 0);
  }

  // The page after an earlier one.
  Page list(std::uint32_t kind, Page from = {}) {
    std::vector values{u16(context_), u16(kind), buffer(from.cursor), buffer("????")};
    Page page = take("cm_param_map_list_bytype", values);
    page.cursor = values[2].text;
    page.more = values[3].text;
    return page;
  }
  Page list_services(Page from = {}) {
    std::vector values{u16(context_), buffer(from.cursor), buffer("????")};
    Page page = take("cm_get_sslproxy_list", values);
    page.cursor = values[1].text;
    page.more = values[2].text;
    return page;
  }
  Page show(std::string_view name = {}, Page from = {}) {
    std::vector values{u16(context_), text(name), buffer(from.cursor), buffer("????"), buffer("????")};
    Page page = take("cm_show_parameter_map", values);
    page.cursor = values[2].text;
    page.total = values[3].text;
    page.more = values[4].text;
    return page;
  }

  Status service(std::string_view name, std::uint32_t add = 1) {
    return call("cm_add_or_lookup_ssl_proxy", {u16(context_), text(name), u8(add)});
  }
  Status remove_service(std::string_view name) { return service(name, 0); }
  // `which` is key, cert, chaingrp or param_map.
  Status set(std::string_view which, std::string_view service, std::string_view name, std::uint32_t add = 1) {
    return call("cm_update_" + std::string(which), {u16(context_), text(service), text(name), u8(add)});
  }
  Status unset(std::string_view which, std::string_view service, std::string_view name) {
    return set(which, service, name, 0);
  }

  Status policy(std::string_view name, std::uint32_t type, std::uint32_t add = 1) {
    return call("cm_add_or_lookup_pmap_by_name",
                {u16(context_), session(), text(name), u8(type), u8(1), u8(add), buffer("????")});
  }
  // To class-default of a policy-map. Kind 0: connection parameters, 1: application parameters.
  Status attach(std::string_view policy, std::string_view parameter_map, std::uint32_t kind, std::uint32_t add = 1) {
    return call("cm_update_l3_param_map_config", {u16(context_), session(), text(policy), text("class-default"),
                                                  text(parameter_map), u8(kind), u8(add)});
  }
  Status attach_service(std::string_view policy, std::string_view service, std::uint32_t add = 1) {
    return call("cm_update_ssl_config",
                {u16(context_), session(), text(policy), text("class-default"), text(service), u8(add)});
  }

  // The record of an object, or the text of the status.
  std::string map(std::string_view name) { return object(7, name); }
  std::string ssl_proxy(std::string_view name) { return object(6, name); }
  std::string object(std::uint32_t kind, std::string_view name) {
    std::vector values{u16(context_), u32(kind), text(name)};
    const Page page = take("kvel_get_object", values);
    return page.status == Status::ok ? page.response : std::string(status_text(page.status));
  }
  std::string objects() {
    std::vector values{u16(context_), u32(0), buffer(std::string(66, '\0')), buffer("????")};
    return take("kvel_get_objects", values).response;
  }

 private:
  static Value text(std::string_view text) { return string(std::string(text)); }

  Status call(std::string_view name, std::vector<Value> values) { return call_with(service_, name, values); }
  // The same, with the response after the other values. Buffers come back in these.
  Page take(std::string_view name, std::vector<Value>& values) {
    values.push_back(response());
    Page page;
    page.status = call_with(service_, name, values);
    page.response = values.back().text;
    return page;
  }

  rpc::Service& service_;
  std::uint16_t context_;
};

}  // namespace kvel::manager::testing
