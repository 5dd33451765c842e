// The rows of the policy-map handlers.
#include "tests/cli/handler_table.h"

namespace kvel::cli::test::handler_table_policy_map {
namespace {

using Texts = std::vector<TextToken>;
using Worded = std::vector<WordedStatus>;

const Texts kLayer34Class = {{352, "<policy>"}, {356, "<class>"}};
const Worded kNotConfigured = {{0x40f30009, "Error: policy-map '<policy>' not configured\n"},
                               {0x40f3000a, "Error: class-map '<class>' not configured\n"}};
// The policy-map that is missing is one that the record names.
const Worded kOtherNotConfigured = {{0x40f30009, "Error: policy-map '' not configured\n"},
                                    {0x40f3000a, "Error: class-map '<class>' not configured\n"}};
const Worded kInlineNotConfigured = {
    {0x40f3013c, "Error: insert-before class/match '<before>' not configured\n"},
    {0x40f30141, "Error: could not find class/match '<before>' in policy '<policy>'\n"},
    {0x40f30009, "Error: policy-map '<policy>' not configured\n"}};

Handlers objects() {
  return {
      {.label = "policy-map",
       .name = "kvelpolicymap_config",
       .keywords = "351 352 502 503 530 601-603 651 652 654 663-665",
       .texts = {{352, "<name>"}, {503, "<name>"}, {603, "<name>"}, {652, "<name>"}, {665, "<name>"}},
       .call = "cm_add_or_lookup_pmap_by_name(u16 <context>, session <session>, '<name>', u8 1, u8 1, u8 <add>, "
               "buffer[4] 00000000)",
       .line = {{663}, {602}, {352, "web"}},
       .line_call = "cm_add_or_lookup_pmap_by_name(u16 <context>, session <session>, 'web', u8 5, u8 3, u8 <add>, "
                    "buffer[4] 00000000)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::after_the_bind,
       .asks = "domain 4 '<name>' <negated>",
       .number_sign = NumberSign::refused_before_the_domain,
       .after_number_sign = "return 1",
       .worded = {{0x40f30010, "Error: policy-map '<name>', already exists with a different type\n"},
                  {0x40f3009c, "Error: policy-map '<name>' is in use. Deletion not allowed\n"},
                  {0x40f30009, "Error: policy-map '<name>' not configured\n"}}},
      {.label = "class of a policy-map",
       .name = "kvelpolicymap_configclass",
       .keywords = "351 352 356 357 366 413 502 503 530 576 577 593 594 601-603 651 652 654 659 660 663-665 668 669 "
                   "671 673",
       .texts = {{352, "<policy>"},
                 {503, "<policy>"},
                 {603, "<policy>"},
                 {652, "<policy>"},
                 {665, "<policy>"},
                 {356, "<class>"},
                 {576, "<class>"},
                 {593, "<class>"},
                 {659, "<class>"},
                 {668, "<class>"},
                 {357, "<before>"},
                 {577, "<before>"},
                 {594, "<before>"},
                 {660, "<before>"},
                 {669, "<before>"}},
       .call = "cm_update_policy_to_class(u16 <context>, session <session>, '<policy>', '<class>', '<before>', u8 1, "
               "u8 1, u8 0, u8 <add>, u32 0)",
       .line = {{601}, {602}, {603, "p"}, {593, "c"}, {594, "b"}, {366}},
       .line_call = "cm_update_policy_to_class(u16 <context>, session <session>, 'p', 'c', 'b', u8 3, u8 3, u8 1, "
                    "u8 <add>, u32 0)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::before_the_bind,
       .worded = {{0x40f3000a, "Error: class-map '<class>' not configured\n"},
                  {0x40f3013c, "Error: insert-before class-map '<before>' not configured\n"},
                  {0x40f30141, "Error: could not find class/match '<before>' in policy '<policy>'\n"},
                  {0x40f30009, "Error: policy-map '<policy>' not configured\n"}}},
      {.label = "line interval",
       .name = "kvelpolicymap_configsequence",
       .keywords = "12 352",
       .texts = {{352, "<policy>"}},
       .numbers = {{12, "<interval>"}},
       .call = "cm_set_policy_class_line_interval(u16 <context>, session <session>, '<policy>', u32 <interval>)",
       .line = {{352, "edge"}, {12, 20}},
       .line_call = "cm_set_policy_class_line_interval(u16 <context>, session <session>, 'edge', u32 20)",
       .after_failed_bind = "return 255"},
      {.label = "description of a policy-map",
       .name = "kvelpolicymap_configdescr",
       .keywords = "352 503 603 652 665 1501-1505",
       .texts = {{352, "<policy>"},
                 {503, "<policy>"},
                 {603, "<policy>"},
                 {652, "<policy>"},
                 {665, "<policy>"},
                 {1501, "<text>", 240},
                 {1502, "<text>", 240},
                 {1503, "<text>", 240},
                 {1504, "<text>", 240},
                 {1505, "<text>", 240}},
       .call = "cm_update_policydesc(u16 <context>, session <session>, '<policy>', '<text>', u8 <add>)",
       .line = {{352, "edge"}, {1501, "front door"}},
       .line_call = "cm_update_policydesc(u16 <context>, session <session>, 'edge', 'front door', u8 <add>)",
       .bind = Bind::silent},
  };
}

Handlers layer34_actions() {
  return {
      {.label = "static NAT",
       .name = "kvelpolicymap_confignat",
       .keywords = "352 356 360-362 365 366 1255 1256 1258-1265 1269-1273 1275 1276",
       .texts = kLayer34Class,
       .numbers = {{362, "<vlan>"}},
       .call = "cm_update_static_nat(u16 <context>, session <session>, '<policy>', '<class>', u32 167772161, "
               "u32 4294967295, u32 0, u32 <vlan>, u32 <add>)",
       .line = {{352, "p"}, {356, "c"}, {361, 8080}, {362, 20}},
       .line_call = "cm_update_static_nat(u16 <context>, session <session>, 'p', 'c', u32 167772161, u32 4294967295, "
                    "u32 8080, u32 20, u32 <add>)",
       .bind = Bind::none,
       .asks = "modify <negated>",
       .needs = {{360, 0x0a000001}, {365, 0xffffffff}},
       .command_id = 362},
      {.label = "dynamic NAT",
       .name = "kvelpolicymap_confignat",
       .keywords = "352 356 363 364 366",
       .texts = kLayer34Class,
       .numbers = {{363, "<pool>"}, {364, "<vlan>"}},
       .call = "cm_update_dynamic_nat(u16 <context>, session <session>, '<policy>', '<class>', u32 <pool>, "
               "u32 <vlan>, u32 <add>)",
       .line = {{352, "p"}, {356, "c"}, {363, 3}, {364, 20}},
       .line_call = "cm_update_dynamic_nat(u16 <context>, session <session>, 'p', 'c', u32 3, u32 20, u32 <add>)",
       .bind = Bind::none,
       .asks = "modify <negated>",
       .command_id = 364},
      {.label = "options",
       .name = "kvelpolicymap_configsacl",
       .keywords = "352 356 371",
       .texts = kLayer34Class,
       .call = "cm_update_l3_opt_config(u16 <context>, u8 <add>, '<policy>', '<class>', buffer[8] 00*8)",
       .line = {{352, "p"}, {356, "c"}, {371}},
       .line_call = "cm_update_l3_opt_config(u16 <context>, u8 <add>, 'p', 'c', buffer[8] 80 00*7)",
       .worded = kNotConfigured},
      {.label = "load balancing",
       .name = "kvelpolicymap_configloadbalance",
       .keywords = "352 356 402 404-406 408 409 412 415 416",
       .texts = kLayer34Class,
       .call = "cm_update_l3_lb_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
               "buffer[160] 00*160)",
       .line = {{352, "p"}, {356, "c"}, {404}, {409, 5}},
       .line_call = "cm_update_l3_lb_config(u16 <context>, session <session>, u8 <add>, 'p', 'c', "
                    "buffer[160] 00000001 00*11 05 00*140 90000000)",
       .worded = kOtherNotConfigured},
      {.label = "HTTP inspection",
       .name = "kvelpolicymap_configinspect_l3http",
       .keywords = "352 356 385 386 394",
       .texts = kLayer34Class,
       .call = "cm_update_l3_http_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
               "buffer[156] 00*156)",
       .line = {{352, "p"}, {356, "c"}, {386, "insp"}, {385}, {394}},
       .line_call = "cm_update_l3_http_insp_config(u16 <context>, session <session>, u8 <add>, 'p', 'c', "
                    "buffer[156] 0000000100000001 00*81 696e7370 00*63)",
       .worded = kOtherNotConfigured},
      {.label = "DNS inspection",
       .name = "kvelpolicymap_configinspect_dns",
       .keywords = "352 356 389",
       .texts = kLayer34Class,
       .call = "cm_update_l3_dns_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
               "buffer[12] 00*12)",
       .line = {{352, "p"}, {356, "c"}, {389, 5}},
       .line_call = "cm_update_l3_dns_insp_config(u16 <context>, session <session>, u8 <add>, 'p', 'c', "
                    "buffer[12] 000000010000000580000000)",
       .worded = kNotConfigured},
      {.label = "ICMP inspection",
       .name = "kvelpolicymap_configinspect_icmp",
       .keywords = "352 356 390 393",
       .texts = kLayer34Class,
       .call = "cm_update_l3_icmp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
               "buffer[4] 00000000)",
       .line = {{352, "p"}, {356, "c"}, {390}},
       .line_call = "cm_update_l3_icmp_insp_config(u16 <context>, session <session>, u8 <add>, 'p', 'c', "
                    "buffer[4] 00000002)",
       .worded = kNotConfigured},
      {.label = "FTP inspection",
       .name = "kvelpolicymap_configinspect_ftp",
       .keywords = "352 356 383 384",
       .texts = kLayer34Class,
       .call = "cm_update_l3_ftp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', "
               "buffer[72] 00*72)",
       .line = {{352, "p"}, {356, "c"}, {384, "ftp-1"}},
       .line_call = "cm_update_l3_ftp_insp_config(u16 <context>, session <session>, u8 <add>, 'p', 'c', "
                    "buffer[72] 000000016674702d31 00*63)",
       .worded = kNotConfigured},
      {.label = "RTSP inspection",
       .name = "kvelpolicymap_configinspect_rtsp",
       .keywords = "352 356",
       .texts = kLayer34Class,
       .call = "cm_update_l3_rtsp_insp_config(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>')",
       .line = {{352, "p"}, {356, "c"}},
       .line_call = "cm_update_l3_rtsp_insp_config(u16 <context>, session <session>, u8 <add>, 'p', 'c')",
       .worded = kNotConfigured},
      {.label = "SSL-proxy server",
       .name = "kvelpolicymap_config_sslproxy_server",
       .keywords = "352 356 471",
       .texts = {{352, "<policy>"}, {356, "<class>"}, {471, "<service>"}},
       .call = "cm_update_ssl_config(u16 <context>, session <session>, '<policy>', '<class>', '<service>', u8 <add>)",
       .line = {{352, "p"}, {356, "c"}, {471, "s"}},
       .line_call = "cm_update_ssl_config(u16 <context>, session <session>, 'p', 'c', 's', u8 <add>)"},
      {.label = "connection parameters",
       .name = "kvelpolicymap_configconn",
       .keywords = "352 356 466",
       .texts = {{352, "<policy>"}, {356, "<class>"}, {466, "<parameters>"}},
       .call = "cm_update_l3_param_map_config(u16 <context>, session <session>, '<policy>', '<class>', "
               "'<parameters>', u8 0, u8 <add>)",
       .line = {{352, "p"}, {356, "c"}, {466, "m"}},
       .line_call = "cm_update_l3_param_map_config(u16 <context>, session <session>, 'p', 'c', 'm', u8 0, u8 <add>)"},
      {.label = "application parameters",
       .name = "kvelpolicymap_configappl_params",
       .keywords = "352 356 492",
       .texts = {{352, "<policy>"}, {356, "<class>"}, {492, "<parameters>"}},
       .call = "cm_update_l3_param_map_config(u16 <context>, session <session>, '<policy>', '<class>', "
               "'<parameters>', u8 1, u8 <add>)",
       .line = {{352, "p"}, {356, "c"}, {492, "m"}},
       .line_call = "cm_update_l3_param_map_config(u16 <context>, session <session>, 'p', 'c', 'm', u8 1, u8 <add>)"},
  };
}

Handlers other_actions() {
  return {
      {.label = "load-balancing action",
       .name = "kvelpolicymap_configslbactions",
       .keywords = "503 505 576 578-582 585 587-590 675 676",
       .texts = {{503, "<policy>"}, {576, "<action>"}},
       .call = "cm_lb_add_or_lookup_action(u16 <context>, u8 <add>, '<policy>', '<action>', buffer[732] 00*732)",
       .line = {{503, "p"}, {505, "c"}, {578, "farm"}, {676, 5}},
       .line_call = "cm_lb_add_or_lookup_action(u16 <context>, u8 <add>, 'p', 'pc', "
                    "buffer[732] 050000006661726d 00*136 80 00*583 40000000)"},
      {.label = "SSL-proxy client",
       .name = "kvelpolicymap_config_sslproxy_client",
       .keywords = "473 503 576",
       .texts = {{503, "<policy>"}, {576, "<action>"}, {473, "<service>"}},
       .call = "cm_update_ssl_config(u16 <context>, session <session>, '<policy>', '<action>', '<service>', u8 <add>)",
       .line = {{503, "p"}, {576, "a"}, {473, "s"}},
       .line_call = "cm_update_ssl_config(u16 <context>, session <session>, 'p', 'a', 's', u8 <add>)"},
      {.label = "inline load-balancing match",
       .name = "kvelpolicymap_config_inline_lb",
       .keywords = "503 505-507 509-529 532 570 571 610",
       .texts = {{503, "<policy>"}, {505, "<match>"}, {610, "<before>"}},
       .call = "cm_update_l7_inline_lb_match(u16 <context>, session <session>, u8 <add>, '<policy>', '<match>', "
               "'<before>', buffer[332] 00*332)",
       .line = {{503, "p"}, {505, "m"}, {610, "b"}, {528, "/img"}, {529, "word"}},
       .line_call = "cm_update_l7_inline_lb_match(u16 <context>, session <session>, u8 <add>, 'p', 'm', 'b', "
                    "buffer[332] 000000052f696d67 00*252 776f7264 00*68)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::before_the_bind,
       .worded = kInlineNotConfigured,
       .names_fill_one = true},
      {.label = "HTTP inspection action",
       .name = "kvelpolicymap_cfginsp_l7http_action",
       .keywords = "593 603 605 607-609",
       .texts = {{603, "<policy>"}, {593, "<class>"}},
       .call = "cm_update_l7_http_insp_action(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', u8 0)",
       .line = {{603, "p"}, {593, "a"}, {605, "c"}, {609}, {608}},
       .line_call = "cm_update_l7_http_insp_action(u16 <context>, session <session>, u8 <add>, 'p', 'a', u8 4)",
       .worded = kNotConfigured},
      {.label = "inline HTTP inspection match",
       .name = "kvelpolicymap_configinspect_l7http",
       .keywords = "44-63 65 66 113-116 122-126 128 129 131-134 136 137 142 145 146 148-150 161 165 166 595 603 605 "
                   "1001-1045 1101 1103-1106 1201-1227 1251-1253",
       .texts = {{603, "<policy>"}, {605, "<match>"}, {595, "<before>"}},
       .call = "cm_update_l7_inline_http_insp_match(u16 <context>, session <session>, u8 <add>, '<policy>', "
               "'<match>', '<before>', buffer[328] 00*328)",
       .line = {{603, "p"}, {605, "m"}, {595, "b"}, {123, "/img"}, {146, 5}},
       .line_call = "cm_update_l7_inline_http_insp_match(u16 <context>, session <session>, u8 <add>, 'p', 'm', 'b', "
                    "buffer[328] 000000092f696d67 00*253 05 00*66)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::before_the_bind,
       .worded = kInlineNotConfigured,
       .names_fill_one = true},
      {.label = "FTP inspection action",
       .name = "kvelpolicymap_configclass_insftpact",
       .keywords = "652 656 659 661 662",
       .texts = {{652, "<policy>"}, {659, "<action>"}},
       .call = "cm_update_l7_ftp_insp_action(u16 <context>, session <session>, '<policy>', '<action>', "
               "buffer[4] 00000000, u8 <add>)",
       .line = {{652, "p"}, {656, "c"}, {662}},
       .line_call = "cm_update_l7_ftp_insp_action(u16 <context>, session <session>, 'p', 'pc', buffer[4] 00000006, "
                    "u8 <add>)"},
      {.label = "inline FTP inspection match",
       .name = "kvelpolicymap_configmatch_insftpreq",
       .keywords = "652 656 889-901",
       .texts = {{652, "<policy>"}, {656, "<match>"}},
       .call = "cm_update_l7_inline_ftp_insp_match(u16 <context>, session <session>, '<policy>', '<match>', u8 0, "
               "u8 <add>)",
       .line = {{652, "p"}, {656, "m"}, {901}},
       .line_call = "cm_update_l7_inline_ftp_insp_match(u16 <context>, session <session>, 'p', 'm', u8 13, u8 <add>)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::before_the_bind,
       .names_fill_one = true},
      {.label = "management action",
       .name = "kvelpolicymap_configmgmt",
       .keywords = "665 668 670 674",
       .texts = {{665, "<policy>"}, {668, "<class>"}},
       .call = "cm_update_mgmt_action(u16 <context>, session <session>, u8 <add>, '<policy>', '<class>', u32 0, u32 0)",
       .line = {{665, "p"}, {668, "c"}, {670}, {674}},
       .line_call = "cm_update_mgmt_action(u16 <context>, session <session>, u8 <add>, 'p', 'c', u32 1, u32 1)"},
  };
}

// What has no implementation prints one line and succeeds.
Handlers unsupported_actions() {
  const auto row = [](const char* label, const char* name, const char* line) {
    return Handler{.label = label,
                   .name = name,
                   .keywords = "",
                   .line = {{352, "p"}, {356, "c"}},
                   .bind = Bind::none,
                   .closing = {out(line)}};
  };
  return {
      row("QoS", "kvelpolicymap_configqos", "Error: This feature not supported/integrated yet\n"),
      row("inspection", "kvelpolicymap_configinspect", "Error: This feature not supported/integrated yet\n"),
      row("filter", "kvelpolicymap_configfilter", "Error: This feature not supported for phase 1\n"),
      row("replicated connections", "kvelpolicymap_configrepconns",
          "Error: This feature not supported/integrated yet\n"),
      row("AAA", "kvelpolicymap_configaaa", "Error: This feature not supported/integrated yet\n"),
      row("cookie", "kvelpolicymap_configcookie", "Error: This feature not supported/integrated yet\n"),
      row("header", "kvelpolicymap_confighdr", "Error: This feature not supported/integrated yet\n"),
      row("URL", "kvelpolicymap_configurl", "Error: This feature not supported/integrated yet\n"),
      row("SSL", "kvelpolicymap_configssl", "Error: This feature not supported/integrated yet\n"),
      row("inspected header", "kvelpolicymap_confighdr_insp", "Error: This feature not supported/integrated yet\n"),
      row("inspected URL", "kvelpolicymap_configurl_insp", "Error: This feature not supported/integrated yet\n"),
  };
}

}  // namespace
}  // namespace kvel::cli::test::handler_table_policy_map

namespace kvel::cli::test {

Handlers policy_map_handlers() {
  using namespace handler_table_policy_map;
  return joined({objects, layer34_actions, other_actions, unsupported_actions});
}

}  // namespace kvel::cli::test
