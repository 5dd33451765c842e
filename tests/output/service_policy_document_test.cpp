// Service policies as documents: every type of action in every mode, and everything that is opened or closed unusually.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/cli/statistics_stream.h"
#include "tests/output/schema.h"
#include "tests/output/service_policy.h"
#include "tests/output/support.h"

namespace kvel::output::testing::service_policy_document_test {
namespace {

namespace stream = cli::test::stream;
using ::testing::HasSubstr;

// When a line is part of a document.
enum class When : std::uint8_t { always, active, inactive, detail, active_detail };

struct Line {
  When when = When::always;
  std::string_view text;
};
using Lines = std::vector<Line>;

struct Mode {
  bool active = true;
  bool detail = false;
};
constexpr Mode kModes[] = {{true, false}, {true, true}, {false, false}, {false, true}};

bool applies_in(const Mode& mode, When when) {
  switch (when) {
    case When::always:
      return true;
    case When::active:
      return mode.active;
    case When::inactive:
      return !mode.active;
    case When::detail:
      return mode.detail;
    case When::active_detail:
      break;
  }
  return mode.active && mode.detail;
}

const Lines kBefore = {
    {When::always, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"},
    {When::always, "<xml_show_service_policy>"},
    {When::always, "<service_policy>"},
    {When::active, "<text>Status     : ACTIVE</text>"},
    {When::inactive, "<text>Status     : INACTIVE</text>"},
    {When::detail, "<text>Description: front door</text>"},
    {When::always, "<text>-----------------------------------------</text>"},
    {When::active, "<text>Interface: vlan</text>"},
    {When::active, "<sp_interface_vlan>20</sp_interface_vlan>"},
    {When::active, "<sp_interface_vlan>4094</sp_interface_vlan>"},
    {When::always, "<sp_name>edge</sp_name>"},
    {When::always, "<sp_class_map>"},
    {When::always, "<sp_class_name>web</sp_class_name>"},
    {When::always, "<sp_class_types>"},
    {When::always, "<sp_class_type>"},
};
const Lines kAfter = {
    {When::always, "</sp_class_type>"},
    {When::always, "</sp_class_types>"},
    {When::always, "</sp_class_map>"},
    {When::always, "</service_policy>"},
    {When::always, "</xml_show_service_policy>"},
};
// stream::Counters as they come by default.
const Lines kCounters = {
    {When::active, "<sp_curr_conns>1001</sp_curr_conns>"},
    {When::active, "<sp_hit_count>1002</sp_hit_count>"},
    {When::active, "<sp_drop_conns>1007</sp_drop_conns>"},
    {When::active, "<sp_pkt_count_client>1003</sp_pkt_count_client>"},
    {When::active, "<sp_byte_count_client>1005</sp_byte_count_client>"},
    {When::active, "<sp_pkt_count_server>1004</sp_pkt_count_server>"},
    {When::active, "<sp_byte_count_server>1006</sp_byte_count_server>"},
};

// Without the indent, to keep expectations short.
std::string flat(std::string_view document) {
  std::string lines;
  for (std::size_t at = 0; at < document.size();) {
    at = std::min(document.find_first_not_of(' ', at), document.size());
    const std::size_t end = document.find('\n', at);
    lines.append(document.substr(at, end - at)).append("\n");
    at = end == document.npos ? document.size() : end + 1;
  }
  return lines;
}

std::string joined(const Mode& mode, std::initializer_list<Lines> parts) {
  std::string text;
  for (const Lines& part : parts) {
    for (const Line& line : part) {
      if (applies_in(mode, line.when)) text.append(line.text).append("\n");
    }
  }
  return text;
}

std::string page(const Mode& mode, const std::string& groups, std::uint32_t group_count = 1) {
  return stream::policy({.active = mode.active ? 1U : 0U,
                         .description = "front door",
                         .vlans = mode.active ? std::vector<std::uint32_t>{20, 4094} : std::vector<std::uint32_t>{}}) +
         stream::class_map({.entry_count = group_count, .name = "web"}) + groups;
}

// The document of an action in every mode; `rules` follow its records where rules are asked for.
void expect_documents(const std::string& records, const std::string& rules, std::initializer_list<Lines> inside,
                      const nlohmann::json& in_json) {
  for (const Mode& mode : kModes) {
    SCOPED_TRACE(std::string(mode.active ? "active" : "inactive") + (mode.detail ? ", detail" : ""));
    const Answers answers{{page(mode, records + (mode.detail ? rules : std::string()))}};
    const Shown xml = show_service_policy(Format::xml, answers, mode.detail);
    EXPECT_EQ(xml.status, 0);
    EXPECT_EQ(xml.printed, "");
    EXPECT_EQ(flat(xml.document), joined(mode, {kBefore}) + joined(mode, inside) + joined(mode, {kAfter}));
    EXPECT_EQ(schema_faults(xml.document), "");

    const Shown json = show_service_policy(Format::json, answers, mode.detail);
    EXPECT_EQ(json.status, 0);
    const auto document = nlohmann::json::parse(json.document, nullptr, false);
    ASSERT_FALSE(document.is_discarded()) << json.document;
    const auto& policy = document["xml_show_service_policy"]["service_policy"];
    EXPECT_EQ(policy["sp_name"], "edge");
    if (mode.active && mode.detail) {
      EXPECT_EQ(policy["sp_interface_vlan"], nlohmann::json::parse("[20, 4094]"));
      EXPECT_EQ(policy["sp_class_map"]["sp_class_types"]["sp_class_type"], in_json);
    }
  }
}

TEST(ServicePolicyDocument, SecurityAcl) {
  for (const Mode& mode : kModes) {
    const Answers answers{{page(mode, stream::action({.type = stream::kSecurityAcl}))}};
    const Shown shown = show_service_policy(Format::xml, answers, mode.detail);
    EXPECT_EQ(flat(shown.document), joined(mode, {kBefore, {{When::always, "<sp_security_acl/>"}}, kAfter}));
    EXPECT_EQ(schema_faults(shown.document), "");
  }
}

TEST(ServicePolicyDocument, Nat) {
  expect_documents(stream::action({.count = 3, .type = stream::kNat}) + stream::nat({.port = 80}) +
                       stream::nat({.port = 0}) + stream::nat({.kind = 0, .vlan_or_pool = 5, .address_or_vlan = 30}),
                   "",
                   {{{When::always, "<sp_nat>"},
                     {When::always, "<sp_action_name>nat</sp_action_name>"},
                     {When::always, "<sp_actions>"},
                     {When::always, "<sp_action>"},
                     {When::always, "<sp_nat_type>static</sp_nat_type>"},
                     {When::always, "<sp_nat_ip>10.0.0.1</sp_nat_ip>"},
                     {When::always, "<sp_nat_port>80</sp_nat_port>"},
                     {When::always, "<sp_nat_vlan>20</sp_nat_vlan>"}},
                    kCounters,
                    {{When::always, "</sp_action>"},
                     {When::always, "<sp_action>"},
                     {When::always, "<sp_nat_type>static</sp_nat_type>"},
                     {When::always, "<sp_nat_ip>10.0.0.1</sp_nat_ip>"},
                     {When::always, "<sp_nat_vlan>20</sp_nat_vlan>"}},
                    kCounters,
                    {{When::always, "</sp_action>"},
                     {When::always, "<sp_action>"},
                     {When::always, "<sp_nat_type>dynamic</sp_nat_type>"},
                     {When::always, "<sp_nat_pool_id>5</sp_nat_pool_id>"},
                     {When::always, "<sp_nat_vlan>30</sp_nat_vlan>"}},
                    kCounters,
                    {{When::always, "</sp_action>"}, {When::always, "</sp_actions>"}, {When::always, "</sp_nat>"}}},
                   nlohmann::json::parse(R"({"sp_nat": {"sp_action_name": "nat", "sp_actions": {"sp_action": [
        {"sp_nat_type": "static", "sp_nat_ip": "10.0.0.1", "sp_nat_port": 80, "sp_nat_vlan": 20,
         "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
         "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006},
        {"sp_nat_type": "static", "sp_nat_ip": "10.0.0.1", "sp_nat_vlan": 20,
         "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
         "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006},
        {"sp_nat_type": "dynamic", "sp_nat_pool_id": 5, "sp_nat_vlan": 30,
         "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
         "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006}]}}})"));
}

TEST(ServicePolicyDocument, LoadBalance) {
  expect_documents(
      stream::action({.has_l7 = 1, .type = stream::kLoadBalance}) + stream::load_balance({.rhi_metric = 0xffffffff}),
      stream::rules({.rule_count = 2, .l7_policy_name = "shop"}) + stream::load_balance_rule({}) +
          stream::load_balance_rule({.match_name = "<rest>", .drop = 1, .serverfarm = ""}),
      {{{When::always, "<sp_loadbalance>"},
        {When::always, "<sp_action_name>loadbalance</sp_action_name>"},
        {When::always, "<sp_lb_policymap>shop</sp_lb_policymap>"},
        {When::always, "<sp_lb_rhi_metric>-1</sp_lb_rhi_metric>"},
        {When::always, "<text>VIP Route Advertise  : ENABLED</text>"},
        {When::always, "<text>VIP ICMP Reply       : ENABLED</text>"},
        {When::always, "<sp_lb_vip_state>INSERVICE</sp_lb_vip_state>"}},
       kCounters,
       {{When::detail, "<text>L7 Loadbalance policy : shop</text>"},
        {When::detail, "<text>class/match : images</text>"},
        {When::detail, "<text>LB action :</text>"},
        {When::detail, "<text>serverfarm: farm</text>"},
        {When::active_detail, "<text>hit count        : 3001</text>"},
        {When::active_detail, "<text>dropped conns    : 3002</text>"},
        {When::detail, "<text>class/match : &lt;rest&gt;</text>"},
        {When::detail, "<text>LB action :</text>"},
        {When::detail, "<text>drop</text>"},
        {When::active_detail, "<text>hit count        : 3001</text>"},
        {When::active_detail, "<text>dropped conns    : 3002</text>"},
        {When::always, "</sp_loadbalance>"}}},
      nlohmann::json::parse(R"({"sp_loadbalance": {"sp_action_name": "loadbalance", "sp_lb_policymap": "shop",
        "sp_lb_rhi_metric": -1,
        "text": ["VIP Route Advertise  : ENABLED", "VIP ICMP Reply       : ENABLED", "L7 Loadbalance policy : shop",
                 "class/match : images", "LB action :", "serverfarm: farm", "hit count        : 3001",
                 "dropped conns    : 3002", "class/match : <rest>", "LB action :", "drop", "hit count        : 3001",
                 "dropped conns    : 3002"],
        "sp_lb_vip_state": "INSERVICE",
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006}})"));
}

TEST(ServicePolicyDocument, TheVipLinesOfEveryState) {
  const char* const words[] = {"DISABLED", "ENABLED", "ENABLED-WHEN-ACTIVE"};
  for (std::uint32_t state = 0; state < 4; ++state) {
    const Shown shown = show_service_policy(
        Format::xml,
        {{page({}, stream::action({.type = stream::kLoadBalance}) +
                       stream::load_balance({.vip_inservice = 0, .icmp_reply_state = state, .rhi_state = state}))}},
        false);
    std::string lines;
    if (state < 3) {
      lines = std::string("<text>VIP Route Advertise  : ") + words[state] +
              "</text>\n<text>VIP ICMP Reply       : " + words[state] + "</text>\n";
    }
    EXPECT_THAT(flat(shown.document), HasSubstr("<sp_lb_rhi_metric>77</sp_lb_rhi_metric>\n" + lines +
                                                "<sp_lb_vip_state>OUTOFSERVICE</sp_lb_vip_state>\n"));
    EXPECT_EQ(schema_faults(shown.document), "");
  }
}

TEST(ServicePolicyDocument, InspectHttp) {
  expect_documents(
      stream::action({.has_l7 = 1, .count = 2, .type = stream::kInspectHttp}) + stream::http({}) + stream::http({}),
      stream::rules({.rule_count = 2}) + stream::inspect_rule({.inspect_action = 4}) +
          stream::inspect_rule({.match_name = "m", .inspect_action = 9}),
      {{{When::always, "<sp_inspecthttp>"},
        {When::always, "<sp_action_name>inspect http</sp_action_name>"},
        {When::always, "<sp_insphttp_policymap>strict-http</sp_insphttp_policymap>"},
        {When::always, "<sp_insphttp_urllog>ENABLED</sp_insphttp_urllog>"}},
       kCounters,
       {{When::active, "<sp_insphttp_l4stats1>L4 policy stats</sp_insphttp_l4stats1>"},
        {When::active, "<sp_insphttp_l4stats1>2001</sp_insphttp_l4stats1>"},
        {When::active, "<sp_insphttp_l4stats1>2002</sp_insphttp_l4stats1>"},
        {When::active, "<sp_insphttp_l4stats2>2003</sp_insphttp_l4stats2>"},
        {When::active, "<sp_insphttp_l4stats2>2004</sp_insphttp_l4stats2>"},
        {When::detail, "<text>L7 Inspect policy : l7-policy</text>"},
        {When::detail, "<text>class/match : uploads</text>"},
        {When::detail, "<text>Inspect action :</text>"},
        {When::detail, "<text>reset log</text>"},
        {When::active_detail, "<sp_insphttp_l7stats1>3003</sp_insphttp_l7stats1>"},
        {When::active_detail, "<sp_insphttp_l7stats1>3004</sp_insphttp_l7stats1>"},
        {When::active_detail, "<sp_insphttp_l7stats2>3005</sp_insphttp_l7stats2>"},
        {When::detail, "<text>class/match : m</text>"},
        {When::detail, "<text>Inspect action :</text>"},
        {When::detail, "<text>-</text>"},
        {When::active_detail, "<sp_insphttp_l7stats1>3003</sp_insphttp_l7stats1>"},
        {When::active_detail, "<sp_insphttp_l7stats1>3004</sp_insphttp_l7stats1>"},
        {When::active_detail, "<sp_insphttp_l7stats2>3005</sp_insphttp_l7stats2>"},
        {When::always, "</sp_inspecthttp>"}}},
      nlohmann::json::parse(R"({"sp_inspecthttp": {"sp_action_name": "inspect http",
        "sp_insphttp_policymap": "strict-http", "sp_insphttp_urllog": "ENABLED",
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006,
        "sp_insphttp_l4stats1": ["L4 policy stats", 2001, 2002], "sp_insphttp_l4stats2": [2003, 2004],
        "text": ["L7 Inspect policy : l7-policy", "class/match : uploads", "Inspect action :", "reset log",
                 "class/match : m", "Inspect action :", "-"],
        "sp_insphttp_l7stats1": [3003, 3004, 3003, 3004], "sp_insphttp_l7stats2": [3005, 3005]}})"));
}

TEST(ServicePolicyDocument, InspectFtp) {
  expect_documents(stream::action({.type = stream::kInspectFtp}) + stream::ftp({}), "",
                   {{{When::always, "<sp_inspectftp>"},
                     {When::always, "<sp_action_name>inspect ftp</sp_action_name>"},
                     {When::always, "<sp_inspftp_policymap>no-put</sp_inspftp_policymap>"},
                     {When::always, "<sp_inspftp_strict>ENABLED</sp_inspftp_strict>"}},
                    kCounters,
                    {{When::detail, "<sp_inspftp_policymap>no-put</sp_inspftp_policymap>"},
                     {When::active_detail, "<sp_inspftp_l7stats>2005</sp_inspftp_l7stats>"},
                     {When::active_detail, "<sp_inspftp_l7stats>2006</sp_inspftp_l7stats>"},
                     {When::always, "</sp_inspectftp>"}}},
                   nlohmann::json::parse(R"({"sp_inspectftp": {"sp_action_name": "inspect ftp",
        "sp_inspftp_policymap": ["no-put", "no-put"], "sp_inspftp_strict": "ENABLED",
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006,
        "sp_inspftp_l7stats": [2005, 2006]}})"));
}

TEST(ServicePolicyDocument, InspectFtpWithoutAPolicyMap) {
  expect_documents(stream::action({.type = stream::kInspectFtp}) + stream::ftp({.strict = 0, .l7_policy_name = ""}), "",
                   {{{When::always, "<sp_inspectftp>"},
                     {When::always, "<sp_action_name>inspect ftp</sp_action_name>"},
                     {When::always, "<sp_inspftp_policymap>-</sp_inspftp_policymap>"},
                     {When::always, "<sp_inspftp_strict>DISABLED</sp_inspftp_strict>"}},
                    kCounters,
                    {{When::always, "</sp_inspectftp>"}}},
                   nlohmann::json::parse(R"({"sp_inspectftp": {"sp_action_name": "inspect ftp",
        "sp_inspftp_policymap": "-", "sp_inspftp_strict": "DISABLED",
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006}})"));
}

TEST(ServicePolicyDocument, InspectDns) {
  expect_documents(stream::action({.type = stream::kInspectDns}) + stream::dns({.max_length = 4294967295}), "",
                   {{{When::always, "<sp_inspectdns>"},
                     {When::always, "<sp_action_name>inspect dns</sp_action_name>"},
                     {When::always, "<sp_inspdns_maxlen>4294967295</sp_inspdns_maxlen>"}},
                    kCounters,
                    {{When::always, "</sp_inspectdns>"}}},
                   nlohmann::json::parse(R"({"sp_inspectdns": {"sp_action_name": "inspect dns",
        "sp_inspdns_maxlen": 4294967295,
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006}})"));
}

TEST(ServicePolicyDocument, InspectIcmp) {
  expect_documents(stream::action({.type = stream::kInspectIcmp}) + stream::icmp({.icmp_error = 0}), "",
                   {{{When::always, "<sp_inspecticmp>"},
                     {When::always, "<sp_action_name>inspect icmp</sp_action_name>"},
                     {When::always, "<sp_inspicmp_error>DISABLED</sp_inspicmp_error>"}},
                    kCounters,
                    {{When::always, "</sp_inspecticmp>"}}},
                   nlohmann::json::parse(R"({"sp_inspecticmp": {"sp_action_name": "inspect icmp",
        "sp_inspicmp_error": "DISABLED",
        "sp_curr_conns": 1001, "sp_hit_count": 1002, "sp_drop_conns": 1007, "sp_pkt_count_client": 1003,
        "sp_byte_count_client": 1005, "sp_pkt_count_server": 1004, "sp_byte_count_server": 1006}})"));
}

