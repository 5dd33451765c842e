// The prompt: line editing, history, "?" and tab.
#pragma once

#include <filesystem>

#include "shell/session/session.h"

namespace kvel::shell {

// Reads lines from the terminal until the session is over or the input ends. History is kept in `history_file` between
// runs; an empty path keeps none, and a file that cannot be written is reported once and not used.
void run_line_editor(Session& session, const std::filesystem::path& history_file);

}  // namespace kvel::shell
