// Reading the command line.
#include "shell/kvelsh/options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace kvel::shell {

namespace {

// An empty value is a variable that was not set, more likely than the wish for the default.
std::string refuse_empty(const std::string& value) { return value.empty() ? "an empty value" : ""; }

}  // namespace

ParsedOptions parse_options(int argc, char** argv) {
  ParsedOptions parsed;
  Options& options = parsed.options;
  CLI::App app{
      "kvelsh, the shell of kvel: configures how traffic is classified, balanced and inspected, at a prompt or from "
      "files.\n"
      "Without FILES and -c it opens a prompt on a terminal and replays standard input otherwise.\n"
      "Exit status: of a replay, 0 when every command succeeded and 1 when one failed; of a prompt 0; 2 for wrong "
      "usage or "
      "when it cannot start.",
      "kvelsh"};
  auto* store = app.add_option("--store", options.store,
                               "The file of the configuration store (default: kvel/store.db in the XDG state folder)")
                    ->check(refuse_empty)
                    ->type_name("FILE");
  auto* memory = app.add_flag("--memory", options.memory, "Keep the configuration in memory only, without a store");
  auto* connect =
      app.add_option("--connect", options.connect, "Connect to the manager at this address: unix:PATH or PATH")
          ->check(refuse_empty)
          ->type_name("ADDRESS");
  store->excludes(memory)->excludes(connect);
  memory->excludes(connect);
  app.add_option("--timeout", options.timeout_seconds, "Timeout of a call to a remote manager in seconds (default: 30)")
      ->check(CLI::Range(1, 3600))
      ->type_name("SECONDS");
  app.add_option("--context", options.context, "The context to configure, 0 to 65535 (default: 0)")
      ->check(CLI::Range(0, 65535))
      ->type_name("N");
  app.add_option("-c", options.commands, "Carry out these commands, separated by ;, after those of FILES, and exit")
      ->type_name("'COMMAND; COMMAND'");
  app.add_option("--plugin", options.plugin, "The plug-in (default: libkvelcli.so of this installation)")
      ->check(refuse_empty)
      ->type_name("FILE");
  app.add_flag("--no-pager", options.no_pager,
               "Do not page long output at the prompt (by default through $PAGER, or less)");
  app.add_option("FILES", options.files, "Replay these command files and exit");
  app.set_version_flag("--version", "kvelsh " KVEL_VERSION);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    parsed.exit_status = app.exit(error) == 0 ? 0 : 2;
  }
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