TEST(ServicePolicyDocument, InspectRtspWithTheLargestNumbers) {
  const stream::Counters largest{.current_connections = 4294967295,
                                 .hit_count = 4294967295,
                                 .client_packets = 4294967295,
                                 .server_packets = 4294967295,
                                 .client_bytes = 18446744073709551615U,
                                 .server_bytes = 18446744073709551615U,
                                 .dropped_connections = 4294967295};
  expect_documents(stream::action({.type = stream::kInspectRtsp}) + stream::rtsp(largest), "",
                   {{{When::always, "<sp_inspectrtsp>"},
                     {When::always, "<sp_action_name>inspect rtsp</sp_action_name>"},
                     {When::active, "<sp_curr_conns>4294967295</sp_curr_conns>"},
                     {When::active, "<sp_hit_count>4294967295</sp_hit_count>"},
                     {When::active, "<sp_drop_conns>4294967295</sp_drop_conns>"},
                     {When::active, "<sp_pkt_count_client>4294967295</sp_pkt_count_client>"},
                     {When::active, "<sp_byte_count_client>18446744073709551615</sp_byte_count_client>"},
                     {When::active, "<sp_pkt_count_server>4294967295</sp_pkt_count_server>"},
                     {When::active, "<sp_byte_count_server>18446744073709551615</sp_byte_count_server>"},
                     {When::always, "</sp_inspectrtsp>"}}},
                   nlohmann::json::parse(R"({"sp_inspectrtsp": {"sp_action_name": "inspect rtsp",
        "sp_curr_conns": 4294967295, "sp_hit_count": 4294967295, "sp_drop_conns": 4294967295,
        "sp_pkt_count_client": 4294967295, "sp_byte_count_client": 18446744073709551615,
        "sp_pkt_count_server": 4294967295, "sp_byte_count_server": 18446744073709551615}})"));
}

