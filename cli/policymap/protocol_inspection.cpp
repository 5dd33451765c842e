// Inspection of DNS, ICMP, FTP and RTSP in a layer-3/4 policy-map; actions and inline matches of an FTP-inspection one.
#include "cli/common/backend.h"
#include "cli/common/messages.h"
#include "cli/policymap/dns_inspect_record.h"
#include "cli/policymap/ftp_inspect_action_record.h"
#include "cli/policymap/ftp_inspect_record.h"
#include "cli/policymap/icmp_inspect_record.h"
#include "cli/policymap/policy_map.h"

namespace kvel::cli::policymap {

namespace {

struct DnsRequest : ClassAction {
  DnsInspectRecord record;
};
struct SetMaxLength {
  static void apply(DnsRequest& request, const CliToken& token) {
    request.record = {std::uint32_t{1}, token_number(token), kMaxLengthGiven};
  }
};
using DnsKeywords = KeywordTable<Layer34ClassKeywords<DnsRequest>, On<Ids<kw::inspect_dns_max_length>, SetMaxLength>>;

struct IcmpRequest : ClassAction {
  IcmpInspectRecord record;
};
template <std::uint32_t Mode>
struct SetErrorMode {
  static void apply(IcmpRequest& request, const CliToken&) { request.record.error_mode = Mode; }
};
using IcmpKeywords = KeywordTable<Layer34ClassKeywords<IcmpRequest>, On<Ids<kw::inspect_icmp_error_1>, SetErrorMode<1>>,
                                  On<Ids<kw::inspect_icmp_error_2>, SetErrorMode<2>>>;

struct FtpRequest : ClassAction {
  FtpInspectRecord record;
};
struct SetStrict {
  static void apply(FtpRequest& request, const CliToken&) { request.record.strict = std::uint32_t{1}; }
};
struct InspectionPolicy {
  static void apply(FtpRequest& request, const CliToken& token) { request.record.policy.assign(token_text(token)); }
};
using FtpKeywords = KeywordTable<Layer34ClassKeywords<FtpRequest>, On<Ids<kw::inspect_ftp_strict>, SetStrict>,
                                 On<Ids<kw::inspect_ftp_policy>, SetStrict, InspectionPolicy>>;

using RtspKeywords = KeywordTable<Layer34ClassKeywords<ClassAction>>;

// What an inspection in a layer-3/4 policy-map ends with.
std::int32_t finish_inspection(std::int32_t status, const ClassAction& request) {
  return finish(status, {{KVEL_STATUS_policy_map_not_found, kPolicyNotConfigured, request.policy.c_str()},
                         {KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, request.class_map.c_str()}});
}

template <class Request, class Keywords>
std::int32_t inspect(const CliCommand* command, const char* call) {
  if (!bind_for_policy()) return kFailed;
  Request request;
  Keywords::read(*command, request);
  return finish_inspection(backend_call(call, context(command), session(command), add(command), request.policy,
                                        request.class_map, buffer(request.record)),
                           request);
}

struct FtpActionRequest {
  ObjectName policy;
  ObjectName match;  // the class or match that the action belongs to, when it has no name of its own
  ObjectName action;
  FtpInspectActionRecord record;
};
template <std::uint32_t Action>
struct SetFtpAction {
  static void apply(FtpActionRequest& request, const CliToken&) { request.record.action = Action; }
};
using FtpActionKeywords =
    KeywordTable<On<Ids<kw::policy_map_ftp_insp_name>, Text<&FtpActionRequest::policy>>,
                 On<Ids<kw::inline_ftp_match_name>, Text<&FtpActionRequest::match>>,
                 On<Ids<kw::policy_ftp_insp_class>, Text<&FtpActionRequest::action>>,
                 On<Ids<kw::ftp_insp_deny>, SetFtpAction<5>>, On<Ids<kw::ftp_insp_mask_reply>, SetFtpAction<6>>>;

struct FtpMatchRequest {
  ObjectName policy;
  ObjectName match;
  std::uint8_t code = 0;
};
// The codes follow the keywords, but for the first code, whose keyword comes late in the row.
constexpr std::uint32_t kFtpCommandBase = kw::inline_ftp_cdup - 2;
using FtpMatchKeywords =
    KeywordTable<On<Ids<kw::policy_map_ftp_insp_name>, Text<&FtpMatchRequest::policy>>,
                 On<Ids<kw::inline_ftp_match_name>, Text<&FtpMatchRequest::match>>,
                 On<Ids<kw::inline_ftp_appe>, Set<&FtpMatchRequest::code, std::uint8_t{1}>>,
                 On<IdRange<kw::inline_ftp_cdup, kw::inline_ftp_stou>, Code<&FtpMatchRequest::code, kFtpCommandBase>>,
                 On<Ids<kw::inline_ftp_syst>, Set<&FtpMatchRequest::code, std::uint8_t{13}>>>;

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli;
using namespace kvel::cli::policymap;

int32_t kvelpolicymap_configinspect_dns(const CliCommand* command) {
  return inspect<DnsRequest, DnsKeywords>(command, "cm_update_l3_dns_insp_config");
}

int32_t kvelpolicymap_configinspect_icmp(const CliCommand* command) {
  return inspect<IcmpRequest, IcmpKeywords>(command, "cm_update_l3_icmp_insp_config");
}

int32_t kvelpolicymap_configinspect_ftp(const CliCommand* command) {
  return inspect<FtpRequest, FtpKeywords>(command, "cm_update_l3_ftp_insp_config");
}

int32_t kvelpolicymap_configinspect_rtsp(const CliCommand* command) {
  if (!bind_for_policy()) return kFailed;
  ClassAction request;
  RtspKeywords::read(*command, request);
  return finish_inspection(backend_call("cm_update_l3_rtsp_insp_config", context(command), session(command),
                                        add(command), request.policy, request.class_map),
                           request);
}

// The two handlers of FTP-inspection policy-maps word a failed bind by the class-map printer, a failed call by their
// own.
int32_t kvelpolicymap_configclass_insftpact(const CliCommand* command) {
  if (!bind_or_report(class_display_error)) return kFailed;
  FtpActionRequest request;
  FtpActionKeywords::read(*command, request);

  default_action_name(request.action, request.policy, request.match);
  return finish(backend_call("cm_update_l7_ftp_insp_action", context(command), session(command), request.policy,
                             request.action, buffer(request.record), add(command)));
}

int32_t kvelpolicymap_configmatch_insftpreq(const CliCommand* command) {
  if (command->skip_execution != 0) return kDone;
  if (!bind_or_report(class_display_error)) return kObjectFailed;
  FtpMatchRequest request;
  FtpMatchKeywords::read(*command, request);

  if (!inline_name_fits(request.policy, request.match)) return kObjectFailed;
  return finish_object(backend_call("cm_update_l7_inline_ftp_insp_match", context(command), session(command),
                                    request.policy, request.match, u8{request.code}, add(command)));
}
