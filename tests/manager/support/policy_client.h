// Makes the calls of policy-maps, and the records that they carry.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

#include "tests/manager/support/arguments.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing {

// A record of zeros with these bytes at these offsets.
inline std::string record(std::size_t size, std::initializer_list<std::pair<std::size_t, std::string>> fields) {
  std::string bytes(size, '\0');
  for (const auto& [offset, field] : fields)
    bytes.replace(offset, field.size(), field);
  EXPECT_EQ(bytes.size(), size);
  return bytes;
}

// Where a class or match is, and whether it comes or goes.
struct In {
  std::string policy;
  std::string name;
  std::uint32_t add = 1;
  std::string before{};
};

class PolicyClient {
 public:
  explicit PolicyClient(rpc::Service& service, std::uint16_t context = 0) : service_(service), context_(u16(context)) {}

  // The word that the last add or lookup returned.
  std::string created;

  Status create(const std::string& name, std::uint32_t type = 1, std::uint32_t subtype = 1, std::uint32_t add = 1) {
    std::vector<Value> values{context_, session(), string(name), u8(type), u8(subtype), u8(add), buffer("\7\7\7\7")};
    const Status status = call_with(service_, "cm_add_or_lookup_pmap_by_name", values);
    created = values.back().text;
    return status;
  }
  Status remove(const std::string& name, std::uint32_t type = 1) { return create(name, type, 1, 0); }
  Status describe(const std::string& name, const std::string& text, std::uint32_t add = 1) {
    return call(service_, "cm_update_policydesc", {context_, session(), string(name), string(text), u8(add)});
  }
  Status interval(const std::string& name, std::uint32_t interval) {
    return call(service_, "cm_set_policy_class_line_interval", {context_, session(), string(name), u32(interval)});
  }
  // A class of a policy-map of the type.
  Status put(const In& in, std::uint32_t type = 1, std::uint32_t subtype = 1, std::uint32_t class_default = 0,
             std::uint32_t reserved = 0) {
    return call(service_, "cm_update_policy_to_class",
                {context_, session(), string(in.policy), string(in.name), string(in.before), u8(type), u8(subtype),
                 u8(class_default), u8(in.add), u32(reserved)});
  }

  Status static_nat(const In& in, std::uint32_t address, std::uint32_t mask = 0xffffffff, std::uint32_t port = 0,
                    std::uint32_t vlan = 0) {
    return call(service_, "cm_update_static_nat",
                {context_, session(), string(in.policy), string(in.name), u32(address), u32(mask), u32(port), u32(vlan),
                 u32(in.add)});
  }
  Status dynamic_nat(const In& in, std::uint32_t pool, std::uint32_t vlan) {
    return call(service_, "cm_update_dynamic_nat",
                {context_, session(), string(in.policy), string(in.name), u32(pool), u32(vlan), u32(in.add)});
  }
  Status options(const In& in, std::uint32_t bits, std::uint32_t reserved = 0) {
    return call(service_, "cm_update_l3_opt_config",
                {context_, u8(in.add), string(in.policy), string(in.name), buffer(word(bits) + word(reserved))});
  }
  // A call with the add byte before the names and a record after them: vip, http, dns, icmp or ftp.
  Status layer3(const std::string& name, const In& in, const std::string& bytes) {
    return call(service_, name, {context_, session(), u8(in.add), string(in.policy), string(in.name), buffer(bytes)});
  }
  Status vip(const In& in, const std::string& bytes) { return layer3("cm_update_l3_lb_config", in, bytes); }
  Status http(const In& in, const std::string& bytes) { return layer3("cm_update_l3_http_insp_config", in, bytes); }
  Status dns(const In& in, const std::string& bytes) { return layer3("cm_update_l3_dns_insp_config", in, bytes); }
  Status icmp(const In& in, std::uint32_t mode) { return layer3("cm_update_l3_icmp_insp_config", in, word(mode)); }
  Status ftp(const In& in, const std::string& bytes) { return layer3("cm_update_l3_ftp_insp_config", in, bytes); }
  Status rtsp(const In& in) {
    return call(service_, "cm_update_l3_rtsp_insp_config",
                {context_, session(), u8(in.add), string(in.policy), string(in.name)});
  }
  Status ssl(const In& in, const std::string& service) {
    return call(service_, "cm_update_ssl_config",
                {context_, session(), string(in.policy), string(in.name), string(service), u8(in.add)});
  }
  Status parameters(const In& in, const std::string& name, std::uint32_t kind) {
    return call(service_, "cm_update_l3_param_map_config",
                {context_, session(), string(in.policy), string(in.name), string(name), u8(kind), u8(in.add)});
  }
  Status permissions(const In& in, std::uint32_t first, std::uint32_t second) {
    return call(service_, "cm_update_mgmt_action",
                {context_, session(), u8(in.add), string(in.policy), string(in.name), u32(first), u32(second)});
  }

  Status lb(const In& in, const std::string& bytes) {
    return call(service_, "cm_lb_add_or_lookup_action",
                {context_, u8(in.add), string(in.policy), string(in.name), buffer(bytes)});
  }
  Status http_verdict(const In& in, std::uint32_t code) {
    return call(service_, "cm_update_l7_http_insp_action",
                {context_, session(), u8(in.add), string(in.policy), string(in.name), u8(code)});
  }
  Status ftp_verdict(const In& in, std::uint32_t code) {
    return call(service_, "cm_update_l7_ftp_insp_action",
                {context_, session(), string(in.policy), string(in.name), buffer(word(code)), u8(in.add)});
  }

  Status lb_match(const In& in, const std::string& bytes) { return match("cm_update_l7_inline_lb_match", in, bytes); }
  Status http_match(const In& in, const std::string& bytes) {
    return match("cm_update_l7_inline_http_insp_match", in, bytes);
  }
  Status ftp_match(const In& in, std::uint32_t code) {
    return call(service_, "cm_update_l7_inline_ftp_insp_match",
                {context_, session(), string(in.policy), string(in.name), u8(code), u8(in.add)});
  }
  // A load-balancing match of a URL.
  Status url_match(const In& in, const std::string& expression) {
    return lb_match(in, record(332, {{0, word(5)}, {4, expression}}));
  }

 private:
  Status match(const std::string& name, const In& in, const std::string& bytes) {
    return call(
        service_, name,
        {context_, session(), u8(in.add), string(in.policy), string(in.name), string(in.before), buffer(bytes)});
  }

  rpc::Service& service_;
  Value context_;
};

// The classes that the record of a policy-map shows, or "none".
inline std::string classes_in(const std::string& policy_record) {
  const auto start = policy_record.find(R"(,"classes":)");
  if (start == std::string::npos) return policy_record.empty() ? "no record" : "none";
  return policy_record.substr(start + 11, policy_record.size() - start - 12);
}

}  // namespace kvel::manager::testing
