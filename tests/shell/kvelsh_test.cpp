// kvelsh as a program: its options, what it prints where, and its exit status.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/output/schema.h"
#include "tests/shell/process.h"

namespace kvel::test {
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
  EXPECT_THAT(readme, HasSubstr("```\n$ ./run examples/class-maps.kvel\n" +
                                read_file(KVEL_ROOT "/tests/golden/class-maps.out") + "```\n"));
  EXPECT_THAT(readme, HasSubstr("```\n$ ./run examples/site.kvel -c 'traffic examples/site-flows.jsonl; "
                                "show service-policy site'\n" +
                                read_file(KVEL_ROOT "/tests/golden/site.out") + "```\n"));
}

TEST(Kvelsh, EverythingIsStillThereAtTheNextStart) {
  const TemporaryFolder folder;
  const std::string store = folder.file("a/b/store.db");
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

TEST(Kvelsh, StandardInputThatIsNoTerminalIsReplayed) {
  const Finished done = run_kvelsh({"--memory"}, "class-map web\n\n! a comment\n# another\nshow running-config\n");
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, AFailedLineIsToldWithItsPlaceAndTheRestIsCarriedOut) {
  const TemporaryFolder folder;
  write_file(folder.file("a.kvel"), "class-map web\nclass-map mach-any web\nno class-map other\nshow running-config\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a.kvel")});
  EXPECT_EQ(done.out, "Error: class-map 'other' not configured\nclass-map match-all web\n");
  EXPECT_EQ(done.err, folder.file("a.kvel") +
                          ":2: failed: class-map mach-any web\n"
                          "class-map mach-any web\n"
                          "          ^\n"
                          "Error: unknown word \"mach-any\"; expected: match-all, match-any, type, NAME\n" +
                          folder.file("a.kvel") + ":3: failed: no class-map other\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, AnUnknownWordIsMarked) {
  const Finished done = run_kvelsh({"--memory", "-c", "show running-config;sho rumming-config"});
  EXPECT_EQ(done.err,
            "-c:2: failed: sho rumming-config\n"
            "sho rumming-config\n"
            "    ^\n"
            "Error: unknown word \"rumming-config\"; expected: class-map, history, parameter-map, policy-map, "
            "running-config, service-policy, ssl-proxy\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, SeveralFilesAreReplayedInOrderEachFromTheTop) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "class-map web\n");
  write_file(folder.file("b"), "description lost\nshow running-config\n");
  const Finished done = run_kvelsh({"--memory", folder.file("a"), folder.file("b")});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_THAT(done.err, HasSubstr(folder.file("b") + ":1: failed: description lost\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, CommandsAreCarriedOutBehindFiles) {
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

TEST(Kvelsh, TheExampleOfASiteIsAConfiguration) {
  const Finished done = run_kvelsh({"--memory", KVEL_ROOT "/examples/site.kvel", "-c", "show running-config"});
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
  EXPECT_THAT(done.out, HasSubstr("\n    permission-2\nservice-policy access global\npolicy-map type "));
  EXPECT_TRUE(
      done.out.ends_with("\n  class class-default\n    inspect icmp\nservice-policy site vlan 10\n"
                         "service-policy site vlan 20\n"));
  const TemporaryFolder folder;
  write_file(folder.file("again"), done.out);
  EXPECT_EQ(run_kvelsh({"--memory", folder.file("again"), "-c", "show running-config"}).out, done.out);
}

TEST(Kvelsh, CountsTheTrafficOfTheSite) {
  const std::string flows = "traffic " KVEL_ROOT "/examples/site-flows.jsonl; ";
  const std::vector<std::string> site{"--memory", KVEL_ROOT "/examples/site.kvel", "-c"};
  const auto after_traffic = [&](const std::string& commands) {
    std::vector<std::string> arguments = site;
    arguments.push_back(flows + commands);
    return run_kvelsh(arguments);
  };
  Finished done = after_traffic("show service-policy site");
  EXPECT_EQ(done.out, read_file(KVEL_ROOT "/tests/golden/site.out"));
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);

  std::string one_flow = read_file(KVEL_ROOT "/examples/site-flows.jsonl");
  for (int lines = 6; lines > 0; --lines)
    one_flow.erase(0, one_flow.find('\n') + 1);
  one_flow.erase(one_flow.find('\n'));
  done = after_traffic("show service-policy detail; show service-policy | json; explain " + one_flow +
                       "; clear service-policy; show service-policy");
  EXPECT_EQ(done.out, read_file(KVEL_ROOT "/tests/golden/site-detail.out"));
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, TheDocumentOfTheSiteKeepsToTheSchema) {
  for (const std::string show :
       {"show service-policy", "show service-policy detail", "show service-policy site detail"}) {
    const Finished done = run_kvelsh({"--memory", KVEL_ROOT "/examples/site.kvel", "-c",
                                      "traffic " KVEL_ROOT "/examples/site-flows.jsonl; " + show + " | xml"});
    const std::string document = done.out.substr(done.out.find("<?xml"));
    EXPECT_EQ(output::testing::schema_faults(document), "") << document;
    EXPECT_EQ(done.err, "");
  }
  const Finished nothing = run_kvelsh({"--memory", "-c", "show service-policy | xml"});
  EXPECT_EQ(output::testing::schema_faults(nothing.out), "") << nothing.out;
}

TEST(Kvelsh, ADocumentOfAFailedShowCommandIsStillADocument) {
  const Finished done = run_kvelsh({"--memory", "-c", "show service-policy nobody | xml"});
  EXPECT_EQ(done.out, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xml_show_service_policy/>\n");
  EXPECT_THAT(done.err, StartsWith("Error: "));
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, ServicePoliciesOutliveARestart) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  Finished done = run_kvelsh({"--store", store, "-c",
                              "policy-map a; policy-map b; service-policy a vlan 10; service-policy a vlan 20; "
                              "service-policy b vlan 30; no service-policy a vlan 10"});
  EXPECT_EQ(done.out + done.err, "");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "show running-config"}).out,
            "policy-map a\nservice-policy a vlan 20\npolicy-map b\nservice-policy b vlan 30\n");
  for (const auto& [line, text] : std::vector<std::pair<std::string, std::string>>{
           {"service-policy a global",
            "a policy-map is applied to all traffic or to VLANs, not to both; take it away there first"},
           {"service-policy b vlan 20", "another policy-map of this type is applied there already"},
           {"no service-policy b global", "the policy-map is not applied there"},
           {"policy-map type ftp-inspection f; service-policy f global",
            "only a layer-3/4 or a management policy-map can be applied to traffic"}}) {
    done = run_kvelsh({"--store", store, "-c", line});
    EXPECT_THAT(done.err, HasSubstr("\nError: " + text + "\n")) << line;
    EXPECT_EQ(done.status, 1) << line;
  }
}

