// kvelsh as a program: documents, filters and saved output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/shell/process.h"

namespace kvel::test::kvelsh_output_test {
namespace {

TEST(KvelshOutput, DocumentsOfTheConfiguration) {
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

TEST(KvelshOutput, FiltersTheLinesOfAnyShowCommand) {
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

TEST(KvelshOutput, AMisspeltFilterKeepsTheCommandFromRunning) {
  const Finished done = run_kvelsh({"--memory", "-c", "show class-map nobody | includes a"});
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "-c:1:25: error: unknown word \"includes\" (did you mean \"include\"?)\n"
            "show class-map nobody | includes a\n"
            "                        ^\n"
            "expected:\n"
            "  begin\n"
            "  count\n"
            "  exclude\n"
            "  include\n"
            "  json\n"
            "  save\n"
            "  xml\n");
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshOutput, ErrorsOfAFilteredCommandGoToStandardError) {
  const Finished done = run_kvelsh({"--memory", "-c", "show parameter-map nobody | include nothing"});
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.err,
            "-c:1:1: error: the parameter-map does not exist\n"
            "show parameter-map nobody | include nothing\n"
            "^\n"
            "parameter-map 'nobody' does not exist\n");
  EXPECT_EQ(done.status, 1);
}

TEST(KvelshOutput, SavesAndReplaysItsConfiguration) {
  const TemporaryFolder folder;
  const std::string saved = folder.file("my configuration");
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "class-map web; show running-config | save \"" + saved + "\""}).out, "");
  EXPECT_EQ(read_file(saved), "class-map match-all web\n");
  EXPECT_EQ(run_kvelsh({"--memory", saved}).status, 0);
  EXPECT_EQ(run_kvelsh({"--memory", "-c", "show running-config | json | save \"" + saved + "\""}).status, 0);
  EXPECT_EQ(read_file(saved), "{\n  \"running_config\": {}\n}\n");

  const Finished failed = run_kvelsh({"--memory", "-c", "show running-config | save " + folder.file("no/where")});
  EXPECT_THAT(failed.err, ::testing::StartsWith("-c:1:1: error: '" + folder.file("no/where") +
                                                "' cannot be written: No such file or directory\n"));
  EXPECT_EQ(failed.status, 1);
}

}  // namespace
}  // namespace kvel::test::kvelsh_output_test
