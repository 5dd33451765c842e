// Removing match rules by their line number.
#include "cli/classmap/class_map.h"
#include "cli/classmap/rule.h"
#include "cli/common/backend.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

using Layer34Keywords = KeywordTable<Layer34RuleKeywords<Rule>>;
using ManagementKeywords = KeywordTable<ManagementRuleKeywords<Rule>>;

using Layer7Keywords =
    KeywordTable<On<Ids<kw::class_map_http_lb_name, kw::class_map_http_insp_name, kw::class_map_ftp_insp_name>,
                    Text<&Rule::class_map>>,
                 On<Ids<kw::http_lb_line, kw::http_insp_line, kw::ftp_insp_line>, Number<&Rule::line>>>;

// The line commands exist in the "no" form only; the positive form fails silently, before the client is bound.
template <class Keywords>
std::int32_t remove_line(const CliCommand* command, std::uint8_t type) {
  if (command->negated == 0) return kFailed;
  if (!bind_for_match()) return kFailed;
  Rule rule;
  Keywords::read(*command, rule);

  return finish_match(backend_call("cm_update_class_lineno", context(command), session(command), u8{type},
                                   u8{rule.match_mode}, rule.class_map, u32{rule.line}),
                      {{KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, rule.class_map.c_str()}});
}

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

int32_t kvelclassmap_config_lineno(const CliCommand* command) {
  return remove_line<Layer34Keywords>(command, kLayer34);
}

int32_t kvelclassmap_config_mgmt_lineno(const CliCommand* command) {
  return remove_line<ManagementKeywords>(command, kManagement);
}

// Sends both forms, without a session, and does not bind the client.
int32_t kvelclassmap_delete_match_linenum(const CliCommand* command) {
  Rule rule;
  Layer7Keywords::read(*command, rule);

  return finish_match(
      backend_call("cm_del_match_with_linenum", context(command), rule.class_map, u32{rule.line}, add(command)));
}