TEST(Kvelsh, TrafficIsReadFromStandardInputOnlyWhenTheCommandsAreNot) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "traffic -\n");
  Finished done = run_kvelsh({"--memory"}, "traffic -\n{}\n");
  EXPECT_THAT(done.err, HasSubstr("Error: standard input cannot hold flows: the commands come from it\n"));
  EXPECT_EQ(done.status, 1);
  done = run_kvelsh({"--memory", folder.file("a")}, "");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.out, "0 flows: 0 classified, 0 not classified, 0 refused\n");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "traffic -"}, "").status, 0);
}

TEST(Kvelsh, TrafficThatCannotBeReadFails) {
  const TemporaryFolder folder;
  const Finished done = run_kvelsh({"--memory", "-c", "traffic " + folder.file("none")});
  EXPECT_EQ(done.err, "-c:1: failed: traffic " + folder.file("none") + "\nError: " + folder.file("none") +
                          ": No such file or directory\n");
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, QuitEndsTheReplay) {
  const Finished done = run_kvelsh({"--memory"}, "class-map web\nquit\nno such command\n");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory"}, "no such command\nexit\n").status, 1);
}

TEST(Kvelsh, ReEnteringAClassMapByItsNameAloneChangesNothing) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "class-map match-any web; class-map web; description again; show running-config; "
                                    "class-map match-all web; show running-config"});
  EXPECT_EQ(done.out,
            "class-map match-any web\n  description again\n"
            "class-map match-all web\n  description again\n");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, ACommandOfTheOuterModeLeavesTheInnerOneAlsoWhenItFails) {
  const Finished done = run_kvelsh(
      {"--memory", "-c", "class-map web; class-map type management web; description not for web; show running-config"});
  EXPECT_EQ(done.out, "Error: class-map 'web', already exists with a different type\nclass-map match-all web\n");
  EXPECT_THAT(done.err, HasSubstr("-c:3: failed: description not for web\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, RulesOutliveARestartWithTheirLineNumbers) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  EXPECT_EQ(run_kvelsh({"--store", store, "-c",
                        "class-map web; match any; 25 match access-list partners; match port udp equal domain; no 10"})
                .status,
            0);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "class-map web; match any; show running-config"}).out,
            "class-map match-all web\n"
            "  25 match access-list partners\n"
            "  30 match port udp equal 53\n"
            "  40 match any\n");
}

