// The records of the statistics stream that cm_show_service_policy answers: big-endian, one after the other without
// padding, every size a multiple of 4. A page is one ServicePolicyRecord, its VLAN words, and for each class a
// ClassRecord with its action groups; an action group is a ClassActionEntry and what its type carries.
#pragma once

#include <cstdint>

#include "cli/common/wire_view.h"

namespace kvel::cli::servicepolicy {

inline constexpr std::size_t kNameWidth = 64;

class ServicePolicyRecord : public WireView<260> {
 public:
  using WireView::WireView;
  static constexpr std::uint32_t kRecordType = 2;
  [[nodiscard]] std::uint32_t record_type() const { return word<0>(); }
  [[nodiscard]] std::int32_t class_count() const { return static_cast<std::int32_t>(word<4>()); }
  // VLAN words after this record; none for the policy of a whole context.
  [[nodiscard]] std::int32_t interface_count() const { return static_cast<std::int32_t>(word<8>()); }
  [[nodiscard]] bool active() const { return word<12>() != 0; }
  [[nodiscard]] WireText<244> description() const { return text<16, 244>(); }
};

class VlanWord : public WireView<4> {
 public:
  using WireView::WireView;
  [[nodiscard]] std::int32_t number() const { return static_cast<std::int32_t>(word<0>()); }
};

class ClassRecord : public WireView<260> {
 public:
  using WireView::WireView;
  static constexpr std::uint32_t kRecordType = 1;
  [[nodiscard]] std::uint32_t record_type() const { return word<0>(); }
  [[nodiscard]] std::uint32_t entry_count() const { return word<8>(); }
  [[nodiscard]] WireText<kNameWidth> class_name() const { return text<12, kNameWidth>(); }
};

enum class ActionType : std::uint32_t {
  security_acl = 0,
  nat = 1,
  load_balance = 2,
  inspect_http = 3,
  inspect_ftp = 4,
  inspect_dns = 5,
  inspect_icmp = 6,
  inspect_rtsp = 7,
};

class ClassActionEntry : public WireView<260> {
 public:
  using WireView::WireView;
  [[nodiscard]] bool has_l7() const { return word<4>() != 0; }  // a block of layer-7 rules follows
  [[nodiscard]] std::uint32_t action_count() const { return word<8>(); }
  [[nodiscard]] ActionType action_type() const { return static_cast<ActionType>(word<12>()); }
};

// What an action is set to, by its type, and its counters, which all types share.
class ActionStatsRecord : public WireView<216> {
 public:
  using WireView::WireView;

  // NAT
  [[nodiscard]] bool is_static() const { return word<8>() != 0; }
  [[nodiscard]] std::uint32_t static_vlan() const { return word<12>(); }
  [[nodiscard]] std::uint32_t pool_id() const { return word<12>(); }
  [[nodiscard]] std::uint32_t address() const { return word<16>(); }
  [[nodiscard]] std::uint32_t dynamic_vlan() const { return word<16>(); }
  [[nodiscard]] std::uint16_t port() const { return half<20>(); }  // 0: none

  // load balance
  [[nodiscard]] bool vip_in_service() const { return word<8>() != 0; }
  [[nodiscard]] std::uint32_t icmp_reply_state() const { return word<12>(); }  // 0 off, 1 on, 2 when active
  [[nodiscard]] std::uint32_t advertise_state() const { return word<16>(); }   // of the route, likewise
  [[nodiscard]] std::uint32_t route_metric() const { return word<20>(); }
  [[nodiscard]] WireText<71> load_balance_policy() const { return text<97, 71>(); }

  // inspect http
  [[nodiscard]] bool url_logging() const { return word<4>() != 0; }
  [[nodiscard]] WireText<71> http_policy() const { return text<81, 71>(); }
  [[nodiscard]] std::uint32_t l4_total_requests() const { return word<152>(); }
  [[nodiscard]] std::uint32_t l4_allowed() const { return word<156>(); }
  [[nodiscard]] std::uint32_t l4_dropped() const { return word<160>(); }
  [[nodiscard]] std::uint32_t l4_logged() const { return word<164>(); }

  // inspect ftp
  [[nodiscard]] bool strict() const { return word<4>() != 0; }
  [[nodiscard]] WireText<72> ftp_policy() const { return text<8, 72>(); }
  [[nodiscard]] std::uint32_t reply_masked() const { return word<80>(); }
  [[nodiscard]] std::uint32_t l7_dropped() const { return word<84>(); }

  // inspect dns, inspect icmp
  [[nodiscard]] std::uint32_t max_length() const { return word<4>(); }
  [[nodiscard]] bool icmp_error() const { return word<4>() != 0; }

  // counters
  [[nodiscard]] std::uint32_t current_connections() const { return word<168>(); }
  [[nodiscard]] std::uint32_t hit_count() const { return word<172>(); }
  [[nodiscard]] std::uint32_t client_packets() const { return word<176>(); }
  [[nodiscard]] std::uint32_t server_packets() const { return word<180>(); }
  [[nodiscard]] std::uint64_t client_bytes() const { return double_word<184>(); }
  [[nodiscard]] std::uint64_t server_bytes() const { return double_word<192>(); }
  [[nodiscard]] std::uint32_t dropped_connections() const { return word<200>(); }
};

class L7RuleHeader : public WireView<72> {
 public:
  using WireView::WireView;
  [[nodiscard]] std::uint32_t rule_count() const { return word<0>(); }
  [[nodiscard]] WireText<68> policy() const { return text<4, 68>(); }
};

class L7RuleEntry : public WireView<336> {
 public:
  using WireView::WireView;
  [[nodiscard]] WireText<68> match_name() const { return text<4, 68>(); }

  // load balance
  [[nodiscard]] bool drop() const { return word<72>() != 0; }
  [[nodiscard]] bool forward() const { return word<76>() != 0; }
  [[nodiscard]] WireText<135> serverfarm() const { return text<153, 135>(); }  // empty: none
  [[nodiscard]] std::uint32_t hit_count() const { return word<292>(); }
  [[nodiscard]] std::uint32_t dropped_connections() const { return word<320>(); }

  // inspect http
  [[nodiscard]] std::uint32_t inspect_action() const { return word<72>(); }  // 1 permit, 2 reset, 3 and 4 with log
  [[nodiscard]] std::uint32_t total_inspected() const { return word<288>(); }
  [[nodiscard]] std::uint32_t total_matched() const { return word<292>(); }
  [[nodiscard]] std::uint32_t dropped_on_error() const { return word<296>(); }
};

}  // namespace kvel::cli::servicepolicy
