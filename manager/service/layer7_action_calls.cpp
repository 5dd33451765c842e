// The actions of the classes and inline matches of load-balancing and inspection policy-maps, and the attachment of
// SSL-proxy services, which is the same call on both sides of the traffic.
#include "manager/service/action_records.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

// The codes of verdicts. A removal takes away the verdict of its code, with or without log; 0 takes away any.
constexpr std::uint32_t kNoVerdict = 0;
enum : std::uint8_t { kPermit = 1, kReset = 2, kPermitAndLog = 3, kResetAndLog = 4 };
enum : std::uint8_t { kDeny = 5, kMaskReply = 6 };

}  // namespace

Status Calls::update_attached_ssl_proxy(std::uint16_t context_number, rpc::SessionId /*session*/,
                                        std::string_view policy, std::string_view action, std::string_view ssl_proxy,
                                        std::uint8_t add) {
  const ClassPlace place{context_number, policy, action, {}};
  const PolicyMap* const present = context(context_number).find<PolicyMap>(policy);
  const bool is_client = present != nullptr && present->settings->type == PolicyMapType::http_load_balancing;
  // A policy-map of yet another type, or none, is refused there as one that has no server side.
  return is_client ? update_attachment<SslProxyClientAction>(place, PolicyMapType::http_load_balancing, ssl_proxy, add)
                   : update_attachment<SslProxyServerAction>(place, PolicyMapType::layer34, ssl_proxy, add);
}

Status Calls::update_load_balancing(std::uint16_t context, std::uint8_t add, std::string_view policy,
                                    std::string_view action, FixedRecord<732> config) {
  if (add > 1) return Status::bad_arguments;
  const auto edits = read_load_balancing(config, add == 1);
  if (!edits) return edits.error();
  return change_actions({context, policy, action, {}}, PolicyMapType::http_load_balancing, *edits);
}

Status Calls::update_http_verdict(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                  std::string_view policy, std::string_view action, std::uint8_t code) {
  if (add > 1) return Status::bad_arguments;
  if (code > kResetAndLog) return Status::invalid_code;
  const bool log = code == kPermitAndLog || code == kResetAndLog;
  const bool permit = code == kPermit || code == kPermitAndLog;
  ActionEdits edits;
  if (code == kNoVerdict) {
    edits = {clear_kind<PermitAction>(), clear_kind<ResetAction>()};
  } else if (add == 0) {
    edits = {permit ? clear_kind<PermitAction>() : clear_kind<ResetAction>()};
  } else {
    edits = {permit ? put_action(PermitAction(log)) : put_action(ResetAction(log))};
  }
  return change_actions({context, policy, action, {}}, PolicyMapType::http_inspection, edits);
}

Status Calls::update_ftp_verdict(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                                 std::string_view action, FixedRecord<4> verdict, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  const std::uint32_t code = word_at<0>(verdict);
  if (code != kNoVerdict && code != kDeny && code != kMaskReply) return Status::invalid_code;
  ActionEdits edits;
  if (code == kNoVerdict) {
    edits = {clear_kind<DenyAction>(), clear_kind<MaskReplyAction>()};
  } else if (add == 0) {
    edits = {code == kDeny ? clear_kind<DenyAction>() : clear_kind<MaskReplyAction>()};
  } else {
    edits = {code == kDeny ? put_action(DenyAction()) : put_action(MaskReplyAction())};
  }
  return change_actions({context, policy, action, {}}, PolicyMapType::ftp_inspection, edits);
}

}  // namespace kvel::manager
