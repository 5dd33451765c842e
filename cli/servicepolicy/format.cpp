// Prints one page of the statistics stream through the output library. The calls are the same for text and documents;
// their formats, tags and order are read by other machines. Some elements are left open and some closed without having
// been opened: deliberate, as the comments explain.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "cli/servicepolicy/statistics_stream.h"
#include "kvel/output.h"
#include "kvel/plugin.h"

namespace kvel::cli::servicepolicy {

namespace {

// A class name as it is remembered and compared: at most 64 characters.
class RememberedName {
 public:
  [[nodiscard]] bool is(const WireText<kNameWidth>& name) const {
    return std::strncmp(name_, name.c_str(), kNameWidth) == 0;
  }
  void set(const WireText<kNameWidth>& name) { std::memcpy(name_, name.c_str(), sizeof(name_)); }

 private:
  char name_[kNameWidth + 1] = {};
};

// The state kept from one page to the next, and from one command to the next, as long as the module is loaded.
bool header_shown = false;
RememberedName last_class;
RememberedName last_action_class;

constexpr std::size_t kTagWidth = 64;  // of a scratch buffer, for each tag of a list

const char* enabled(bool flag) { return flag ? "ENABLED" : "DISABLED"; }

template <std::size_t Width>
const char* or_dash(const WireText<Width>& text) {
  return text.empty() ? "-" : text.c_str();
}

void line_with(const char* format, const char* tag, const char* value) { xprint(format, tag, value); }

void action_name(const char* name) { line_with("      <%s>:\n", "sp_action_name", name); }

// Walks one page.
class Page {
 public:
  Page(const char* data, bool detail) : next_(data), policy_(take<ServicePolicyRecord>()), detail_(detail) {}

  void print(const char* policy_name) {
    if (policy_.record_type() != ServicePolicyRecord::kRecordType) return;
    if (header_shown) {
      for (std::int32_t left = policy_.interface_count(); left > 0; --left)
        take<VlanWord>();
    } else {
      print_heading(policy_name);
    }
    for (std::int32_t left = policy_.class_count(); left > 0; --left) {
      if (!print_class()) return;  // what is open stays open
    }
    xprint_footer("service_policy");  // also on pages that did not open it
  }

 private:
  template <class Record>
  Record take() {
    const Record record(next_);
    next_ += Record::kSize;
    return record;
  }
  template <class Record>
  void skip(std::uint32_t count) {
    next_ += std::size_t{count} * Record::kSize;
  }

  void print_heading(const char* policy_name) {
    xprint_header("service_policy");
    xprint("\n");
    xprint(policy_.active() ? "Status     : ACTIVE\n" : "Status     : INACTIVE\n");
    if (detail_) {
      const auto description = policy_.description();
      if (description.empty()) {
        xprint("Description: -\n");
      } else {
        xprint("Description: %s\n", description.c_str());
      }
    }
    xprint("-----------------------------------------\n");
    // An inactive policy comes without VLAN words; none are stepped over.
    if (policy_.active()) print_interfaces();
    xprint("\n");
    line_with("  service-policy: <%s>\n", "sp_name", policy_name);
    header_shown = true;
  }

  void print_interfaces() {
    if (policy_.interface_count() <= 0) {
      xprint("Context Global Policy:");
      return;
    }
    xprint("Interface: vlan ");
    for (std::int32_t left = policy_.interface_count(); left > 0; --left)
      xprint("<%d> ", "sp_interface_vlan", static_cast<int>(take<VlanWord>().number()));
  }

  // False: the record is none of a class, and the walk ends.
  bool print_class() {
    const auto record = take<ClassRecord>();
    if (record.record_type() != ClassRecord::kRecordType) {
      std::printf("\nUnexpected header: %u", static_cast<unsigned>(record.record_type()));
      return false;
    }
    const auto name = record.class_name();
    if (!last_class.is(name)) {
      xprint_header("sp_class_map");
      line_with("    class: <%s>\n", "sp_class_name", name.c_str());
    }
    continued_ = last_action_class.is(name);
    xprint_header("sp_class_types");
    bool ends_in_actions = false;
    for (std::uint32_t left = record.entry_count(); left > 0; --left)
      ends_in_actions = print_action_group();
    xprint_footer("sp_class_types");
    if (ends_in_actions) last_action_class.set(name);
    last_class.set(name);
    xprint_footer("sp_class_map");  // also when the class was opened on an earlier page
    return true;
  }

