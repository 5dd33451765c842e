// Replays as a program: what a failed line means for the lines below it, where failures are told, and what ends a
// replay.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "tests/shell/process.h"

namespace kvel::test::kvelsh_replay_test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// The mistyped line is the head of a block; the policy-map before it must stay as it is.
constexpr const char* kMistypedHead =
    "policy-map type http-inspection g\n"
    "  class class-default\n"
    "    permit\n"
    "policy-map typ http-inspektion h\n"
    "  class class-default\n"
    "\n"
    "    ! a comment\n"
    "    reset\n"
    "show running-config\n";
constexpr const char* kOnlyTheFirst = "policy-map type http-inspection g\n  class class-default\n    permit\n";

std::string without_indentation(const std::string& text) {
  std::string flat;
  bool at_start = true;
  for (const char byte : text) {
    if (at_start && byte == ' ') continue;
    flat += byte;
    at_start = byte == '\n';
  }
  return flat;
}

TEST(KvelshFailedHead, LinesIndentedBelowItArePassedOver) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), kMistypedHead);
  const Finished done = run_kvelsh({"--memory", folder.file("a")});
  EXPECT_EQ(done.out, kOnlyTheFirst);
  EXPECT_EQ(done.err, folder.file("a") +
                          ":4:16: error: unknown word \"http-inspektion\" (did you mean \"http-inspection\"?)\n"
                          "policy-map typ http-inspektion h\n"
                          "               ^\n"
                          "expected:\n"
                          "  ftp-inspection\n"
                          "  http-inspection\n"
                          "  http-load-balancing\n"
                          "  management\n"
                          "  <cr>\n" +
                          folder.file("a") +
                          ":5-8: error: 2 lines were passed over: indented below line 4, which failed\n");
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(run_kvelsh({"--memory"}, kMistypedHead).out, kOnlyTheFirst);
}

TEST(KvelshFailedHead, WithoutIndentationTheLinesUpToTheNextTopCommandArePassedOver) {
  for (const std::string& text : {without_indentation(kMistypedHead), "  " + without_indentation(kMistypedHead)}) {
    const Finished done = run_kvelsh({"--memory"}, text);
    EXPECT_EQ(done.out, kOnlyTheFirst);
    EXPECT_THAT(done.err, EndsWith("standard input:5-8: error: 2 lines were passed over: up to the next command of the "
                                   "top mode, since line 4 failed\n"));
  }
  const Finished commands = run_kvelsh({"--memory", "-c",
                                        "policy-map type http-inspection g; class class-default; permit; "
                                        "polcy-map type http-inspection h; class class-default; reset; exit; exit; "
                                        "show running-config | count"});
  EXPECT_EQ(commands.out, "3\n");
  EXPECT_THAT(commands.err, EndsWith("-c:5-8: error: 4 lines were passed over: up to the next command of the top mode, "
                                     "since line 4 failed\n"));
}

TEST(KvelshFailedHead, ALineWhoseHandlerRefusesItLeavesNoOtherObjectOpen) {
  const std::string text =
      "class-map web\n"
      "policy-map p\n"
      "class web\n"
      "vip in-service\n"
      "class nobody\n"
      "security-acl\n"
      "class-map mail\n"
      "description mail\n"
      "show policy-map p\n";
  const Finished done = run_kvelsh({"--memory"}, text);
  EXPECT_EQ(done.out, "policy-map p (layer-3/4)\n   10  class web\n         vip in-service\n");
  EXPECT_THAT(done.err, HasSubstr("standard input:6: error: 1 line was passed over: "));
}

// Of an indented block only the part below the failed line is lost.
TEST(KvelshFailedHead, WhatFollowsAtItsOwnIndentationIsCarriedOut) {
  const Finished done = run_kvelsh({"--memory"},
                                   "class-map a\n"
                                   "policy-map p\n"
                                   "  class nobody\n"
                                   "    vip in-service\n"
                                   "  class a\n"
                                   "    vip in-service\n"
                                   "  descripton typed wrong\n"
                                   "  description right\n"
                                   "show running-config\n");
  EXPECT_EQ(done.out, "class-map match-all a\npolicy-map p\n  description right\n  class a\n    vip in-service\n");
  EXPECT_THAT(done.err, HasSubstr("standard input:4: error: 1 line was passed over: indented below line 3, which "
                                  "failed\n"));
}

