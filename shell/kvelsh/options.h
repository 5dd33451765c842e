// The command line of kvelsh.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kvel::shell {

struct Options {
  std::filesystem::path store;        // empty: the user's own
  bool accept_loss = false;           // open a store that has lost changes
  bool memory = false;                // no store at all
  std::string connect;                // address of a manager; empty: the manager runs in this process
  int timeout_seconds = 30;           // timeout of a call to a remote manager
  int context = 0;                    // 0 to 65535
  std::vector<std::string> commands;  // of each -c
  bool stop_on_error = false;         // of a replay
  std::filesystem::path plugin;       // empty: beside the program
  bool no_pager = false;
  bool secure = false;             // the pager gives no way out of the shell
  std::vector<std::string> files;  // "-": standard input
};

// The options, or the exit status when there is nothing else to do: help and version were printed (0), or the usage was
// wrong and was reported (2).
struct ParsedOptions {
  Options options;
  std::optional<int> exit_status;
};
[[nodiscard]] ParsedOptions parse_options(int argc, char** argv);

// A file of the user's in the XDG state folder of kvel; empty when there is neither XDG_STATE_HOME nor HOME.
[[nodiscard]] std::filesystem::path state_file(const char* name);

}  // namespace kvel::shell
