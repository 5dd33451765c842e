// Completion of parameter-map names: one paging hook, and a thin one for each kind of map.
#include <cstdio>

#include "cli/common/backend.h"
#include "cli/common/completion.h"
#include "cli/parammap/param_map.h"

namespace kvel::cli::parammap {

namespace {

constexpr std::uint32_t kAllParamMaps = 3;

std::int32_t fetch(PageRequest& page, TnrpcResponse& response) {
  return backend_call("cm_param_map_list_bytype", page.context, u16{static_cast<std::uint16_t>(page.kind)},
                      buffer(page.cursor), buffer(page.more), response);
}

void print_failure(const FailedAllocation& failed) {
  std::printf("Error: Memory allocation failed, %s:%d\n", "kvelparammap_hook", failed.line);
}

constexpr CompletionModule kModule{.fetch = fetch,
                                   .list_failed = print_failure,
                                   .node_failed = print_failure,
                                   .array_failed = print_failure,
                                   .entry_failed = print_failure};

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

CompletionList* kvelparammap_hook(uint32_t kind, const CliCommand* command) {
  return complete_names(kModule, context(command), kind);
}

CompletionList* kvelparammap_conn_completionhook(uint32_t, const CliCommand* command) {
  return kvelparammap_hook(kConnection, command);
}
CompletionList* kvelparammap_http_completionhook(uint32_t, const CliCommand* command) {
  return kvelparammap_hook(kHttp, command);
}
CompletionList* kvelparammap_ssl_completionhook(uint32_t, const CliCommand* command) {
  return kvelparammap_hook(kSsl, command);
}
CompletionList* kvelparammap_completionhook(uint32_t, const CliCommand* command) {
  return kvelparammap_hook(kAllParamMaps, command);
}
