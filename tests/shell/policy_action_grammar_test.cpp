// The actions of the classes of policy-maps, line by line: handlers and exact tokens, keyword ids as plain numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/shell/typed_lines.h"

namespace kvel::shell::policy_action_grammar_test {
namespace {

using test::number_token;
using test::Stack;
using test::string_token;
using test::Tokens;
using test::word_token;
using ::testing::StartsWith;

constexpr std::uint32_t kAddress = 0x0A010101;  // 10.1.1.1
constexpr std::uint32_t kMask = 0xFFFFFF00;

class Layer34Actions : public test::TypedLines {
 protected:
  void action(const std::string& line, std::string_view handler, const Tokens& tokens) {
    accepts_both(in_class, line, handler, tokens);
  }
  std::uint32_t command_id(const std::string& line) const {
    return match(grammar, in_class, line)->command->command_id;
  }

  const Stack in_class = inside({"policy-map p", "class c"});
  const Stack in_default = inside({"policy-map p", "class class-default"});
};

TEST_F(Layer34Actions, StaticNat) {
  const auto nat = [this](const std::string& words, const Tokens& tokens) {
    Tokens all{number_token(360, kAddress), number_token(365, kMask)};
    all.insert(all.end(), tokens.begin(), tokens.end());
    action("nat static 10.1.1.1 mask 255.255.255.0" + words, "kvelpolicymap_confignat", all);
  };
  nat("", {});
  nat(" vlan 1", {number_token(362, 1)});
  nat(" vlan 4094", {number_token(362, 4094)});
  nat(" port 1", {number_token(361, 1)});
  nat(" port 65535 vlan 7", {number_token(361, 65535), number_token(362, 7)});
  nat(" port tcp 80", {number_token(1275, 80)});
  nat(" port udp 53 vlan 7", {number_token(1276, 53), number_token(362, 7)});
  const std::vector<std::pair<const char*, KeywordId>> services{
      {"matip-type-a", 1255}, {"nntp", 1256},    {"smtp", 1258},      {"telnet", 1259},      {"http", 1260},
      {"https", 1261},        {"rtsp", 1262},    {"pop2", 1263},      {"pop3", 1264},        {"ftp", 1265},
      {"domain", 1269},       {"wap-wsp", 1270}, {"wap-wsp-s", 1271}, {"wap-wsp-wtp", 1272}, {"wap-wsp-wtp-s", 1273}};
  for (const auto& [service, keyword] : services)
    nat(std::string(" port ") + service, {word_token(keyword)});
  EXPECT_EQ(command_id("nat static 10.1.1.1 mask 255.255.255.0 port http"), 362U);
  EXPECT_EQ(command_id("no nat static 10.1.1.1 mask 255.255.255.0"), 362U);
  EXPECT_EQ(reached, (std::set<KeywordId>{360,  361,  362,  365,  1255, 1256, 1258, 1259, 1260, 1261, 1262,
                                          1263, 1264, 1265, 1269, 1270, 1271, 1272, 1273, 1275, 1276}));
  const std::string begin = "nat static 10.1.1.1 mask 255.255.255.0";
  EXPECT_THAT(refusal(in_class, begin + " port 0"), StartsWith("\"0\" is out of range"));
  EXPECT_THAT(refusal(in_class, begin + " port 65536"), StartsWith("\"65536\" is out of range"));
  EXPECT_THAT(refusal(in_class, begin + " vlan 0"), StartsWith("\"0\" is out of range"));
  EXPECT_THAT(refusal(in_class, begin + " vlan 4095"), StartsWith("\"4095\" is out of range"));
  EXPECT_THAT(refusal(in_class, begin + " port gopher"), StartsWith("unknown word \"gopher\""));
  EXPECT_EQ(match(grammar, in_class, "nat static 10.1.1.0/24 vlan 5")->tokens,
            match(grammar, in_class, "nat static 10.1.1.0 mask 255.255.255.0 vlan 5")->tokens);
  EXPECT_EQ(refusal(in_class, "nat static 10.1.1.1"), "incomplete command; expected: mask");
  EXPECT_THAT(refusal(in_class, "nat static 10.1.1 mask 255.0.0.0"), StartsWith("\"10.1.1\" is not an IPv4 address"));
}

TEST_F(Layer34Actions, DynamicNat) {
  const char* const handler = "kvelpolicymap_confignat";
  action("nat dynamic 0", handler, {number_token(363, 0)});
  action("nat dynamic 4294967295", handler, {number_token(363, 4294967295)});
  action("nat dynamic 5 vlan 4094", handler, {number_token(363, 5), number_token(364, 4094)});
  EXPECT_EQ(command_id("nat dynamic 5"), 364U);
  EXPECT_THAT(refusal(in_class, "nat dynamic 4294967296"), StartsWith("\"4294967296\" is out of range"));
  EXPECT_THAT(refusal(in_class, "nat dynamic 5 vlan 0"), StartsWith("\"0\" is out of range"));
  EXPECT_EQ(refusal(in_class, "nat"), "incomplete command; expected: dynamic, static");
}

TEST_F(Layer34Actions, SecurityAccessList) { action("security-acl", "kvelpolicymap_configsacl", {word_token(371)}); }

// Each field of the record has a command of its own: a metric after an advertisement would take that back.
TEST_F(Layer34Actions, VirtualAddress) {
  const char* const handler = "kvelpolicymap_configloadbalance";
  action("vip in-service", handler, {word_token(404)});
  action("vip icmp-reply", handler, {word_token(415)});
  action("vip icmp-reply when-active", handler, {word_token(416)});
  action("vip advertise", handler, {word_token(405)});
  action("vip advertise when-active", handler, {word_token(406)});
  action("vip metric 0", handler, {number_token(409, 0)});
  action("vip metric 4294967295", handler, {number_token(409, 4294967295)});
  action("vip object backup", handler, {string_token(412, "backup")});
  action("vip advanced option", handler, {word_token(408)});
  action("load-balance policy shop", handler, {string_token(402, "shop")});
  EXPECT_EQ(reached, (std::set<KeywordId>{402, 404, 405, 406, 408, 409, 412, 415, 416}));
  EXPECT_EQ(refusal(in_class, "vip advertise metric 5"), "unknown word \"metric\"; expected: when-active, <cr>");
  EXPECT_EQ(refusal(in_class, "vip metric 5 advertise"), "unexpected word \"advertise\"; expected: <cr>");
  EXPECT_THAT(refusal(in_class, "vip metric 4294967296"), StartsWith("\"4294967296\" is out of range"));
  EXPECT_EQ(help(in_class, "vip "),
            (std::vector<std::string>{"advanced", "advertise", "icmp-reply", "in-service", "metric", "object"}));
}

TEST_F(Layer34Actions, Inspections) {
  const char* const http = "kvelpolicymap_configinspect_l3http";
  action("inspect http", http, {});
  action("inspect http policy h", http, {string_token(386, "h")});
  action("inspect http url-logging", http, {word_token(394)});
  action("inspect http advanced option", http, {word_token(385)});
  action("inspect http policy h url-logging advanced option", http,
         {string_token(386, "h"), word_token(394), word_token(385)});
  action("inspect dns", "kvelpolicymap_configinspect_dns", {});
  action("inspect dns maximum-length 1", "kvelpolicymap_configinspect_dns", {number_token(389, 1)});
  action("inspect dns maximum-length 4294967295", "kvelpolicymap_configinspect_dns", {number_token(389, 4294967295)});
  action("inspect icmp", "kvelpolicymap_configinspect_icmp", {});
  action("inspect icmp advanced error-mode-1", "kvelpolicymap_configinspect_icmp", {word_token(393)});
  action("inspect icmp advanced error-mode-2", "kvelpolicymap_configinspect_icmp", {word_token(390)});
  action("inspect ftp", "kvelpolicymap_configinspect_ftp", {});
  action("inspect ftp strict", "kvelpolicymap_configinspect_ftp", {word_token(383)});
  action("inspect ftp policy f", "kvelpolicymap_configinspect_ftp", {string_token(384, "f")});
  action("inspect ftp strict policy f", "kvelpolicymap_configinspect_ftp", {word_token(383), string_token(384, "f")});
  action("inspect rtsp", "kvelpolicymap_configinspect_rtsp", {});
  EXPECT_EQ(reached, (std::set<KeywordId>{383, 384, 385, 386, 389, 390, 393, 394}));
  EXPECT_THAT(refusal(in_class, "inspect dns maximum-length 0"), StartsWith("\"0\" is out of range"));
  EXPECT_THAT(refusal(in_class, "inspect icmp advanced error-mode-3"), StartsWith("unknown word \"error-mode-3\""));
  EXPECT_THAT(refusal(in_class, "inspect smtp"), StartsWith("unknown word \"smtp\""));
  EXPECT_EQ(help(in_class, "inspect "), (std::vector<std::string>{"dns", "ftp", "http", "icmp", "rtsp", "<cr>"}));
  EXPECT_EQ(help_at(grammar, in_class, "inspect dns maximum-length ")->front().help, "Maximum message length (bytes)");
}

TEST_F(Layer34Actions, AttachmentsNeedNoNameAfterNo) {
  const auto attachment = [this](const std::string& words, std::string_view handler, KeywordId name) {
    action(words + " x", handler, {string_token(name, "x")});
    accepts(in_class, "no " + words, handler, {}, true);
    EXPECT_EQ(refusal(in_class, words), "incomplete command; expected: NAME");
    EXPECT_EQ(refusal(in_class, words + " " + std::string(65, 'x')), "NAME is too long: at most 64 characters");
  };
  attachment("ssl-proxy server", "kvelpolicymap_config_sslproxy_server", 471);
  attachment("parameters connection", "kvelpolicymap_configconn", 466);
  attachment("parameters application", "kvelpolicymap_configappl_params", 492);
}

TEST_F(Layer34Actions, UnsupportedOnesAreWordsWithoutTokens) {
  accepts(in_class, "qos", "kvelpolicymap_configqos", {});
  accepts(in_class, "inspect", "kvelpolicymap_configinspect", {});
  accepts(in_class, "filter", "kvelpolicymap_configfilter", {});
  accepts(in_class, "replicate-connections", "kvelpolicymap_configrepconns", {});
  accepts(in_class, "aaa", "kvelpolicymap_configaaa", {});
  for (const char* line : {"no qos", "no filter", "no replicate-connections", "no aaa"})
    EXPECT_THAT(refusal(in_class, line), StartsWith("unknown word")) << line;
  for (const char* word : {"qos", "filter", "replicate-connections", "aaa"})
    EXPECT_THAT(help_at(grammar, in_class, word)->front().help, ::testing::EndsWith(" (not supported)")) << word;
}

TEST_F(Layer34Actions, OfClassDefaultCarryItsKeywordAndItsReservedName) {
  accepts(in_default, "nat dynamic 5", "kvelpolicymap_confignat", {number_token(363, 5)});
  EXPECT_EQ(match(grammar, in_default, "security-acl")->tokens,
            (Tokens{string_token(352, "p"), word_token(366), string_token(356, "#class_default_l3"), word_token(371)}));
}

TEST_F(Layer34Actions, Help) {
  EXPECT_EQ(help(in_class, " "),
            (std::vector<std::string>{
                "clear",        "end",     "exit", "explain",    "help",   "history",      "inspect",
                "load-balance", "nat",     "no",   "parameters", "quit",   "security-acl", "show",
                "ssl-proxy",    "traffic", "vip",  "aaa",        "filter", "qos",          "replicate-connections"}));
  EXPECT_EQ(help(in_class, "no "), (std::vector<std::string>{"inspect", "load-balance", "nat", "parameters",
                                                             "security-acl", "ssl-proxy", "vip"}));
}

// Actions that fit a class as well as an inline match.
class SharedActions : public test::TypedLines {
 protected:
  void action(const std::string& line, const Tokens& tokens) {
    for (const Stack& stack : stacks)
      accepts_both(stack, line, handler, tokens);
  }

