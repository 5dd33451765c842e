// Load-balancing actions in the display of a service policy, with their layer-7 rules.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_load_balance_test {
namespace {

using ServicePolicyLoadBalance = ServicePolicyTest;

const Events kOpened = {"xprint_header 'sp_loadbalance'",
                        R"(xprint "      <%s>:\n" 'sp_action_name' => "      <loadbalance>:\n")"};
const Events kClosed = {"xprint_footer 'sp_loadbalance'"};

std::string l7_policy(const std::string& text) {
  return line("        L7 loadbalance policy: <%s>\n", "sp_lb_policymap", text);
}

std::string metric(const std::string& text) {
  return line("        VIP Route Metric     : <%d>\n", "sp_lb_rhi_metric", text);
}

// Lines with a tag and without a value.
const std::string kAdvertised = tagged("        VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state");
const std::string kIcmpReply = tagged("        VIP ICMP Reply       : ENABLED\n", "sp_lb_icmpreply_state");
const std::string kInService = line("        VIP State: <%s>\n", "sp_lb_vip_state", "        VIP State: <INSERVICE>\n");

// The settings of the record as it comes by default.
Events settings() {
  return {l7_policy("        L7 loadbalance policy: <shop>\n"), metric("        VIP Route Metric     : <77>\n"),
          kAdvertised, kIcmpReply, kInService};
}

std::string group(const stream::LoadBalance& record) {
  return stream::action({.count = 1, .type = stream::kLoadBalance}) + stream::load_balance(record);
}

TEST_F(ServicePolicyLoadBalance, InService) {
  EXPECT_EQ(
      format_action(group({})),
      (Events{
          "xprint_header 'sp_loadbalance'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <loadbalance>:\n")",
          R"(xprint "        L7 loadbalance policy: <%s>\n" 'sp_lb_policymap' => )"
          R"("        L7 loadbalance policy: <shop>\n")",
          R"(xprint "        VIP Route Metric     : <%d>\n" 'sp_lb_rhi_metric' => )"
          R"("        VIP Route Metric     : <77>\n")",
          R"(xprint "        VIP Route Advertise  : ENABLED\n" 'sp_lb_rhi_state' => )"
          R"("        VIP Route Advertise  : ENABLED\n")",
          R"(xprint "        VIP ICMP Reply       : ENABLED\n" 'sp_lb_icmpreply_state' => )"
          R"("        VIP ICMP Reply       : ENABLED\n")",
          R"(xprint "        VIP State: <%s>\n" 'sp_lb_vip_state' => "        VIP State: <INSERVICE>\n")",
          R"(xprint "        curr conns       : <%-10u>, hit count        : <%-10u>\n" 'sp_curr_conns sp_hit_count' )"
          R"(=> "        curr conns       : <1001      >, hit count        : <1002      >\n")",
          R"(xprint "        dropped conns    : <%-10u>\n" 'sp_drop_conns' )"
          R"(=> "        dropped conns    : <1007      >\n")",
          R"(xprint "        client pkt count : <%-10u>, client byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_client sp_byte_count_client' )"
          R"(=> "        client pkt count : <1003      >, client byte count: <1005                >\n")",
          R"(xprint "        server pkt count : <%-10u>, server byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_server sp_byte_count_server' )"
          R"(=> "        server pkt count : <1004      >, server byte count: <1006                >\n")",
          "xprint_footer 'sp_loadbalance'",
      }));
}

// Out of service: a small s, and everything else in its other state.
TEST_F(ServicePolicyLoadBalance, OutOfService) {
  EXPECT_EQ(format_action(group({.vip_inservice = 0,
                                 .icmp_reply_state = 0,
                                 .rhi_state = 0,
                                 .rhi_metric = 0xffffffff,
                                 .l7_policy_name = ""}),
                          {.active = 0}),
            (Events{
                "xprint_header 'sp_loadbalance'",
                R"(xprint "      <%s>:\n" 'sp_action_name' => "      <loadbalance>:\n")",
                R"(xprint "        L7 loadbalance policy: <%s>\n" 'sp_lb_policymap' => )"
                R"("        L7 loadbalance policy: <->\n")",
                R"(xprint "        VIP Route Metric     : <%d>\n" 'sp_lb_rhi_metric' => )"
                R"("        VIP Route Metric     : <-1>\n")",
                R"(xprint "        VIP Route Advertise  : DISABLED\n" 'sp_lb_rhi_state' => )"
                R"("        VIP Route Advertise  : DISABLED\n")",
                R"(xprint "        VIP ICMP Reply       : DISABLED\n" 'sp_lb_icmpreply_state' => )"
                R"("        VIP ICMP Reply       : DISABLED\n")",
                R"(xprint "        VIP state: <%s>\n" 'sp_lb_vip_state' => "        VIP state: <OUTOFSERVICE>\n")",
                "xprint_footer 'sp_loadbalance'",
            }));
}

