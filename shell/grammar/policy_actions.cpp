// Actions of the classes of policy-maps above layer 4 and of management ones. Those of a class fit an inline match too.
#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

using namespace pattern;

namespace {

constexpr std::uint32_t kMaxHeaderBytes = 255;
constexpr std::uint32_t kHighestByte = 255;

Pattern insert_header() {
  return sequence(
      word("insert-header", "Insert a header into the request"),
      string("HEADER", "Name of the header", kw::insert_header_name, kMaxHeaderBytes).binds("name"),
      optional(
          word("value", "Value of the header"),
          text("TEXT", "Words up to the end of the line", kw::insert_header_value, kMaxHeaderBytes).binds("value")));
}

// "permit", "reset"; whether they are logged is given after them.
Pattern logged(std::string_view text, std::string_view help, KeywordId keyword) {
  return sequence(word(text, help, keyword),
                  optional(word("log", "Log the requests", kw::inspect_log).binds("log", true)));
}

}  // namespace

void declare_load_balancing_actions(GrammarBuilder& grammar) {
  const auto action = [&grammar](std::string_view kind, Pattern what) {
    grammar.command({kPolicyHttpLbClassMode, kPolicyHttpLbMatchMode}, std::move(what))
        .calls(KVEL_HANDLER(kvelpolicymap_configslbactions))
        .negatable()
        .records(kind);
  };
  action("serverfarm", sequence(word("serverfarm", "Send the requests to a server farm"),
                                name("NAME", "Name of the server farm", kw::serverfarm).binds("name")));
  action("backup-serverfarm", sequence(word("backup-serverfarm", "The server farm that replaces a failed one"),
                                       name("NAME", "Name of the server farm", kw::backup_serverfarm).binds("name")));
  action("backup-option",
         advanced(word("backup-option", "Set the option of the backup server farm", kw::backup_option)));
  action("serverfarm-option",
         advanced(word("serverfarm-option", "Set the option of the server farm", kw::serverfarm_option)));
  action("drop", word("drop", "Drop the requests", kw::lb_drop));
  action("forward", word("forward", "Forward the requests unbalanced", kw::lb_forward));
  action("flag-585", advanced(word("flag-585", "Set the flag of that number", kw::lb_flag_585)));
  action("flag-587", advanced(word("flag-587", "Set the flag of that number", kw::lb_flag_587)));
  action("insert-header", insert_header());
  action("group", sequence(word("group", "Send the requests to a group"),
                           name("NAME", "Name of the group", kw::lb_group).binds("name")));
  action("number-676", advanced(word("number-676", "Set the setting of that number"),
                                number(1, kHighestByte, "Its value", kw::lb_number_676).binds("number")));

  grammar
      .valued_command(
          kPolicyHttpLbClassMode,
          sequence(word("ssl-proxy", "Attach an SSL-proxy service"), word("client", "As the client")),
          name("NAME", "Name of the SSL-proxy service", kw::ssl_proxy_client, KVEL_HOOK(sslproxy_completionhook))
              .binds("name"))
      .calls(KVEL_HANDLER(kvelpolicymap_config_sslproxy_client))
      .records("ssl-proxy-client");

  const auto unsupported = [&grammar](std::string_view text, std::string_view help) -> CommandDeclaration& {
    return grammar.command(kPolicyHttpLbClassMode, word(text, help).unsupported());
  };
  unsupported("cookie", "Act on a cookie").calls(KVEL_HANDLER(kvelpolicymap_configcookie));
  unsupported("header", "Act on a header").calls(KVEL_HANDLER(kvelpolicymap_confighdr));
  unsupported("url", "Act on the URL").calls(KVEL_HANDLER(kvelpolicymap_configurl));
  unsupported("ssl", "Act on the SSL session").calls(KVEL_HANDLER(kvelpolicymap_configssl));
}

void declare_inspection_actions(GrammarBuilder& grammar) {
  const auto http = [&grammar](std::string_view kind, Pattern what) {
    grammar.command({kPolicyHttpInspectionClassMode, kPolicyHttpInspectionMatchMode}, std::move(what))
        .calls(KVEL_HANDLER(kvelpolicymap_cfginsp_l7http_action))
        .negatable()
        .records(kind);
  };
  http("permit", logged("permit", "Let the requests pass", kw::inspect_permit));
  http("reset", logged("reset", "Reset the connections", kw::inspect_reset));
  grammar.command(kPolicyHttpInspectionClassMode, word("header", "Act on a header").unsupported())
      .calls(KVEL_HANDLER(kvelpolicymap_confighdr_insp));
  grammar.command(kPolicyHttpInspectionClassMode, word("url", "Act on the URL").unsupported())
      .calls(KVEL_HANDLER(kvelpolicymap_configurl_insp));

  const auto ftp = [&grammar](std::string_view kind, Pattern what) {
    grammar.command({kPolicyFtpInspectionClassMode, kPolicyFtpInspectionMatchMode}, std::move(what))
        .calls(KVEL_HANDLER(kvelpolicymap_configclass_insftpact))
        .negatable()
        .records(kind);
  };
  ftp("deny", word("deny", "Refuse the commands", kw::ftp_insp_deny));
  ftp("mask-reply", word("mask-reply", "Mask the replies to the commands", kw::ftp_insp_mask_reply));
}

void declare_management_actions(GrammarBuilder& grammar) {
  const auto verdict = [&grammar](std::string_view record, Pattern what) {
    grammar.command(kPolicyManagementClassMode, std::move(what))
        .calls(KVEL_HANDLER(kvelpolicymap_configmgmt))
        .negatable()
        .records(record);
  };
  verdict("permission-1", word("permit", "Let the flows reach the appliance", kw::mgmt_permission_1));
  verdict("permission-2", word("deny", "Refuse the flows", kw::mgmt_permission_2));
}

}  // namespace kvel::shell