  // Whether the group has any actions. One without any leaves its element open.
  bool print_action_group() {
    xprint_header("sp_class_type");
    const auto entry = take<ClassActionEntry>();
    if (entry.action_count() == 0) return false;
    switch (entry.action_type()) {
      case ActionType::security_acl:
        xprint_header("sp_security_acl");
        xprint_footer("sp_security_acl");
        break;
      case ActionType::nat:
        print_nat(entry);
        break;
      case ActionType::load_balance:
        print_load_balance(entry);
        break;
      case ActionType::inspect_http:
        print_inspect_http(entry);
        break;
      case ActionType::inspect_ftp:
        print_inspect_ftp(entry);
        break;
      case ActionType::inspect_dns:
        print_inspect_dns(entry);
        break;
      case ActionType::inspect_icmp:
        print_inspect_icmp(entry);
        break;
      case ActionType::inspect_rtsp:
        print_inspect_rtsp(entry);
        break;
      default:
        break;
    }
    xprint_footer("sp_class_type");
    return true;
  }

  void print_counters(const ActionStatsRecord& stats) const {
    if (!policy_.active()) return;
    char tags[2 * kTagWidth];
    xprint("        curr conns       : <%-10u>, hit count        : <%-10u>\n",
           xmltag(tags, 2, "sp_curr_conns", "sp_hit_count"), static_cast<unsigned>(stats.current_connections()),
           static_cast<unsigned>(stats.hit_count()));
    xprint("        dropped conns    : <%-10u>\n", "sp_drop_conns", static_cast<unsigned>(stats.dropped_connections()));
    xprint("        client pkt count : <%-10u>, client byte count: <%-20llu>\n",
           xmltag(tags, 2, "sp_pkt_count_client", "sp_byte_count_client"),
           static_cast<unsigned>(stats.client_packets()), static_cast<unsigned long long>(stats.client_bytes()));
    xprint("        server pkt count : <%-10u>, server byte count: <%-20llu>\n",
           xmltag(tags, 2, "sp_pkt_count_server", "sp_byte_count_server"),
           static_cast<unsigned>(stats.server_packets()), static_cast<unsigned long long>(stats.server_bytes()));
  }

  // Every record of a NAT group is shown, of the other groups the first.
  void print_nat(const ClassActionEntry& entry) {
    xprint_header("sp_nat");
    if (!continued_) action_name("nat");
    xprint_header("sp_actions");
    for (std::uint32_t left = entry.action_count(); left > 0; --left) {
      const auto stats = take<ActionStatsRecord>();
      xprint_header("sp_action");
      print_nat_line(stats);
      print_counters(stats);
      xprint_footer("sp_action");
    }
    xprint_footer("sp_actions");
    xprint_footer("sp_nat");
  }

  static void print_nat_line(const ActionStatsRecord& stats) {
    char tags[4 * kTagWidth];
    if (!stats.is_static()) {
      xprint("        nat <%s> <%d> vlan <%d>\n", xmltag(tags, 3, "sp_nat_type", "sp_nat_pool_id", "sp_nat_vlan"),
             "dynamic", static_cast<int>(stats.pool_id()), static_cast<int>(stats.dynamic_vlan()));
      return;
    }
    const std::uint32_t address = stats.address();
    char dotted[sizeof("255.255.255.255")];
    std::snprintf(dotted, sizeof(dotted), "%u.%u.%u.%u", static_cast<unsigned>(address >> 24U),
                  static_cast<unsigned>((address >> 16U) & 0xFFU), static_cast<unsigned>((address >> 8U) & 0xFFU),
                  static_cast<unsigned>(address & 0xFFU));
    if (stats.port() != 0) {
      xprint("        nat <%s> <%s> <%d> vlan <%d>\n",
             xmltag(tags, 4, "sp_nat_type", "sp_nat_ip", "sp_nat_port", "sp_nat_vlan"), "static", dotted,
             static_cast<int>(stats.port()), static_cast<int>(stats.static_vlan()));
    } else {
      xprint("        nat <%s> <%s> vlan <%d>\n", xmltag(tags, 3, "sp_nat_type", "sp_nat_ip", "sp_nat_vlan"), "static",
             dotted, static_cast<int>(stats.static_vlan()));
    }
  }

