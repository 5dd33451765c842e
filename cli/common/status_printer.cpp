// The lines for backend statuses, and the four exported printers: one text for all modules, with each module's own
// choice of which success values it keeps silent.
#include "cli/common/status_printer.h"

#include <cstdio>

#include "cli/common/backend.h"
#include "kvel/plugin.h"
#include "kvel/rpc.h"
#include "kvel/status.h"

namespace kvel::cli {

namespace {

struct SilentStatuses {
  bool ok;
  bool more_data;
};

void print_status(std::int32_t status, SilentStatuses silent) {
  switch (status) {
    case KVEL_STATUS_ok:
      if (silent.ok) return;
      break;
    case KVEL_STATUS_more_data:
      if (silent.more_data) return;
      break;
    case KVEL_STATUS_unknown_call:
      std::puts("Error: Called API is invalid or non-existant");
      return;
    case KVEL_STATUS_timed_out:
      std::puts("Error: Called API timed out");
      return;
    case KVEL_STATUS_transport:
      std::puts("Error: Transport error");
      return;
    case KVEL_STATUS_bad_arguments:
      std::puts("Error: Incorrect argument(s)/type mismatch");
      return;
    case KVEL_STATUS_internal:
      std::puts("Error: Called API encountered error");
      return;
    default:
      break;
  }
  std::printf("Error: %s\n", syserr2str(status));
}

}  // namespace

bool report(std::int32_t status, StatusPrinter print, std::initializer_list<KnownStatus> known) {
  if (succeeded(status)) return true;
  for (const KnownStatus& candidate : known) {
    if (candidate.status == status) {
      std::printf(candidate.format, candidate.name, candidate.second);
      return false;
    }
  }
  print(status);
  return false;
}

std::int32_t refuse(const char* message) {
  std::puts(message);
  return kFailed;
}

std::int32_t refuse_object(const char* message) {
  std::puts(message);
  return kObjectFailed;
}

bool bind_or_report(StatusPrinter print) {
  const std::int32_t status = bind_client();
  if (status != 0) print(status);
  return status == 0;
}

}  // namespace kvel::cli

void class_display_error(int32_t status) { kvel::cli::print_status(status, {.ok = true, .more_data = true}); }
void policy_display_error(int32_t status) { kvel::cli::print_status(status, {.ok = true, .more_data = true}); }
void parammap_display_error(int32_t status) { kvel::cli::print_status(status, {.ok = false, .more_data = true}); }
void ssl_proxy_display_error(int32_t status) { kvel::cli::print_status(status, {.ok = false, .more_data = false}); }
