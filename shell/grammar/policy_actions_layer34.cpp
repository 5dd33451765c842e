// Actions of the classes of layer-3/4 policy-maps.
#include <array>
#include <cstdint>
#include <string_view>

#include "kvel/command.h"
#include "kvel/keywords.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/service_policy.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::uint32_t kHighestNumber = 4294967295;
constexpr std::uint32_t kHighestPort = 65535;

struct Service {
  std::string_view word;
  std::string_view help;
  KeywordId keyword;
  std::uint32_t port;
};

constexpr std::array kNatServices{
    Service{"domain", "Domain Name System (53)", kw::nat_domain, 53},
    Service{"ftp", "File Transfer Protocol, control connection (21)", kw::nat_ftp, 21},
    Service{"http", "Hypertext Transfer Protocol (80)", kw::nat_http, 80},
    Service{"https", "Hypertext Transfer Protocol over TLS (443)", kw::nat_https, 443},
    Service{"matip-type-a", "Mapping of Airline Traffic over IP, type A (350)", kw::nat_matip_type_a, 350},
    Service{"nntp", "Network News Transfer Protocol (119)", kw::nat_nntp, 119},
    Service{"pop2", "Post Office Protocol, version 2 (109)", kw::nat_pop2, 109},
    Service{"pop3", "Post Office Protocol, version 3 (110)", kw::nat_pop3, 110},
    Service{"rtsp", "Real-Time Streaming Protocol (554)", kw::nat_rtsp, 554},
    Service{"smtp", "Simple Mail Transfer Protocol (25)", kw::nat_smtp, 25},
    Service{"telnet", "Telnet (23)", kw::nat_telnet, 23},
    Service{"wap-wsp", "Wireless Session Protocol, connectionless (9200)", kw::nat_wap_wsp, 9200},
    Service{"wap-wsp-s", "Wireless Session Protocol, connectionless and secure (9202)", kw::nat_wap_wsp_s, 9202},
    Service{"wap-wsp-wtp", "Wireless Session Protocol (9201)", kw::nat_wap_wsp_wtp, 9201},
    Service{"wap-wsp-wtp-s", "Wireless Session Protocol, secure (9203)", kw::nat_wap_wsp_wtp_s, 9203},
};

Pattern services() {
  Pattern result = choice();
  for (const Service& row : kNatServices)
    result.parts.push_back(word(row.word, row.help, row.keyword).binds("port", row.port));
  return result;
}

Pattern port_number(KeywordId keyword) { return number(1, kHighestPort, "Port number", keyword).binds("port"); }

Pattern nat_port() {
  return optional(
      word("port", "Translate the port too"),
      choice(port_number(kw::nat_port), services(), sequence(word("tcp", "A TCP port"), port_number(kw::nat_tcp_port)),
             sequence(word("udp", "A UDP port"), port_number(kw::nat_udp_port))));
}

Pattern nat_vlan(KeywordId keyword) {
  return optional(word("vlan", "Translate what goes to one VLAN"),
                  number(1, kHighestVlan, "VLAN number", keyword).binds("vlan"));
}

void declare_nat(GrammarBuilder& grammar) {
  const Pattern nat = word("nat", "Translate addresses");
  grammar
      .command(kPolicyL3ClassMode,
               sequence(nat, word("static", "To a fixed address"),
                        choice(sequence(address("ADDRESS", "IPv4 address", kw::nat_address).binds("address"),
                                        word("mask", "Mask of the network"),
                                        mask("MASK", "Mask of the address", kw::nat_mask).binds("mask")),
                               network(kNetworkHelp, kw::nat_address, kw::nat_mask).binds("address").binds("mask")),
                        nat_port(), nat_vlan(kw::nat_vlan)))
      .calls(KVEL_HANDLER(kvelpolicymap_confignat))
      .command_id(KVEL_COMMAND_STATIC_NAT)
      .negatable()
      .records("nat-static");
  grammar
      .command(kPolicyL3ClassMode,
               sequence(nat, word("dynamic", "To an address of a pool"),
                        number(0, kHighestNumber, "Number of the NAT pool", kw::nat_pool).binds("pool"),
                        nat_vlan(kw::nat_pool_vlan)))
      .calls(KVEL_HANDLER(kvelpolicymap_confignat))
      .command_id(KVEL_COMMAND_DYNAMIC_NAT)
      .negatable()
      .records("nat-dynamic", {{"vlan", 0U}});
}

