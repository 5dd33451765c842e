// kvelsh: assembles the components and runs a prompt or a replay.
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "process/command_line.h"
#include "process/startup.h"
#include "rpc/client/client.h"
#include "shell/editor/line_editor.h"
#include "shell/grammar/grammar.h"
#include "shell/host/rule_domain.h"
#include "shell/kvelsh/backend.h"
#include "shell/kvelsh/options.h"
#include "shell/matcher/printable.h"
#include "shell/plugin/plugin.h"
#include "shell/replay/replay.h"
#include "shell/session/call_watch.h"
#include "shell/session/session.h"

namespace {

using namespace kvel::shell;
using kvel::kCannotStart;

constexpr int kSucceeded = 0;
constexpr int kCommandFailed = 1;

int cannot_start(const std::string& why) {
  std::fputs(fmt::format("kvelsh: {}\n", printable_lines(why)).c_str(), stderr);
  return kCannotStart;
}

constexpr const char* kStandardInputFile = "-";

struct FileClose {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};
using File = std::unique_ptr<std::FILE, FileClose>;

// Opens every command file before the first command runs.
bool open_files(const std::vector<std::string>& names, std::vector<File>& files) {
  for (const std::string& name : names) {
    File file(name == kStandardInputFile ? stdin : std::fopen(name.c_str(), "re"));
    struct stat info {};
    if (file != nullptr && fstat(fileno(file.get()), &info) == 0 && S_ISDIR(info.st_mode)) {
      file.reset();
      errno = EISDIR;
    }
    if (file == nullptr) {
      cannot_start(fmt::format("{}: {}", printable(name), std::strerror(errno)));
      return false;
    }
    files.push_back(std::move(file));
  }
  return true;
}

// For users who are given this shell and no other: less runs no commands and opens no files then, and no other pager
// takes its place.
void confine_pager() {
  setenv("LESSSECURE", "1", 1);
  unsetenv("PAGER");
}

void replay_standard_input(Session& session, Replay& replay) {
  session.reads_from(CommandSource::standard_input);
  replay.stream(stdin, "standard input");
  session.reads_from(CommandSource::files);
}

int replay(Session& session, const Options& options, const std::vector<File>& files) {
  Replay replay(session, options.stop_on_error ? OnError::stop : OnError::go_on);
  for (std::size_t index = 0; index < files.size() && !replay.is_over(); ++index) {
    if (files[index].get() == stdin) {
      replay_standard_input(session, replay);
    } else {
      replay.stream(files[index].get(), options.files[index]);
    }
  }
  for (std::size_t index = 0; index < options.commands.size() && !replay.is_over(); ++index)
    replay.commands(options.commands[index]);
  if (files.empty() && options.commands.empty()) replay_standard_input(session, replay);
  return replay.succeeded() ? kSucceeded : kCommandFailed;
}

int run(Session& session, const Options& options, const std::vector<File>& files) {
  if (!options.commands.empty() || !files.empty() || isatty(STDIN_FILENO) == 0) return replay(session, options, files);
  if (!options.no_pager) session.page_output();
  session.reads_from(CommandSource::prompt);
  run_line_editor(session, state_file("history"));
  return kSucceeded;
}

}  // namespace

int main(int argc, char** argv) {
  kvel::prepare_process();
  std::setlocale(LC_CTYPE, "");
  const ParsedOptions parsed = parse_options(argc, argv);
  if (parsed.exit_status) return *parsed.exit_status;
  const Options& options = parsed.options;
  if (options.secure || (argc > 0 && *argv[0] == '-')) confine_pager();

  std::vector<File> files;
  if (!open_files(options.files, files)) return kCannotStart;

  const auto backend = open_backend(options);
  if (!backend) return cannot_start(backend.error());
  CallWatch calls(*backend->channel);
  const kvel::rpc::InstalledChannel installed(calls);

  const OpenRuleDomain rights;
  set_rule_domain(&rights);

  const Grammar& grammar = shell_grammar();
  auto plugin = Plugin::load(options.plugin.empty() ? default_plugin_file() : options.plugin, grammar.handlers(),
                             grammar.hooks());
  if (!plugin) return cannot_start(plugin.error());

  Session session(grammar, *plugin, options.context, static_cast<std::uint32_t>(getpid()));
  session.watch_calls(calls);
  const int status = run(session, options, files);
  set_rule_domain(nullptr);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    std::fputs("kvelsh: the output could not be written\n", stderr);
    return kCommandFailed;
  }
  return status;
}
