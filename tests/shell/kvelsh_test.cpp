// kvelsh as a program: its options, what it prints where, and its exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/shell/process.h"

namespace kvel::test::kvelsh_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Kvelsh, ReplaysTheExamples) {
  for (const std::string name : {"class-maps", "class-map-rules", "policy-maps", "parameter-maps"}) {
    const Finished done = run_kvelsh({"--memory", KVEL_ROOT "/examples/" + name + ".kvel"});
    EXPECT_EQ(done.out, read_file(KVEL_ROOT "/tests/golden/" + name + ".out"));
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(done.status, 0);
  }
}

TEST(Kvelsh, TheReadmeShowsWhatTheExamplesReallyPrint) {
  const std::string readme = read_file(KVEL_ROOT "/README.md");
  EXPECT_THAT(readme, HasSubstr("```\n" + read_file(KVEL_ROOT "/examples/class-maps.kvel") + "```\n"));
  EXPECT_THAT(readme, HasSubstr("```\n$ ./run --memory examples/class-maps.kvel\n" +
                                read_file(KVEL_ROOT "/tests/golden/class-maps.out") + "```\n"));
  EXPECT_THAT(readme, HasSubstr("```\n$ ./run --memory examples/site.kvel -c 'traffic examples/site-flows.jsonl; "
                                "show service-policy site'\n" +
                                read_file(KVEL_ROOT "/tests/golden/site.out") + "```\n"));
}

TEST(Kvelsh, EverythingIsStillThereAtTheNextStart) {
  const TemporaryFolder folder;
  const std::string store = folder.file("store.db");
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "class-map match-any web; description The site's web traffic"}).status,
            0);
  const Finished shown = run_kvelsh({"--store", store, "-c", "show running-config"});
  EXPECT_EQ(shown.out, "class-map match-any web\n  description The site's web traffic\n");
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "no class-map web"}).status, 0);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "show running-config"}).out, "");
}

TEST(Kvelsh, TheStoreLiesInTheStateFolderByDefault) {
  const TemporaryFolder folder;
  const std::string state = "XDG_STATE_HOME=" + folder.file("state");
  EXPECT_EQ(run_kvelsh({"-c", "class-map web"}, "", {state}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder.file("state/kvel/store.db")));

  const std::string home = "HOME=" + folder.file("home");
  EXPECT_EQ(run_kvelsh({"-c", "class-map web"}, "", {home, "XDG_STATE_HOME="}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder.file("home/.local/state/kvel/store.db")));
}

TEST(Kvelsh, AMistypedStoreMakesNoFolders) {
  const TemporaryFolder folder;
  const Finished done = run_kvelsh({"--store", folder.file("stroe/kvel.db"), "-c", "class-map web"});
  EXPECT_EQ(done.err, "kvelsh: store " + folder.file("stroe/kvel.db") +
                          ": its folder does not exist; check the path and its permissions\n");
  EXPECT_EQ(done.status, 2);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Kvelsh, AStoreThatOthersMayWriteIsWarnedAbout) {
  const TemporaryFolder folder;
  const std::string store = folder.file("store.db");
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "class-map web"}).err, "");
  std::filesystem::permissions(store, std::filesystem::perms(0622));
  const Finished done = run_kvelsh({"--store", store, "-c", "show running-config"});
  EXPECT_EQ(done.err, "kvelsh: warning: store " + store +
                          ": others than the owner may write the file (mode 0622); take that away: chmod go-w " +
                          store + "\n");
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, StandardInputThatIsNoTerminalIsReplayed) {
  const Finished done = run_kvelsh({"--memory"}, "class-map web\n\n! a comment\n# another\nshow running-config\n");
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, AFailedLineIsReportedWithItsLocationAndTheRestIsCarriedOut) {
  const TemporaryFolder folder;
  write_file(folder.file("a.kvel"), "class-map web\nclass-map mach-any web\nno class-map other\nshow running-config\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a.kvel")});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.err, folder.file("a.kvel") +
                          ":2:11: error: unknown word \"mach-any\" (did you mean \"match-any\"?)\n"
                          "class-map mach-any web\n"
                          "          ^\n"
                          "expected:\n"
                          "  match-all\n"
                          "  match-any\n"
                          "  type\n"
                          "  NAME\n" +
                          folder.file("a.kvel") +
                          ":3:1: error: class-map 'other' not configured\n"
                          "no class-map other\n"
                          "^\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, AnUnknownWordIsMarked) {
  const Finished done = run_kvelsh({"--memory", "-c", "show running-config;sho rumming-config"});
  EXPECT_EQ(done.err,
            "-c:2:5: error: unknown word \"rumming-config\" (did you mean \"running-config\"?)\n"
            "sho rumming-config\n"
            "    ^\n"
            "expected:\n"
            "  class-map\n"
            "  history\n"
            "  parameter-map\n"
            "  policy-map\n"
            "  running-config\n"
            "  service-policy\n"
            "  ssl-proxy\n"
            "  uses\n"
            "  version\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, SeveralFilesAreReplayedInOrderEachFromTheTop) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map web\n");
  write_file(folder.file("b"), "description lost\nshow running-config\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a"), folder.file("b")});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_THAT(done.err,
              HasSubstr(folder.file("b") + ":1:1: error: unknown word \"description\", which is a command of "));
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, CommandsAreCarriedOutAfterFiles) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map web\n");
  write_file(folder.file("bad"), "no such command\n");
  write_file(folder.file("quit"), "quit\n");
  Finished done = run_kvelsh({"--memory", folder.file("a"), "-c", "show running-config"});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.status, 0);
  done = run_kvelsh({"--memory", "-c", "show running-config", folder.file("bad"), folder.file("a")});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.status, 1);
  done = run_kvelsh({"--memory", "-c", "show nothing", folder.file("quit")});
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, QuitEndsTheReplay) {
  const Finished done = run_kvelsh({"--memory"}, "class-map web\nquit\nno such command\n");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory"}, "no such command\nexit\n").status, 1);
}

