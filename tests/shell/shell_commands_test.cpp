// The shell's own commands: in every mode, without "no", by their ids.
#include <gtest/gtest.h>

#include "tests/shell/matching.h"

namespace kvel::shell::shell_commands_test {
namespace {

struct OwnCommand {
  const char* line;
  const char* id;
  bool filterable;
};

constexpr OwnCommand kOwnCommands[] = {
    {"exit", "exit", false},
    {"end", "end", false},
    {"quit", "quit", false},
    {"help", "help", false},
    {"history", "history", true},
    {"show history", "history", true},
    {"show running-config", "show running-config", true},
    {"show running-config policy-map", "show running-config", true},
    {"show running-config ssl-proxy web", "show running-config", true},
    {"show uses web", "show uses", true},
    {"show version", "show version", true},
    {"sh ru", "show running-config", true},
    {"show class-map", "show class-map", true},
    {"show class-map web", "show class-map", true},
    {"show policy-map", "show policy-map", true},
    {"show policy-map web", "show policy-map", true},
    {"show parameter-map", "show parameter-map", true},
    {"show parameter-map web", "show parameter-map", true},
    {"show ssl-proxy", "show ssl-proxy", true},
    {"show ssl-proxy web", "show ssl-proxy", true},
    {"show service-policy", "show service-policy", true},
    {"show service-policy detail", "show service-policy", true},
    {"traffic /tmp/flows", "traffic", false},
    {"traffic -", "traffic", false},
    {"explain {}", "explain", true},
    {"ex", "exit", false},
};

TEST(ShellCommands, WorkInEveryMode) {
  const Grammar& grammar = shell_grammar();
  ASSERT_EQ(grammar.modes().size(), 23U);
  for (const Mode& mode : grammar.modes()) {
    std::vector<ModeLevel> stack = test::stack_of(grammar, {"config"});
    if (mode.name != "config") {
      stack.push_back({*grammar.find_mode(mode.name), {test::string_token(8, "web")}});
    }
    for (const OwnCommand& own : kOwnCommands) {
      SCOPED_TRACE(std::string(mode.name) + ": " + own.line);
      const auto matched = match(grammar, stack, own.line);
      ASSERT_TRUE(matched) << describe(matched.error());
      EXPECT_EQ(matched->command->shell_command, own.id);
      EXPECT_EQ(matched->command->handler, "");
      EXPECT_EQ(matched->command->filterable, own.filterable);
      EXPECT_EQ(matched->level, stack.size() - 1);
      EXPECT_FALSE(matched->opens);
      EXPECT_FALSE(matched->negated);
    }
  }
}

TEST(ShellCommands, ShowTakesTheNameOfAnObject) {
  const auto stack = test::stack_of(shell_grammar(), {"config"});
  const std::vector<std::pair<std::string, KeywordId>> shows{{"show class-map", 0x10000},
                                                             {"show policy-map", 0x10000},
                                                             {"show parameter-map", 966},
                                                             {"show ssl-proxy", 0x10000}};
  for (const auto& [show, keyword] : shows) {
    EXPECT_EQ(match(shell_grammar(), stack, show)->tokens, test::Tokens{});
    EXPECT_EQ(match(shell_grammar(), stack, show + " \"a b\"")->tokens,
              test::Tokens{test::string_token(keyword, "a b")});
    EXPECT_FALSE(match(shell_grammar(), stack, show + " a b"));
    EXPECT_FALSE(match(shell_grammar(), stack, show + " " + std::string(65, 'x')));
  }
}

// The plug-in prints parameter-maps as text; everything else is the shell's own.
TEST(ShellCommands, OneHasAHandlerForItsText) {
  for (const Command& command : shell_grammar().commands()) {
    EXPECT_EQ(command.text_handler, command.shell_command == "show parameter-map" ? "kvelparammap_show_parammap" : "")
        << command.shell_command;
  }
}

TEST(ShellCommands, HaveNoNegatedForm) {
  const auto stack = test::stack_of(shell_grammar(), {"config"});
  const auto matched = match(shell_grammar(), stack, "no exit");
  ASSERT_FALSE(matched);
  EXPECT_EQ(describe(matched.error()),
            "unknown word \"exit\"\nexpected:\n  class-map\n  inline-match\n  parameter-map\n  policy-map\n  "
            "service-policy\n  ssl-proxy");
  EXPECT_EQ(matched.error().column, 3U);
}

TEST(ShellCommands, AreAmbiguousWhenCutTooShort) {
  const auto stack = test::stack_of(shell_grammar(), {"config"});
  const auto matched = match(shell_grammar(), stack, "e");
  ASSERT_FALSE(matched);
  EXPECT_EQ(describe(matched.error()), "ambiguous word \"e\"; it could be: end, exit");
}

TEST(ShellCommands, TakeNoMoreWords) {
  const auto stack = test::stack_of(shell_grammar(), {"config"});
  const auto matched = match(shell_grammar(), stack, "exit now");
  ASSERT_FALSE(matched);
  EXPECT_EQ(describe(matched.error()), "unexpected word \"now\"; expected: <cr>");
  EXPECT_EQ(matched.error().column, 5U);
}

TEST(ShellGrammar, ListsWhatTheLoaderResolves) {
  EXPECT_EQ(shell_grammar().handlers(), (std::vector<std::string_view>{"kvelclassmap_config",
                                                                       "kvelclassmap_config_desc",
                                                                       "kvelclassmap_config_ftpinspect",
                                                                       "kvelclassmap_config_httpinsp_cntlen",
                                                                       "kvelclassmap_config_httpinsp_content",
                                                                       "kvelclassmap_config_httpinsp_encoding",
                                                                       "kvelclassmap_config_httpinsp_hdr",
                                                                       "kvelclassmap_config_httpinsp_hdrlen",
                                                                       "kvelclassmap_config_httpinsp_method",
                                                                       "kvelclassmap_config_httpinsp_mime",
                                                                       "kvelclassmap_config_httpinsp_p80misuse",
                                                                       "kvelclassmap_config_httpinsp_url",
                                                                       "kvelclassmap_config_httpinspect",
                                                                       "kvelclassmap_config_httplb",
                                                                       "kvelclassmap_config_httplbcmap",
                                                                       "kvelclassmap_config_httplbcookie",
                                                                       "kvelclassmap_config_httplbhdr",
                                                                       "kvelclassmap_config_httplbsrcaddr",
                                                                       "kvelclassmap_config_httplbssl",
                                                                       "kvelclassmap_config_httplburl",
                                                                       "kvelclassmap_config_lineno",
                                                                       "kvelclassmap_config_mgmt_lineno",
                                                                       "kvelclassmap_config_mgmtproto",
                                                                       "kvelclassmap_configacl",
                                                                       "kvelclassmap_configanything",
                                                                       "kvelclassmap_configdefaultinsp",
                                                                       "kvelclassmap_configport",
                                                                       "kvelclassmap_configsrcdstaddr",
                                                                       "kvelclassmap_configvip",
                                                                       "kvelclassmap_delete_match_linenum",
                                                                       "kvelparammap_config",
                                                                       "kvelparammap_config_conn",
                                                                       "kvelparammap_config_http",
                                                                       "kvelparammap_config_ssl",
                                                                       "kvelparammap_show_parammap",
                                                                       "kvelpolicymap_cfginsp_l7http_action",
                                                                       "kvelpolicymap_clear_servicepolicy",
                                                                       "kvelpolicymap_config",
                                                                       "kvelpolicymap_config_inline_lb",
                                                                       "kvelpolicymap_config_sslproxy_client",
                                                                       "kvelpolicymap_config_sslproxy_server",
                                                                       "kvelpolicymap_configaaa",
                                                                       "kvelpolicymap_configappl_params",
                                                                       "kvelpolicymap_configclass",
                                                                       "kvelpolicymap_configclass_insftpact",
                                                                       "kvelpolicymap_configconn",
                                                                       "kvelpolicymap_configcookie",
                                                                       "kvelpolicymap_configdescr",
                                                                       "kvelpolicymap_configfilter",
                                                                       "kvelpolicymap_confighdr",
                                                                       "kvelpolicymap_confighdr_insp",
                                                                       "kvelpolicymap_configinspect",
                                                                       "kvelpolicymap_configinspect_dns",
                                                                       "kvelpolicymap_configinspect_ftp",
                                                                       "kvelpolicymap_configinspect_icmp",
                                                                       "kvelpolicymap_configinspect_l3http",
                                                                       "kvelpolicymap_configinspect_l7http",
                                                                       "kvelpolicymap_configinspect_rtsp",
                                                                       "kvelpolicymap_configloadbalance",
                                                                       "kvelpolicymap_configmatch_insftpreq",
                                                                       "kvelpolicymap_configmgmt",
                                                                       "kvelpolicymap_confignat",
                                                                       "kvelpolicymap_configqos",
                                                                       "kvelpolicymap_configrepconns",
                                                                       "kvelpolicymap_configsacl",
                                                                       "kvelpolicymap_configsequence",
                                                                       "kvelpolicymap_configslbactions",
                                                                       "kvelpolicymap_configssl",
                                                                       "kvelpolicymap_configurl",
                                                                       "kvelpolicymap_configurl_insp",
                                                                       "kvelpolicymap_show_servicepolicy",
                                                                       "sslproxy_config",
                                                                       "sslproxy_submode_config"}));
  EXPECT_EQ(shell_grammar().hooks(),
            (std::vector<std::string_view>{
                "classmap_completionhook", "classmap_inspftp_completionhook", "classmap_insphttp_completionhook",
                "classmap_l3_completionhook", "classmap_lb_completionhook", "classmap_mgmt_completionhook",
                "kvelparammap_completionhook", "kvelparammap_conn_completionhook", "kvelparammap_http_completionhook",
                "kvelparammap_ssl_completionhook", "policymap_completionhook", "policymap_inspftp_completionhook",
                "policymap_insphttp_completionhook", "policymap_l3_completionhook", "policymap_lb_completionhook",
                "policymap_mgmt_completionhook", "sslproxy_completionhook"}));
}

TEST(ShellGrammar, BeginsAtTheTopMode) {
  EXPECT_EQ(shell_grammar().mode(Grammar::kTopMode).name, "config");
  EXPECT_EQ(shell_grammar().find_mode("config"), ModeId{0});
  EXPECT_FALSE(shell_grammar().find_mode("nowhere"));
}

}  // namespace
}  // namespace kvel::shell::shell_commands_test
