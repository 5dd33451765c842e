// HTTP inspection in the display of a service policy, with its layer-7 rules.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_http_test {
namespace {

using ServicePolicyHttp = ServicePolicyTest;

const Events kOpened = {"xprint_header 'sp_inspecthttp'",
                        R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect http>:\n")"};
const Events kClosed = {"xprint_footer 'sp_inspecthttp'"};
const Mode kDetail = {.active = 1, .detail = 1};
const Mode kInactiveDetail = {.active = 0, .detail = 1};

std::string l7_policy(const std::string& text) {
  return line("        L7 inspect policy : <%s>\n", "sp_insphttp_policymap", text);
}

std::string url_logging(const std::string& text) {
  return line("        Url Logging: <%s>\n", "sp_insphttp_urllog", text);
}

// The settings of the record as it comes by default, and its layer-4 counters.
Events settings() {
  return {l7_policy("        L7 inspect policy : <strict-http>\n"), url_logging("        Url Logging: <ENABLED>\n")};
}

std::string requests(const std::string& text) {
  return line("          Total Req/Resp: <%-10u> , Total Allowed: <%-10u>\n", "sp_insphttp_l4stats1", text);
}

std::string dropped(const std::string& text) {
  return line("          Total Dropped : <%-10u> , Total Logged : <%-10u>\n", "sp_insphttp_l4stats2", text);
}

const std::string kLayer4Label = line("        <%s>:\n", "sp_insphttp_l4stats1", "        <L4 policy stats>:\n");

Events all_statistics(const Mode& mode) {
  if (mode.active == 0) return {};
  return statistics() + Events{kLayer4Label,
                               requests("          Total Req/Resp: <2001      > , Total Allowed: <2002      >\n"),
                               dropped("          Total Dropped : <2003      > , Total Logged : <2004      >\n")};
}

std::string group(const stream::Http& record) {
  return stream::action({.count = 1, .type = stream::kInspectHttp}) + stream::http(record);
}

TEST_F(ServicePolicyHttp, Active) {
  EXPECT_EQ(
      format_action(group({})),
      (Events{
          "xprint_header 'sp_inspecthttp'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect http>:\n")",
          R"(xprint "        L7 inspect policy : <%s>\n" 'sp_insphttp_policymap' => )"
          R"("        L7 inspect policy : <strict-http>\n")",
          R"(xprint "        Url Logging: <%s>\n" 'sp_insphttp_urllog' => "        Url Logging: <ENABLED>\n")",
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
          R"(xprint "        <%s>:\n" 'sp_insphttp_l4stats1' => "        <L4 policy stats>:\n")",
          R"(xprint "          Total Req/Resp: <%-10u> , Total Allowed: <%-10u>\n" 'sp_insphttp_l4stats1' => )"
          R"("          Total Req/Resp: <2001      > , Total Allowed: <2002      >\n")",
          R"(xprint "          Total Dropped : <%-10u> , Total Logged : <%-10u>\n" 'sp_insphttp_l4stats2' => )"
          R"("          Total Dropped : <2003      > , Total Logged : <2004      >\n")",
          "xprint_footer 'sp_inspecthttp'",
      }));
}

TEST_F(ServicePolicyHttp, Inactive) {
  EXPECT_EQ(format_action(group({.url_logging = 0, .l7_policy_name = ""}), {.active = 0}),
            (Events{
                "xprint_header 'sp_inspecthttp'",
                R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect http>:\n")",
                R"(xprint "        L7 inspect policy : <%s>\n" 'sp_insphttp_policymap' => )"
                R"("        L7 inspect policy : <->\n")",
                R"(xprint "        Url Logging: <%s>\n" 'sp_insphttp_urllog' => "        Url Logging: <DISABLED>\n")",
                "xprint_footer 'sp_inspecthttp'",
            }));
}

TEST_F(ServicePolicyHttp, InEveryMode) {
  for (const Mode& mode : kModes)
    EXPECT_EQ(format_action(group({}), mode), kOpened + settings() + all_statistics(mode) + kClosed) << name_of(mode);
}

TEST_F(ServicePolicyHttp, AnyNonzeroLogsUrls) {
  for (std::uint32_t logging : {2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU})
    EXPECT_EQ(format_action(group({.url_logging = logging})), kOpened + settings() + all_statistics({}) + kClosed);
}

TEST_F(ServicePolicyHttp, PolicyNames) {
  struct Row {
    std::string name;
    std::string text;
  };
  for (const Row& row : {Row{"", "        L7 inspect policy : <->\n"}, Row{"x", "        L7 inspect policy : <x>\n"},
                         Row{"%s%n", "        L7 inspect policy : <%s%n>\n"},
                         Row{std::string(64, 'p'), "        L7 inspect policy : <" + std::string(64, 'p') + ">\n"}}) {
    EXPECT_EQ(format_action(group({.l7_policy_name = row.name})).at(2), l7_policy(row.text));
  }
}

