// The prompt on a real terminal: keys typed into a pseudo-terminal, the whole screen output compared with a kept
// transcript (tests/golden/prompt.txt). With KVEL_UPDATE_GOLDEN set the transcript is written anew instead.
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

#include "tests/manager/support/records.h"
#include "tests/shell/process.h"

namespace kvel::test::prompt_test {
namespace {

constexpr unsigned short kRows = 50;

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

constexpr const char* kTop = "kvel# ";
constexpr const char* kNextTop = "\nkvel# ";
constexpr const char* kGolden = KVEL_ROOT "/tests/golden/prompt.txt";

TEST(Prompt, ATranscriptWithHelpCompletionAndMistypedCommands) {
  const TemporaryFolder folder;
  {
    Terminal terminal(folder.path());
    terminal.read_until(kTop);
    terminal.type("class-map match-any web\n", "\nkvel(config-class-map web)# ");
    terminal.type("description Web traffic, is it?\n", "\nkvel(config-class-map web)# ");
    terminal.type("exit\n", kNextTop);
    terminal.type("?", kNextTop);
    terminal.type("class-map ?", "\nkvel# class-map ");
    terminal.type("ma\t", "class-map match-a");
    terminal.type("\t", "class-map match-a");
    terminal.type("n\t", "class-map match-any ");
    terminal.type("w\t", "class-map match-any web ");
    terminal.type("\n", "\nkvel(config-class-map web)# ");
    terminal.type("class-map type manag\t", "class-map type management ");
    terminal.type("operators\n", "\nkvel(config-class-map operators)# ");
    terminal.type("end\n", kNextTop);
    terminal.type("class-map match-some web\n", kNextTop);
    terminal.type("sow running-config\n", kNextTop);
    terminal.type("class-map type http web\n", kNextTop);
    terminal.type("show running-config\n", kNextTop);
    terminal.type("no class-map type management ops\n", kNextTop);
    terminal.type("nothing at all", "nothing at all");
    terminal.type("\x03", kNextTop);  // the line is cancelled, the shell is not
    terminal.type("policy-map site\n", "\nkvel(config-policy-map site)# ");
    terminal.type("service-policy s\t", "service-policy site ");
    terminal.type("?", "service-policy site ");
    terminal.type("gl\t\n", kNextTop);
    terminal.type("show service-policy ?", "show service-policy ");
    terminal.type("\x03", kNextTop);
    terminal.type("traffic -\n", kNextTop);
    terminal.type("history\n", kNextTop);
    terminal.type("quit\n", "\n");
    EXPECT_EQ(terminal.end(), 0);
    if (std::getenv("KVEL_UPDATE_GOLDEN") != nullptr) write_file(kGolden, terminal.screen());
    EXPECT_EQ(terminal.screen(), read_file(kGolden));
  }
  // History and store are there at the next start.
  Terminal again(folder.path());
  again.read_until(kTop);
  again.type("\x10", "quit");     // the line before
  again.type("\x10", "history");  // and the one before that
  again.type("\x15show running-config\n",
             "\nclass-map match-any web\n  description Web traffic, is it?\npolicy-map site\nservice-policy site "
             "global\nkvel# ");
  again.type("\x04", "\n");  // end of input
  EXPECT_EQ(again.end(), 0);
}

// The first byte of a character is shared by many others.
TEST(Prompt, CompletesNamesByWholeCharacters) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path());
  terminal.read_until(kTop);
  for (const std::string name : {"b\u00FC1", "b\u00FC2", "c\u00E4", "c\u00FC"}) {
    terminal.type("class-map " + name + "\n", "\nkvel(config-class-map " + name + ")# ");
    terminal.type("end\n", kNextTop);
  }
  terminal.type("show class-map b\t", "show class-map b\u00FC");
  terminal.type("1\n", "\nclass-map b\u00FC1 (layer-3/4, match all)\nkvel# ");
  terminal.type("show class-map c\t", "\n  c\u00E4\n  c\u00FC\n\nkvel# show class-map c");
  terminal.type("\x03", kNextTop);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

// Whatever its keys mean when they are typed; the last line waits for its end.
TEST(Prompt, WhatIsPastedIsText) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path());
  terminal.read_until(kTop);
  terminal.type(
      "class-map ty\x1b[200~pe http-load-balancing match-any web\rmatch http url /a?b=1\nmatch\thttp url z?\rend\r"
      "show running-config class-map web\rshow ve\x1b[201~",
      "\nclass-map type http-load-balancing match-any web\n  10 match http url \"/a?b=1\"\n"
      "  20 match http url \"z?\"\nkvel# kvel# show ve");
  terminal.type("rsion\n", "\nkvel " KVEL_VERSION "\nkvel# ");
  // A key that would cancel the line is a character, which no line may have.
  terminal.type("\x1b[200~show version\x03\n\x1b[201~", "\nError: control character\nkvel# ");
  terminal.type("\x1b[200~\x1b[201~quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST(Prompt, WhatIsPrintedMeansTheSameTypedAgain) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path());
  terminal.read_until(kTop);
  const std::string rule = "match http url \"/shop/items(/.*)?\"\n";
  const std::string description = "description \"what is ?\"\n";
  const std::string create = "class-map type http-load-balancing match-any web\n";
  const std::string printed = create + "  " + description + "  10 " + rule;
  for (int round = 0; round < 2; ++round) {
    terminal.type(create, "\nkvel(config-class-map web)# ");
    terminal.type(round == 0 ? description : "  " + description, "\nkvel(config-class-map web)# ");
    terminal.type(round == 0 ? rule : "  10 " + rule, "\nkvel(config-class-map web)# ");
    terminal.type("end\n", kNextTop);
    terminal.type("show running-config\n", "\n" + printed + kTop);
    terminal.type("no class-map type http-load-balancing match-any web\n", kNextTop);
  }
  // A tab in quotes completes nothing.
  terminal.type("show class-map \"a\tb\"\n", "\nError: class-map 'a\tb' not configured\nkvel# ");
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

// A terminal is asked to mark pastes while a line is typed, and no longer.
TEST(Prompt, ATerminalMarksPastes) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path(), "cat", "--memory", {{"TERM", "xterm"}});
  terminal.read_until(kTop);
  terminal.type("show version\n", kTop);
  terminal.type("quit\n", "\x1b[?2004l");
  EXPECT_EQ(terminal.end(), 0);
  const std::string& screen = terminal.screen();
  const std::size_t on = screen.find("\x1b[?2004h");
  const std::size_t off = screen.find("\x1b[?2004l");
  EXPECT_LT(on, screen.find(kTop));
  EXPECT_LT(off, screen.find("kvel " KVEL_VERSION));
  EXPECT_LT(screen.find("kvel " KVEL_VERSION), screen.find("\x1b[?2004h", off));
}

