// What FTP-inspection rules look at, after "match": the same words for class-maps and for inline matches, with
// keywords of their own.
#pragma once

#include "shell/grammar/pattern.h"

namespace kvel::shell {

struct FtpCommand {
  std::string_view word;
  std::string_view help;
  KeywordId in_class_map;
  KeywordId inline_match;
};

[[nodiscard]] Pattern ftp_command_rule(KeywordId FtpCommand::*keyword);

}  // namespace kvel::shell
