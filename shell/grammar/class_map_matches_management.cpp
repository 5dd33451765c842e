// Match rules of management class-maps: which management protocol from where.
#include <netinet/in.h>

#include <array>

#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

struct Service {
  std::string_view word;
  std::string_view help;
  KeywordId keyword;
  std::uint32_t protocol;
  std::uint32_t lower;
  std::uint32_t upper;
};

constexpr std::array kServices{
    Service{"ftp", "File Transfer Protocol", kw::mgmt_ftp, IPPROTO_TCP, 21, 21},
    Service{"http", "Hypertext Transfer Protocol", kw::mgmt_http, IPPROTO_TCP, 80, 80},
    Service{"https", "Hypertext Transfer Protocol over TLS", kw::mgmt_https, IPPROTO_TCP, 443, 443},
    Service{"icmp", "Internet Control Message Protocol", kw::mgmt_icmp, IPPROTO_ICMP, 0, 65535},
    Service{"snmp", "Simple Network Management Protocol", kw::mgmt_snmp, IPPROTO_UDP, 161, 161},
    Service{"ssh", "Secure Shell", kw::mgmt_ssh, IPPROTO_TCP, 22, 22},
    Service{"telnet", "Telnet", kw::mgmt_telnet, IPPROTO_TCP, 23, 23},
    Service{"tftp", "Trivial File Transfer Protocol", kw::mgmt_tftp, IPPROTO_UDP, 69, 69},
};

Pattern services() {
  Pattern result = choice();
  for (const Service& row : kServices) {
    result.parts.push_back(word(row.word, row.help, row.keyword)
                               .binds("protocol", row.protocol)
                               .binds("lower", row.lower)
                               .binds("upper", row.upper));
  }
  return result;
}

Pattern source() {
  return sequence(
      word("source", "Where the traffic comes from; anywhere when left out", kw::mgmt_source),
      choice(word("any", "Anywhere", kw::mgmt_source_any).binds("address", "0.0.0.0").binds("mask", "0.0.0.0"),
             sequence(word("address", "A network", kw::mgmt_address),
                      choice(sequence(address("ADDRESS", "IPv4 address", kw::mgmt_source_address).binds("address"),
                                      word("mask", "Mask of the network", kw::mgmt_mask),
                                      mask("MASK", "Mask of the address", kw::mgmt_source_mask).binds("mask")),
                             network(kNetworkHelp, kw::mgmt_source_address, kw::mgmt_source_mask, kw::mgmt_mask)
                                 .binds("address")
                                 .binds("mask")))));
}

}  // namespace

void declare_management_matches(GrammarBuilder& grammar) {
  grammar
      .command(kClassMapManagementMode,
               match_rule(kw::mgmt_line,
                          sequence(word("protocol", "A management protocol", kw::mgmt_protocol), services(),
                                   optional(source())),
                          kw::mgmt_match))
      .calls(KVEL_HANDLER(kvelclassmap_config_mgmtproto))
      .negatable()
      .records("management");
  grammar.command(kClassMapManagementMode, rule_line(kw::mgmt_line))
      .calls(KVEL_HANDLER(kvelclassmap_config_mgmt_lineno))
      .only_negated();
}

}  // namespace kvel::shell
