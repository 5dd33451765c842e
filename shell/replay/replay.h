// Commands without a prompt: from files, from a stream, or from the command line.
#pragma once

#include <cstdio>
#include <string_view>

#include "shell/session/session.h"

namespace kvel::shell {

// What a replay came to.
struct ReplayResult {
  bool succeeded = true;  // every line was carried out
  bool quit = false;      // a command ended the session
};

// Carries out every line of a stream, or every command of a text with ";" between them. A failed line is reported on
// standard error with its location, and the lines after it are still carried out.
ReplayResult replay_stream(Session& session, std::FILE* stream, std::string_view name);
ReplayResult replay_commands(Session& session, std::string_view commands);

}  // namespace kvel::shell