// ---- what is opened and closed unusually

// The whole document of inactive pages, from its first class on.
std::string classes_of(const std::vector<std::string>& pages, bool detail = false) {
  const Shown shown = show_service_policy(Format::xml, {pages}, detail);
  EXPECT_EQ(schema_faults(shown.document), "") << shown.document;
  EXPECT_EQ(shown.status, 0);
  const std::string lines = flat(shown.document);
  const std::string_view mark = "<sp_name>edge</sp_name>\n";
  const std::size_t at = lines.find(mark);
  return at == lines.npos ? lines : lines.substr(at + mark.size());
}

TEST(ServicePolicyDocument, AGroupWithoutActionsHoldsTheLaterOnes) {
  EXPECT_EQ(classes_of({page({.active = false},
                             stream::action({.type = stream::kSecurityAcl}) +
                                 stream::action({.count = 0, .type = stream::kNat}) +
                                 stream::action({.type = stream::kSecurityAcl}) + stream::action({.count = 0}) +
                                 stream::action({.type = 8}),
                             5)}),
            "<sp_class_map>\n<sp_class_name>web</sp_class_name>\n<sp_class_types>\n"
            "<sp_class_type>\n<sp_security_acl/>\n</sp_class_type>\n"
            "<sp_class_type>\n"
            "<sp_class_type>\n<sp_security_acl/>\n</sp_class_type>\n"
            "<sp_class_type>\n<sp_class_type/>\n</sp_class_type>\n"
            "</sp_class_type>\n"
            "</sp_class_types>\n</sp_class_map>\n</service_policy>\n</xml_show_service_policy>\n");
}