TEST(KvelshStart, WrongUsageIs2) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--no-such-option"},
                                                    {"--context", "65536"},
                                                    {"--context", "-1"},
                                                    {"--context", "x"},
                                                    {"--memory", "--store", "x"},
                                                    {"--memory", "--connect", "x"},
                                                    {"--memory", "--accept-loss"},
                                                    {"--connect", "x", "--accept-loss"},
                                                    {"--store"},
                                                    {"--store", ""},
                                                    {"--connect", "", "-c", "class-map web"},
                                                    {"--plugin", "", "--memory"},
                                                    {"--timeout", "0"},
                                                    {"--timeout", "x"},
                                                    {"-c"}}) {
    const Finished done = run_kvelsh(arguments);
    EXPECT_EQ(done.status, 2) << arguments.front();
    EXPECT_NE(done.err, "") << arguments.front();
    EXPECT_EQ(done.out, "") << arguments.front();
  }
}

// The report quotes the arguments; their characters do nothing to a terminal.
TEST(KvelshStart, WrongUsageIsReportedInPrintableCharacters) {
  const auto check = [](const char* program, const std::vector<std::string>& arguments) {
    const Finished done = run_program(program, arguments);
    EXPECT_EQ(done.status, 2);
    EXPECT_EQ(done.err.find_first_of("\x1b\xFF\xE2"), std::string::npos) << done.err;
    EXPECT_NE(done.err.find("?[2J"), std::string::npos) << done.err;
  };
  check(KVEL_KVELSH, {"--no-such\x1b[2Joption\xE2\x80\xAE"});
  check(KVEL_KVELSH, {"--context", "\x1b[2J\xFF"});
  check(KVEL_KVELMGRD, {"--store", "x", "--socket", "y", "--log-level", "\x1b[2J"});
}

TEST(KvelshStart, HelpAndVersion) {
  const Finished help = run_kvelsh({"--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option : {"--store FILE", "--memory", "--connect ADDRESS", "--context N", "-c ", "--plugin FILE",
                             "--help", "--version"}) {
    EXPECT_THAT(help.out, HasSubstr(option));
  }
  EXPECT_EQ(run_kvelsh({"--version"}).out, "kvelsh 0.1.0\n");
}

TEST(KvelshStart, ACommandFileThatCannotBeReadIs2AndNothingIsCarriedOut) {
  const TemporaryFolder folder;
  write_file(folder.file("good"), "show running-config\nclass-map web\nshow running-config\n");
  const Finished missing = run_kvelsh({"--memory", folder.file("good"), folder.file("missing")});
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(missing.err, "kvelsh: " + folder.file("missing") + ": No such file or directory\n");
  EXPECT_EQ(missing.status, 2);
  const Finished folder_given = run_kvelsh({"--memory", folder.path()});
  EXPECT_EQ(folder_given.err, "kvelsh: " + folder.path() + ": Is a directory\n");
  EXPECT_EQ(folder_given.status, 2);
}

