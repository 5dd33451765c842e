// Match rules of FTP-inspection class-maps.
#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/command_groups.h"
#include "shell/grammar/ftp_inspection_rules.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

void declare_ftp_inspection_matches(GrammarBuilder& grammar) {
  grammar
      .command(kClassMapFtpInspectionMode, match_rule(kw::ftp_insp_line, ftp_command_rule(&FtpCommand::in_class_map)))
      .calls(KVEL_HANDLER(kvelclassmap_config_ftpinspect))
      .negatable()
      .records("ftp-method");
  grammar.command(kClassMapFtpInspectionMode, rule_line(kw::ftp_insp_line))
      .calls(KVEL_HANDLER(kvelclassmap_delete_match_linenum))
      .only_negated();
}

}  // namespace kvel::shell
