// Completion of the names of SSL-proxy services.
#include <cstdio>

#include "cli/common/backend.h"
#include "cli/common/completion.h"
#include "kvel/plugin.h"

namespace kvel::cli::sslproxy {

namespace {

std::int32_t fetch(PageRequest& page, TnrpcResponse& response) {
  return backend_call("cm_get_sslproxy_list", page.context, buffer(page.cursor), buffer(page.more), response);
}

constexpr CompletionModule kModule{
    .fetch = fetch,
    .list_failed =
        [](const FailedAllocation&) { std::puts("Error: Memory allocation failed in command completion fn"); },
    .node_failed = nullptr,
    .array_failed = [](const FailedAllocation&) { std::printf("\n malloc failed"); },
    .entry_failed = print_failed_entry,
    .null_without_names = true,
};

}  // namespace

}  // namespace kvel::cli::sslproxy

using namespace kvel::cli;
using namespace kvel::cli::sslproxy;

CompletionList* sslproxy_completionhook(uint32_t, const CliCommand* command) {
  return complete_names(kModule, context(command), 0);
}
