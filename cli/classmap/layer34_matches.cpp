// Match rules of layer-3/4 class-maps: virtual address, source and destination address, port, anything, access list.
#include <cstdio>

#include "cli/classmap/class_map.h"
#include "cli/classmap/rule.h"
#include "cli/common/backend.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "cli/common/validators.h"
#include "cli/common/well_known_ports.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

constexpr std::uint32_t kAnyProtocol = 0;
constexpr std::uint32_t kHighestPort = 65535;
constexpr std::uint32_t kOneHost = 0xFFFFFFFF;

constexpr char kPortsCrossed[] = "Error: lower port cannot be greater than the higher port in the range";

enum class PortOperator : std::uint8_t { none, equal, range };

struct VirtualAddress : Rule {
  std::uint32_t address = 0;
  std::uint32_t mask = kOneHost;
  std::uint32_t protocol = kAnyProtocol;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  PortOperator op = PortOperator::none;
};

using VirtualAddressKeywords =
    KeywordTable<Layer34RuleKeywords<VirtualAddress>,  //
                 On<Ids<kw::vip_address>, Number<&VirtualAddress::address>>,
                 On<Ids<kw::vip_mask>, Number<&VirtualAddress::mask>>,
                 On<Ids<kw::vip_tcp>, Set<&VirtualAddress::protocol, kTcp>>,
                 On<Ids<kw::vip_udp>, Set<&VirtualAddress::protocol, kUdp>>,
                 On<Ids<kw::vip_any_protocol>, Set<&VirtualAddress::protocol, kAnyProtocol>>,
                 On<Ids<kw::vip_protocol>, Number<&VirtualAddress::protocol>>,
                 On<Ids<kw::vip_tcp_any_port, kw::vip_udp_any_port>, Set<&VirtualAddress::lower, 0U>,
                    Set<&VirtualAddress::upper, kHighestPort>>,
                 On<Ids<kw::vip_tcp_range, kw::vip_udp_range>, Set<&VirtualAddress::op, PortOperator::range>>,
                 On<Ids<kw::vip_tcp_equal, kw::vip_udp_equal>, Set<&VirtualAddress::op, PortOperator::equal>>,
                 On<Ids<kw::vip_tcp_range_lower, kw::vip_udp_range_lower, kw::vip_tcp_number, kw::vip_udp_number>,
                    Number<&VirtualAddress::lower>>,
                 On<Ids<kw::vip_tcp_range_upper, kw::vip_udp_range_upper>, Number<&VirtualAddress::upper>>,
                 WellKnownPorts<&VirtualAddress::lower>,  //
                 On<Ids<kw::well_known_irc>, Set<&VirtualAddress::lower, 194U>>>;

struct AddressMatch : Rule {
  std::uint32_t direction = 0;
  std::uint32_t source_address = 0;
  std::uint32_t source_mask = 0;
  std::uint32_t destination_address = 0;
  std::uint32_t destination_mask = 0;
};

constexpr std::uint32_t kDestination = 0;
constexpr std::uint32_t kSource = 1;

// A destination address alone means one host, a source address alone leaves the mask as it is: deliberate.
using AddressKeywords = KeywordTable<
    Layer34RuleKeywords<AddressMatch>,  //
    On<Ids<kw::source_address>, Set<&AddressMatch::direction, kSource>, Number<&AddressMatch::source_address>>,
    On<Ids<kw::source_mask>, Set<&AddressMatch::direction, kSource>, Number<&AddressMatch::source_mask>>,
    On<Ids<kw::destination_address>, Set<&AddressMatch::direction, kDestination>,
       Number<&AddressMatch::destination_address>, Set<&AddressMatch::destination_mask, kOneHost>>,
    On<Ids<kw::destination_mask>, Set<&AddressMatch::direction, kDestination>,
       Number<&AddressMatch::destination_mask>>>;

struct PortMatch : Rule {
  std::uint32_t protocol = kAnyProtocol;
  std::uint32_t lower = 0;
  std::uint32_t upper = 0;
  PortOperator op = PortOperator::none;
};

using PortKeywords =
    KeywordTable<Layer34RuleKeywords<PortMatch>,  //
                 On<Ids<kw::port_tcp>, Set<&PortMatch::protocol, kTcp>>,
                 On<Ids<kw::port_udp>, Set<&PortMatch::protocol, kUdp>>,
                 On<Ids<kw::port_tcp_equal, kw::port_udp_equal>, Set<&PortMatch::op, PortOperator::equal>>,
                 On<Ids<kw::port_tcp_range, kw::port_udp_range>, Set<&PortMatch::op, PortOperator::range>>,
                 On<Ids<kw::port_tcp_range_lower, kw::port_udp_range_lower, kw::port_tcp_number, kw::port_udp_number>,
                    Number<&PortMatch::lower>>,
                 On<Ids<kw::port_tcp_range_upper, kw::port_udp_range_upper>, Number<&PortMatch::upper>>,
                 On<Ids<kw::port_tcp_any, kw::port_udp_any>, Set<&PortMatch::op, PortOperator::range>,
                    Set<&PortMatch::lower, 0U>, Set<&PortMatch::upper, kHighestPort>>,
                 WellKnownPorts<&PortMatch::lower>>;

