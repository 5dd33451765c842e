// HTTP inspection: of a class in a layer-3/4 policy-map, and the actions of an HTTP-inspection policy-map.
#include "cli/common/backend.h"
#include "cli/common/messages.h"
#include "cli/policymap/l3_http_inspect_record.h"
#include "cli/policymap/policy_map.h"

namespace kvel::cli::policymap {

namespace {

struct InspectRequest : ClassAction {
  L3HttpInspectRecord record;
};

template <auto Field>
struct SetOption {
  static void apply(InspectRequest& request, const CliToken&) { request.record.*Field = std::uint32_t{1}; }
};
struct InspectionPolicy {
  static void apply(InspectRequest& request, const CliToken& token) { request.record.policy.assign(token_text(token)); }
};

using InspectKeywords =
    KeywordTable<Layer34ClassKeywords<InspectRequest>,
                 On<Ids<kw::inspect_http_option>, SetOption<&L3HttpInspectRecord::option>>,
                 On<Ids<kw::inspect_http_policy>, InspectionPolicy>,
                 On<Ids<kw::inspect_http_url_logging>, SetOption<&L3HttpInspectRecord::url_logging>>>;

constexpr std::uint8_t kPermit = 1;
constexpr std::uint8_t kReset = 2;
constexpr std::uint8_t kPermitAndLog = 3;
constexpr std::uint8_t kResetAndLog = 4;

struct ActionRequest {
  ObjectName policy;
  ObjectName match;  // the class or match that the action belongs to, when it has no name of its own
  ObjectName action;
  std::uint8_t code = 0;
};

// Adds the log to an action that precedes it; without one it does nothing.
struct AddLog {
  static void apply(ActionRequest& request, const CliToken&) {
    if (request.code == kPermit) {
      request.code = kPermitAndLog;
    } else if (request.code == kReset) {
      request.code = kResetAndLog;
    }
  }
};

using ActionKeywords =
    KeywordTable<On<Ids<kw::policy_http_insp_class>, Text<&ActionRequest::action>>,
                 On<Ids<kw::policy_map_http_insp_name>, Text<&ActionRequest::policy>>,
                 On<Ids<kw::inline_http_match_name>, Text<&ActionRequest::match>>,
                 On<Ids<kw::inspect_permit>, Set<&ActionRequest::code, kPermit>>,
                 On<Ids<kw::inspect_reset>, Set<&ActionRequest::code, kReset>>, On<Ids<kw::inspect_log>, AddLog>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_configinspect_l3http(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  InspectRequest request;
  InspectKeywords::read(*command, request);

  // The policy-map of the message is the one that inspects.
  return finish(backend_call("cm_update_l3_http_insp_config", context(command), session(command), add(command),
                             request.policy, request.class_map, buffer(request.record)),
                {{KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.record.policy.c_str()},
                 {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.class_map.c_str()}});
}

int32_t kvelpolicymap_cfginsp_l7http_action(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  ActionRequest request;
  ActionKeywords::read(*command, request);

  default_action_name(request.action, request.policy, request.match);
  // The class of the message is the action as it was sent, joined or not.
  return finish(backend_call("cm_update_l7_http_insp_action", context(command), session(command), add(command),
                             request.policy, request.action, u8{request.code}),
                {{KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.policy.c_str()},
                 {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.action.c_str()}});
}