TEST(Kvelsh, ABadExpressionIsRefusedWithItsFault) {
  const Finished done = run_kvelsh(
      {"--memory", "-c", "class-map type http-inspection i; match url \"(a\"; match url \"[z-\"; show running-config"});
  EXPECT_EQ(done.out,
            "Error: the expression has a ( without its ), at character 1\n"
            "Error: the expression has a [ without its ], at character 1\n"
            "class-map type http-inspection match-all i\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, AnInlineMatchHasNoPolicyMapToStandIn) {
  const Finished done = run_kvelsh({"--memory", "-c", "inline-match img match http url /i.*"});
  EXPECT_EQ(done.out, "Error: the policy-map has no such class or match\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, AnInlineMatchOfThePolicyMapGetsAnotherRule) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "policy-map type http-load-balancing p; match m http url a; drop; "
                                    "inline-match pm match http url b; show running-config"});
  EXPECT_EQ(done.out, "policy-map type http-load-balancing p\n  match m http url b\n    drop\n");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, ReEnteringAPolicyMapByItsNameAloneChangesNothing) {
  const std::string setup = "policy-map type http-load-balancing subtype-2 p; ";
  const Finished again = run_kvelsh(
      {"--memory", "-c", setup + "policy-map type http-load-balancing p; description again; show running-config"});
  EXPECT_EQ(again.out, "policy-map type http-load-balancing subtype-2 p\n  description again\n");
  EXPECT_EQ(again.status, 0);
  const Finished other = run_kvelsh({"--memory", "-c", setup + "policy-map p; description not for p"});
  EXPECT_EQ(other.out, "Error: policy-map 'p', already exists with a different type\n");
  EXPECT_THAT(other.err, HasSubstr("failed: description not for p\n"));
  EXPECT_EQ(other.status, 1);
}

TEST(Kvelsh, ClassesStandInTheirOrderAndMove) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  const Finished done =
      run_kvelsh({"--store", store, "-c",
                  "class-map a; class-map b; class-map c; policy-map p; class a; security-acl; class b; "
                  "class c insert-before a; class class-default; inspect rtsp; class a insert-before class-default; "
                  "class nobody; class a insert-before nobody; class a insert-before a; show policy-map p"});
  EXPECT_EQ(done.out,
            "Error: class-map 'nobody' not configured\n"
            "Error: insert-before class-map 'nobody' not configured\n"
            "Error: class name cannot be same as insert-before class name\n"
            "policy-map p (layer-3/4)\n"
            "   10  class c\n"
            "   20  class b\n"
            "   30  class a\n"
            "         security-acl\n"
            "   40  class class-default\n"
            "         inspect rtsp\n");
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c",
                        "policy-map p; no class b; renumber 5; no class class-default; show policy-map p"})
                .out,
            "policy-map p (layer-3/4)\n"
            "    5  class c\n"
            "   10  class a\n"
            "         security-acl\n");
}

