// Match rules of layer-3/4 class-maps.
#include <netinet/in.h>

#include <array>

#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

using namespace pattern;

namespace {

constexpr std::uint32_t kAnyProtocol = 0;
constexpr std::uint32_t kHighestProtocol = 255;
constexpr std::uint32_t kHighestPort = 65535;

// Ports by their service names. The port rule knows all but the first.
constexpr std::array kTcpServices{
    WordRow{"irc", "Internet Relay Chat (194)", kw::well_known_irc},
    WordRow{"domain", "Domain Name System (53)", kw::well_known_domain_tcp},
    WordRow{"ftp", "File Transfer Protocol, control connection (21)", kw::well_known_ftp},
    WordRow{"ftp-data", "File Transfer Protocol, data connection (20)", kw::well_known_ftp_data},
    WordRow{"http", "Hypertext Transfer Protocol (80)", kw::well_known_http},
    WordRow{"https", "Hypertext Transfer Protocol over TLS (443)", kw::well_known_https},
    WordRow{"matip-type-a", "Mapping of Airline Traffic over IP, type A (350)", kw::well_known_matip_type_a},
    WordRow{"nntp", "Network News Transfer Protocol (119)", kw::well_known_nntp},
    WordRow{"pop2", "Post Office Protocol, version 2 (109)", kw::well_known_pop2},
    WordRow{"pop3", "Post Office Protocol, version 3 (110)", kw::well_known_pop3},
    WordRow{"rtsp", "Real-Time Streaming Protocol (554)", kw::well_known_rtsp},
    WordRow{"smtp", "Simple Mail Transfer Protocol (25)", kw::well_known_smtp},
    WordRow{"telnet", "Telnet (23)", kw::well_known_telnet},
    WordRow{"www", "World Wide Web, the same as http (80)", kw::well_known_www},
};
constexpr auto kTcpServicesOfPortRule = std::span(kTcpServices).subspan(1);

constexpr std::array kUdpServices{
    WordRow{"domain", "Domain Name System (53)", kw::well_known_domain_udp},
    WordRow{"wap-wsp", "Wireless Session Protocol, connectionless (9200)", kw::well_known_wap_wsp},
    WordRow{"wap-wsp-s", "Wireless Session Protocol, connectionless and secure (9202)", kw::well_known_wap_wsp_s},
    WordRow{"wap-wsp-wtp", "Wireless Session Protocol (9201)", kw::well_known_wap_wsp_wtp},
    WordRow{"wap-wsp-wtp-s", "Wireless Session Protocol, secure (9203)", kw::well_known_wap_wsp_wtp_s},
};

// What differs between the ports of one protocol and rule and those of another.
struct PortWords {
  std::string_view word;
  std::string_view help;
  std::uint32_t protocol_number;
  std::span<const WordRow> services;
  bool zero_is_any;  // "equal 0" matches every port
  KeywordId protocol;
  KeywordId any;
  KeywordId equal;
  KeywordId equal_number;
  KeywordId range;
  KeywordId range_lower;
  KeywordId range_upper;
};

constexpr PortWords kVirtualAddressTcp{"tcp",
                                       "TCP",
                                       IPPROTO_TCP,
                                       kTcpServices,
                                       false,
                                       kw::vip_tcp,
                                       kw::vip_tcp_any_port,
                                       kw::vip_tcp_equal,
                                       kw::vip_tcp_number,
                                       kw::vip_tcp_range,
                                       kw::vip_tcp_range_lower,
                                       kw::vip_tcp_range_upper};
constexpr PortWords kVirtualAddressUdp{"udp",
                                       "UDP",
                                       IPPROTO_UDP,
                                       kUdpServices,
                                       false,
                                       kw::vip_udp,
                                       kw::vip_udp_any_port,
                                       kw::vip_udp_equal,
                                       kw::vip_udp_number,
                                       kw::vip_udp_range,
                                       kw::vip_udp_range_lower,
                                       kw::vip_udp_range_upper};
constexpr PortWords kPortRuleTcp{"tcp",
                                 "TCP",
                                 IPPROTO_TCP,
                                 kTcpServicesOfPortRule,
                                 true,
                                 kw::port_tcp,
                                 kw::port_tcp_any,
                                 kw::port_tcp_equal,
                                 kw::port_tcp_number,
                                 kw::port_tcp_range,
                                 kw::port_tcp_range_lower,
                                 kw::port_tcp_range_upper};
constexpr PortWords kPortRuleUdp{"udp",
                                 "UDP",
                                 IPPROTO_UDP,
                                 kUdpServices,
                                 true,
                                 kw::port_udp,
                                 kw::port_udp_any,
                                 kw::port_udp_equal,
                                 kw::port_udp_number,
                                 kw::port_udp_range,
                                 kw::port_udp_range_lower,
                                 kw::port_udp_range_upper};

Pattern equal_port(const PortWords& words) {
  Pattern port = number(0, kHighestPort, "Port number", words.equal_number);
  if (words.zero_is_any) return std::move(port).binds_unless_zero("lower").binds_unless_zero("upper");
  return std::move(port).binds("lower").binds("upper");
}

Pattern ports(const PortWords& words) {
  return sequence(
      word(words.word, words.help, words.protocol).binds("protocol", words.protocol_number),
      choice(word("any", "Every port", words.any).binds("lower", 0U).binds("upper", kHighestPort),
             sequence(word("equal", "One port", words.equal), choice(equal_port(words), choice_of(words.services))),
             sequence(word("range", "The ports from one to another", words.range),
                      number(0, kHighestPort, "Lowest port", words.range_lower).binds("lower"),
                      number(0, kHighestPort, "Highest port", words.range_upper).binds("upper"))));
}

// Other protocols have no ports, and the word binds them: a number that turns out to be TCP's or UDP's means all of
// them.
Pattern protocol_by_number() {
  return sequence(word("protocol", "A protocol by its number, with every port", kw::vip_tcp_any_port)
                      .binds("lower", 0U)
                      .binds("upper", kHighestPort),
                  number(0, kHighestProtocol, "Protocol number", kw::vip_protocol).binds("protocol"));
}

Pattern any_protocol() {
  return word("any", "Every protocol", kw::vip_any_protocol)
      .binds("protocol", kAnyProtocol)
      .binds("lower", 0U)
      .binds("upper", kHighestPort);
}

}  // namespace