TEST_F(ServicePolicyHttp, Layer4Counters) {
  EXPECT_EQ(format_action(group({.l4_total_requests = 0, .l4_allowed = 0, .l4_dropped = 0, .l4_logged = 0})),
            (kOpened + settings() + statistics() +
             Events{kLayer4Label, requests("          Total Req/Resp: <0         > , Total Allowed: <0         >\n"),
                    dropped("          Total Dropped : <0         > , Total Logged : <0         >\n")} +
             kClosed));
  EXPECT_EQ(format_action(group({.l4_total_requests = 0x01020304,
                                 .l4_allowed = 0xffffffff,
                                 .l4_dropped = 0x80000000,
                                 .l4_logged = 0x05060708})),
            (kOpened + settings() + statistics() +
             Events{kLayer4Label, requests("          Total Req/Resp: <16909060  > , Total Allowed: <4294967295>\n"),
                    dropped("          Total Dropped : <2147483648> , Total Logged : <84281096  >\n")} +
             kClosed));
}

// The first of several records is shown, all of them are stepped over.
TEST_F(ServicePolicyHttp, OnlyTheFirstRecordIsShown) {
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 2}) +
                   stream::action({.count = 3, .type = stream::kInspectHttp}) + stream::http({}) +
                   stream::http({.url_logging = 0}) + stream::http({.l7_policy_name = "other"}) +
                   stream::action({.type = stream::kSecurityAcl})),
            (heading({}) + class_opened("web") + Events{opened("sp_class_type")} + kOpened + settings() +
             all_statistics({}) + kClosed +
             Events{closed("sp_class_type"), opened("sp_class_type"), opened("sp_security_acl"),
                    closed("sp_security_acl"), closed("sp_class_type")} +
             class_closed() + Events{closed("service_policy")}));
}

// ---- layer-7 rules

using ServicePolicyHttpRules = ServicePolicyTest;

std::string group_with_rules(const std::string& rules) {
  return stream::action({.has_l7 = 1, .count = 1, .type = stream::kInspectHttp}) + stream::http({}) + rules;
}

// The rules of an action, which come after its settings and counters.
Events with_rules(const Mode& mode, const Events& rules) {
  return kOpened + settings() + all_statistics(mode) + rules + kClosed;
}

std::string policy_line(const std::string& name) {
  return line("        L7 Inspect policy : %s\n", "        L7 Inspect policy : " + name + "\n");
}

std::string match_line(const std::string& name) {
  return line("          class/match : %s\n", "          class/match : " + name + "\n");
}

const std::string kActionLine = line("            Inspect action :\n");
const std::string kPermit = line("               permit\n");

std::string inspected(const std::string& text) {
  return line("            Total Inspected      : <%-10u> , Total Matched: <%-10u>\n", "sp_insphttp_l7stats1", text);
}

std::string dropped_on_error(const std::string& text) {
  return line("            Total Dropped OnError: <%-10u>\n", "sp_insphttp_l7stats2", text);
}

// The counters of a rule as they come by default.
Events rule_counters() {
  return {inspected("            Total Inspected      : <3003      > , Total Matched: <3004      >\n"),
          dropped_on_error("            Total Dropped OnError: <3005      >\n")};
}

TEST_F(ServicePolicyHttpRules, OneRule) {
  const std::string bytes = group_with_rules(stream::rules({}) + stream::inspect_rule({}));
  EXPECT_EQ(format_action(bytes, kDetail),
            with_rules(kDetail,
                       {
                           R"(xprint "        L7 Inspect policy : %s\n" => "        L7 Inspect policy : l7-policy\n")",
                           R"(xprint "          class/match : %s\n" => "          class/match : uploads\n")",
                           R"(xprint "            Inspect action :\n" => "            Inspect action :\n")",
                           R"(xprint "               permit\n" => "               permit\n")",
                           R"(xprint "            Total Inspected      : <%-10u> , Total Matched: <%-10u>\n" )"
                           R"('sp_insphttp_l7stats1' => )"
                           R"("            Total Inspected      : <3003      > , Total Matched: <3004      >\n")",
                           R"(xprint "            Total Dropped OnError: <%-10u>\n" 'sp_insphttp_l7stats2' => )"
                           R"("            Total Dropped OnError: <3005      >\n")",
                       }));
  EXPECT_EQ(format_action(bytes, kInactiveDetail),
            with_rules(kInactiveDetail, {policy_line("l7-policy"), match_line("uploads"), kActionLine, kPermit}));
}