TEST(Kvelsh, AnActionBehindAClassThatCouldNotBeEnteredIsForNoOther) {
  const Finished done =
      run_kvelsh({"--memory", "-c", "class-map a; policy-map p; class a; class b; security-acl; show policy-map"});
  EXPECT_EQ(done.out, "Error: class-map 'b' not configured\npolicy-map p (layer-3/4)\n   10  class a\n");
  EXPECT_THAT(done.err, HasSubstr("failed: security-acl\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, ActionsOfClassDefaultReachItByItsReservedName) {
  const Finished done = run_kvelsh(
      {"--memory", "-c",
       "policy-map p; class class-default; nat dynamic 5; vip advertise when-active; vip metric 5; no vip advertise; "
       "inspect http url-logging; inspect http; nat static 10.0.0.1 mask 255.0.255.0; "
       "no nat static 10.0.0.1 mask 255.255.255.255; show running-config; "
       "policy-map type management p2; class class-default; permission-2; show policy-map p2"});
  EXPECT_EQ(done.out,
            "Error: Invalid IP mask\n"
            "Error: the class has no such action\n"
            "policy-map p\n"
            "  class class-default\n"
            "    nat dynamic 5\n"
            "    vip metric 5\n"
            "    inspect http\n"
            "policy-map p2 (management)\n"
            "   10  class class-default\n"
            "         permission-2\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, WhatAPolicyMapNamesCannotBeDeleted) {
  const Finished done = run_kvelsh(
      {"--memory", "-c",
       "class-map c; policy-map type http-load-balancing shop; policy-map p; class c; load-balance policy shop; "
       "no class-map c; no policy-map type http-load-balancing shop; no policy-map p; "
       "no policy-map type http-load-balancing shop; no class-map c; show running-config"});
  EXPECT_EQ(done.out,
            "Error: class-map 'c' is in use. Deletion not allowed\n"
            "Error: policy-map 'shop' is in use. Deletion not allowed\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, ActionsThatAreNotSupportedSayItAndAreDone) {
  const Finished done =
      run_kvelsh({"--memory", "-c", "policy-map p; class class-default; qos; inspect; filter; show policy-map p"});
  EXPECT_EQ(done.out,
            "Error: This feature not supported/integrated yet\n"
            "Error: This feature not supported/integrated yet\n"
            "Error: This feature not supported for phase 1\n"
            "policy-map p (layer-3/4)\n");
  EXPECT_EQ(done.status, 0);
}

TEST(Kvelsh, ContextsAreSeparate) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  EXPECT_EQ(run_kvelsh({"--store", store, "--context", "7", "-c", "class-map web"}).status, 0);
  EXPECT_EQ(run_kvelsh({"--store", store, "--context", "65535", "-c", "class-map far"}).status, 0);
  EXPECT_EQ(run_kvelsh({"--store", store, "-c", "show running-config"}).out, "");
  EXPECT_EQ(run_kvelsh({"--store", store, "--context", "7", "-c", "show running-config"}).out,
            "class-map match-all web\n");
  EXPECT_EQ(run_kvelsh({"--store", store, "--context", "65535", "-c", "show running-config"}).out,
            "class-map match-all far\n");
}

TEST(Kvelsh, DocumentsOfTheConfiguration) {
  const char* setup = "class-map match-any web; description a <b> & \"c\"; ";
  EXPECT_EQ(run_kvelsh({"--memory", "-c", std::string(setup) + "show running-config | xml"}).out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<running_config>\n"
            "  <class-map>\n"
            "    <name>web</name>\n"
            "    <type>0</type>\n"
            "    <match_all>false</match_all>\n"
            "    <description>a &lt;b&gt; &amp; \"c\"</description>\n"
            "  </class-map>\n"
            "</running_config>\n");
  EXPECT_EQ(run_kvelsh({"--memory", "-c", std::string(setup) + "show running-config | json"}).out,
            "{\n"
            "  \"running_config\": {\n"
            "    \"class-map\": {\n"
            "      \"name\": \"web\",\n"
            "      \"type\": 0,\n"
            "      \"match_all\": false,\n"
            "      \"description\": \"a <b> & \\\"c\\\"\"\n"
            "    }\n"
            "  }\n"
            "}\n");
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "show running-config | yaml"}).status, 1);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "show running-config |"}).status, 1);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "show running-config | xml more"}).status, 1);
}

