// FTP-inspection rules. See ftp_inspection_rules.h.
#include "shell/grammar/ftp_inspection_rules.h"

#include <array>

#include "kvel/keywords.h"

namespace kvel::shell {

using namespace pattern;

namespace {

// In the order of their codes, which the keywords of class-maps follow.
constexpr std::array kFtpCommands{
    FtpCommand{"appe", "Append to a file", kw::ftp_method_appe, kw::inline_ftp_appe},
    FtpCommand{"cdup", "Change to the parent folder", kw::ftp_method_cdup, kw::inline_ftp_cdup},
    FtpCommand{"dele", "Delete a file", kw::ftp_method_dele, kw::inline_ftp_dele},
    FtpCommand{"retr", "Retrieve a file", kw::ftp_method_retr, kw::inline_ftp_retr},
    FtpCommand{"help", "Ask for help", kw::ftp_method_help, kw::inline_ftp_help},
    FtpCommand{"mkd", "Make a folder", kw::ftp_method_mkd, kw::inline_ftp_mkd},
    FtpCommand{"stor", "Store a file", kw::ftp_method_stor, kw::inline_ftp_stor},
    FtpCommand{"rmd", "Remove a folder", kw::ftp_method_rmd, kw::inline_ftp_rmd},
    FtpCommand{"rnfr", "Rename a file: its old name", kw::ftp_method_rnfr, kw::inline_ftp_rnfr},
    FtpCommand{"rnto", "Rename a file: its new name", kw::ftp_method_rnto, kw::inline_ftp_rnto},
    FtpCommand{"site", "Use a service of this server", kw::ftp_method_site, kw::inline_ftp_site},
    FtpCommand{"stou", "Store a file under a new name", kw::ftp_method_stou, kw::inline_ftp_stou},
    FtpCommand{"syst", "Ask for the operating system", kw::ftp_method_syst, kw::inline_ftp_syst},
};

}  // namespace

Pattern ftp_command_rule(KeywordId FtpCommand::*keyword) {
  Pattern commands = choice();
  for (const FtpCommand& command : kFtpCommands) {
    commands.parts.push_back(word(command.word, command.help, command.*keyword)
                                 .binds_code("code", command.in_class_map - kw::ftp_methods.base()));
  }
  return sequence(word("ftp-command", "A command of the FTP client"), std::move(commands));
}

}  // namespace kvel::shell
