// A match rule written into a load-balancing policy-map.
#include "cli/common/backend.h"
#include "cli/common/http_tables.h"
#include "cli/common/validators.h"
#include "cli/policymap/inline_lb_match_record.h"
#include "cli/policymap/policy_map.h"

namespace kvel::cli::policymap {

namespace {

struct MatchRequest {
  ObjectName policy;
  ObjectName match;
  ObjectName insert_before;
  InlineLbMatchRecord record;
};

using Record = InlineLbMatchRecord;
template <class Field>
inline constexpr auto kIn = kFieldOf<&MatchRequest::record, Field>;

template <std::uint32_t Kind>
using SetKind = Set<kIn<Record::Kind>, Kind>;

// A mask of 0 is none here, and refused.
struct CheckMask {
  static Refusal apply(MatchRequest& request, const CliToken&) {
    return is_contiguous_mask(request.record.field<Record::Mask>()) ? nullptr : kInvalidMask;
  }
};

// A header leaves the kind as it is. Headers and cookies share one value keyword; the other one makes a kind of its
// own.
using MatchKeywords = KeywordTable<
    On<Ids<kw::policy_map_http_lb_name>, Text<&MatchRequest::policy>>,
    On<Ids<kw::inline_match_name>, Text<&MatchRequest::match>>,
    On<Ids<kw::inline_lb_insert_before>, Text<&MatchRequest::insert_before>>,
    On<Ids<kw::http_lb_cookie_name>, Text<kIn<Record::Name>>, CheckHttpToken<kIn<Record::Name>, kInvalidCookieName>,
       SetKind<kCookieMatch>>,
    On<Ids<kw::http_lb_cookie_option>, Set<kIn<Record::CookieOption>, 1U>, SetKind<kCookieMatch>>,
    LoadBalancingHeaderName<kIn<Record::Name>>,  //
    On<Ids<kw::http_lb_cookie_value>, Text<kIn<Record::Value>>>,
    On<Ids<kw::http_lb_header_value>, Text<kIn<Record::Value>>, SetKind<kValueMatch>>,
    On<Ids<kw::http_lb_url>, Text<kIn<Record::Expression>>, SetKind<kUrlMatch>>,
    On<Ids<kw::http_lb_url_qualifier>, Text<kIn<Record::Qualifier>>>,
    On<Ids<kw::http_lb_source_address>, Number<kIn<Record::Address>>, SetKind<kSourceAddressMatch>>,
    On<Ids<kw::http_lb_source_mask>, Number<kIn<Record::Mask>>, CheckMask, Set<kIn<Record::MaskGiven>, 1U>>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_config_inline_lb(const CliCommand* command) {
  if (command->skip_execution != 0) return kDone;
  if (!bind_for_policy()) return kObjectFailed;
  MatchRequest request;
  if (Refusal refusal = MatchKeywords::read(*command, request)) return refuse_object(refusal);

  if (!inline_name_fits(request.policy, request.match)) return kObjectFailed;
  if (is_inserted_before_itself(*command, request.match, request.insert_before)) {
    return refuse_object(kMatchBeforeItself);
  }
  return finish_object(
      backend_call("cm_update_l7_inline_lb_match", context(command), session(command), add(command), request.policy,
                   request.match, request.insert_before, buffer(request.record)),
      {{KVEL_STATUS_insert_before_not_found, kInsertBeforeNotConfigured, request.insert_before.c_str()},
       {KVEL_STATUS_class_not_found, kNotInPolicy, request.insert_before.c_str(), request.policy.c_str()},
       {KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.policy.c_str()}});
}