TEST(Kvelsh, FiltersTheLinesOfAnyShowCommand) {
  const std::string setup =
      "class-map match-any web; description a \"b | c\"; class-map mail; parameter-map type ssl m; ";
  const Finished lines = run_kvelsh(
      {"--memory", "-c",
       setup + "show running-config | include match- | exclude web; show running-config | begin web | count; "
               "show class-map | inc \"b | c\"; show parameter-map m | count; show history | count"});
  EXPECT_EQ(lines.out,
            "class-map match-all mail\n"
            "2\n"
            "  description: a \"b | c\"\n"
            "6\n"
            "0\n");
  EXPECT_EQ(lines.err, "");
  EXPECT_EQ(lines.status, 0);
}

TEST(Kvelsh, AMisspeltFilterKeepsTheCommandFromRunning) {
  const Finished done = run_kvelsh({"--memory", "-c", "show class-map nobody | includes a"});
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "-c:1: failed: show class-map nobody | includes a\n"
            "show class-map nobody | includes a\n"
            "                        ^\n"
            "Error: unknown word \"includes\"; expected: begin, count, exclude, include, json, save, xml\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, ErrorsOfAFilteredCommandGoToStandardError) {
  const Finished done = run_kvelsh({"--memory", "-c", "show parameter-map nobody | include nothing"});
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "Error: the parameter-map does not exist\n"
            "-c:1: failed: show parameter-map nobody | include nothing\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, SavesAndReplaysItsConfiguration) {
  const TemporaryFolder folder;
  const std::string saved = folder.file("my configuration");
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "class-map web; show running-config | save \"" + saved + "\""}).out, "");
  EXPECT_EQ(read_file(saved), "class-map match-all web\n");
  EXPECT_EQ(run_kvelsh({"--memory", saved}).status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "show running-config | json | save \"" + saved + "\""}).status, 0);
  EXPECT_EQ(read_file(saved), "{\n  \"running_config\": {}\n}\n");

  const Finished failed = run_kvelsh({"--memory", "-c", "show running-config | save " + folder.file("no/where")});
  EXPECT_EQ(failed.err, "-c:1: failed: show running-config | save " + folder.file("no/where") + "\nError: '" +
                            folder.file("no/where") + "' cannot be written: No such file or directory\n");
  EXPECT_EQ(failed.status, 1);
}

TEST(Kvelsh, ShowsClassMaps) {
  const std::string setup =
      "class-map match-any web; description a b; class-map type ftp-inspection match-any \"f f\"; ";
  const Finished all = run_kvelsh({"--memory", "-c", setup + "show class-map"});
  EXPECT_EQ(all.out,
            "class-map \"f f\" (FTP inspection, match any)\n"
            "class-map web (layer-3/4, match any)\n"
            "  description: a b\n");
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", setup + "show class-map \"f f\""}).out,
            "class-map \"f f\" (FTP inspection, match any)\n");
  const Finished one = run_kvelsh({"--memory", "-c", setup + "show class-map nobody"});
  EXPECT_EQ(one.out, "");
  EXPECT_EQ(one.err, "-c:4: failed: show class-map nobody\nError: class-map 'nobody' not configured\n");
  EXPECT_EQ(one.status, 1);
}

