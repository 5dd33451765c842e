// Makes the calls of service policies, and the records of their streams.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "tests/manager/support/client.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing {

inline const std::string kStart(20, '\0');  // the position before the first page

struct StreamPage {
  Status status = Status::internal;
  std::string bytes;
  std::string position;  // 20 bytes
  std::string more;      // 4 bytes
};

class ServicePolicyClient {
 public:
  explicit ServicePolicyClient(rpc::Service& service, std::uint16_t context = 0)
      : service_(service), context_(context) {}

  Status apply(const std::string& policy, std::uint32_t vlan, std::uint32_t add = 1) {
    return testing::call(service_, "kvel_apply_policy",
                         {u16(context_), session(), testing::string(policy), u32(vlan), u8(add)});
  }
  Status clear(const std::string& policy) {
    return testing::call(service_, "cm_clear_service_policy", {u16(context_), testing::string(policy)});
  }
  Status count(const std::string& lines) {
    return testing::call(service_, "kvel_count_flows", {u16(context_), u32(1), testing::string(lines), response()});
  }
  StreamPage show(const std::string& policy, std::uint32_t detail = 1, const std::string& position = kStart) {
    std::vector<Value> values{u16(context_),    testing::string(policy), u32(detail),
                              buffer(position), buffer("\7\7\7\7"),      response()};
    const Status status = call_with(service_, "cm_show_service_policy", values);
    return {status, values[5].text, values[3].text, values[4].text};
  }

 private:
  rpc::Service& service_;
  std::uint16_t context_;
};

using RecordFields = std::initializer_list<std::pair<std::size_t, std::string>>;

inline std::string policy_record(std::uint32_t classes, std::uint32_t vlans, std::uint32_t active,
                                 const std::string& description = "") {
  return record(260, {{0, word(2)}, {4, word(classes)}, {8, word(vlans)}, {12, word(active)}, {16, description}});
}
inline std::string class_record(const std::string& name, std::uint32_t groups) {
  return record(260, {{0, word(1)}, {8, word(groups)}, {12, name}});
}
inline std::string group_record(std::uint32_t type, std::uint32_t count, std::uint32_t has_rules = 0) {
  return record(260, {{4, word(has_rules)}, {8, word(count)}, {12, word(type)}});
}
inline std::string statistics_record(RecordFields fields) { return record(216, fields); }
inline std::string rules_record(std::uint32_t count, const std::string& policy) {
  return record(72, {{0, word(count)}, {4, policy}});
}
inline std::string rule_record(RecordFields fields) { return record(336, fields); }

}  // namespace kvel::manager::testing
