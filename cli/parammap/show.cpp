// Showing one parameter-map, or all of them page by page.
#include <cstdio>

#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/completion.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/parammap/param_map.h"
#include "kvel/keywords.h"

namespace kvel::cli::parammap {

namespace {

struct ShowRequest {
  ObjectName name;  // empty: all of them
};

using ShowKeywords = KeywordTable<On<Ids<kw::param_map_show_name>, Text<&ShowRequest::name>>>;

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

int32_t kvelparammap_show_parammap(const CliCommand* command) {
  if (!bind_for_param_map()) return kFailed;
  ShowRequest request;
  ShowKeywords::read(*command, request);

  NameCursor cursor;
  be32 total;
  be32 more;
  bool first_page = true;
  do {
    TnrpcResponse page;
    tnrpc_init_resp(&page);
    const std::int32_t status = backend_call("cm_show_parameter_map", context(command), request.name, buffer(cursor),
                                             buffer(total), buffer(more), page);
    if (!report(status, parammap_display_error)) {
      tnrpc_free(&page);
      return kFailed;
    }
    if (page.length >= 1 && page.data != nullptr) {
      const auto count = static_cast<std::int32_t>(std::uint32_t{total});
      if (first_page && request.name.empty() && count > 0) {
        std::printf("\n Number of parameter-maps : %d\n", static_cast<int>(count));
      }
      format_and_display_param_map(page.data, page.length);
    }
    tnrpc_free(&page);
    first_page = false;
  } while (more != 0);
  return kDone;
}