TEST(KvelshStart, APluginThatLacksAHandlerOfTheGrammarIsRefusedByItsName) {
  const Finished other = run_kvelsh({"--memory", "--plugin", KVEL_EMPTY_PLUGIN, "-c", "exit"});
  EXPECT_EQ(other.status, 2);
  EXPECT_EQ(other.err, std::string("kvelsh: the plug-in ") + KVEL_EMPTY_PLUGIN +
                           " does not export kvelclassmap_config, which the grammar names\n");
  const Finished missing = run_kvelsh({"--memory", "--plugin", "/no/such/plugin.so", "-c", "exit"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.err, StartsWith("kvelsh: the plug-in cannot be loaded: /no/such/plugin.so: "));
}

TEST(KvelshStart, ASecondShellOnOneStorePrintsHowToShareIt) {
  const TemporaryFolder folder;
  const std::string store = folder.file("store.db");
  Background first(KVEL_KVELSH, {"--store", store});
  first.type("class-map web\nhistory\nno class-map missing\n");
  ASSERT_TRUE(first.printed("class-map 'missing' not configured"));

  const Finished second = run_kvelsh({"--store", store, "-c", "show running-config"});
  EXPECT_EQ(second.status, 2);
  EXPECT_EQ(second.out, "");
  EXPECT_THAT(second.err, HasSubstr("kvelmgrd --store " + store + " --socket SOCKET\n"));
  EXPECT_THAT(second.err, HasSubstr("kvelsh --connect SOCKET\n"));

  first.type("show running-config\n");
  first.end_input();
  EXPECT_EQ(first.wait(), 1);
  EXPECT_THAT(first.out(), HasSubstr("class-map match-all web\n"));
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "show running-config"}).out, "class-map match-all web\n");
}

TEST(KvelshStart, StoresThatCannotBeUsedAreRefusedAndLeftAsTheyAre) {
  const TemporaryFolder folder;
  const Finished directory = run_kvelsh({"--store", folder.path(), "-c", "exit"});
  EXPECT_EQ(directory.status, 2);
  EXPECT_THAT(directory.err, HasSubstr(folder.path()));

  write_file(folder.file("text"), std::string(10000, 'x'));
  const Finished corrupt = run_kvelsh({"--store", folder.file("text"), "-c", "exit"});
  EXPECT_EQ(corrupt.status, 2);
  EXPECT_THAT(corrupt.err, HasSubstr(folder.file("text")));
  EXPECT_EQ(read_file(folder.file("text")), std::string(10000, 'x'));

  const Finished nowhere = run_kvelsh({"-c", "exit"}, "", {"HOME=", "XDG_STATE_HOME="});
  EXPECT_EQ(nowhere.status, 2);
  EXPECT_THAT(nowhere.err, HasSubstr("--store FILE"));
}

TEST(KvelshStart, NobodyAtTheAddressIs2) {
  const TemporaryFolder folder;
  const Finished nobody = run_kvelsh({"--connect", folder.file("none"), "-c", "exit"});
  EXPECT_EQ(nobody.status, 2);
  EXPECT_THAT(nobody.err, StartsWith("kvelsh: no manager at " + folder.file("none") + ": "));
  EXPECT_EQ(run_kvelsh({"--connect", "tcp:host:1", "-c", "exit"}).status, 2);
}

// Bad lines: reported with their location, exit status 1, and the good lines around them are carried out.
class BadLine : public ::testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BadLine, IsRefusedAndTheOthersAreCarriedOut) {
  const auto& [line, error_message] = GetParam();
  const Finished done =
      run_kvelsh({"--memory"}, "class-map before\n" + line + "\nclass-map after\nshow running-config\n");
  EXPECT_EQ(done.out, "class-map match-all after\nclass-map match-all before\n");
  EXPECT_THAT(done.err, StartsWith("standard input:2:"));
  EXPECT_THAT(done.err, HasSubstr(error_message));
  EXPECT_EQ(done.status, 1);
}

std::string words(int count) {
  std::string line = "show";
  for (int index = 1; index < count; ++index)
    line += " w";
  return line;
}

INSTANTIATE_TEST_SUITE_P(Kvelsh, BadLine,
                         ::testing::Values(std::pair{"class-map " + std::string(64 * 1024, 'x'), "line"},
                                           std::pair{"class-map " + std::string(1024 * 1024, 'x'), "line"},
                                           std::pair{"class-map " + std::string(65, 'x'), "64"},
                                           std::pair{std::string("class-map \x01x"), "control"},
                                           std::pair{std::string("class-map a\0b", 13), "control"},
                                           std::pair{std::string("class-map \xff\xfe"), "UTF-8"},
                                           std::pair{std::string("class-map \xc3"), "UTF-8"},
                                           std::pair{words(300), "words"},
                                           std::pair{std::string("class-map \"open"), "quote"},
                                           std::pair{std::string("class-map"), "NAME"},
                                           std::pair{std::string("traffic-map web"), "traffic-map"},
                                           std::pair{std::string("class-map type no-such-type web"), "no-such-type"},
                                           std::pair{std::string("description"), "expected"}));

