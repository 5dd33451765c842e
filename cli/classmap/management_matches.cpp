// Match rules of management class-maps: which management protocol from where.
#include "cli/classmap/class_map.h"
#include "cli/classmap/rule.h"
#include "cli/common/backend.h"
#include "cli/common/keyword_table.h"
#include "cli/common/messages.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"

namespace kvel::cli::classmap {

namespace {

struct ManagementMatch : Rule {
  std::uint32_t protocol = 0;
  std::uint32_t lower = 0;
  std::uint32_t upper = 65535;
  std::uint32_t source_address = 0;
  std::uint32_t source_mask = 0;
};

template <std::uint32_t Protocol, std::uint32_t Lower, std::uint32_t Upper = Lower>
struct Service {
  static void apply(ManagementMatch& match, const CliToken&) {
    match.protocol = Protocol;
    match.lower = Lower;
    match.upper = Upper;
  }
};

constexpr std::uint32_t kIcmp = 1;

// clang-format off
using ManagementKeywords = KeywordTable<
    ManagementRuleKeywords<ManagementMatch>,
    On<Ids<kw::mgmt_source_any>, Set<&ManagementMatch::source_address, 0U>, Set<&ManagementMatch::source_mask, 0U>>,
    On<Ids<kw::mgmt_source_address>, Number<&ManagementMatch::source_address>>,
    On<Ids<kw::mgmt_source_mask>, Number<&ManagementMatch::source_mask>>,
    On<Ids<kw::mgmt_ssh>, Service<kTcp, 22>>,
    On<Ids<kw::mgmt_telnet>, Service<kTcp, 23>>,
    On<Ids<kw::mgmt_http>, Service<kTcp, 80>>,
    On<Ids<kw::mgmt_https>, Service<kTcp, 443>>,
    On<Ids<kw::mgmt_ftp>, Service<kTcp, 21>>,
    On<Ids<kw::mgmt_icmp>, Service<kIcmp, 0, 65535>>,
    On<Ids<kw::mgmt_tftp>, Service<kUdp, 69>>,
    On<Ids<kw::mgmt_snmp>, Service<kUdp, 161>>>;
// clang-format on

}  // namespace

}  // namespace kvel::cli::classmap

using namespace kvel::cli;
using namespace kvel::cli::classmap;

int32_t kvelclassmap_config_mgmtproto(const CliCommand* command) {
  if (!bind_for_match()) return kFailed;
  ManagementMatch match;
  ManagementKeywords::read(*command, match);

  return finish_match(
      backend_call("cm_update_class_to_mgmtproto", context(command), session(command), u8{kManagement},
                   u8{match.match_mode}, match.class_map, u32{match.protocol}, u32{kNoOperator}, u32{match.lower},
                   u32{match.upper}, u32{match.source_address}, u32{match.source_mask}, add(command), u32{match.line}),
      {{KVEL_STATUS_class_map_not_found, kClassMapNotConfigured, match.class_map.c_str()}});
}