// Always, or only while the virtual address has a server behind it: a keyword for each.
Pattern when_active(std::string_view text, std::string_view help, KeywordId always, KeywordId active) {
  return choice(word(text, help, always).binds("when_active", false),
                sequence(word(text, help),
                         word("when-active", "Only while a server is active", active).binds("when_active", true)));
}

// One field of the virtual address for each command: the record of a call has a presence bit for each field, and
// a metric takes that back from the advertisement in front of it.
void declare_virtual_address(GrammarBuilder& grammar) {
  const auto vip = [&grammar](Pattern what) -> CommandDeclaration& {
    return grammar
        .command(kPolicyL3ClassMode, sequence(word("vip", "The virtual addresses of the class"), std::move(what)))
        .calls(KVEL_HANDLER(kvelpolicymap_configloadbalance))
        .negatable();
  };
  vip(word("in-service", "Put the virtual addresses into service", kw::vip_in_service)).records("vip-in-service");
  vip(when_active("icmp-reply", "Answer ICMP echo requests", kw::vip_icmp_reply, kw::vip_icmp_reply_when_active))
      .records("vip-icmp-reply");
  vip(when_active("advertise", "Advertise routes to the virtual addresses", kw::vip_advertise,
                  kw::vip_advertise_when_active))
      .records("vip-advertise");
  vip(sequence(word("metric", "Metric of the advertised routes"),
               number(0, kHighestNumber, "Metric", kw::vip_metric).binds("metric")))
      .records("vip-metric");
  vip(sequence(word("object", "Another object of the virtual addresses"),
               name("NAME", "Name of the object", kw::vip_object).binds("name")))
      .records("vip-object");
  vip(advanced(word("option", "Set the option of the virtual addresses", kw::vip_option))).records("vip-option");

  grammar
      .command(kPolicyL3ClassMode, sequence(word("load-balance", "Balance the requests of the class"),
                                            word("policy", "By a load-balancing policy-map"),
                                            name("NAME", "Name of the HTTP load-balancing policy-map",
                                                 kw::load_balance_policy, KVEL_HOOK(policymap_lb_completionhook))
                                                .binds("policy")))
      .calls(KVEL_HANDLER(kvelpolicymap_configloadbalance))
      .negatable()
      .records("load-balance");
}

// Naming a policy-map makes the inspection of FTP strict, with or without the word for that.
Pattern ftp_options() {
  const Pattern policy = sequence(word("policy", "Strictly, by an FTP-inspection policy-map"),
                                  name("NAME", "Name of the FTP-inspection policy-map", kw::inspect_ftp_policy,
                                       KVEL_HOOK(policymap_inspftp_completionhook))
                                      .binds("policy")
                                      .binds("strict", true));
  return optional(choice(
      policy, sequence(word("strict", "Enforce the protocol strictly", kw::inspect_ftp_strict).binds("strict", true),
                       optional(policy))));
}

Pattern http_options() {
  return sequence(
      optional(word("policy", "By an HTTP-inspection policy-map"),
               name("NAME", "Name of the HTTP-inspection policy-map", kw::inspect_http_policy,
                    KVEL_HOOK(policymap_insphttp_completionhook))
                   .binds("policy")),
      optional(word("url-logging", "Log the URLs", kw::inspect_http_url_logging).binds("url_logging", true)),
      optional(
          advanced(word("option", "Set the option of the inspection", kw::inspect_http_option).binds("option", true))));
}

