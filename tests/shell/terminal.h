// kvelsh at a terminal that a test holds the other end of.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/shell/process.h"

namespace kvel::test {

inline constexpr unsigned short kRows = 50;

// kvelsh on a pseudo-terminal that only prints.
class Terminal {
 public:
  explicit Terminal(const std::string& state_folder, const std::string& pager = "cat", const char* option = nullptr,
                    const std::vector<std::pair<const char*, std::string>>& environment = {},
                    const char* name = KVEL_KVELSH) {
    descriptor_ = open_terminal();
    int locked = 0;
    winsize size{};
    size.ws_row = kRows;
    size.ws_col = 120;
    EXPECT_EQ(ioctl(descriptor_, TIOCSPTLCK, &locked), 0) << std::strerror(errno);
    EXPECT_EQ(ioctl(descriptor_, TIOCSWINSZ, &size), 0);
    const int shell_side = ioctl(descriptor_, TIOCGPTPEER, O_RDWR | O_NOCTTY);
    pid_ = fork();
    if (pid_ == 0) {
      setsid();
      ioctl(shell_side, TIOCSCTTY, 0);
      for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(shell_side, standard);
      close(shell_side);
      close(descriptor_);
      setenv("TERM", "dumb", 1);
      setenv("LC_ALL", "C.UTF-8", 1);
      setenv("HOME", state_folder.c_str(), 1);
      setenv("XDG_STATE_HOME", state_folder.c_str(), 1);
      // libedit keeps copies of the names of added functions for good; kvel itself never calls this function.
      setenv("LSAN_OPTIONS", "suppressions=" KVEL_ROOT "/tests/shell/libedit_leaks.txt:print_suppressions=0", 1);
      setenv("PAGER", pager.c_str(), 1);
      for (const auto& [variable, value] : environment)
        setenv(variable, value.c_str(), 1);
      execl(KVEL_KVELSH, name, option, nullptr);
      _exit(127);
    }
    close(shell_side);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
    close(descriptor_);
  }

  // Types keys, once the shell reads single keys; then reads until what came since then ends in `until`.
  void type(const std::string& keys, const std::string& until) {
    ASSERT_TRUE(waits_for_keys());
    seen_ = screen_.size();
    ASSERT_EQ(write(descriptor_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    read_until(until);
  }

  void read_until(const std::string& until) {
    while (!std::string_view(screen_).substr(seen_).ends_with(until)) {
      pollfd ready{descriptor_, POLLIN, 0};
      if (poll(&ready, 1, 60000) <= 0) FAIL() << "waited for \"" << until << "\" after:\n" << screen_;
      char bytes[4096];
      const ssize_t count = read(descriptor_, bytes, sizeof bytes);
      if (count <= 0) FAIL() << "the shell ended before \"" << until << "\" after:\n" << screen_;
      append({bytes, static_cast<std::size_t>(count)});
    }
  }

  // What the interrupt key does while a command runs.
  void interrupt_command() const {
    ASSERT_TRUE(runs_a_command());
    kill(-pid_, SIGINT);
  }

  int end() {
    char bytes[4096];
    for (ssize_t count = read(descriptor_, bytes, sizeof bytes); count > 0;
         count = read(descriptor_, bytes, sizeof bytes)) {
      append({bytes, static_cast<std::size_t>(count)});
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  // What the terminal showed, without carriage returns and bells.
  [[nodiscard]] const std::string& screen() const { return screen_; }

 private:
  // The outer side of a new pseudo-terminal. Where none are offered (a bare root folder without /dev/pts) a file system
  // of them is made for this test alone, which takes root.
  static int open_terminal() {
    const int offered = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (offered >= 0) return offered;
    const int system = fsopen("devpts", FSOPEN_CLOEXEC);
    EXPECT_EQ(fsconfig(system, FSCONFIG_SET_STRING, "ptmxmode", "0666", 0), 0) << std::strerror(errno);
    EXPECT_EQ(fsconfig(system, FSCONFIG_CMD_CREATE, nullptr, nullptr, 0), 0) << std::strerror(errno);
    const int mounted = fsmount(system, FSMOUNT_CLOEXEC, 0);
    const int made = openat(mounted, "ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC);
    close(system);
    close(mounted);
    return made;
  }

  // The prompt is shown before the terminal leaves its line mode; keys typed in between would be echoed by the
  // terminal.
  [[nodiscard]] bool waits_for_keys() const {
    termios settings{};
    for (int tries = 0; tries < 30000; ++tries) {
      if (tcgetattr(descriptor_, &settings) == 0 && (settings.c_lflag & ICANON) == 0) return true;
      usleep(2000);
    }
    return false;
  }

  // The line mode is back, and interrupts are seen to.
  [[nodiscard]] bool runs_a_command() const {
    termios settings{};
    for (int tries = 0; tries < 30000; ++tries) {
      usleep(2000);
      const std::string status = read_file("/proc/" + std::to_string(pid_) + "/status");
      const std::size_t caught = status.find("SigCgt:");
      if (caught == std::string::npos || tcgetattr(descriptor_, &settings) != 0) return false;
      const bool is_caught = (std::stoull(status.substr(caught + 7), nullptr, 16) >> (SIGINT - 1) & 1U) != 0;
      if ((settings.c_lflag & ICANON) != 0 && is_caught) return true;
    }
    return false;
  }

  void append(const std::string& bytes) {
    for (const char byte : bytes) {
      if (byte != '\r' && byte != '\a') screen_ += byte;
    }
  }

  pid_t pid_ = -1;
  int descriptor_ = -1;
  std::string screen_;
  std::size_t seen_ = 0;  // how much of the screen was there before the last keys
};

inline constexpr const char* kTop = "kvel# ";
inline constexpr const char* kNextTop = "\nkvel# ";

}  // namespace kvel::test
