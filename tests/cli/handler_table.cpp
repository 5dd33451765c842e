// The rows of parameter-maps, SSL-proxy services and service policies, and the table of all handlers.
#include "tests/cli/handler_table.h"

#include <utility>

namespace kvel::cli::test {
namespace {

Handlers param_maps() {
  return {
      {.label = "parameter-map",
       .name = "kvelparammap_config",
       .keywords = "703 800 801 920 921",
       .texts = {{703, "<name>"}, {801, "<name>"}, {921, "<name>"}},
       .call = "cm_param_map_add_or_lookup(u16 <context>, session <session>, u8 <add>, '<name>', u8 0, "
               "buffer[4] 00000000)",
       .line = {{921, "web"}, {920}},
       .line_call = "cm_param_map_add_or_lookup(u16 <context>, session <session>, u8 <add>, 'web', u8 2, "
                    "buffer[4] 00000000)",
       .after_failed_bind = "return 255",
       .after_failure = "return 255",
       .skip = Skip::after_the_bind,
       .asks = "domain 7 '<name>' <negated>",
       .number_sign = NumberSign::refused_after_the_domain,
       .after_number_sign = "return 255"},
      {.label = "connection settings",
       .name = "kvelparammap_config_conn",
       .keywords = "703 707 710-712 714 715 718-721 724 726-739 741-756 769 771-776 778-781 827 828 830 856",
       .texts = {{703, "<name>"}},
       .call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, '<name>', u8 0, buffer[140] 00*140)",
       .line = {{703, "web"}, {721}, {746}, {726}, {727, 6}, {729, 7}, {781, 9}},
       .line_call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, 'web', u8 0, buffer[140] "
                    "0001 00*73 0600000007 00*19 02 00*15 01 00*12 09 00*11)",
       .after_failed_bind = "return 255",
       .skip = Skip::after_the_bind},
      {.label = "HTTP settings",
       .name = "kvelparammap_config_http",
       .keywords = "801 803-810 812-815",
       .texts = {{801, "<name>"}},
       .call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, '<name>', u8 1, buffer[140] 00*140)",
       .line = {{801, "web"}, {803}, {809}, {813, "ab"}, {815, 7}},
       .line_call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, 'web', u8 1, buffer[140] "
                    "80 00*6 01 00*11 01 00*7 076162 00*110)",
       .after_failed_bind = "return 255",
       .skip = Skip::after_the_bind},
      {.label = "SSL settings",
       .name = "kvelparammap_config_ssl",
       .keywords = "921-932 950-954 956-960 963 964",
       .texts = {{921, "<name>"}},
       .call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, '<name>', u8 2, buffer[140] 00*140)",
       .line = {{921, "web"}, {957}, {926}, {950, 4}},
       .line_call = "cm_param_map_config(u16 <context>, session <session>, u8 <add>, 'web', u8 2, buffer[140] "
                    "90 00*6 0600000004 00*128)",
       .after_failed_bind = "return 255",
       .skip = Skip::after_the_bind},
      {.label = "parameter-maps shown",
       .name = "kvelparammap_show_parammap",
       .keywords = "966",
       .texts = {{966, "<name>"}},
       .call = "cm_show_parameter_map(u16 <context>, '<name>', buffer[65] 00*65, buffer[4] 00000000, "
               "buffer[4] 00000000, response)",
       .line = {{966, "web"}},
       .line_call = "cm_show_parameter_map(u16 <context>, 'web', buffer[65] 00*65, buffer[4] 00000000, "
                    "buffer[4] 00000000, response)",
       .opening = {"init_resp"},
       .closing = {"free"},
       .closing_after_failure = {"free"}},
  };
}

Handlers ssl_proxy_services() {
  // A member ends the walk; it is last.
  const auto member = [](const char* label, Token token, const char* call, const char* line_call) {
    return Handler{.label = label,
                   .name = "sslproxy_submode_config",
                   .keywords = "3 4 6 8 18",
                   .texts = {{3, "<name>"}},
                   .call = call,
                   .line = {{3, "shop"}},
                   .line_call = line_call,
                   .more_data_is_printed = true,
                   .after_failed_bind = "return 255",
                   .skip = Skip::after_the_bind,
                   .needs = {std::move(token)}};
  };
  return {
      {.label = "SSL-proxy service",
       .name = "sslproxy_config",
       .keywords = "3",
       .texts = {{3, "<name>"}},
       .call = "cm_add_or_lookup_ssl_proxy(u16 <context>, '<name>', u8 <add>)",
       .line = {{3, "web"}},
       .line_call = "cm_add_or_lookup_ssl_proxy(u16 <context>, 'web', u8 <add>)",
       .more_data_is_printed = true,
       .after_failed_bind = "return 255",
       .skip = Skip::after_the_bind,
       .asks = "domain 6 '<name>' <negated>",
       .number_sign = NumberSign::refused_after_the_domain,
       .after_number_sign = "return 1"},
      member("key", {4, "k"}, "cm_update_key(u16 <context>, '<name>', 'k', u8 <add>)",
             "cm_update_key(u16 <context>, 'shop', 'k', u8 <add>)"),
      member("certificate", {6, "c"}, "cm_update_cert(u16 <context>, '<name>', 'c', u8 <add>)",
             "cm_update_cert(u16 <context>, 'shop', 'c', u8 <add>)"),
      member("chain group", {8, "g"}, "cm_update_chaingrp(u16 <context>, '<name>', 'g', u8 <add>)",
             "cm_update_chaingrp(u16 <context>, 'shop', 'g', u8 <add>)"),
      member("SSL parameters", {18, "m"}, "cm_update_param_map(u16 <context>, '<name>', 'm', u8 <add>)",
             "cm_update_param_map(u16 <context>, 'shop', 'm', u8 <add>)"),
  };
}

Handlers service_policies() {
  return {
      {.label = "service policy shown",
       .name = "kvelpolicymap_show_servicepolicy",
       .keywords = "902 903",
       .texts = {{902, "<name>"}},
       .call = "cm_show_service_policy(u16 <context>, '<name>', u32 0, buffer[20] 00*20, buffer[4] 00000000, response)",
       .line = {{902, "edge"}, {903}},
       .line_call = "cm_show_service_policy(u16 <context>, 'edge', u32 1, buffer[20] 00*20, buffer[4] 00000000, "
                    "response)",
       .opening = {"xprint_header 'xml_show_service_policy'", "init_resp"},
       .closing = {"free", R"(xprint "\n" => "\n")", "xprint_footer 'xml_show_service_policy'"},
       .closing_after_failure = {"free", "xprint_footer 'xml_show_service_policy'"}},
      {.label = "service policy cleared",
       .name = "kvelpolicymap_clear_servicepolicy",
       .keywords = "1500",
       .texts = {{1500, "<name>"}},
       .call = "cm_clear_service_policy(u16 <context>, '<name>')",
       .line = {{1500, "edge"}},
       .line_call = "cm_clear_service_policy(u16 <context>, 'edge')",
       .bind = Bind::none},
  };
}

}  // namespace

Handlers joined(std::initializer_list<Handlers (*)()> parts) {
  Handlers all;
  for (Handlers (*rows)() : parts) {
    for (Handler& handler : rows())
      all.push_back(std::move(handler));
  }
  return all;
}

const Handlers& all_handlers() {
  static const Handlers handlers =
      joined({class_map_handlers, policy_map_handlers, param_maps, ssl_proxy_services, service_policies});
  return handlers;
}

}  // namespace kvel::cli::test