void declare_layer34_matches(GrammarBuilder& grammar) {
  const auto rule = [&grammar](Pattern what) -> CommandDeclaration& {
    return grammar.command(kClassMapL3Mode, match_rule(kw::l3_line, std::move(what))).negatable();
  };

  rule(sequence(word("virtual-address", "An address that the appliance answers for, with protocol and ports"),
                kvel::shell::network(kw::vip_address, kw::vip_mask, "Mask of the address; one host when left out"),
                choice(any_protocol(), ports(kVirtualAddressTcp), ports(kVirtualAddressUdp), protocol_by_number())))
      .calls(KVEL_HANDLER(kvelclassmap_configvip))
      .records("virtual-address");
  rule(sequence(word("source-address", "Where the traffic comes from"),
                network_or_host(kw::source_address, kw::source_mask)))
      .calls(KVEL_HANDLER(kvelclassmap_configsrcdstaddr))
      .records("source-address");
  rule(sequence(word("destination-address", "Where the traffic goes to"),
                kvel::shell::network(kw::destination_address, kw::destination_mask,
                                     "Mask of the address; one host when left out")))
      .calls(KVEL_HANDLER(kvelclassmap_configsrcdstaddr))
      .records("destination-address");
  rule(sequence(word("port", "Ports of a protocol"), choice(ports(kPortRuleTcp), ports(kPortRuleUdp))))
      .calls(KVEL_HANDLER(kvelclassmap_configport))
      .records("port");
  rule(word("any", "All traffic")).calls(KVEL_HANDLER(kvelclassmap_configanything)).records("any");
  rule(sequence(word("access-list", "What an access list permits"),
                name("NAME", "Name of the access list", kw::acl_name).binds("name")))
      .calls(KVEL_HANDLER(kvelclassmap_configacl))
      .records("access-list");

  grammar
      .command(kClassMapL3Mode,
               match_rule(kw::l3_line, word("default-inspection", "Traffic inspected by default").unsupported()))
      .calls(KVEL_HANDLER(kvelclassmap_configdefaultinsp));
  grammar.command(kClassMapL3Mode, rule_line(kw::l3_line))
      .calls(KVEL_HANDLER(kvelclassmap_config_lineno))
      .only_negated();
}

}  // namespace kvel::shell
