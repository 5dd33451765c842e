// Actions that the grammar offers and the system does not carry out. The command is not looked at, nothing is bound or
// sent, and it counts as done.
#include <cstdio>

#include "cli/common/status_printer.h"
#include "kvel/plugin.h"

using kvel::cli::kDone;

namespace {

std::int32_t not_supported() {
  std::puts("Error: This feature not supported/integrated yet");
  return kDone;
}

}  // namespace

int32_t kvelpolicymap_configqos(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configinspect(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configrepconns(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configaaa(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configcookie(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_confighdr(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configurl(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configssl(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_confighdr_insp(const CliCommand*) { return not_supported(); }
int32_t kvelpolicymap_configurl_insp(const CliCommand*) { return not_supported(); }

// The one with words of its own.
int32_t kvelpolicymap_configfilter(const CliCommand*) {
  std::puts("Error: This feature not supported for phase 1");
  return kDone;
}