TEST(Kvelsh, TheTextOfParameterMapsStandsBetweenWhatTheShellPrints) {
  const std::string setup =
      "parameter-map type ssl m; cipher rsa-with-des-cbc-sha priority 7; ssl-proxy service s; key k; ";
  const Finished shown =
      run_kvelsh({"--memory", "-c", setup + "show ssl-proxy; show parameter-map m; show ssl-proxy s"});
  EXPECT_EQ(shown.out,
            "ssl-proxy service s\n  key k\n"
            "\n\n Parameter-map : m\n"
            " Type : ssl\n"
            "    version                            : all\n"
            "    close-protocol                     : strict\n"
            "    Accepted cipher list:              \n"
            "      RSA_WITH_DES_CBC_SHA (priority:7)\n"
            "ssl-proxy service s\n  key k\n");
  EXPECT_EQ(shown.err, "");
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", setup + "show parameter-map | json"}).out,
            "{\n"
            "  \"parameter_maps\": {\n"
            "    \"parameter-map\": {\n"
            "      \"name\": \"m\",\n"
            "      \"type\": \"ssl\",\n"
            "      \"setting\": {\n"
            "        \"setting\": \"cipher\",\n"
            "        \"name\": \"rsa-with-des-cbc-sha\",\n"
            "        \"priority\": 7\n"
            "      }\n"
            "    }\n"
            "  }\n"
            "}\n");
}

TEST(Kvelsh, AParameterMapOrServiceThatDoesNotExistIsOneErrorLine) {
  const Finished map = run_kvelsh({"--memory", "-c", "show parameter-map nobody"});
  EXPECT_EQ(map.out, "Error: the parameter-map does not exist\n");
  EXPECT_EQ(map.err, "-c:1: failed: show parameter-map nobody\n");
  EXPECT_EQ(map.status, 1);
  const Finished service = run_kvelsh({"--memory", "-c", "show ssl-proxy nobody"});
  EXPECT_EQ(service.out, "");
  EXPECT_EQ(service.err, "-c:1: failed: show ssl-proxy nobody\nError: ssl-proxy service 'nobody' not configured\n");
  EXPECT_EQ(service.status, 1);
}

TEST(Kvelsh, ParameterMapsAndServicesOutliveARestartAndAreEnteredByName) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  EXPECT_EQ(run_kvelsh({"--store", store, "-c",
                        "parameter-map c; queue-limit 5; keepalive; parameter-map type ssl m; version ssl3; "
                        "ssl-proxy service s; parameter-map m; chain-group g"})
                .status,
            0);
  const Finished again =
      run_kvelsh({"--store", store, "-c",
                  "parameter-map c; no queue-limit; parameter-map type ssl m; no version; close-protocol none; "
                  "ssl-proxy service s; no chain-group g; key k; show running-config"});
  EXPECT_EQ(again.out,
            "parameter-map type connection c\n  keepalive\n"
            "parameter-map type ssl m\n  close-protocol none\n"
            "ssl-proxy service s\n  key k\n  parameter-map m\n");
  EXPECT_EQ(again.err, "");
  EXPECT_EQ(again.status, 0);
}

TEST(Kvelsh, WhatAnotherObjectRefersToStays) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "parameter-map type ssl m; ssl-proxy service s; parameter-map m; end; "
                                    "no parameter-map type ssl m; no parameter-map m; parameter-map type http m; "
                                    "class-map c; policy-map p; class c; ssl-proxy server s; end; "
                                    "no ssl-proxy service s; show running-config"});
  EXPECT_EQ(done.out,
            "Error: the parameter-map is in use and cannot be deleted\n"
            "Error: the parameter-map is of another type\n"
            "Error: the parameter-map is of another type\n"
            "Error: the SSL-proxy service is in use and cannot be deleted\n"
            "parameter-map type ssl m\n"
            "ssl-proxy service s\n  parameter-map m\n"
            "class-map match-all c\n"
            "policy-map p\n  class c\n    ssl-proxy server s\n");
  EXPECT_EQ(done.status, 1);
}