TEST(ServicePolicyDocument, AClassGoesOnOnTheNextPage) {
  const auto first = page({.active = false}, stream::action({.type = stream::kLoadBalance}) + stream::load_balance({}));
  const auto second =
      page({.active = false},
           stream::action({.has_l7 = 1, .type = stream::kLoadBalance}) + stream::rules({.rule_count = 1}) +
               stream::load_balance_rule({}) + stream::action({.has_l7 = 1, .type = stream::kInspectHttp}) +
               stream::rules({}) + stream::inspect_rule({}) + stream::action({.type = stream::kInspectDns}) +
               stream::dns({}),
           3);
  EXPECT_EQ(classes_of({first, second}, true),
            "<sp_class_map>\n<sp_class_name>web</sp_class_name>\n<sp_class_types>\n<sp_class_type>\n"
            "<sp_loadbalance>\n<sp_action_name>loadbalance</sp_action_name>\n<sp_lb_policymap>shop</sp_lb_policymap>\n"
            "<sp_lb_rhi_metric>77</sp_lb_rhi_metric>\n<text>VIP Route Advertise  : ENABLED</text>\n"
            "<text>VIP ICMP Reply       : ENABLED</text>\n<sp_lb_vip_state>INSERVICE</sp_lb_vip_state>\n"
            "</sp_loadbalance>\n</sp_class_type>\n</sp_class_types>\n</sp_class_map>\n</service_policy>\n"
            "<sp_class_types>\n"
            "<sp_class_type>\n<text>class/match : images</text>\n<text>LB action :</text>\n"
            "<text>serverfarm: farm</text>\n</sp_class_type>\n"
            "<sp_class_type>\n<text>class/match : uploads</text>\n<text>Inspect action :</text>\n"
            "<text>permit</text>\n</sp_class_type>\n"
            "<sp_class_type>\n<sp_inspectdns>\n<sp_action_name>inspect dns</sp_action_name>\n"
            "<sp_inspdns_maxlen>512</sp_inspdns_maxlen>\n</sp_inspectdns>\n</sp_class_type>\n"
            "</sp_class_types>\n</xml_show_service_policy>\n");
}