  // On a page that continues the class no records come, only rules; the element is closed all the same.
  void print_load_balance(const ClassActionEntry& entry) {
    if (!continued_) {
      xprint_header("sp_loadbalance");
      action_name("loadbalance");
      print_vip(ActionStatsRecord(next_));
      skip<ActionStatsRecord>(entry.action_count());
    }
    if (entry.has_l7() && detail_) {
      const auto header = take<L7RuleHeader>();
      if (!continued_) xprint("        L7 Loadbalance policy : %s\n", header.policy().c_str());
      for (std::uint32_t left = header.rule_count(); left > 0; --left)
        print_load_balance_rule(take<L7RuleEntry>());
    }
    xprint_footer("sp_loadbalance");
  }

  void print_vip(const ActionStatsRecord& stats) const {
    line_with("        L7 loadbalance policy: <%s>\n", "sp_lb_policymap", or_dash(stats.load_balance_policy()));
    xprint("        VIP Route Metric     : <%d>\n", "sp_lb_rhi_metric", static_cast<int>(stats.route_metric()));
    // Any other state has no line.
    switch (stats.advertise_state()) {
      case 0:
        xprint("        VIP Route Advertise  : DISABLED\n", "sp_lb_rhi_state");
        break;
      case 1:
        xprint("        VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state");
        break;
      case 2:
        xprint("        VIP Route Advertise  : ENABLED-WHEN-ACTIVE\n", "sp_lb_rhi_state");
        break;
      default:
        break;
    }
    switch (stats.icmp_reply_state()) {
      case 0:
        xprint("        VIP ICMP Reply       : DISABLED\n", "sp_lb_icmpreply_state");
        break;
      case 1:
        xprint("        VIP ICMP Reply       : ENABLED\n", "sp_lb_icmpreply_state");
        break;
      case 2:
        xprint("        VIP ICMP Reply       : ENABLED-WHEN-ACTIVE\n", "sp_lb_icmpreply_state");
        break;
      default:
        break;
    }
    // The small s is deliberate.
    if (stats.vip_in_service()) {
      line_with("        VIP State: <%s>\n", "sp_lb_vip_state", "INSERVICE");
    } else {
      line_with("        VIP state: <%s>\n", "sp_lb_vip_state", "OUTOFSERVICE");
    }
    print_counters(stats);
  }

  void print_load_balance_rule(const L7RuleEntry& rule) const {
    xprint("          class/match : %s\n", rule.match_name().c_str());
    xprint("            LB action : \n");
    const auto serverfarm = rule.serverfarm();
    if (!serverfarm.empty()) {
      xprint("               serverfarm: %s\n", serverfarm.c_str());
    } else if (rule.drop()) {
      xprint("               drop\n");
    } else if (rule.forward()) {
      xprint("               forward\n");
    } else {
      xprint("               -\n");
    }
    if (!policy_.active()) return;
    xprint("            hit count        : %-10u\n", static_cast<unsigned>(rule.hit_count()));
    xprint("            dropped conns    : %-10u\n", static_cast<unsigned>(rule.dropped_connections()));
  }

  // Continues like load balancing.
  void print_inspect_http(const ClassActionEntry& entry) {
    if (!continued_) {
      xprint_header("sp_inspecthttp");
      action_name("inspect http");
      print_http_settings(ActionStatsRecord(next_));
      skip<ActionStatsRecord>(entry.action_count());
    }
    if (entry.has_l7() && detail_) {
      const auto header = take<L7RuleHeader>();
      if (!continued_) xprint("        L7 Inspect policy : %s\n", header.policy().c_str());
      for (std::uint32_t left = header.rule_count(); left > 0; --left)
        print_http_rule(take<L7RuleEntry>());
    }
    xprint_footer("sp_inspecthttp");
  }