  std::vector<Stack> stacks;
  const char* handler = nullptr;
};

class LoadBalancingActions : public SharedActions {
 protected:
  LoadBalancingActions() {
    stacks = {in_class, in_match};
    handler = "kvelpolicymap_configslbactions";
  }
  const Stack in_class = inside({"policy-map type http-load-balancing p", "class c"});
  const Stack in_match = inside({"policy-map type http-load-balancing p", "match m http url x"});
};

TEST_F(LoadBalancingActions, OfClassesAndMatches) {
  EXPECT_EQ(in_match.back().carried, (Tokens{word_token(502), string_token(503, "p"), string_token(505, "m")}));
  action("serverfarm web", {string_token(578, "web")});
  action("backup-serverfarm old", {string_token(579, "old")});
  action("advanced backup-option", {word_token(580)});
  action("advanced serverfarm-option", {word_token(590)});
  action("drop", {word_token(581)});
  action("forward", {word_token(582)});
  action("advanced flag-585", {word_token(585)});
  action("advanced flag-587", {word_token(587)});
  action("insert-header X-Client", {string_token(588, "X-Client")});
  action("insert-header X-Client value the \"client\" itself",
         {string_token(588, "X-Client"), string_token(589, "the \"client\" itself")});
  action("group g", {string_token(675, "g")});
  action("advanced number-676 1", {number_token(676, 1)});
  action("advanced number-676 255", {number_token(676, 255)});
  EXPECT_EQ(reached, (std::set<KeywordId>{578, 579, 580, 581, 582, 585, 587, 588, 589, 590, 675, 676}));
  for (const Stack& stack : stacks) {
    EXPECT_THAT(refusal(stack, "advanced number-676 0"), StartsWith("\"0\" is out of range"));
    EXPECT_THAT(refusal(stack, "advanced number-676 256"), StartsWith("\"256\" is out of range"));
    EXPECT_EQ(refusal(stack, "insert-header " + std::string(256, 'x')), "HEADER is too long: at most 255 characters");
    EXPECT_EQ(refusal(stack, "insert-header x value " + std::string(256, 'x')),
              "TEXT is too long: at most 255 characters");
    EXPECT_EQ(refusal(stack, "insert-header " + std::string(255, 'x') + " value " + std::string(255, 'y')), "accepted");
    EXPECT_EQ(refusal(stack, "serverfarm"), "incomplete command; expected: NAME");
  }
}

TEST_F(LoadBalancingActions, OfClassesAlone) {
  accepts_both(in_class, "ssl-proxy client s", "kvelpolicymap_config_sslproxy_client", {string_token(473, "s")});
  accepts(in_class, "no ssl-proxy client", "kvelpolicymap_config_sslproxy_client", {}, true);
  accepts(in_class, "cookie", "kvelpolicymap_configcookie", {});
  accepts(in_class, "header", "kvelpolicymap_confighdr", {});
  accepts(in_class, "url", "kvelpolicymap_configurl", {});
  accepts(in_class, "ssl", "kvelpolicymap_configssl", {});
  for (const char* line : {"ssl-proxy client s", "cookie", "header", "url"})
    EXPECT_THAT(refusal(in_match, line), StartsWith("unknown word")) << line;
  EXPECT_EQ(refusal(in_match, "ssl"), "incomplete command; expected: service");  // short for "ssl-proxy" at the top
  for (const char* line : {"no cookie", "no header", "no url", "no ssl"})
    EXPECT_THAT(refusal(in_class, line), ::testing::Not("accepted")) << line;
  EXPECT_EQ(match(grammar, inside({"policy-map type http-load-balancing p", "class class-default"}), "drop")->tokens,
            (Tokens{word_token(502), string_token(503, "p"), string_token(576, "class-default"), word_token(581)}));
}

class InspectionActions : public SharedActions {};

TEST_F(InspectionActions, Http) {
  const Stack in_class = inside({"policy-map type http-inspection p", "class c"});
  const Stack in_match = inside({"policy-map type http-inspection p", "match m url x"});
  EXPECT_EQ(in_match.back().carried, (Tokens{word_token(601), string_token(603, "p"), string_token(605, "m")}));
  stacks = {in_class, in_match};
  handler = "kvelpolicymap_cfginsp_l7http_action";
  action("permit", {word_token(607)});
  action("reset", {word_token(609)});
  // The log keyword counts after the action alone.
  action("permit log", {word_token(607), word_token(608)});
  action("reset log", {word_token(609), word_token(608)});
  accepts(in_class, "header", "kvelpolicymap_confighdr_insp", {});
  accepts(in_class, "url", "kvelpolicymap_configurl_insp", {});
  for (const char* line : {"header", "url", "log", "log permit", "drop"})
    EXPECT_THAT(refusal(in_match, line), StartsWith("unknown word")) << line;
  EXPECT_EQ(help(in_match, "no "), (std::vector<std::string>{"permit", "reset"}));
}

TEST_F(InspectionActions, Ftp) {
  const Stack in_class = inside({"policy-map type ftp-inspection p", "class c"});
  const Stack in_match = inside({"policy-map type ftp-inspection p", "match m ftp-command retr"});
  EXPECT_EQ(in_match.back().carried, (Tokens{word_token(651), string_token(652, "p"), string_token(656, "m")}));
  stacks = {in_class, in_match};
  handler = "kvelpolicymap_configclass_insftpact";
  action("deny", {word_token(661)});
  action("mask-reply", {word_token(662)});
  EXPECT_EQ(help(in_class, "no "), (std::vector<std::string>{"deny", "mask-reply"}));
}

TEST_F(InspectionActions, Management) {
  const Stack in_class = inside({"policy-map type management p", "class c"});
  stacks = {in_class};
  handler = "kvelpolicymap_configmgmt";
  action("permit", {word_token(670)});
  action("deny", {word_token(674)});
  EXPECT_EQ(help(in_class, "no "), (std::vector<std::string>{"deny", "permit"}));
}

}  // namespace
}  // namespace kvel::shell::policy_action_grammar_test
