// kvelsh as a program: service policies and the traffic that goes through them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/output/schema.h"
#include "tests/shell/process.h"

namespace kvel::test::kvelsh_service_policy_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(KvelshServicePolicy, TheExampleOfASiteIsAConfiguration) {
  const Finished done = run_kvelsh({"--memory", KVEL_ROOT "/examples/site.kvel", "-c", "show running-config"});
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.status, 0);
  EXPECT_THAT(done.out, HasSubstr("\n    permit\nservice-policy access global\npolicy-map type "));
  EXPECT_TRUE(
      done.out.ends_with("\n  class class-default\n    inspect icmp\nservice-policy site vlan 10\n"
                         "service-policy site vlan 20\n"));
  const TemporaryFolder folder;
  write_file(folder.file("again"), done.out);
  EXPECT_EQ(run_kvelsh({"--memory", folder.file("again"), "-c", "show running-config"}).out, done.out);
}

TEST(KvelshServicePolicy, CountsTheTrafficOfTheSite) {
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

TEST(KvelshServicePolicy, TheDocumentOfTheSiteKeepsToTheSchema) {
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

TEST(KvelshServicePolicy, AFailedShowCommandHasNoDocument) {
  const Finished done = run_kvelsh({"--memory", "-c", "show service-policy nobody | xml"});
  EXPECT_EQ(done.out, "");
  EXPECT_THAT(done.err, StartsWith("-c:1:1: error: "));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshServicePolicy, ServicePoliciesOutliveARestart) {
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
    EXPECT_THAT(done.err, HasSubstr(": error: " + text + "\n")) << line;
    EXPECT_EQ(done.status, 1) << line;
  }
}

TEST(KvelshServicePolicy, TrafficIsReadFromStandardInputOnlyWhenTheCommandsAreNot) {
  const TemporaryFolder folder;
  write_file(folder.file("a"), "traffic -\n");
  Finished done = run_kvelsh({"--memory"}, "traffic -\n{}\n");
  EXPECT_THAT(done.err, HasSubstr(": error: standard input cannot be read for flows: the commands are read from it\n"));
  EXPECT_EQ(done.status, 1);
  done = run_kvelsh({"--memory", folder.file("a")}, "");
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(done.out, "0 flows: 0 classified, 0 not classified, 0 refused\n");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "traffic -"}, "").status, 0);
}

TEST(KvelshServicePolicy, TrafficThatCannotBeReadFails) {
  const TemporaryFolder folder;
  const Finished done = run_kvelsh({"--memory", "-c", "traffic " + folder.file("none")});
  EXPECT_THAT(done.err, StartsWith("-c:1:1: error: " + folder.file("none") + ": No such file or directory\n"));
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.status, 1);
}

}  // namespace
}  // namespace kvel::test::kvelsh_service_policy_test
