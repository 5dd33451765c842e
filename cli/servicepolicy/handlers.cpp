// Showing a service policy page by page, and clearing its counters.
#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/status_printer.h"
#include "kvel/keywords.h"
#include "kvel/output.h"
#include "kvel/plugin.h"

namespace kvel::cli::servicepolicy {

namespace {

struct ShowRequest {
  ObjectName policy;
  std::uint8_t detail = 0;
};

using ShowKeywords = KeywordTable<On<Ids<kw::service_policy_name>, Text<&ShowRequest::policy>>,
                                  On<Ids<kw::service_policy_detail>, Set<&ShowRequest::detail, std::uint8_t{1}>>>;

struct ClearRequest {
  ObjectName policy;
};

using ClearKeywords = KeywordTable<On<Ids<kw::service_policy_clear_name>, Text<&ClearRequest::policy>>>;

// Where the backend goes on with the next page: its own, passed back as it came.
struct Continuation {
  unsigned char bytes[20] = {};
};

constexpr char kDocument[] = "xml_show_service_policy";

}  // namespace

}  // namespace kvel::cli::servicepolicy

using namespace kvel::cli;
using namespace kvel::cli::servicepolicy;

int32_t kvelpolicymap_show_servicepolicy(const CliCommand* command) {
  if (!bind_or_report(policy_display_error)) return kFailed;
  ShowRequest request;
  ShowKeywords::read(*command, request);

  xprint_header(kDocument);
  Continuation continuation;
  be32 more;
  do {
    TnrpcResponse page;
    tnrpc_init_resp(&page);
    const std::int32_t status = backend_call("cm_show_service_policy", context(command), request.policy,
                                             u32{request.detail}, buffer(continuation), buffer(more), page);
    if (!report(status, policy_display_error)) {
      tnrpc_free(&page);
      xprint_footer(kDocument);
      return kFailed;
    }
    if (page.length > 0 && page.data != nullptr) {
      format_and_display_policystats(request.detail, request.policy.c_str(), page.length, page.data, &continuation);
    }
    tnrpc_free(&page);
  } while (more != 0);
  xprint("\n");
  xprint_footer(kDocument);
  return kDone;
}

// Does not bind the client.
int32_t kvelpolicymap_clear_servicepolicy(const CliCommand* command) {
  ClearRequest request;
  ClearKeywords::read(*command, request);

  return report(backend_call("cm_clear_service_policy", context(command), request.policy), policy_display_error)
             ? kDone
             : kFailed;
}
