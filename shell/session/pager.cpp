// Running a pager.
#include "shell/session/pager.h"

#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "encoding/utf8.h"
#include "shell/matcher/display_width.h"
#include "shell/matcher/printable.h"
#include "shell/session/memory_file.h"

namespace kvel::shell {

namespace {

constexpr int kCannotBeRun = 126;  // the exit statuses of a shell that has not run the command: this one,
constexpr int kNotFound = 127;     // and this one

struct Screen {
  std::size_t rows = 24;
  std::size_t columns = 80;
};

// The terminal's, or the default of terminals that do not report one.
Screen screen_size() {
  Screen screen;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return screen;
  if (size.ws_row > 0) screen.rows = size.ws_row;
  if (size.ws_col > 0) screen.columns = size.ws_col;
  return screen;
}

// While another program has the terminal, its keys for signals are not meant for the shell; and whatever that program
// does to the terminal ends with it.
class LentTerminal {
 public:
  LentTerminal() {
    has_modes_ = tcgetattr(STDOUT_FILENO, &modes_) == 0;
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGINT, &ignore, &interrupt_);
    sigaction(SIGQUIT, &ignore, &quit_);
  }
  LentTerminal(const LentTerminal&) = delete;
  LentTerminal& operator=(const LentTerminal&) = delete;
  ~LentTerminal() {
    sigaction(SIGINT, &interrupt_, nullptr);
    sigaction(SIGQUIT, &quit_, nullptr);
    if (has_modes_) tcsetattr(STDOUT_FILENO, TCSADRAIN, &modes_);
  }

 private:
  bool has_modes_ = false;
  termios modes_{};
  struct sigaction interrupt_ {};
  struct sigaction quit_ {};
};

// Starts a program with a descriptor as its standard input; -1 when it cannot be started.
pid_t start(std::initializer_list<const char*> command, int input) {
  std::array<char*, 4> arguments{};
  std::transform(command.begin(), command.end(), arguments.begin(),
                 [](const char* word) { return const_cast<char*>(word); });

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t usual;
  sigemptyset(&usual);
  for (const int ignored_here : {SIGINT, SIGQUIT, SIGXFSZ})
    sigaddset(&usual, ignored_here);
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  pid_t child = -1;
  if (posix_spawnp(&child, arguments.front(), &files, &attributes, arguments.data(), environ) != 0) child = -1;
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return child;
}

}  // namespace

std::size_t rows_of(std::string_view text, std::size_t columns) {
  columns = std::max<std::size_t>(columns, 1);
  std::size_t rows = 0;
  std::size_t width = 0;  // of the line so far
  const auto end_line = [&] {
    rows += std::max<std::size_t>(1, (width + columns - 1) / columns);
    width = 0;
  };
  bool in_line = false;
  for (std::size_t at = 0; at < text.size();) {
    in_line = text[at] != '\n';
    if (!in_line) {
      end_line();
      ++at;
      continue;
    }
    const encoding::DecodedCharacter character = encoding::decode_utf8(text, at);
    width += character.length == 0 || is_unprintable(character.code) ? 1 : display_width(character.code);
    at += std::max<std::size_t>(character.length, 1);
  }
  if (in_line) end_line();
  return rows;
}

// The pager reads the text from a file in memory, so that one that ends early breaks nothing.
bool show_in_pager(std::string_view text) {
  if (isatty(STDOUT_FILENO) == 0) return false;
  const Screen screen = screen_size();
  if (rows_of(text, screen.columns) < screen.rows) return false;  // the prompt takes a row of its own

  const MemoryFile file;
  if (file.error() != 0 || !file.fill(text)) return false;
  std::fflush(stdout);
  const LentTerminal terminal;
  const char* pager = std::getenv("PAGER");
  const bool chosen = pager != nullptr && *pager != '\0';
  const pid_t child =
      chosen ? start({"sh", "-c", pager}, file.descriptor()) : start({"less", "-FRX"}, file.descriptor());
  if (child < 0) return false;
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return !chosen || !WIFEXITED(status) || (WEXITSTATUS(status) != kCannotBeRun && WEXITSTATUS(status) != kNotFound);
}

}  // namespace kvel::shell