TEST_F(ServicePolicyLoadBalance, InEveryMode) {
  for (const Mode& mode : kModes)
    EXPECT_EQ(format_action(group({}), mode), kOpened + settings() + statistics(mode) + kClosed) << name_of(mode);
}

TEST_F(ServicePolicyLoadBalance, AnyNonzeroIsInService) {
  for (std::uint32_t in_service : {1U, 2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(format_action(group({.vip_inservice = in_service})), kOpened + settings() + statistics() + kClosed)
        << in_service;
  }
}

// Each state with each other one; a state that is none has no line.
TEST_F(ServicePolicyLoadBalance, RouteAdvertisementAndIcmpReply) {
  struct Row {
    std::uint32_t state;
    Events advertise;
    Events icmp_reply;
  };
  const std::array rows = {
      Row{0,
          {tagged("        VIP Route Advertise  : DISABLED\n", "sp_lb_rhi_state")},
          {tagged("        VIP ICMP Reply       : DISABLED\n", "sp_lb_icmpreply_state")}},
      Row{1,
          {tagged("        VIP Route Advertise  : ENABLED\n", "sp_lb_rhi_state")},
          {tagged("        VIP ICMP Reply       : ENABLED\n", "sp_lb_icmpreply_state")}},
      Row{2,
          {tagged("        VIP Route Advertise  : ENABLED-WHEN-ACTIVE\n", "sp_lb_rhi_state")},
          {tagged("        VIP ICMP Reply       : ENABLED-WHEN-ACTIVE\n", "sp_lb_icmpreply_state")}},
      Row{3, {}, {}},
      Row{4, {}, {}},
      Row{0x00000100, {}, {}},
      Row{0x00010000, {}, {}},
      Row{0x01000000, {}, {}},
      Row{0x80000001, {}, {}},
      Row{0xffffffff, {}, {}},
  };
  for (const Row& route : rows) {
    for (const Row& icmp : rows) {
      EXPECT_EQ(format_action(group({.icmp_reply_state = icmp.state, .rhi_state = route.state}), {.active = 0}),
                (kOpened +
                 Events{l7_policy("        L7 loadbalance policy: <shop>\n"),
                        metric("        VIP Route Metric     : <77>\n")} +
                 route.advertise + icmp.icmp_reply + Events{kInService} + kClosed))
          << route.state << " and " << icmp.state;
    }
  }
}

TEST_F(ServicePolicyLoadBalance, TheMetricIsSigned) {
  struct Row {
    std::uint32_t metric;
    const char* text;
  };
  for (const Row& row :
       std::array{Row{0, "        VIP Route Metric     : <0>\n"}, Row{254, "        VIP Route Metric     : <254>\n"},
                  Row{0x01020304, "        VIP Route Metric     : <16909060>\n"},
                  Row{0x7fffffff, "        VIP Route Metric     : <2147483647>\n"},
                  Row{0x80000000, "        VIP Route Metric     : <-2147483648>\n"},
                  Row{0xffffffff, "        VIP Route Metric     : <-1>\n"}}) {
    EXPECT_EQ(format_action(group({.rhi_metric = row.metric})),
              (kOpened +
               Events{l7_policy("        L7 loadbalance policy: <shop>\n"), metric(row.text), kAdvertised, kIcmpReply,
                      kInService} +
               statistics() + kClosed));
  }
}

TEST_F(ServicePolicyLoadBalance, PolicyNames) {
  struct Row {
    std::string name;
    std::string text;
  };
  for (const Row& row :
       {Row{"", "        L7 loadbalance policy: <->\n"}, Row{"x", "        L7 loadbalance policy: <x>\n"},
        Row{"%s%n", "        L7 loadbalance policy: <%s%n>\n"},
        Row{std::string(64, 'p'), "        L7 loadbalance policy: <" + std::string(64, 'p') + ">\n"}}) {
    EXPECT_EQ(format_action(group({.l7_policy_name = row.name})).at(2), l7_policy(row.text));
  }
}

// The first of several records is shown, all of them are stepped over.
TEST_F(ServicePolicyLoadBalance, OnlyTheFirstRecordIsShown) {
  const std::string records = stream::load_balance({}) +
                              stream::load_balance({.vip_inservice = 0, .l7_policy_name = "other"}) +
                              stream::load_balance({.rhi_state = 0});
  const Events expected = heading({}) + class_opened("web") + Events{opened("sp_class_type")} + kOpened + settings() +
                          statistics() + kClosed +
                          Events{closed("sp_class_type"), opened("sp_class_type"), opened("sp_security_acl"),
                                 closed("sp_security_acl"), closed("sp_class_type")} +
                          class_closed() + Events{closed("service_policy")};
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 2}) +
                   stream::action({.count = 3, .type = stream::kLoadBalance}) + records +
                   stream::action({.type = stream::kSecurityAcl})),
            expected);
}