// Without detail, or without has_l7, the stream has no rules.
TEST_F(ServicePolicyHttpRules, AreReadWithDetailAndHasL7Alone) {
  const std::string announced =
      stream::action({.has_l7 = 1, .count = 1, .type = stream::kInspectHttp}) + stream::http({});
  for (std::uint32_t active : {1U, 0U}) {
    const Mode mode = {.active = active, .detail = 0};
    EXPECT_EQ(format_action(announced, mode), with_rules(mode, {})) << name_of(mode);
    const Mode detail = {.active = active, .detail = 1};
    EXPECT_EQ(format_action(group({}), detail), with_rules(detail, {})) << name_of(detail);
  }
  for (std::uint32_t has_l7 : {2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(format_action(stream::action({.has_l7 = has_l7, .count = 1, .type = stream::kInspectHttp}) +
                                stream::http({}) + stream::rules({.rule_count = 0}),
                            kDetail),
              with_rules(kDetail, {policy_line("l7-policy")}))
        << has_l7;
  }
}

TEST_F(ServicePolicyHttpRules, NoRules) {
  EXPECT_EQ(format_action(group_with_rules(stream::rules({.rule_count = 0, .l7_policy_name = ""})), kDetail),
            with_rules(kDetail, {policy_line("")}));
  EXPECT_EQ(format_action(group_with_rules(stream::rules({.rule_count = 0})), kInactiveDetail),
            with_rules(kInactiveDetail, {policy_line("l7-policy")}));
}

TEST_F(ServicePolicyHttpRules, TheActionOfARule) {
  struct Row {
    std::uint32_t action;
    const char* text;
  };
  constexpr std::array rows = {
      Row{0, "               -\n"},          Row{1, "               permit\n"},
      Row{2, "               reset\n"},      Row{3, "               permit log\n"},
      Row{4, "               reset log\n"},  Row{5, "               -\n"},
      Row{0x0101, "               -\n"},     Row{0x00010000, "               -\n"},
      Row{0x01000000, "               -\n"}, Row{0x80000001, "               -\n"},
      Row{0xffffffff, "               -\n"},
  };
  for (const Row& row : rows) {
    const std::string bytes =
        group_with_rules(stream::rules({}) + stream::inspect_rule({.inspect_action = row.action}));
    const Events lines = {policy_line("l7-policy"), match_line("uploads"), kActionLine, line(row.text)};
    EXPECT_EQ(format_action(bytes, kDetail), with_rules(kDetail, lines + rule_counters())) << row.action;
    EXPECT_EQ(format_action(bytes, kInactiveDetail), with_rules(kInactiveDetail, lines)) << row.action;
  }
}

TEST_F(ServicePolicyHttpRules, SeveralRules) {
  EXPECT_EQ(
      format_action(
          group_with_rules(stream::rules({.rule_count = 3, .l7_policy_name = std::string(64, 'p')}) +
                           stream::inspect_rule(
                               {.match_name = "a", .total_inspected = 0, .total_matched = 1, .dropped_on_error = 2}) +
                           stream::inspect_rule({.match_name = std::string(64, 'b')}) +
                           stream::inspect_rule({.match_name = "%s%n",
                                                 .total_inspected = 0x01020304,
                                                 .total_matched = 0xffffffff,
                                                 .dropped_on_error = 0x80000000})),
          kDetail),
      with_rules(
          kDetail,
          Events{policy_line(std::string(64, 'p')), match_line("a"), kActionLine, kPermit,
                 inspected("            Total Inspected      : <0         > , Total Matched: <1         >\n"),
                 dropped_on_error("            Total Dropped OnError: <2         >\n"),
                 match_line(std::string(64, 'b')), kActionLine, kPermit} +
              rule_counters() +
              Events{match_line("%s%n"), kActionLine, kPermit,
                     inspected("            Total Inspected      : <16909060  > , Total Matched: <4294967295>\n"),
                     dropped_on_error("            Total Dropped OnError: <2147483648>\n")}));
}

// What follows the rules is found.
TEST_F(ServicePolicyHttpRules, AreSteppedOver) {
  const Events rule = Events{match_line("uploads"), kActionLine, kPermit} + rule_counters();
  EXPECT_EQ(format(stream::policy({}) + stream::class_map({.entry_count = 2}) +
                       stream::action({.has_l7 = 1, .count = 2, .type = stream::kInspectHttp}) + stream::http({}) +
                       stream::http({}) + stream::rules({.rule_count = 2}) + stream::inspect_rule({}) +
                       stream::inspect_rule({}) + stream::action({.type = stream::kSecurityAcl}),
                   1),
            (heading(kDetail) + class_opened("web") + Events{opened("sp_class_type")} +
             with_rules(kDetail, Events{policy_line("l7-policy")} + rule + rule) +
             Events{closed("sp_class_type"), opened("sp_class_type"), opened("sp_security_acl"),
                    closed("sp_security_acl"), closed("sp_class_type")} +
             class_closed() + Events{closed("service_policy")}));
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_http_test