using AnythingKeywords = KeywordTable<Layer34RuleKeywords<Rule>>;

struct AccessListMatch : Rule {
  ObjectName access_list;
};

using AccessListKeywords =
    KeywordTable<Layer34RuleKeywords<AccessListMatch>, On<Ids<kw::acl_name>, Text<&AccessListMatch::access_list>>>;

// An address or mask of 0 was not given and is not checked.
bool address_refused(std::uint32_t address) { return address != 0 && !is_valid_host_address(address); }
bool mask_refused(std::uint32_t mask) { return mask != 0 && !is_contiguous_mask(mask); }

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

int32_t kvelclassmap_configvip(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  VirtualAddress match;
  VirtualAddressKeywords::read(*command, match);

  if (match.op == PortOperator::equal) {
    const bool any_port_but_0 = match.lower == 1 && match.upper == kHighestPort;  // 1 to 65535 stays a range
    if (!any_port_but_0) match.upper = match.lower;
  } else if (match.op == PortOperator::range && match.upper < match.lower) {
    return refuse(kPortsCrossed);
  }
  if (match.protocol != kTcp && match.protocol != kUdp) {
    match.lower = 0;
    match.upper = kHighestPort;
  }
  if (address_refused(match.address)) return refuse(kInvalidAddress);
  if (mask_refused(match.mask)) return refuse("Error: Invalid network mask");

  return finish_match(backend_call("cm_update_class_to_vip", context(command), session(command), u8{kLayer34},
                                   u8{match.match_mode}, match.class_map, u32{match.address}, u32{match.mask},
                                   u32{match.protocol}, u32{kNoOperator}, u32{match.lower}, u32{match.upper},
                                   add(command), u32{match.line}));
}

int32_t kvelclassmap_configsrcdstaddr(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  AddressMatch match;
  AddressKeywords::read(*command, match);

  // Only the direction that the command ended with is checked.
  const bool source = match.direction == kSource;
  if (address_refused(source ? match.source_address : match.destination_address)) return refuse(kInvalidAddress);
  // With a full stop, unlike the virtual address's message.
  if (mask_refused(source ? match.source_mask : match.destination_mask)) return refuse("Error: Invalid network mask.");

  return finish_match(backend_call("cm_update_class_to_ip", context(command), session(command), u8{kLayer34},
                                   u8{match.match_mode}, u32{match.direction}, match.class_map,
                                   u32{match.source_address}, u32{match.source_mask}, u32{match.destination_address},
                                   u32{match.destination_mask}, add(command), u32{match.line}));
}

int32_t kvelclassmap_configport(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  PortMatch match;
  PortKeywords::read(*command, match);

  if (match.op == PortOperator::equal) {
    match.upper = match.lower == 0 ? kHighestPort : match.lower;
  } else if (match.op == PortOperator::range && match.upper < match.lower) {
    return refuse(kPortsCrossed);
  }

  return finish_match(backend_call("cm_update_class_to_port", context(command), session(command), u8{kLayer34},
                                   u8{match.match_mode}, match.class_map, u32{match.protocol}, u32{kNoOperator},
                                   u32{match.lower}, u32{match.upper}, add(command), u32{match.line}));
}

int32_t kvelclassmap_configanything(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  Rule match;
  AnythingKeywords::read(*command, match);

  return finish_match(backend_call("cm_update_class_to_any", context(command), session(command), u8{kLayer34},
                                   u8{match.match_mode}, match.class_map, add(command), u32{match.line}),
                      {{KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, match.class_map.c_str()}});
}

int32_t kvelclassmap_configacl(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  AccessListMatch match;
  AccessListKeywords::read(*command, match);

  return finish_match(
      backend_call("cm_update_class_to_acl", context(command), session(command), u8{kLayer34}, u8{match.match_mode},
                   match.class_map, match.access_list, add(command), u32{match.line}),
      {{KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, match.class_map.c_str()}});
}

// Placeholder of the grammar: nothing is bound or sent, and the command counts as done.
int32_t kvelclassmap_configdefaultinsp(const CliCommand*) {
  std::puts("Error: match cmd not supported/integrated yet");
  return kDone;
}
