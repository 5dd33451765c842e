// Reading the command line.
#include "shell/kvelsh/options.h"

#include <cstdlib>

#include "process/command_line.h"

namespace kvel::shell {

ParsedOptions parse_options(int argc, char** argv) {
  ParsedOptions parsed;
  Options& options = parsed.options;
  CommandLine line(
      "kvelsh", KVEL_VERSION,
      "kvelsh, the shell of kvel: configures how traffic is classified, balanced and inspected, at a prompt or from "
      "files.\n"
      "Without FILES and -c it opens a prompt on a terminal and replays standard input otherwise.\n"
      "Exit status: of a replay, 0 when every command succeeded and 1 when one failed; of a prompt 0; 2 for wrong "
      "usage or "
      "when it cannot start.");
  auto store =
      line.add("--store", options.store,
               "The file of the configuration store, in a folder that exists (default: kvel/store.db in the XDG state "
               "folder, which is made)")
          .not_empty()
          .type("FILE");
  auto accept_loss = line.add("--accept-loss", options.accept_loss,
                              "Open a store whose last changes are lost with a damaged log, without them");
  auto memory = line.add("--memory", options.memory, "Keep the configuration in memory only, without a store");
  auto connect = line.add("--connect", options.connect, "Connect to the manager at this address: unix:PATH or PATH")
                     .not_empty()
                     .type("ADDRESS");
  store.excludes(memory).excludes(connect);
  memory.excludes(connect);
  accept_loss.excludes(memory).excludes(connect);
  line.add("--timeout", options.timeout_seconds, "Timeout of a call to a remote manager in seconds (default: 30)")
      .range(1, 3600)
      .type("SECONDS");
  line.add("--context", options.context, "The context to configure, 0 to 65535 (default: 0)").range(0, 65535).type("N");
  line.add("-c", options.commands,
           "Carry out these commands, separated by ;, after those of FILES, and exit; may be given several times")
      .one_each()
      .type("'COMMAND; COMMAND'");
  line.add("--stop-on-error", options.stop_on_error, "End a replay at the first line that fails");
  line.add("--plugin", options.plugin, "The plug-in (default: libkvelcli.so of this installation)")
      .not_empty()
      .type("FILE");
  line.add("--no-pager", options.no_pager,
           "Do not page long output at the prompt (by default through $PAGER, or less)");
  line.add("--secure", options.secure,
           "Page through less alone, which then runs no commands and opens no files; always so in a login shell");
  line.add("FILES", options.files, "Replay these command files and exit; - is standard input");
  parsed.exit_status = line.parse(argc, argv);
  return parsed;
}

std::filesystem::path state_file(const char* name) {
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && *state == '/') return std::filesystem::path(state) / "kvel" / name;
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home == '/') return std::filesystem::path(home) / ".local/state/kvel" / name;
  return {};
}

}  // namespace kvel::shell
