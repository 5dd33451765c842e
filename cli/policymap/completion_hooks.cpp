// Completion of policy-map names: one paging hook, and a thin one for each kind of policy-map.
#include "cli/common/backend.h"
#include "cli/common/completion.h"
#include "cli/policymap/policy_map.h"
#include "kvel/plugin.h"

namespace kvel::cli::policymap {

namespace {

constexpr std::uint32_t kForService = 7;  // those that can be applied to traffic
constexpr std::uint32_t kAllPolicyMaps = 8;

std::int32_t fetch(PageRequest& page, TnrpcResponse& response) {
  return backend_call("cm_policymap_get_list", page.context, u32{page.kind}, buffer(page.cursor), buffer(page.more),
                      response);
}

CompletionList* policymap_internal_completionhook(std::uint32_t kind, const CliCommand* command) {
  return complete_names(completion_by_kind(fetch), context(command), kind);
}

}  // namespace

}  // namespace kvel::cli::policymap

using namespace kvel::cli::policymap;

CompletionList* policymap_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kAllPolicyMaps, command);
}
CompletionList* policymap_l3_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kLayer34, command);
}
CompletionList* policymap_lb_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kHttpLoadBalancing, command);
}
CompletionList* policymap_insphttp_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kHttpInspection, command);
}
CompletionList* policymap_inspftp_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kFtpInspection, command);
}
CompletionList* policymap_mgmt_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kManagement, command);
}
CompletionList* policymap_svc_completionhook(uint32_t, const CliCommand* command) {
  return policymap_internal_completionhook(kForService, command);
}