TEST(KvelshFailedHead, AWordThatNobodyKnowsMayHaveBeenOne) {
  const Finished done = run_kvelsh({"--memory"},
                                   "class-map web\n"
                                   "zone shop\n"
                                   "description of the zone\n"
                                   "\x01\n"
                                   "show running-config\n");
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_THAT(done.err, EndsWith("standard input:3-4: error: 2 lines were passed over: up to the next command of the "
                                 "top mode, since line 2 failed\n"));
}

TEST(KvelshFailedHead, ALineThatOpensNothingPassesNothingOver) {
  const Finished done = run_kvelsh({"--memory"},
                                   "class-map web\nmatch nothing\ndescription kept\nno class-map other\n"
                                   "show running-config\n");
  EXPECT_EQ(done.out, "class-map match-all web\n  description kept\n");
  EXPECT_THAT(done.err, Not(HasSubstr("passed over")));
}

TEST(KvelshFailedHead, AtTheEndOfAFileItsLinesAreReported) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map mach-any a\n description x\n");
  write_file(folder.file("b"), " class-map b\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a"), folder.file("b"), "-c", "show running-config"});
  EXPECT_EQ(done.out, "class-map match-all b\n");
  EXPECT_THAT(done.err, EndsWith("a:2: error: 1 line was passed over: indented below line 1, which failed\n"));
}

TEST(KvelshFailure, IsToldOnStandardErrorWithWhatItsHandlerPrinted) {
  const Finished done = run_kvelsh({"--memory"}, "\tclass-map web\n  no class-map other\nshow parameter-map nobody\n");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "standard input:2:3: error: class-map 'other' not configured\n"
            "  no class-map other\n"
            "  ^\n"
            "standard input:3:1: error: the parameter-map does not exist\n"
            "show parameter-map nobody\n"
            "^\n"
            "parameter-map 'nobody' does not exist\n");
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshFailure, CountsCharactersForItsColumn) {
  EXPECT_THAT(run_kvelsh({"--memory"}, "class-map \xC3\xBC x\n").err, StartsWith("standard input:1:13: error: "));
}

TEST(KvelshFailure, ADocumentIsPrintedWholeOrNotAtAll) {
  for (const char* format : {"xml", "json"}) {
    const Finished done = run_kvelsh({"--memory", "-c", std::string("show parameter-map nobody | ") + format});
    EXPECT_EQ(done.out, "") << format;
    EXPECT_THAT(done.err, StartsWith("-c:1:1: error: ")) << format;
    EXPECT_EQ(done.status, 1) << format;
  }
}

TEST(KvelshFailure, AnObjectInUseIsToldByItsUsers) {
  const std::string setup =
      "class-map c; class-map type http-load-balancing n; class-map type http-load-balancing l; match class-map n; "
      "policy-map type http-load-balancing lb; parameter-map type ssl m; ssl-proxy service s; parameter-map m; end; "
      "policy-map p; class c; load-balance policy lb; ssl-proxy server s; policy-map q; class c; end; "
      "service-policy p vlan 10; service-policy p vlan 20; ";
  const auto told = [&](const std::string& line) { return run_kvelsh({"--memory", "-c", setup + line}).err; };
  EXPECT_THAT(told("no class-map c"),
              EndsWith("^\nin use by policy-map p (class c)\nin use by policy-map q (class c)\n"));
  EXPECT_THAT(told("no class-map type http-load-balancing n"), EndsWith("^\nin use by class-map l\n"));
  EXPECT_THAT(told("no policy-map p"), EndsWith("^\nin use by service-policy vlan 10 20\n"));
  EXPECT_THAT(told("no policy-map type http-load-balancing lb"), EndsWith("^\nin use by policy-map p (class c)\n"));
  EXPECT_THAT(told("no parameter-map type ssl m"), EndsWith("^\nin use by ssl-proxy s\n"));
  EXPECT_THAT(told("no ssl-proxy service s"), EndsWith("^\nin use by policy-map p (class c)\n"));
}

