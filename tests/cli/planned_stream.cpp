// Builds the pages of a plan: what each short number of it means.
#include "tests/cli/planned_stream.h"

namespace kvel::cli::test::stream {
namespace {

Counters any_counters(std::uint32_t number) {
  return {.current_connections = number, .client_bytes = 0x100000000U + number, .dropped_connections = 7 * number};
}

std::string record_of(std::uint32_t type, std::uint32_t number) {
  switch (type) {
    case kNat:
      return nat(
          {.kind = number % 2, .port = static_cast<std::uint16_t>(number % 3), .counters = any_counters(number)});
    case kLoadBalance:
      return load_balance({.vip_inservice = number % 2,
                           .icmp_reply_state = number % 4,
                           .rhi_state = number % 5,
                           .l7_policy_name = number % 3 == 0 ? "" : "shop",
                           .counters = any_counters(number)});
    case kInspectHttp:
      return http({.url_logging = number % 2, .counters = any_counters(number)});
    case kInspectFtp:
      return ftp(
          {.strict = number % 2, .l7_policy_name = number % 3 == 0 ? "" : "no-put", .counters = any_counters(number)});
    case kInspectDns:
      return dns({.max_length = number, .counters = any_counters(number)});
    case kInspectIcmp:
      return icmp({.icmp_error = number % 2, .counters = any_counters(number)});
    case kInspectRtsp:
      return rtsp(any_counters(number));
    default:
      return {};
  }
}

}  // namespace

std::vector<std::string> class_groups(const Plan& plan) {
  std::vector<std::string> groups;
  std::string last_with_actions;
  std::uint32_t number = 0;
  for (const PlannedClass& planned : plan.classes) {
    std::string& bytes = groups.emplace_back(
        class_map({.entry_count = static_cast<std::uint32_t>(planned.actions.size()), .name = planned.name}));
    const bool goes_on = planned.name == last_with_actions;
    for (const PlannedAction& group : planned.actions) {
      bytes += action({.has_l7 = group.has_l7 ? 1U : 0U, .count = group.count, .type = group.type});
      if (group.count == 0) continue;
      const bool with_rules = group.type == kLoadBalance || group.type == kInspectHttp;
      for (std::uint32_t index = 0; index < group.count && !(goes_on && with_rules); ++index)
        bytes += record_of(group.type, ++number);
      if (!with_rules || !group.has_l7 || !plan.detail) continue;
      bytes += rules({.rule_count = group.rules});
      for (std::uint32_t index = 0; index < group.rules; ++index) {
        ++number;
        bytes += group.type == kLoadBalance
                     ? load_balance_rule(
                           {.drop = number % 2, .forward = number % 3, .serverfarm = number % 5 == 0 ? "farm" : ""})
                     : inspect_rule({.inspect_action = number % 6, .total_inspected = number});
      }
    }
    if (!planned.actions.empty() && planned.actions.back().count != 0) last_with_actions = planned.name;
  }
  return groups;
}

std::string page_of(const Plan& plan, const std::vector<std::string>& groups) {
  std::string bytes = policy({.class_count = static_cast<std::uint32_t>(groups.size()),
                              .active = plan.active ? 1U : 0U,
                              .description = "front door",
                              .vlans = plan.active ? plan.vlans : std::vector<std::uint32_t>{}});
  for (const std::string& bytes_of_class : groups)
    bytes += bytes_of_class;
  return bytes;
}

}  // namespace kvel::cli::test::stream
