// Completion of class-map names: one paging hook, and a thin one for each kind of class-map.
#include <cstdio>

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

// The sizes told are the appliance's own, whatever the width of a pointer here.
void print_failed_allocation(std::uint32_t bytes) {
  std::printf("Error: Memory allocation failed for %u bytes\n", static_cast<unsigned>(bytes));
}

constexpr CompletionModule kModule{
    .fetch = fetch,
    .list_failed = [] { print_failed_allocation(12); },
    .node_failed = nullptr,
    .array_failed = [](std::uint32_t names_of_last_page) { print_failed_allocation(4 * names_of_last_page); },
    .entry_failed = [] { print_failed_allocation(8); },
};

CompletionList* classmap_internal_completionhook(std::uint32_t kind, const CliCommand* command) {
  return complete_names(kModule, context(command), kind);
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
