// The prompt on a real terminal: keys typed into a pseudo-terminal, the whole screen output compared with a kept
// transcript (tests/golden/prompt.txt). With KVEL_UPDATE_GOLDEN set the transcript is written anew instead.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "tests/manager/support/records.h"
#include "tests/shell/process.h"
#include "tests/shell/terminal.h"

namespace kvel::test::prompt_test {
namespace {

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

}  // namespace
}  // namespace kvel::test::prompt_test
