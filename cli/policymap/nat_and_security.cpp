// Address translation and the security access list of a class in a layer-3/4 policy-map.
#include "cli/common/backend.h"
#include "cli/common/messages.h"
#include "cli/common/validators.h"
#include "cli/policymap/l3_option_flags.h"
#include "cli/policymap/policy_map.h"
#include "kvel/command.h"
#include "kvel/host.h"

namespace kvel::cli::policymap {

namespace {

// The name of class-default in the calls of actions.
struct SetClassDefault {
  static void apply(ClassAction& request, const CliToken&) { request.class_map.assign("#class_default_l3"); }
};

using NatClassKeywords =
    KeywordTable<Layer34ClassKeywords<ClassAction>, On<Ids<kw::policy_l3_class_default>, SetClassDefault>>;

struct StaticNat {
  std::uint32_t address = 0;
  std::uint32_t mask = 0;
  std::uint32_t port = 0;
  std::uint32_t vlan = 0;
};

// The keywords of wap-wsp-s and wap-wsp-wtp do not follow the order of their ports; that is deliberate.
using StaticNatKeywords = KeywordTable<
    On<Ids<kw::nat_address>, Number<&StaticNat::address>>, On<Ids<kw::nat_mask>, Number<&StaticNat::mask>>,  //
    On<Ids<kw::nat_vlan>, Number<&StaticNat::vlan>>,
    On<Ids<kw::nat_port, kw::nat_tcp_port, kw::nat_udp_port>, LowHalf<&StaticNat::port>>,
    On<Ids<kw::nat_matip_type_a>, Set<&StaticNat::port, 350U>>, On<Ids<kw::nat_nntp>, Set<&StaticNat::port, 119U>>,
    On<Ids<kw::nat_smtp>, Set<&StaticNat::port, 25U>>, On<Ids<kw::nat_telnet>, Set<&StaticNat::port, 23U>>,
    On<Ids<kw::nat_http>, Set<&StaticNat::port, 80U>>, On<Ids<kw::nat_https>, Set<&StaticNat::port, 443U>>,
    On<Ids<kw::nat_rtsp>, Set<&StaticNat::port, 554U>>, On<Ids<kw::nat_pop2>, Set<&StaticNat::port, 109U>>,
    On<Ids<kw::nat_pop3>, Set<&StaticNat::port, 110U>>, On<Ids<kw::nat_ftp>, Set<&StaticNat::port, 21U>>,
    On<Ids<kw::nat_domain>, Set<&StaticNat::port, 53U>>, On<Ids<kw::nat_wap_wsp>, Set<&StaticNat::port, 9200U>>,
    On<Ids<kw::nat_wap_wsp_s>, Set<&StaticNat::port, 9202U>>,
    On<Ids<kw::nat_wap_wsp_wtp>, Set<&StaticNat::port, 9201U>>,
    On<Ids<kw::nat_wap_wsp_wtp_s>, Set<&StaticNat::port, 9203U>>>;

struct DynamicNat {
  std::uint32_t pool = 0;
  std::uint32_t vlan = 0;
};

using DynamicNatKeywords = KeywordTable<On<Ids<kw::nat_pool>, Number<&DynamicNat::pool>>,
                                        On<Ids<kw::nat_pool_vlan>, Number<&DynamicNat::vlan>>>;

// The calls of address translation carry the add flag as a word.
u32 add_word(const CliCommand* command) { return {add(command).value}; }

std::int32_t configure_static_nat(const CliCommand* command, const ClassAction& target) {
  StaticNat nat;
  StaticNatKeywords::read(*command, nat);

  // Neither an address nor a mask may be left out, in the "no" form neither.
  if (!is_valid_host_address(nat.address)) return refuse(kInvalidAddress);
  if (!is_contiguous_mask(nat.mask)) return refuse(kInvalidMask);
  return finish(backend_call("cm_update_static_nat", context(command), session(command), target.policy,
                             target.class_map, u32{nat.address}, u32{nat.mask}, u32{nat.port}, u32{nat.vlan},
                             add_word(command)));
}

std::int32_t configure_dynamic_nat(const CliCommand* command, const ClassAction& target) {
  DynamicNat nat;
  DynamicNatKeywords::read(*command, nat);

  return finish(backend_call("cm_update_dynamic_nat", context(command), session(command), target.policy,
                             target.class_map, u32{nat.pool}, u32{nat.vlan}, add_word(command)));
}

struct OptionsRequest : ClassAction {
  L3OptionFlags flags;
};

struct SetSecurityAccessList {
  static void apply(OptionsRequest& request, const CliToken&) { request.flags.options = kSecurityAccessList; }
};

using OptionsKeywords =
    KeywordTable<Layer34ClassKeywords<OptionsRequest>, On<Ids<kw::security_acl>, SetSecurityAccessList>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

// Does not bind the client. A session that may not modify matched rules is refused whatever the command.
int32_t kvelpolicymap_confignat(const CliCommand* command) {
  ClassAction target;
  NatClassKeywords::read(*command, target);

  if (vsh_platform_matched_rule_modify_check(command->negated) != 0) {
    return refuse("Error: Cannot create NAT action with modify permissions ");
  }
  switch (command->command_id) {
    case KVEL_COMMAND_STATIC_NAT:
      return configure_static_nat(command, target);
    case KVEL_COMMAND_DYNAMIC_NAT:
      return configure_dynamic_nat(command, target);
    default:
      return kDone;
  }
}

// The call carries no session.
int32_t kvelpolicymap_configsacl(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  OptionsRequest request;
  OptionsKeywords::read(*command, request);

  return finish(backend_call("cm_update_l3_opt_config", context(command), add(command), request.policy,
                             request.class_map, buffer(request.flags)),
                {{KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.policy.c_str()},
                 {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.class_map.c_str()}});
}
