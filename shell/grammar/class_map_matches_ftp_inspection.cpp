// Match rules of FTP-inspection class-maps.
#include <array>

#include "kvel/keywords.h"
#include "shell/grammar/class_map_matches.h"
#include "shell/grammar/families.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

namespace {

using namespace pattern;

constexpr std::array kFtpCommands{
    WordRow{"appe", "Append to a file", kw::ftp_method_appe},
    WordRow{"cdup", "Change to the parent folder", kw::ftp_method_cdup},
    WordRow{"dele", "Delete a file", kw::ftp_method_dele},
    WordRow{"retr", "Retrieve a file", kw::ftp_method_retr},
    WordRow{"help", "Ask for help", kw::ftp_method_help},
    WordRow{"mkd", "Make a folder", kw::ftp_method_mkd},
    WordRow{"stor", "Store a file", kw::ftp_method_stor},
    WordRow{"rmd", "Remove a folder", kw::ftp_method_rmd},
    WordRow{"rnfr", "Rename a file: its old name", kw::ftp_method_rnfr},
    WordRow{"rnto", "Rename a file: its new name", kw::ftp_method_rnto},
    WordRow{"site", "Use a service of this server", kw::ftp_method_site},
    WordRow{"stou", "Store a file under a new name", kw::ftp_method_stou},
    WordRow{"syst", "Ask for the operating system", kw::ftp_method_syst},
};

}  // namespace

void declare_ftp_inspection_matches(GrammarBuilder& grammar) {
  grammar
      .form(kClassMapFtpInspectionMode,
            match_rule(kw::ftp_insp_line, sequence(word("ftp-command", "A command of the FTP client"),
                                                   choice_of(kFtpCommands, "code", kw::ftp_methods))))
      .calls(KVEL_HANDLER(kvelclassmap_config_ftpinspect))
      .negatable()
      .records("ftp-method");
  grammar.form(kClassMapFtpInspectionMode, rule_line(kw::ftp_insp_line))
      .calls(KVEL_HANDLER(kvelclassmap_delete_match_linenum))
      .only_negated();
}

}  // namespace kvel::shell