TEST(Prompt, TheInterruptKeyLeavesNothingAndTheEndKeyTheShell) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path());
  terminal.read_until(kTop);
  terminal.type("\x03", kNextTop);
  terminal.type("policy-map site\n", "\nkvel(config-policy-map site)# ");
  terminal.type("\x03", "^C\nkvel(config-policy-map site)# ");
  terminal.type("class class-default\n", "\nkvel(config-policy-map-class site class-default)# ");
  terminal.type("\x03", "^C\nkvel(config-policy-map-class site class-default)# ");
  terminal.type("\x04", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST(Prompt, SeveralPromptsKeepOneHistory) {
  const TemporaryFolder folder;
  {
    Terminal one(folder.path(), "cat", "--memory");
    Terminal other(folder.path(), "cat", "--memory");
    one.read_until(kTop);
    other.read_until(kTop);
    one.type("show history | count\n", kNextTop);
    other.type("show version | count\n", kNextTop);
    one.type("show uses x\n", kNextTop);
    other.type("quit\n", "\n");
    EXPECT_EQ(other.end(), 0);
    one.type("quit\n", "\n");
    EXPECT_EQ(one.end(), 0);
  }
  Terminal again(folder.path(), "cat", "--memory");
  again.read_until(kTop);
  again.type(
      "history\n",
      "\n    1  show history | count\n    2  show version | count\n    3  show uses x\n    4  quit\n    5  history\n"
      "kvel# ");
  again.type("quit\n", "\n");
  EXPECT_EQ(again.end(), 0);
}

TEST(Prompt, TheHistoryIsBounded) {
  const TemporaryFolder folder;
  for (const char* round : {"a", "b"}) {
    Terminal terminal(folder.path(), "cat", "--memory");
    terminal.read_until(kTop);
    std::string lines = "\x1b[200~";
    for (int number = 0; number < 600; ++number)
      lines += "! " + std::string(round) + std::to_string(number) + "\n";
    terminal.type(lines + "\x1b[201~quit\n", "quit\n");
    EXPECT_EQ(terminal.end(), 0);
  }
  const std::string kept = read_file(folder.file("kvel/history"));
  EXPECT_EQ(std::count(kept.begin(), kept.end(), '\n'), 1001) << "1000 lines after a heading";
}

TEST(Prompt, ShowsNothingThatATerminalCouldTakeForMoreThanText) {
  const TemporaryFolder folder;
  // No such name is taken any more; a store may have one from before.
  std::filesystem::create_directory(folder.file("kvel"));
  {
    const auto store = manager::testing::open_store(folder.file("kvel/store.db"));
    ASSERT_TRUE(
        manager::testing::commit(*store, {manager::testing::put("a\u202Eb\u200B", R"({"type":0,"match_all":true})")}));
  }
  Terminal terminal(folder.path(), "cat", "--no-pager");
  terminal.read_until(kTop);
  terminal.type("class-map a\u202Eb\u200B\n", "\nkvel(config-class-map a?b?)# ");
  terminal.type("end\n", kNextTop);
  const std::size_t before = terminal.screen().size();
  terminal.type("show class-map\n", "\nclass-map a?b? (layer-3/4, match all)\nkvel# ");
  terminal.type("no class-map type management c\u2067d\n", "\nError: class-map 'c?d' not configured\nkvel# ");
  terminal.type("show class-map ?", "\n  a?b?  Name of the class-map\n\nkvel# show class-map ");
  EXPECT_EQ(terminal.screen().find("\u202E", before), std::string::npos);
  terminal.type("\x03", kNextTop);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST(Prompt, HelpAndCompletionAfterABar) {
  const TemporaryFolder folder;
  Terminal terminal(folder.path());
  terminal.read_until(kTop);
  terminal.type("show history ?", "\n  |     Filter the output\n  <cr>  End of the command\n\nkvel# show history ");
  terminal.type("| i\t", "| include ");
  terminal.type("?", "\n  TEXT  Word, or text in quotes, to search for\n\nkvel# show history | include ");
  terminal.type("x?\n", "x?\n    1  show history | include x?\nkvel# ");
  terminal.type("show history | count\n", "\n2\nkvel# ");
  terminal.type("show history | counts\n",
                "\nError: unknown word \"counts\" (did you mean \"count\"?)\nexpected:\n  begin\n  count\n  exclude\n  "
                "include\n  json\n  save\n  xml\nkvel# ");
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST(Prompt, AnInterruptedCommandIsNotTheEndOfTheShell) {
  const TemporaryFolder folder;
  const std::string socket = folder.file("socket");
  const Background manager(KVEL_KVELMGRD, {"--store", folder.file("store.db"), "--socket", socket});
  ASSERT_TRUE(manager.printed("serving "));
  Terminal terminal(folder.path(), "cat", ("--connect=" + socket).c_str());
  terminal.read_until(kTop);
  manager.signal(SIGSTOP);
  terminal.type("class-map web\n", "class-map web\n");
  terminal.interrupt_command();
  manager.signal(SIGCONT);
  terminal.read_until("\nkvel(config-class-map web)# ");
  terminal.type("end\n", kNextTop);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

// A store whose list of class-maps leaves one row of the screen for the prompt.
class Paging : public testing::Test {
 protected:
  Paging() {
    std::string commands;
    for (int number = 10; number < 10 + kRows - 1; ++number)
      commands += "class-map c" + std::to_string(number) + "\n";
    const Finished done = run_kvelsh({}, commands, {"XDG_STATE_HOME=" + folder_.path()});
    EXPECT_EQ(done.status, 0) << done.err;
  }

  // A shell script as pager; what a command shows between its echo and the next prompt.
  std::string pager(const std::string& script) const {
    const std::string file = folder_.file("pager");
    write_file(file, "#!/bin/sh\n" + script);
    EXPECT_EQ(chmod(file.c_str(), 0755), 0);
    return file;
  }
  static std::string shown(Terminal& terminal, const std::string& command) {
    const std::size_t before = terminal.screen().size();
    terminal.type(command + "\n", kNextTop);
    const std::string screen = terminal.screen().substr(before);
    const std::size_t start = screen.find('\n') + 1;
    return screen.substr(start, screen.size() - std::strlen(kTop) - start);
  }
  // Makes the list one row longer, and knows it.
  std::string lengthen(Terminal& terminal) const {
    terminal.type("class-map last\n", "\nkvel(config-class-map last)# ");
    terminal.type("end\n", kNextTop);
    return list() + "class-map match-all last\n";
  }
  static std::string list() {
    std::string lines;
    for (int number = 10; number < 10 + kRows - 1; ++number)
      lines += "class-map match-all c" + std::to_string(number) + "\n";
    return lines;
  }

  TemporaryFolder folder_;
};

TEST_F(Paging, OutputLongerThanTheScreenGoesThroughThePager) {
  Terminal terminal(folder_.path(), pager("printf 'a page of %d lines\\n' $(wc -l)"));
  terminal.read_until(kTop);
  EXPECT_EQ(shown(terminal, "show running-config"), list());
  lengthen(terminal);
  EXPECT_EQ(shown(terminal, "show running-config"), "a page of 50 lines\n");
  EXPECT_EQ(shown(terminal, "show running-config | xml"), "a page of 253 lines\n");
  EXPECT_EQ(shown(terminal, "show running-config | exclude c10"),
            list().substr(list().find('\n') + 1) + "class-map match-all last\n");
  EXPECT_EQ(shown(terminal, "show running-config | count"), "50\n");
  EXPECT_EQ(shown(terminal, "show running-config | save " + folder_.file("saved")), "");
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST_F(Paging, APagerThatEndsEarlyOrIsInterruptedIsNoFailure) {
  Terminal terminal(folder_.path(), pager("head -n 1\nkill -INT 0\nsleep 100\n"));
  terminal.read_until(kTop);
  lengthen(terminal);
  EXPECT_EQ(shown(terminal, "show running-config"), "class-map match-all c10\n");
  EXPECT_EQ(shown(terminal, "show running-config | count"), "50\n");
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

// With the one row more there are 50 class-maps, and with these the help has 105 entries.
TEST_F(Paging, ListsLongerThanTheScreenToo) {
  std::string commands;
  for (int number = 0; number < 52; ++number)
    commands += "class-map d" + std::to_string(number) + "\n";
  EXPECT_EQ(run_kvelsh({}, commands, {"XDG_STATE_HOME=" + folder_.path()}).status, 0);
  Terminal terminal(folder_.path(), pager("printf 'a page of %d lines\\n' $(wc -l)"));
  terminal.read_until(kTop);
  terminal.type("class-map ?", "\nDisplay all 105 possibilities? (y or n)");
  terminal.type("n", "\n\nkvel# class-map ");
  terminal.type("?", "\nDisplay all 105 possibilities? (y or n)");
  terminal.type("y", "\na page of 105 lines\n\nkvel# class-map ");
  terminal.type("d\t", "\na page of 52 lines\n\nkvel# class-map d");
  terminal.type("\x03", kNextTop);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

// Nobody leaves a shell of that kind through its pager.
TEST_F(Paging, ALoginShellAndASecureOnePageThroughAConfinedLess) {
  const std::string less = folder_.file("less");
  write_file(less, "#!/bin/sh\nprintf 'less %s, secure: %s\\n' \"$1\" \"$LESSSECURE\"\n");
  EXPECT_EQ(chmod(less.c_str(), 0755), 0);
  const std::string path = folder_.path() + ":" + std::getenv("PATH");
  const auto shows = [&](const char* option, const char* name, const std::string& expected) {
    Terminal terminal(folder_.path(), "echo mine, secure: $LESSSECURE", option, {{"PATH", path}}, name);
    terminal.read_until(kTop);
    EXPECT_EQ(shown(terminal, "show running-config | json"), expected);
    terminal.type("quit\n", "\n");
    EXPECT_EQ(terminal.end(), 0);
  };
  shows(nullptr, KVEL_KVELSH, "mine, secure:\n");
  shows("--secure", KVEL_KVELSH, "less -FRX, secure: 1\n");
  shows(nullptr, "-kvelsh", "less -FRX, secure: 1\n");
}

TEST_F(Paging, WithoutSuchAPagerTheOutputIsPrinted) {
  Terminal terminal(folder_.path(), "/no/such/pager 2>/dev/null");
  terminal.read_until(kTop);
  const std::string all = lengthen(terminal);
  EXPECT_EQ(shown(terminal, "show running-config"), all);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST_F(Paging, AnOptionTurnsItOff) {
  Terminal terminal(folder_.path(), pager("echo paged"), "--no-pager");
  terminal.read_until(kTop);
  const std::string all = lengthen(terminal);
  EXPECT_EQ(shown(terminal, "show running-config"), all);
  terminal.type("quit\n", "\n");
  EXPECT_EQ(terminal.end(), 0);
}

TEST_F(Paging, ReplayIsNeverPaged) {
  const std::string more = "class-map last; show running-config";
  const Finished done =
      run_kvelsh({"-c", more}, "", {"XDG_STATE_HOME=" + folder_.path(), "PAGER=" + pager("echo paged")});
  EXPECT_EQ(done.out, list() + "class-map match-all last\n");
}

}  // namespace
}  // namespace kvel::test::prompt_test
