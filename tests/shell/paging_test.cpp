// The prompt's pager: what goes through it, what it is, and what happens when it ends.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "tests/shell/process.h"
#include "tests/shell/terminal.h"

namespace kvel::test::paging_test {
namespace {

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
}  // namespace kvel::test::paging_test
