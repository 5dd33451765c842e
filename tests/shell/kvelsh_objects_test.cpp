// kvelsh as a program: objects of every kind, typed, shown and kept.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/shell/process.h"

namespace kvel::test::kvelsh_objects_test {
namespace {

using ::testing::HasSubstr;

TEST(KvelshObjects, ReEnteringAClassMapByItsNameAloneChangesNothing) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "class-map match-any web; class-map web; description again; show running-config; "
                                    "class-map match-all web; show running-config"});
  EXPECT_EQ(done.out,
            "class-map match-any web\n  description again\n"
            "class-map match-all web\n  description again\n");
  EXPECT_EQ(done.status, 0);
}

TEST(KvelshObjects, ACommandOfTheOuterModeLeavesTheInnerOneAlsoWhenItFails) {
  const Finished done = run_kvelsh(
      {"--memory", "-c", "class-map web; class-map type management web; description not for web; show running-config"});
  EXPECT_EQ(done.out, "class-map match-all web\n");
  EXPECT_THAT(done.err, HasSubstr(": error: class-map 'web', already exists with a different type\n"));
  EXPECT_THAT(done.err, HasSubstr("-c:3: error: 1 line was passed over: "));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, RulesOutliveARestartWithTheirLineNumbers) {
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

TEST(KvelshObjects, ABadExpressionIsRefusedWithItsFault) {
  const Finished done = run_kvelsh(
      {"--memory", "-c", "class-map type http-inspection i; match url \"(a\"; match url \"[z-\"; show running-config"});
  EXPECT_EQ(done.out, "class-map type http-inspection match-all i\n");
  EXPECT_THAT(done.err, HasSubstr(": error: the expression has a ( without its ), at character 1\n"));
  EXPECT_THAT(done.err, HasSubstr(": error: the expression has a [ without its ], at character 1\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, AnInlineMatchHasNoPolicyMapToBeIn) {
  const Finished done = run_kvelsh({"--memory", "-c", "inline-match img match http url /i.*"});
  EXPECT_EQ(done.out, "");
  EXPECT_THAT(done.err, HasSubstr(": error: the policy-map has no such class or match\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, AnInlineMatchOfThePolicyMapGetsAnotherRule) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "policy-map type http-load-balancing p; match m http url a; drop; "
                                    "inline-match pm match http url b; show running-config"});
  EXPECT_EQ(done.out, "policy-map type http-load-balancing p\n  match m http url b\n    drop\n");
  EXPECT_EQ(done.status, 0);
}

TEST(KvelshObjects, ReEnteringAPolicyMapByItsNameAloneChangesNothing) {
  const std::string setup = "policy-map type http-load-balancing advanced subtype-2 p; ";
  const Finished again = run_kvelsh(
      {"--memory", "-c", setup + "policy-map type http-load-balancing p; description again; show running-config"});
  EXPECT_EQ(again.out, "policy-map type http-load-balancing advanced subtype-2 p\n  description again\n");
  EXPECT_EQ(again.status, 0);
  const Finished other = run_kvelsh({"--memory", "-c", setup + "policy-map p; description not for p"});
  EXPECT_EQ(other.out, "");
  EXPECT_THAT(other.err, HasSubstr(": error: policy-map 'p', already exists with a different type\n"));
  EXPECT_THAT(other.err, HasSubstr(": error: 1 line was passed over: "));
  EXPECT_EQ(other.status, 1);
}

TEST(KvelshObjects, ClassesKeepTheirOrderAndMove) {
  const TemporaryFolder folder;
  const std::string store = folder.file("s");
  const Finished done =
      run_kvelsh({"--store", store, "-c",
                  "class-map a; class-map b; class-map c; policy-map p; class a; security-acl; class b; "
                  "class c insert-before a; class class-default; inspect rtsp; class a insert-before class-default; "
                  "class nobody; policy-map p; class a insert-before nobody; policy-map p; class a insert-before a; "
                  "show policy-map p"});
  EXPECT_EQ(done.out,
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

TEST(KvelshObjects, AnActionAfterAClassThatCouldNotBeEnteredIsForNoOther) {
  const Finished done =
      run_kvelsh({"--memory", "-c", "class-map a; policy-map p; class a; class b; security-acl; show policy-map"});
  EXPECT_EQ(done.out, "policy-map p (layer-3/4)\n   10  class a\n");
  EXPECT_THAT(done.err, HasSubstr(": error: class-map 'b' not configured\n"));
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, ActionsOfClassDefaultReachItByItsReservedName) {
  const Finished done = run_kvelsh(
      {"--memory", "-c",
       "policy-map p; class class-default; nat dynamic 5; vip advertise when-active; vip metric 5; no vip advertise; "
       "inspect http url-logging; inspect http; nat static 10.0.0.1 mask 255.0.255.0; "
       "no nat static 10.0.0.1 mask 255.255.255.255; show running-config; "
       "policy-map type management p2; class class-default; deny; show policy-map p2"});
  EXPECT_EQ(done.out,
            "policy-map p\n"
            "  class class-default\n"
            "    nat dynamic 5\n"
            "    vip metric 5\n"
            "    inspect http\n"
            "policy-map p2 (management)\n"
            "   10  class class-default\n"
            "         deny\n");
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, WhatAPolicyMapNamesCannotBeDeleted) {
  const Finished done = run_kvelsh(
      {"--memory", "-c",
       "class-map c; policy-map type http-load-balancing shop; policy-map p; class c; load-balance policy shop; "
       "no class-map c; no policy-map type http-load-balancing shop; no policy-map p; "
       "no policy-map type http-load-balancing shop; no class-map c; show running-config"});
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "-c:6:1: error: class-map 'c' is in use. Deletion not allowed\n"
            "no class-map c\n"
            "^\n"
            "in use by policy-map p (class c)\n"
            "-c:7:1: error: policy-map 'shop' is in use. Deletion not allowed\n"
            "no policy-map type http-load-balancing shop\n"
            "^\n"
            "in use by policy-map p (class c)\n");
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshObjects, ActionsThatAreNotSupportedPrintItAndSucceed) {
  const Finished done =
      run_kvelsh({"--memory", "-c", "policy-map p; class class-default; qos; inspect; filter; show policy-map p"});
  EXPECT_EQ(done.out,
            "Error: This feature not supported/integrated yet\n"
            "Error: This feature not supported/integrated yet\n"
            "Error: This feature not supported for phase 1\n"
            "policy-map p (layer-3/4)\n");
  EXPECT_EQ(done.status, 0);
}

TEST(KvelshObjects, ContextsAreSeparate) {
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

TEST(KvelshObjects, ShowsClassMaps) {
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
  EXPECT_EQ(one.err, "-c:4:1: error: class-map 'nobody' not configured\nshow class-map nobody\n^\n");
  EXPECT_EQ(one.status, 1);
}

TEST(KvelshObjects, TheTextOfParameterMapsIsBetweenWhatTheShellPrints) {
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

TEST(KvelshObjects, AParameterMapOrServiceThatDoesNotExistIsOneErrorLine) {
  const Finished map = run_kvelsh({"--memory", "-c", "show parameter-map nobody"});
  EXPECT_EQ(map.out, "");
  EXPECT_EQ(map.err,
            "-c:1:1: error: the parameter-map does not exist\nshow parameter-map nobody\n^\n"
            "parameter-map 'nobody' does not exist\n");
  EXPECT_EQ(map.status, 1);
  const Finished service = run_kvelsh({"--memory", "-c", "show ssl-proxy nobody"});
  EXPECT_EQ(service.out, "");
  EXPECT_EQ(service.err, "-c:1:1: error: ssl-proxy service 'nobody' not configured\nshow ssl-proxy nobody\n^\n");
  EXPECT_EQ(service.status, 1);
}

TEST(KvelshObjects, ParameterMapsAndServicesOutliveARestartAndAreEnteredByName) {
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

TEST(KvelshObjects, WhatAnotherObjectRefersToStays) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "parameter-map type ssl m; ssl-proxy service s; parameter-map m; end; "
                                    "no parameter-map type ssl m; no parameter-map m; parameter-map type http m; "
                                    "class-map c; policy-map p; class c; ssl-proxy server s; end; "
                                    "no ssl-proxy service s; show running-config"});
  EXPECT_EQ(done.out,
            "parameter-map type ssl m\n"
            "ssl-proxy service s\n  parameter-map m\n"
            "class-map match-all c\n"
            "policy-map p\n  class c\n    ssl-proxy server s\n");
  EXPECT_THAT(done.err, HasSubstr("-c:5:1: error: the parameter-map is in use and cannot be deleted\n"));
  EXPECT_THAT(done.err, HasSubstr("\nin use by ssl-proxy s\n-c:6:1: error: the parameter-map is of another type\n"));
  EXPECT_THAT(done.err, HasSubstr("\n-c:7:1: error: the parameter-map is of another type\n"));
  EXPECT_THAT(done.err, HasSubstr("-c:13:1: error: the SSL-proxy service is in use and cannot be deleted\n"));
  EXPECT_EQ(done.status, 1);
}

// Refused before anything is sent.
TEST(KvelshObjects, SettingsThatContradictThemselves) {
  const Finished done = run_kvelsh({"--memory", "-c",
                                    "parameter-map c; tcp-options allow range 9 3; mss minimum 1500 maximum 1400; "
                                    "advanced setting-755; no mss minimum 1500 maximum 1400; show running-config"});
  EXPECT_EQ(done.out, "Not supported as yet.\nparameter-map type connection c\n");
  EXPECT_THAT(done.err, HasSubstr("-c:2:1: error: Min value greater than max value\n"));
  EXPECT_THAT(done.err, HasSubstr("-c:3:1: error: Minimum MSS cannot be greater than Maximum MSS\n"));
  EXPECT_EQ(done.status, 1);
}

// A bound that is not typed stays as it is, also where "no" takes the other one away.
TEST(KvelshObjects, ABoundOfTheSegmentSizeKeepsTheOther) {
  const auto mss_after = [](const std::string& commands) {
    const Finished done =
        run_kvelsh({"--memory", "-c", "parameter-map c; " + commands + "; show running-config | include mss"});
    return done.out + done.err;
  };
  EXPECT_EQ(mss_after("mss minimum 900; mss maximum 1000"), "  mss minimum 900 maximum 1000\n");
  EXPECT_EQ(mss_after("mss maximum 1000; mss minimum 900"), "  mss minimum 900 maximum 1000\n");
  EXPECT_EQ(mss_after("mss minimum 900"), "  mss minimum 900 maximum 1460\n");
  EXPECT_EQ(mss_after("mss minimum 900; mss maximum 0"), "  mss minimum 900 maximum 0\n");
  EXPECT_EQ(mss_after("mss minimum 900 maximum 1000; no mss minimum 900"), "  mss minimum 0 maximum 1000\n");
  EXPECT_EQ(mss_after("mss minimum 900 maximum 1000; no mss maximum 1000"), "  mss minimum 900 maximum 1460\n");
  EXPECT_EQ(mss_after("mss minimum 900 maximum 1000; no mss"), "");
  EXPECT_EQ(mss_after("mss minimum 1461"),
            "-c:2:1: error: the minimum would be above the maximum; give both in one command\n"
            "mss minimum 1461\n^\n");
}

TEST(KvelshObjects, ABarIsAWordWhereACommandHasNoOutputToFilter) {
  const Finished done = run_kvelsh({"--memory", "-c", "class-map web; description this | xml; show running-config"});
  EXPECT_EQ(done.out, "class-map match-all web\n  description this | xml\n");
  EXPECT_EQ(done.status, 0);
}

}  // namespace
}  // namespace kvel::test::kvelsh_objects_test