  void print_http_settings(const ActionStatsRecord& stats) const {
    line_with("        L7 inspect policy : <%s>\n", "sp_insphttp_policymap", or_dash(stats.http_policy()));
    line_with("        Url Logging: <%s>\n", "sp_insphttp_urllog", enabled(stats.url_logging()));
    if (!policy_.active()) return;
    print_counters(stats);
    line_with("        <%s>:\n", "sp_insphttp_l4stats1", "L4 policy stats");
    xprint("          Total Req/Resp: <%-10u> , Total Allowed: <%-10u>\n", "sp_insphttp_l4stats1",
           static_cast<unsigned>(stats.l4_total_requests()), static_cast<unsigned>(stats.l4_allowed()));
    xprint("          Total Dropped : <%-10u> , Total Logged : <%-10u>\n", "sp_insphttp_l4stats2",
           static_cast<unsigned>(stats.l4_dropped()), static_cast<unsigned>(stats.l4_logged()));
  }

  void print_http_rule(const L7RuleEntry& rule) const {
    xprint("          class/match : %s\n", rule.match_name().c_str());
    xprint("            Inspect action :\n");
    switch (rule.inspect_action()) {
      case 1:
        xprint("               permit\n");
        break;
      case 2:
        xprint("               reset\n");
        break;
      case 3:
        xprint("               permit log\n");
        break;
      case 4:
        xprint("               reset log\n");
        break;
      default:
        xprint("               -\n");
        break;
    }
    if (!policy_.active()) return;
    xprint("            Total Inspected      : <%-10u> , Total Matched: <%-10u>\n", "sp_insphttp_l7stats1",
           static_cast<unsigned>(rule.total_inspected()), static_cast<unsigned>(rule.total_matched()));
    xprint("            Total Dropped OnError: <%-10u>\n", "sp_insphttp_l7stats2",
           static_cast<unsigned>(rule.dropped_on_error()));
  }

  // These four come whole on every page.
  void print_inspect_ftp(const ClassActionEntry& entry) {
    const ActionStatsRecord stats(next_);
    const auto policy = stats.ftp_policy();
    xprint_header("sp_inspectftp");
    action_name("inspect ftp");
    line_with("        L7 inspect policy : <%s>\n", "sp_inspftp_policymap", or_dash(policy));
    line_with("        strict ftp: <%s>", "sp_inspftp_strict", enabled(stats.strict()));
    xprint("\n");
    print_counters(stats);
    if (detail_ && !policy.empty()) {
      line_with("        L7 Inspect policy: <%s>\n", "sp_inspftp_policymap", policy.c_str());
      if (policy_.active()) {
        xprint("          Total ReplyMasked : <%-10u> , Total Dropped: <%-10u>\n", "sp_inspftp_l7stats",
               static_cast<unsigned>(stats.reply_masked()), static_cast<unsigned>(stats.l7_dropped()));
      }
    }
    skip<ActionStatsRecord>(entry.action_count());
    xprint_footer("sp_inspectftp");
  }

  void print_inspect_dns(const ClassActionEntry& entry) {
    const ActionStatsRecord stats(next_);
    xprint_header("sp_inspectdns");
    action_name("inspect dns");
    xprint("        max length: <%u>", "sp_inspdns_maxlen", static_cast<unsigned>(stats.max_length()));
    xprint("\n");
    print_counters(stats);
    skip<ActionStatsRecord>(entry.action_count());
    xprint_footer("sp_inspectdns");
  }

  void print_inspect_icmp(const ClassActionEntry& entry) {
    const ActionStatsRecord stats(next_);
    xprint_header("sp_inspecticmp");
    action_name("inspect icmp");
    line_with("        icmp error: <%s>", "sp_inspicmp_error", enabled(stats.icmp_error()));
    xprint("\n");
    print_counters(stats);
    skip<ActionStatsRecord>(entry.action_count());
    xprint_footer("sp_inspecticmp");
  }

  void print_inspect_rtsp(const ClassActionEntry& entry) {
    const ActionStatsRecord stats(next_);
    xprint_header("sp_inspectrtsp");
    action_name("inspect rtsp");
    xprint("\n");
    print_counters(stats);
    skip<ActionStatsRecord>(entry.action_count());
    xprint_footer("sp_inspectrtsp");
  }

  const char* next_;
  ServicePolicyRecord policy_;
  bool detail_;
  bool continued_ = false;  // the class's actions were begun on an earlier page
};

}  // namespace

}  // namespace kvel::cli::servicepolicy

using kvel::cli::servicepolicy::Page;

void format_and_display_policystats(uint8_t detail, const char* policy_name, int32_t length, const void* data, void*) {
  if (length == 0 || data == nullptr) return;
  Page(static_cast<const char*>(data), detail != 0).print(policy_name);
}