// ---- layer-7 rules

using ServicePolicyLoadBalanceRules = ServicePolicyTest;

std::string group_with_rules(const std::string& rules) {
  return stream::action({.has_l7 = 1, .count = 1, .type = stream::kLoadBalance}) + stream::load_balance({}) + rules;
}

// The rules of an action, which come after its settings and counters.
Events with_rules(const Mode& mode, const Events& rules) {
  return kOpened + settings() + statistics(mode) + rules + kClosed;
}

const Mode kDetail = {.active = 1, .detail = 1};
const Mode kInactiveDetail = {.active = 0, .detail = 1};

std::string policy_line(const std::string& name) {
  return line("        L7 Loadbalance policy : %s\n", "        L7 Loadbalance policy : " + name + "\n");
}

std::string match_line(const std::string& name) {
  return line("          class/match : %s\n", "          class/match : " + name + "\n");
}

const std::string kActionLine = line("            LB action : \n");

std::string serverfarm_line(const std::string& name) {
  return line("               serverfarm: %s\n", "               serverfarm: " + name + "\n");
}

// The two counters of a rule as they come by default.
Events rule_counters() {
  return {line("            hit count        : %-10u\n", "            hit count        : 3001      \n"),
          line("            dropped conns    : %-10u\n", "            dropped conns    : 3002      \n")};
}

TEST_F(ServicePolicyLoadBalanceRules, OneRule) {
  const std::string bytes = group_with_rules(stream::rules({}) + stream::load_balance_rule({}));
  EXPECT_EQ(
      format_action(bytes, kDetail),
      with_rules(
          kDetail,
          {
              R"(xprint "        L7 Loadbalance policy : %s\n" => "        L7 Loadbalance policy : l7-policy\n")",
              R"(xprint "          class/match : %s\n" => "          class/match : images\n")",
              R"(xprint "            LB action : \n" => "            LB action : \n")",
              R"(xprint "               serverfarm: %s\n" => "               serverfarm: farm\n")",
              R"(xprint "            hit count        : %-10u\n" => "            hit count        : 3001      \n")",
              R"(xprint "            dropped conns    : %-10u\n" => "            dropped conns    : 3002      \n")",
          }));
  EXPECT_EQ(format_action(bytes, kInactiveDetail),
            with_rules(kInactiveDetail,
                       {policy_line("l7-policy"), match_line("images"), kActionLine, serverfarm_line("farm")}));
}