void declare_inspections(GrammarBuilder& grammar) {
  const Pattern inspect = word("inspect", "Inspect a protocol");
  const auto inspection = [&](Pattern what) -> CommandDeclaration& {
    return grammar.command(kPolicyL3ClassMode, sequence(inspect, std::move(what))).negatable();
  };
  inspection(sequence(word("http", "Hypertext Transfer Protocol"), http_options()))
      .calls(KVEL_HANDLER(kvelpolicymap_configinspect_l3http))
      .records("inspect-http");
  inspection(sequence(word("dns", "Domain Name System"),
                      optional(word("maximum-length", "Drop messages that are longer"),
                               number(1, kHighestNumber, "Maximum message length", kw::inspect_dns_max_length, "bytes")
                                   .binds("max_length"))))
      .calls(KVEL_HANDLER(kvelpolicymap_configinspect_dns))
      .records("inspect-dns");
  inspection(
      sequence(
          word("icmp", "Internet Control Message Protocol"),
          optional(advanced(choice(
              word("error-mode-1", "Error mode of that number", kw::inspect_icmp_error_1).binds("error_mode", 1U),
              word("error-mode-2", "Error mode of that number", kw::inspect_icmp_error_2).binds("error_mode", 2U))))))
      .calls(KVEL_HANDLER(kvelpolicymap_configinspect_icmp))
      .records("inspect-icmp");
  inspection(sequence(word("ftp", "File Transfer Protocol"), ftp_options()))
      .calls(KVEL_HANDLER(kvelpolicymap_configinspect_ftp))
      .records("inspect-ftp");
  inspection(word("rtsp", "Real-Time Streaming Protocol"))
      .calls(KVEL_HANDLER(kvelpolicymap_configinspect_rtsp))
      .records("inspect-rtsp");

  // Without a protocol: not supported.
  grammar.command(kPolicyL3ClassMode, inspect).calls(KVEL_HANDLER(kvelpolicymap_configinspect));
}

void declare_attachments(GrammarBuilder& grammar) {
  grammar
      .valued_command(
          kPolicyL3ClassMode,
          sequence(word("ssl-proxy", "Attach an SSL-proxy service"), word("server", "As the server")),
          name("NAME", "Name of the SSL-proxy service", kw::ssl_proxy_server, KVEL_HOOK(sslproxy_completionhook))
              .binds("name"))
      .calls(KVEL_HANDLER(kvelpolicymap_config_sslproxy_server))
      .records("ssl-proxy-server");

  const Pattern parameters = word("parameters", "Attach a parameter-map");
  grammar
      .valued_command(kPolicyL3ClassMode, sequence(parameters, word("connection", "For the connections")),
                      name("NAME", "Name of the connection parameter-map", kw::connection_parameters,
                           KVEL_HOOK(kvelparammap_conn_completionhook))
                          .binds("name"))
      .calls(KVEL_HANDLER(kvelpolicymap_configconn))
      .records("connection-parameters");
  grammar
      .valued_command(kPolicyL3ClassMode, sequence(parameters, word("application", "For the application")),
                      name("NAME", "Name of the HTTP parameter-map", kw::application_parameters,
                           KVEL_HOOK(kvelparammap_http_completionhook))
                          .binds("name"))
      .calls(KVEL_HANDLER(kvelpolicymap_configappl_params))
      .records("application-parameters");
}

}  // namespace

void declare_layer34_actions(GrammarBuilder& grammar) {
  declare_nat(grammar);
  grammar.command(kPolicyL3ClassMode, word("security-acl", "Apply the security access list", kw::security_acl))
      .calls(KVEL_HANDLER(kvelpolicymap_configsacl))
      .negatable()
      .records("security-acl");
  declare_virtual_address(grammar);
  declare_inspections(grammar);
  declare_attachments(grammar);

  const auto unsupported = [&grammar](std::string_view text, std::string_view help) -> CommandDeclaration& {
    return grammar.command(kPolicyL3ClassMode, word(text, help).unsupported());
  };
  unsupported("qos", "Quality of service").calls(KVEL_HANDLER(kvelpolicymap_configqos));
  unsupported("filter", "Filter the traffic").calls(KVEL_HANDLER(kvelpolicymap_configfilter));
  unsupported("replicate-connections", "Replicate connections").calls(KVEL_HANDLER(kvelpolicymap_configrepconns));
  unsupported("aaa", "Authenticate, authorise and account").calls(KVEL_HANDLER(kvelpolicymap_configaaa));
}

}  // namespace kvel::shell
