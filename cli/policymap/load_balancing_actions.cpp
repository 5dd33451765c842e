// Load balancing: the settings of a class in a layer-3/4 policy-map, and the actions of a load-balancing policy-map.
#include "cli/common/backend.h"
#include "cli/common/http_tables.h"
#include "cli/common/messages.h"
#include "cli/policymap/lb_vip_config_record.h"
#include "cli/policymap/policy_map.h"
#include "cli/policymap/slb_action_record.h"

namespace kvel::cli::policymap {

namespace {

struct VipRequest : ClassAction {
  LbVipConfigRecord record;
};

// One field of the record and its presence bit.
template <auto Field, std::uint32_t Value, std::uint32_t Given>
struct SetVipField {
  static void apply(VipRequest& request, const CliToken&) {
    request.record.*Field = Value;
    request.record.presence = request.record.presence | Given;
  }
};
template <auto Field, std::uint32_t Given>
struct VipText {
  static void apply(VipRequest& request, const CliToken& token) {
    (request.record.*Field).assign(token_text(token));
    request.record.presence = request.record.presence | Given;
  }
};

// A metric withdraws the presence of an advertisement that was typed before it; its value stays in the record.
struct VipMetric {
  static void apply(VipRequest& request, const CliToken& token) {
    request.record.metric = token_number(token);
    request.record.presence = (request.record.presence | kMetricGiven) & ~std::uint32_t{kAdvertiseGiven};
  }
};

using VipKeywords = KeywordTable<
    Layer34ClassKeywords<VipRequest>,
    On<Ids<kw::vip_in_service>, SetVipField<&LbVipConfigRecord::in_service, 1, kInServiceGiven>>,
    On<Ids<kw::vip_icmp_reply>, SetVipField<&LbVipConfigRecord::icmp_reply, 1, kIcmpReplyGiven>>,
    On<Ids<kw::vip_icmp_reply_when_active>, SetVipField<&LbVipConfigRecord::icmp_reply, 2, kIcmpReplyGiven>>,
    On<Ids<kw::vip_advertise>, SetVipField<&LbVipConfigRecord::advertise, 1, kAdvertiseGiven>>,
    On<Ids<kw::vip_advertise_when_active>, SetVipField<&LbVipConfigRecord::advertise, 2, kAdvertiseGiven>>,
    On<Ids<kw::vip_metric>, VipMetric>, On<Ids<kw::vip_object>, VipText<&LbVipConfigRecord::object, kObjectGiven>>,
    On<Ids<kw::load_balance_policy>, VipText<&LbVipConfigRecord::policy, kPolicyGiven>>,
    On<Ids<kw::vip_option>, SetVipField<&LbVipConfigRecord::option, 1, kOptionGiven>>>;

struct SlbRequest {
  ObjectName policy;
  ObjectName match;  // the inline match that the action belongs to, when it has no name of its own
  ObjectName action;
  SlbActionRecord record;
};

using Slb = SlbActionRecord;
template <class Field>
inline constexpr auto kSlb = kFieldOf<&SlbRequest::record, Field>;

template <class Presence, std::uint32_t Given>
struct Mark {
  static void apply(SlbRequest& request, const CliToken&) {
    request.record.field<Presence>() = request.record.field<Presence>() | Given;
  }
};
template <std::uint32_t Given>
using MarkA = Mark<Slb::PresenceA, Given>;
template <std::uint32_t Given>
using MarkB = Mark<Slb::PresenceB, Given>;

using SlbKeywords =
    KeywordTable<On<Ids<kw::policy_map_http_lb_name>, Text<&SlbRequest::policy>>,
                 On<Ids<kw::inline_match_name>, Text<&SlbRequest::match>>,
                 On<Ids<kw::policy_http_lb_class>, Text<&SlbRequest::action>>,
                 On<Ids<kw::serverfarm>, Text<kSlb<Slb::Target>>, MarkA<kTargetGiven>, MarkB<kServerfarmGiven>>,
                 On<Ids<kw::backup_serverfarm>, Text<kSlb<Slb::Backup>>, MarkA<kBackupGiven>>,
                 On<Ids<kw::backup_option>, Set<kSlb<Slb::BackupOption>, 1U>, MarkA<kBackupOptionGiven>>,
                 On<Ids<kw::lb_drop>, Set<kSlb<Slb::TargetWord>, 1U>, MarkB<kDropGiven>>,
                 On<Ids<kw::lb_forward>, Set<kSlb<Slb::TargetWord>, 1U>, MarkB<kForwardGiven>>,
                 On<Ids<kw::lb_flag_585>, MarkB<kFlag585Given>>, On<Ids<kw::lb_flag_587>, MarkB<kFlag587Given>>,
                 On<Ids<kw::insert_header_name>, Text<kSlb<Slb::HeaderName>>, MarkB<kHeaderGiven>,
                    CheckHttpToken<kSlb<Slb::HeaderName>, kInvalidHeaderName>>,
                 On<Ids<kw::insert_header_value>, Text<kSlb<Slb::HeaderValue>>>,
                 On<Ids<kw::serverfarm_option>, Set<kSlb<Slb::TargetOption>, 1U>, MarkA<kTargetOptionGiven>>,
                 On<Ids<kw::lb_group>, Text<kSlb<Slb::Target>>, MarkB<kGroupGiven>>,
                 On<Ids<kw::lb_number_676>, LowByte<kSlb<Slb::Number>>>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_configloadbalance(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  VipRequest request;
  VipKeywords::read(*command, request);

  // The policy-map of the message is the load-balancing one that the class hands its traffic to.
  return finish(backend_call("cm_update_l3_lb_config", context(command), session(command), add(command), request.policy,
                             request.class_map, buffer(request.record)),
                {{KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.record.policy.c_str()},
                 {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.class_map.c_str()}});
}

// The call carries no session.
int32_t kvelpolicymap_configslbactions(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  SlbRequest request;
  if (Refusal refusal = SlbKeywords::read(*command, request)) return refuse(refusal);

  default_action_name(request.action, request.policy, request.match);
  return finish(backend_call("cm_lb_add_or_lookup_action", context(command), add(command), request.policy,
                             request.action, buffer(request.record)));
}