// Without detail, or without has_l7, the stream has no rules.
TEST_F(ServicePolicyLoadBalanceRules, AreReadWithDetailAndHasL7Alone) {
  const std::string announced =
      stream::action({.has_l7 = 1, .count = 1, .type = stream::kLoadBalance}) + stream::load_balance({});
  for (std::uint32_t active : {1U, 0U}) {
    const Mode mode = {.active = active, .detail = 0};
    EXPECT_EQ(format_action(announced, mode), with_rules(mode, {})) << name_of(mode);
    const Mode detail = {.active = active, .detail = 1};
    EXPECT_EQ(format_action(group({}), detail), with_rules(detail, {})) << name_of(detail);
  }
  for (std::uint32_t has_l7 : {2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(format_action(stream::action({.has_l7 = has_l7, .count = 1, .type = stream::kLoadBalance}) +
                                stream::load_balance({}) + stream::rules({.rule_count = 0}),
                            kDetail),
              with_rules(kDetail, {policy_line("l7-policy")}))
        << has_l7;
  }
}

TEST_F(ServicePolicyLoadBalanceRules, NoRules) {
  EXPECT_EQ(format_action(group_with_rules(stream::rules({.rule_count = 0})), kDetail),
            with_rules(kDetail, {policy_line("l7-policy")}));
  EXPECT_EQ(format_action(group_with_rules(stream::rules({.rule_count = 0, .l7_policy_name = ""})), kInactiveDetail),
            with_rules(kInactiveDetail, {policy_line("")}));
}

// A serverfarm before a drop, a drop before a forward.
TEST_F(ServicePolicyLoadBalanceRules, TheActionOfARule) {
  struct Row {
    stream::LoadBalanceRule rule;
    std::string action;
  };
  const std::string drop = line("               drop\n");
  const std::string forward = line("               forward\n");
  const std::string none = line("               -\n");
  const std::vector<Row> rows = {
      {{.drop = 1, .forward = 1, .serverfarm = "farm"}, serverfarm_line("farm")},
      {{.drop = 1, .forward = 0, .serverfarm = "farm"}, serverfarm_line("farm")},
      {{.drop = 0, .forward = 1, .serverfarm = "farm"}, serverfarm_line("farm")},
      {{.drop = 0, .forward = 0, .serverfarm = "farm"}, serverfarm_line("farm")},
      {{.drop = 1, .forward = 1, .serverfarm = ""}, drop},
      {{.drop = 1, .forward = 0, .serverfarm = ""}, drop},
      {{.drop = 0, .forward = 1, .serverfarm = ""}, forward},
      {{.drop = 0, .forward = 0, .serverfarm = ""}, none},
      {{.drop = 0x01000000, .serverfarm = ""}, drop},
      {{.drop = 0x80000000, .serverfarm = ""}, drop},
      {{.drop = 2, .serverfarm = ""}, drop},
      {{.drop = 0, .forward = 0x01000000, .serverfarm = ""}, forward},
      {{.drop = 0, .forward = 0x80000000, .serverfarm = ""}, forward},
      {{.drop = 0, .forward = 2, .serverfarm = ""}, forward},
      {{.serverfarm = "-"}, serverfarm_line("-")},
      {{.serverfarm = "%s%n"}, serverfarm_line("%s%n")},
      {{.serverfarm = std::string(64, 'f')}, serverfarm_line(std::string(64, 'f'))},
  };
  for (std::size_t index = 0; index < rows.size(); ++index) {
    const std::string bytes = group_with_rules(stream::rules({}) + stream::load_balance_rule(rows[index].rule));
    const Events lines = {policy_line("l7-policy"), match_line("images"), kActionLine, rows[index].action};
    EXPECT_EQ(format_action(bytes, kDetail), with_rules(kDetail, lines + rule_counters())) << "row " << index;
    EXPECT_EQ(format_action(bytes, kInactiveDetail), with_rules(kInactiveDetail, lines)) << "row " << index;
  }
}

TEST_F(ServicePolicyLoadBalanceRules, SeveralRules) {
  EXPECT_EQ(
      format_action(
          group_with_rules(
              stream::rules({.rule_count = 3, .l7_policy_name = "by-url"}) +
              stream::load_balance_rule({.match_name = "a", .hit_count = 0, .dropped_connections = 0xffffffff}) +
              stream::load_balance_rule({.match_name = std::string(64, 'b'), .drop = 1, .serverfarm = ""}) +
              stream::load_balance_rule({.match_name = "%d", .hit_count = 0x01020304, .dropped_connections = 1})),
          kDetail),
      with_rules(
          kDetail,
          Events{policy_line("by-url"), match_line("a"), kActionLine, serverfarm_line("farm"),
                 line("            hit count        : %-10u\n", "            hit count        : 0         \n"),
                 line("            dropped conns    : %-10u\n", "            dropped conns    : 4294967295\n"),
                 match_line(std::string(64, 'b')), kActionLine, line("               drop\n")} +
              rule_counters() +
              Events{match_line("%d"), kActionLine, serverfarm_line("farm"),
                     line("            hit count        : %-10u\n", "            hit count        : 16909060  \n"),
                     line("            dropped conns    : %-10u\n", "            dropped conns    : 1         \n")}));
}

// What follows the rules is found.
TEST_F(ServicePolicyLoadBalanceRules, AreSteppedOver) {
  const std::string bytes = stream::policy({}) + stream::class_map({.entry_count = 2}) +
                            stream::action({.has_l7 = 1, .count = 2, .type = stream::kLoadBalance}) +
                            stream::load_balance({}) + stream::load_balance({}) + stream::rules({.rule_count = 2}) +
                            stream::load_balance_rule({}) + stream::load_balance_rule({}) +
                            stream::action({.type = stream::kSecurityAcl});
  const Events rule = Events{match_line("images"), kActionLine, serverfarm_line("farm")} + rule_counters();
  EXPECT_EQ(format(bytes, 1), (heading(kDetail) + class_opened("web") + Events{opened("sp_class_type")} +
                               with_rules(kDetail, Events{policy_line("l7-policy")} + rule + rule) +
                               Events{closed("sp_class_type"), opened("sp_class_type"), opened("sp_security_acl"),
                                      closed("sp_security_acl"), closed("sp_class_type")} +
                               class_closed() + Events{closed("service_policy")}));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_load_balance_test
