// Parts of the configuration, what refers to an object, and warnings about the match mode, by the program itself.
#include <gtest/gtest.h>

#include <string>

#include "tests/shell/process.h"

namespace kvel::test::show_uses_test {
namespace {

constexpr const char* kSetup =
    "class-map match-any web; match any; match port tcp equal 80;"
    "policy-map type http-load-balancing shop; class class-default; drop;"
    "parameter-map type ssl old; ssl-proxy service front; parameter-map old;"
    "policy-map site; class web; load-balance policy shop; ssl-proxy server front; service-policy site vlan 10; end;";

Finished after_setup(const std::string& commands) { return run_kvelsh({"--memory", "-c", kSetup + commands}); }

TEST(ShowUses, ListsTheCommandsThatReferToAnObject) {
  const auto uses = [](const std::string& name) { return after_setup("show uses " + name).out; };
  EXPECT_EQ(uses("web"), "policy-map site\n  class web\n");
  EXPECT_EQ(uses("shop"), "policy-map site\n  class web\n    load-balance policy shop\n");
  EXPECT_EQ(uses("front"), "policy-map site\n  class web\n    ssl-proxy server front\n");
  EXPECT_EQ(uses("old"), "ssl-proxy front\n  parameter-map old\n");
  EXPECT_EQ(uses("site"), "policy-map site\n  service-policy site vlan 10\n");
  EXPECT_EQ(after_setup("class-map idle; show uses idle").out, "nothing refers to 'idle'\n");
  const Finished unknown = after_setup("show uses nobody");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.out, "");
  EXPECT_NE(unknown.err.find(": error: no object is called 'nobody'\n"), std::string::npos) << unknown.err;
  EXPECT_EQ(after_setup("show uses old | xml").out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<uses>\n  <use>\n    <kind>ssl-proxy</kind>\n"
            "    <name>front</name>\n    <command>parameter-map old</command>\n  </use>\n</uses>\n");
}

TEST(ShowRunningConfig, OfAKindAndOfOneObject) {
  const std::string web = "class-map match-any web\n  10 match any\n  20 match port tcp equal 80\n";
  const std::string shop = "policy-map type http-load-balancing shop\n  class class-default\n    drop\n";
  EXPECT_EQ(after_setup("class-map other; show running-config class-map web").out, web);
  EXPECT_EQ(after_setup("show running-config class-map").out, web);
  EXPECT_EQ(after_setup("show running-config policy-map shop").out, shop);
  EXPECT_EQ(after_setup("show running-config parameter-map").out, "parameter-map type ssl old\n");
  EXPECT_EQ(after_setup("show running-config ssl-proxy front").out, "ssl-proxy service front\n  parameter-map old\n");
  const Finished unknown = after_setup("show running-config policy-map web");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_NE(unknown.err.find(": error: policy-map 'web' not configured\n"), std::string::npos) << unknown.err;
}

TEST(ShowVersion, NamesIt) { EXPECT_EQ(run_kvelsh({"--memory", "-c", "show version"}).out, "kvel " KVEL_VERSION "\n"); }

TEST(SourceAddress, WithoutAMaskIsOneHost) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "class-map match-any a; match source-address 10.9.9.9; match source-address "
                                    "10.1.0.0/16; match destination-address 10.2.0.0/15; no match source-address "
                                    "10.1.0.0/16; show running-config"});
  EXPECT_EQ(done.out,
            "class-map match-any a\n  10 match source-address 10.9.9.9 255.255.255.255\n"
            "  30 match destination-address 10.2.0.0 255.254.0.0\n");
}

TEST(MatchMode, AChangeThatTurnsRulesRoundIsToldOf) {
  const Finished done = after_setup("class-map match-all web; match any; show running-config class-map");
  EXPECT_EQ(done.status, 0);
  EXPECT_EQ(done.err, "-c:16: warning: class-map 'web' is match-all now: the match mode of 2 rules changed\n");
  EXPECT_EQ(done.out.substr(0, done.out.find('\n')), "class-map match-all web");
  for (const char* silent : {"class-map match-any web", "class-map web", "class-map match-all new",
                             "class-map empty; class-map match-any empty", "no class-map match-all web"})
    EXPECT_EQ(after_setup(silent).err.find("warning"), std::string::npos) << silent;
}

TEST(Messages, ShowNothingThatATerminalCouldTakeForMoreThanText) {
  const Finished done = run_kvelsh({"--memory", "-c", "show class-map a\u202Eb; traffic /no/\x7F\u2028file"});
  for (const char* hidden : {"\u202E", "\u2028", "\x7F"})
    EXPECT_EQ(done.err.find(hidden), std::string::npos) << done.err;
  const Finished missing = run_kvelsh({"--memory", "/no/a\x1B\u202Eb"});
  EXPECT_EQ(missing.err, "kvelsh: /no/a??b: No such file or directory\n");
}

}  // namespace
}  // namespace kvel::test::show_uses_test