TEST(ServicePolicyDocument, AnotherClassOnTheNextPageIsBesideThePolicy) {
  EXPECT_EQ(classes_of({stream::policy({.active = 0}) + stream::class_map({.entry_count = 0, .name = "a"}),
                        stream::policy({.active = 0}) + stream::class_map({.entry_count = 0, .name = "b"})}),
            "<sp_class_map>\n<sp_class_name>a</sp_class_name>\n<sp_class_types/>\n</sp_class_map>\n</service_policy>\n"
            "<sp_class_map>\n<sp_class_name>b</sp_class_name>\n<sp_class_types/>\n</sp_class_map>\n"
            "</xml_show_service_policy>\n");
}

TEST(ServicePolicyDocument, AnUnexpectedHeaderIsNotPartOfIt) {
  const std::string bad = stream::policy({.class_count = 2, .active = 0}) +
                          stream::class_map({.entry_count = 0, .name = "a"}) + stream::class_map({.record_type = 7});
  const Shown shown = show_service_policy(Format::xml, {{bad}}, false);
  EXPECT_EQ(shown.printed, "\nUnexpected header: 7");
  EXPECT_EQ(schema_faults(shown.document), "");
  EXPECT_THAT(flat(shown.document), ::testing::EndsWith("<sp_class_types/>\n</sp_class_map>\n</service_policy>\n"
                                                        "</xml_show_service_policy>\n"));
  // What comes after it is in the policy that it has left open.
  const Shown more = show_service_policy(
      Format::xml, {{bad, stream::policy({.active = 0}) + stream::class_map({.entry_count = 0, .name = "b"})}}, false);
  EXPECT_EQ(schema_faults(more.document), "");
  EXPECT_THAT(flat(more.document),
              ::testing::EndsWith("<sp_class_map>\n<sp_class_name>b</sp_class_name>\n<sp_class_types/>\n"
                                  "</sp_class_map>\n</service_policy>\n</xml_show_service_policy>\n"));
}

TEST(ServicePolicyDocument, NothingToShow) {
  for (const std::string& nothing : {std::string(), stream::policy({.record_type = 3})}) {
    const Shown shown = show_service_policy(Format::xml, {{nothing}}, false);
    EXPECT_EQ(shown.document, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xml_show_service_policy/>\n");
    EXPECT_EQ(schema_faults(shown.document), "");
    EXPECT_EQ(show_service_policy(Format::json, {{nothing}}, false).document,
              "{\n  \"xml_show_service_policy\": {}\n}\n");
  }
}

TEST(ServicePolicyDocument, AFailureOnTheWayEndsTheDocument) {
  const Answers answers{{page({}, stream::action({})), "never shown"}, -1};
  const Shown shown = show_service_policy(Format::xml, answers, false);
  EXPECT_EQ(shown.status, 1);
  EXPECT_EQ(shown.printed, "Error: Called API encountered error\n");
  EXPECT_EQ(schema_faults(shown.document), "");
  EXPECT_EQ(flat(shown.document), joined({}, {kBefore, {{When::always, "<sp_security_acl/>"}}, kAfter}));
}

}  // namespace
}  // namespace kvel::output::testing::service_policy_document_test