// Refused before anything is sent.
TEST(Kvelsh, SettingsThatContradictThemselves) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "parameter-map c; tcp-options allow range 9 3; mss minimum 1500 maximum 1400; "
                                    "advanced setting-755; no mss minimum 1500 maximum 1400; show running-config"});
  EXPECT_EQ(done.out,
            "Error: Min value greater than max value\n"
            "Error: Minimum MSS cannot be greater than Maximum MSS\n"
            "Not supported as yet.\n"
            "parameter-map type connection c\n");
  EXPECT_EQ(done.status, 1);
}

TEST(Kvelsh, ABarIsAWordWhereACommandHasNoOutputToFilter) {
  const Finished done = run_kvelsh({"--memory", "-c", "class-map web; description this | xml; show running-config"});
  EXPECT_EQ(done.out, "class-map match-all web\n  description this | xml\n");
  EXPECT_EQ(done.status, 0);
}

TEST(KvelshStart, WrongUsageIs2) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--no-such-option"},
                                                    {"--context", "65536"},
                                                    {"--context", "-1"},
                                                    {"--context", "x"},
                                                    {"--memory", "--store", "x"},
                                                    {"--memory", "--connect", "x"},
                                                    {"--store"},
                                                    {"-c"}}) {
    const Finished done = run_kvelsh(arguments);
    EXPECT_EQ(done.status, 2) << arguments.front();
    EXPECT_NE(done.err, "") << arguments.front();
    EXPECT_EQ(done.out, "") << arguments.front();
  }
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

TEST(KvelshStart, ASecondShellOnOneStoreIsToldHowToShareIt) {
  const TemporaryFolder folder;
  const std::string store = folder.file("store.db");
  Background first(KVEL_KVELSH, {"--store", store});
  first.type("class-map web\nhistory\nno class-map missing\n");
  ASSERT_TRUE(first.printed("failed: no class-map missing"));

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

// Bad lines: told with their place, exit status 1, and the good lines around them are carried out.
class BadLine : public ::testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BadLine, IsRefusedAndTheOthersAreCarriedOut) {
  const auto& [line, complaint] = GetParam();
  const Finished done =
      run_kvelsh({"--memory"}, "class-map before\n" + line + "\nclass-map after\nshow running-config\n");
  EXPECT_EQ(done.out, "class-map match-all after\nclass-map match-all before\n");
  EXPECT_THAT(done.err, StartsWith("standard input:2: failed: "));
  EXPECT_THAT(done.err, HasSubstr(complaint));
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

TEST(Kvelsh, AFileThatEndsInTheMiddleOfALineIsToldAndItsLastLineStandsForItself) {
  const Finished whole = run_kvelsh({"--memory"}, "class-map web\nshow running-config");
  EXPECT_EQ(whole.out, "class-map match-all web\n");
  EXPECT_EQ(whole.err, "standard input:2: warning: the file ends within this line; it may have been cut off\n");
  EXPECT_EQ(whole.status, 0);
  const Finished cut = run_kvelsh({"--memory"}, "class-map web\nshow runn ing");
  EXPECT_THAT(cut.err, HasSubstr("standard input:2: failed: show runn ing\n"));
  EXPECT_EQ(cut.status, 1);
}

TEST(Kvelsh, OutputThatCannotBeWrittenIsAFailure) {
  const Finished done =
      run_program("/bin/sh", {"-c", "\"$0\" --memory -c 'class-map web; show running-config' >/dev/full", KVEL_KVELSH});
  EXPECT_EQ(done.status, 1);
  EXPECT_EQ(done.err, "kvelsh: the output could not be written\n");
}

}  // namespace
}  // namespace kvel::test
