// Completion of class-map names: one paging hook, and a thin one for each kind of class-map.
#include "cli/classmap/class_map.h"
#include "cli/common/backend.h"
#include "cli/common/completion.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

constexpr std::uint32_t kAllClassMaps = 6;

std::int32_t fetch(PageRequest& page, TnrpcResponse& response) {
  return backend_call("cm_classmap_get_list", page.context, u32{page.kind}, buffer(page.cursor), buffer(page.more),
                      response);
}

CompletionList* classmap_internal_completionhook(std::uint32_t kind, const CliCommand* command) {
  return complete_names(completion_by_kind(fetch), context(command), kind);
}

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli::classmap;

CompletionList* classmap_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kAllClassMaps, command);
}
CompletionList* classmap_l3_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kLayer34, command);
}
CompletionList* classmap_mgmt_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kManagement, command);
}
CompletionList* classmap_lb_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kHttpLoadBalancing, command);
}
CompletionList* classmap_insphttp_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kHttpInspection, command);
}
CompletionList* classmap_inspftp_completionhook(uint32_t, const CliCommand* command) {
  return classmap_internal_completionhook(kFtpInspection, command);
}
