// Creating, entering and deleting parameter-maps.
#include "cli/common/backend.h"
#include "cli/common/big_endian.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "cli/common/status_printer.h"
#include "cli/parammap/param_map.h"
#include "kvel/host.h"
#include "kvel/keywords.h"

namespace kvel::cli::parammap {

namespace {

struct ParamMapRequest {
  ObjectName name;
  std::uint8_t type = kConnection;
};

using ParamMapKeywords = KeywordTable<
    On<Ids<kw::param_map_conn_name, kw::param_map_http_name, kw::param_map_ssl_name>, Text<&ParamMapRequest::name>>,
    On<Ids<kw::param_map_type_http>, Set<&ParamMapRequest::type, kHttp>>,
    On<Ids<kw::param_map_type_ssl>, Set<&ParamMapRequest::type, kSsl>>>;

}  // namespace

}  // namespace kvel::cli::parammap

using namespace kvel::cli;
using namespace kvel::cli::parammap;

int32_t kvelparammap_config(const CliCommand* command) {
  if (!bind_for_param_map()) return kObjectFailed;
  if (command->skip_execution != 0) return kDone;

  ParamMapRequest request;
  ParamMapKeywords::read(*command, request);

  if (vsh_platform_specific_rule_domain_check_valid(KVEL_DOMAIN_PARAMETER_MAP, request.name.c_str(),
                                                    command->negated) == 0) {
    return kObjectFailed;
  }
  if (request.name.starts_with('#')) return refuse_object(kNameBeginsWithHash);

  be32 ignored;
  return finish(backend_call("cm_param_map_add_or_lookup", context(command), session(command), add(command),
                             request.name, u8{request.type}, buffer(ignored)),
                kObjectFailed);
}