TEST(Kvelsh, AFileThatEndsInTheMiddleOfALineIsReportedAndItsLastLineIsComplete) {
  const Finished whole = run_kvelsh({"--memory"}, "class-map web\nshow running-config");
  EXPECT_EQ(whole.out, "class-map match-all web\n");
  EXPECT_EQ(whole.err, "standard input:2: warning: the file ends within this line; it may have been cut off\n");
  EXPECT_EQ(whole.status, 0);
  const Finished cut = run_kvelsh({"--memory"}, "class-map web\nshow runn ing");
  EXPECT_THAT(cut.err, HasSubstr("standard input:2:11: error: unknown word \"ing\"\nshow runn ing\n"));
  EXPECT_EQ(cut.status, 1);
}

// The byte after the longest line is no line end where more follows.
TEST(Kvelsh, ALineThatIsTooLongIsNeverTakenForItsBeginning) {
  const std::string longest = "class-map web" + std::string(65536 - 13, ' ');
  EXPECT_EQ(run_kvelsh({"--memory"}, longest + "\r\n").status, 0);
  for (const std::string more : {"\rx", "\r x y z", "\r\r"}) {
    const Finished done = run_kvelsh({"--memory"}, longest + more + "\nshow running-config\n");
    EXPECT_EQ(done.out, "");
    EXPECT_THAT(done.err, HasSubstr(": error: the line is longer than 65536 bytes\n"));
    EXPECT_EQ(done.status, 1);
  }
}

TEST(Kvelsh, AFailedLineIsReportedInWholePrintableCharacters) {
  EXPECT_THAT(run_kvelsh({"--memory"},
                         "exit \x1B[2J\xC2\x9B"
                         "2J\xFF.\n")
                  .err,
              StartsWith("standard input:1:6: error: control character\nexit ?[2J?2J?.\n     ^\n"));
  const std::string line = "x" + std::string(499, 'y') + "\u00FC";
  EXPECT_THAT(run_kvelsh({"--memory"}, line + "\n").err, HasSubstr("\n" + line.substr(0, 73) + "...\n^\n"));
}

TEST(KvelshStart, ACauseThatCannotBeReportedIs2Nevertheless) {
  for (const std::string redirected : {"2>/dev/full", "2>&-"}) {
    const Finished done = run_program(
        "/bin/sh", {"-c", "\"$0\" --memory --plugin /no/such/plugin.so -c exit " + redirected, KVEL_KVELSH});
    EXPECT_EQ(done.status, 2) << redirected;
  }
}

TEST(KvelshStart, APluginIsAFileAlsoWithoutItsFolder) {
  const Finished done = run_program(
      "/bin/sh", {"-c", "cd \"$(dirname \"$1\")\" && \"$0\" --memory --plugin \"$(basename \"$1\")\" -c exit",
                  KVEL_KVELSH, KVEL_PLUGIN});
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, OutputThatCannotBeWrittenIsAFailure) {
  const Finished done =
      run_program("/bin/sh", {"-c", "\"$0\" --memory -c 'class-map web; show running-config' >/dev/full", KVEL_KVELSH});
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(done.err,
            "-c:2:1: error: the output could not be written\nshow running-config\n^\n"
            "kvelsh: the output could not be written\n");
}

// The system lets no file grow beyond this limit.
TEST(Kvelsh, AStoreThatMayNotGrowIsARefusedCommandAndNotTheEnd) {
  const TemporaryFolder folder;
  const std::string store = folder.file("store.db");
  std::string commands;
  for (int number = 0; number < 500; ++number)
    commands += "class-map c" + std::to_string(number) + "\ndescription " + std::string(200, 'x') + "\nexit\n";
  const Finished done =
      run_program("/bin/sh", {"-c", "ulimit -f 200; \"$0\" --store \"$1\"", KVEL_KVELSH, store}, commands);
  EXPECT_EQ(done.status, 1);
  EXPECT_THAT(done.err, HasSubstr("nothing was changed"));
  const Finished reopened = run_kvelsh({"--store", store, "-c", "show class-map c0"});
  EXPECT_EQ(reopened.out, "class-map c0 (layer-3/4, match all)\n  description: " + std::string(200, 'x') + "\n");
}

}  // namespace
}  // namespace kvel::test::kvelsh_test