TEST(KvelshFailure, WhatDoesNotExistIsNamed) {
  EXPECT_THAT(run_kvelsh({"--memory", "-c", "service-policy nobody global"}).err,
              EndsWith("policy-map 'nobody' does not exist\n"));
  // Handlers name some of it themselves.
  EXPECT_THAT(run_kvelsh({"--memory", "-c", "class-map a; policy-map p; class a insert-before nothing"}).err,
              EndsWith(":3:1: error: insert-before class-map 'nothing' not configured\n"
                       "class a insert-before nothing\n^\n"));
  EXPECT_THAT(run_kvelsh({"--memory", "-c", "inline-match img match http url /i.*"}).err,
              EndsWith("'img' is no class or match of the policy-map\n"));
}

TEST(KvelshReplay, StopsAtTheFirstFailedLineWhenToldTo) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map web\n! comment\nmatch nothing\nshow running-config\n");
  const Finished done =
      run_kvelsh({"--memory", "--stop-on-error", folder.file("a"), folder.file("a"), "-c", "show running-config"});
  EXPECT_EQ(done.out, "");
  EXPECT_THAT(done.err, EndsWith(":3: error: the replay ends here, since a line failed; 1 line was carried out\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshReplay, SaysWhereASignalEndedIt) {
  for (const auto& [signal, name] : {std::pair{SIGINT, "SIGINT"}, std::pair{SIGTERM, "SIGTERM"}}) {
    Background shell(KVEL_KVELSH, {"--memory"});
    shell.type("class-map web\nno class-map missing\nshow class-map\n");
    ASSERT_TRUE(shell.printed("class-map web (layer-3/4, match all)"));
    shell.signal(signal);
    EXPECT_EQ(shell.wait(), -1) << name;
    EXPECT_THAT(shell.err(), EndsWith(std::string("standard input:4: error: the replay was ended by ") + name +
                                      "; 2 lines were carried out\n"));
  }
}

TEST(KvelshReplay, TakesStandardInputAmongItsFiles) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map a\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a"), "-", "-c", "show running-config"},
                                   "\xEF\xBB\xBF"
                                   "class-map b\ntraffic -\n");
  EXPECT_EQ(done.out, "class-map match-all a\nclass-map match-all b\n");
  EXPECT_THAT(done.err, StartsWith("standard input:2:1: error: standard input cannot be read for flows"));
}

TEST(KvelshReplay, AByteOrderMarkIsNoPartOfTheFirstLineAlone) {
  EXPECT_EQ(run_kvelsh({"--memory"},
                       "\xEF\xBB\xBF"
                       "class-map a\n")
                .err,
            "");
  EXPECT_EQ(run_kvelsh({"--memory"},
                       "class-map a\n\xEF\xBB\xBF"
                       "class-map b\n")
                .status,
            1);
}

TEST(KvelshReplay, CarriesOutEveryTextOfCInOrder) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map a\n");
  const Finished done = run_kvelsh(
      {"--memory", "-c", "class-map b; nothing", "-c", "show running-config; no class-map c", folder.file("a")});
  EXPECT_EQ(done.out, "class-map match-all a\nclass-map match-all b\n");
  EXPECT_THAT(done.err, HasSubstr("-c:2:1: error: "));
  EXPECT_THAT(done.err, HasSubstr("-c:4:1: error: "));
}

TEST(KvelshReplay, HelpThatCannotBePrintedIsAFailure) {
  const Finished done = run_program("/bin/sh", {"-c", "\"$0\" --help >/dev/full", KVEL_KVELSH});
  EXPECT_EQ(done.err, "kvelsh: the output could not be written\n");
  EXPECT_EQ(done.status, 2);
}

TEST(KvelshReplay, WhatHasNoEndIsAnError) {
  const Finished commands = run_kvelsh({"--memory", "/dev/zero"});
  EXPECT_EQ(commands.err, "/dev/zero:1: error: cannot read on: the line does not end within 16777216 bytes\n");
  EXPECT_EQ(commands.status, 1);
  const Finished flows = run_kvelsh({"--memory", "-c", "traffic /dev/zero"});
  EXPECT_THAT(flows.err, HasSubstr("-c:1:1: error: /dev/zero: line 1 does not end within 16777216 bytes\n"));
  EXPECT_EQ(flows.status, 1);
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
  const Finished saved = run_kvelsh({"--memory", "-c", "show running-config | save " + folder.file("fifo")});
  EXPECT_THAT(saved.err, HasSubstr("cannot be written: it is no regular file; give another name\n"));
  EXPECT_EQ(saved.status, 1);
}

}  // namespace
}  // namespace kvel::test::kvelsh_replay_test
