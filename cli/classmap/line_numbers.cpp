// Removing match rules by their line number.
#include "cli/classmap/class_map.h"
#include "cli/common/backend.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

struct Line {
  ObjectName class_map;
  std::uint8_t match_mode = kMatchAll;
  std::uint32_t line = 0;
};

using Layer34Keywords = KeywordTable<On<Ids<kw::class_map_l3_name>, Text<&Line::class_map>>,
                                     On<Ids<kw::class_map_l3_match_any>, Set<&Line::match_mode, kMatchAny>>,
                                     On<Ids<kw::class_map_l3_match_all>, Set<&Line::match_mode, kMatchAll>>,
                                     On<Ids<kw::l3_line>, Number<&Line::line>>>;

using ManagementKeywords = KeywordTable<On<Ids<kw::class_map_mgmt_name>, Text<&Line::class_map>>,
                                        On<Ids<kw::class_map_mgmt_match_all>, Set<&Line::match_mode, kMatchAll>>,
                                        On<Ids<kw::class_map_mgmt_match_any>, Set<&Line::match_mode, kMatchAny>>,
                                        On<Ids<kw::mgmt_line>, Number<&Line::line>>>;

using Layer7Keywords =
    KeywordTable<On<Ids<kw::class_map_http_lb_name, kw::class_map_http_insp_name, kw::class_map_ftp_insp_name>,
                    Text<&Line::class_map>>,
                 On<Ids<kw::http_lb_line, kw::http_insp_line, kw::ftp_insp_line>, Number<&Line::line>>>;

// The line commands exist in the "no" form only; the positive form fails silently, before the client is bound.
template <class Keywords>
std::int32_t remove_line(const CliCommand* command, std::uint8_t type) {
  if (command->negated == 0) return kFailed;
  if (!bind_for_match()) return kFailed;
  Line line;
  Keywords::read(*command, line);

  return finish_match(backend_call("cm_update_class_lineno", context(command), session(command), u8{type},
                                   u8{line.match_mode}, line.class_map, u32{line.line}),
                      {{KVEL_STATUS_class_map_not_found, kNotConfigured, line.class_map.c_str()}});
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
  Line line;
  Layer7Keywords::read(*command, line);

  return finish_match(
      backend_call("cm_del_match_with_linenum", context(command), line.class_map, u32{line.line}, add(command)));
}
