// Pages of the statistics stream that the display of service policies reads, record by record. Every byte that the
// display does not read is a filler, also after the end of a text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvel::cli::test::stream {

inline constexpr std::uint32_t kSecurityAcl = 0;
inline constexpr std::uint32_t kNat = 1;
inline constexpr std::uint32_t kLoadBalance = 2;
inline constexpr std::uint32_t kInspectHttp = 3;
inline constexpr std::uint32_t kInspectFtp = 4;
inline constexpr std::uint32_t kInspectDns = 5;
inline constexpr std::uint32_t kInspectIcmp = 6;
inline constexpr std::uint32_t kInspectRtsp = 7;

// The filler of the records made during its life; otherwise it is 0xa5.
class Filler {
 public:
  explicit Filler(char byte);
  Filler(const Filler&) = delete;
  Filler& operator=(const Filler&) = delete;
  ~Filler();
};

// ServicePolicyRecord and the VLAN words after it.
struct Policy {
  std::uint32_t record_type = 2;
  std::uint32_t class_count = 1;
  std::optional<std::uint32_t> interface_count = {};  // as many as there are VLAN words
  std::uint32_t active = 1;
  std::string description = {};
  std::vector<std::uint32_t> vlans = {};
};
[[nodiscard]] std::string policy(const Policy& record);

// ClassRecord
struct Class {
  std::uint32_t record_type = 1;
  std::uint32_t entry_count = 1;
  std::string name = "web";
};
[[nodiscard]] std::string class_map(const Class& record);

// ClassActionEntry
struct Action {
  std::uint32_t has_l7 = 0;
  std::uint32_t count = 1;
  std::uint32_t type = kSecurityAcl;
};
[[nodiscard]] std::string action(const Action& record);

// The common counters of ActionStatsRecord.
struct Counters {
  std::uint32_t current_connections = 1001;
  std::uint32_t hit_count = 1002;
  std::uint32_t client_packets = 1003;
  std::uint32_t server_packets = 1004;
  std::uint64_t client_bytes = 1005;
  std::uint64_t server_bytes = 1006;
  std::uint32_t dropped_connections = 1007;
};

// ActionStatsRecord, as each type of action fills it.
struct Nat {
  std::uint32_t kind = 1;
  std::uint32_t vlan_or_pool = 20;  // offset 12
  std::uint32_t address_or_vlan = 0x0a000001;
  std::uint16_t port = 80;
  Counters counters = {};
};
[[nodiscard]] std::string nat(const Nat& record);

struct LoadBalance {
  std::uint32_t vip_inservice = 1;
  std::uint32_t icmp_reply_state = 1;
  std::uint32_t rhi_state = 1;
  std::uint32_t rhi_metric = 77;
  std::string l7_policy_name = "shop";
  Counters counters = {};
};
[[nodiscard]] std::string load_balance(const LoadBalance& record);

struct Http {
  std::uint32_t url_logging = 1;
  std::string l7_policy_name = "strict-http";
  std::uint32_t l4_total_requests = 2001;
  std::uint32_t l4_allowed = 2002;
  std::uint32_t l4_dropped = 2003;
  std::uint32_t l4_logged = 2004;
  Counters counters = {};
};
[[nodiscard]] std::string http(const Http& record);

struct Ftp {
  std::uint32_t strict = 1;
  std::string l7_policy_name = "no-put";
  std::uint32_t reply_masked = 2005;
  std::uint32_t l7_dropped = 2006;
  Counters counters = {};
};
[[nodiscard]] std::string ftp(const Ftp& record);

struct Dns {
  std::uint32_t max_length = 512;
  Counters counters = {};
};
[[nodiscard]] std::string dns(const Dns& record);

struct Icmp {
  std::uint32_t icmp_error = 1;
  Counters counters = {};
};
[[nodiscard]] std::string icmp(const Icmp& record);

[[nodiscard]] std::string rtsp(const Counters& counters);

// L7RuleHeader
struct Rules {
  std::uint32_t rule_count = 1;
  std::string l7_policy_name = "l7-policy";
};
[[nodiscard]] std::string rules(const Rules& record);

// L7RuleEntry, load-balance form
struct LoadBalanceRule {
  std::string match_name = "images";
  std::uint32_t drop = 0;
  std::uint32_t forward = 0;
  std::string serverfarm = "farm";
  std::uint32_t hit_count = 3001;
  std::uint32_t dropped_connections = 3002;
};
[[nodiscard]] std::string load_balance_rule(const LoadBalanceRule& record);

// L7RuleEntry, inspect form
struct InspectRule {
  std::string match_name = "uploads";
  std::uint32_t inspect_action = 1;
  std::uint32_t total_inspected = 3003;
  std::uint32_t total_matched = 3004;
  std::uint32_t dropped_on_error = 3005;
};
[[nodiscard]] std::string inspect_rule(const InspectRule& record);

}  // namespace kvel::cli::test::stream
