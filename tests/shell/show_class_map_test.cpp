// "show class-map" and the rules in "show running-config", on a manager that answers literal records.
#include "shell/configuration/show_class_map.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/configuration/running_config.h"
#include "tests/shell/record_service.h"

namespace kvel::shell::show_class_map_test {
namespace {

class ShowClassMap : public ::testing::Test {
 protected:
  std::string show(const std::string& name, output::Format format, std::vector<std::string> records) {
    return test::printed(std::move(records), format, [&] { return show_class_map(shell_grammar(), 0, name); });
  }
  std::string running_config(std::vector<std::string> records) {
    return test::printed(std::move(records), output::Format::text,
                         [] { return show_running_config(shell_grammar(), 0); });
  }

  const std::string uploads =
      R"({"kind":"class-map","name":"up loads","type":3,"match_all":true,"description":"What <goes> up","rules":[)"
      R"({"line":10,"match":"request-method","code":7},)"
      R"({"line":25,"match":"header","name":"Host","value":"a&b"},)"
      R"({"line":4294967295,"match":"content-length","low":0,"high":99}]})";
  const std::string web = R"({"kind":"class-map","name":"web","type":0,"match_all":false,"rules":[)"
                          R"({"line":10,"match":"virtual-address","address":"10.1.1.1","mask":"255.255.255.255",)"
                          R"("protocol":6,"lower":80,"upper":80}]})";
  const std::string empty = R"({"kind":"class-map","name":"empty","type":4,"match_all":false})";
};

TEST_F(ShowClassMap, AsText) {
  EXPECT_EQ(show("web", output::Format::text, {empty, web}),
            "class-map web (layer-3/4, match any)\n"
            "   10  virtual-address 10.1.1.1 255.255.255.255 tcp equal 80\n");
  EXPECT_EQ(show("", output::Format::text, {empty, uploads, web}),
            "class-map empty (FTP inspection, match any)\n"
            "class-map \"up loads\" (HTTP inspection, match all)\n"
            "  description: What <goes> up\n"
            "   10  request-method put\n"
            "   25  header Host value a&b\n"
            "4294967295  content-length less-than 100\n"
            "class-map web (layer-3/4, match any)\n"
            "   10  virtual-address 10.1.1.1 255.255.255.255 tcp equal 80\n");
  EXPECT_EQ(show("", output::Format::text, {}), "");
}

TEST_F(ShowClassMap, AsXml) {
  EXPECT_EQ(show("up loads", output::Format::xml, {uploads}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<class_maps>\n"
            "  <class-map>\n"
            "    <name>up loads</name>\n"
            "    <type>HTTP inspection</type>\n"
            "    <match_all>true</match_all>\n"
            "    <description>What &lt;goes&gt; up</description>\n"
            "    <rule>\n"
            "      <line>10</line>\n"
            "      <match>request-method</match>\n"
            "      <name>put</name>\n"
            "    </rule>\n"
            "    <rule>\n"
            "      <line>25</line>\n"
            "      <match>header</match>\n"
            "      <name>Host</name>\n"
            "      <value>a&amp;b</value>\n"
            "    </rule>\n"
            "    <rule>\n"
            "      <line>4294967295</line>\n"
            "      <match>content-length</match>\n"
            "      <low>0</low>\n"
            "      <high>99</high>\n"
            "    </rule>\n"
            "  </class-map>\n"
            "</class_maps>\n");
}

TEST_F(ShowClassMap, AsJson) {
  EXPECT_EQ(show("", output::Format::json, {empty, web}),
            "{\n"
            "  \"class_maps\": {\n"
            "    \"class-map\": [\n"
            "      {\n"
            "        \"name\": \"empty\",\n"
            "        \"type\": \"FTP inspection\",\n"
            "        \"match_all\": false\n"
            "      },\n"
            "      {\n"
            "        \"name\": \"web\",\n"
            "        \"type\": \"layer-3/4\",\n"
            "        \"match_all\": false,\n"
            "        \"rule\": {\n"
            "          \"line\": 10,\n"
            "          \"match\": \"virtual-address\",\n"
            "          \"address\": \"10.1.1.1\",\n"
            "          \"mask\": \"255.255.255.255\",\n"
            "          \"protocol\": 6,\n"
            "          \"lower\": 80,\n"
            "          \"upper\": 80\n"
            "        }\n"
            "      }\n"
            "    ]\n"
            "  }\n"
            "}\n");
}

TEST_F(ShowClassMap, AnUnknownNameIsReported) {
  EXPECT_EQ(show("nobody", output::Format::text, {web}), "[class-map 'nobody' not configured]");
}

TEST_F(ShowClassMap, ARuleWithoutACommandIsShownAsItsRecord) {
  EXPECT_EQ(show("", output::Format::text,
                 {R"({"kind":"class-map","name":"odd","type":0,"match_all":true,"rules":[{"line":5,"match":"x"}]})"}),
            "class-map odd (layer-3/4, match all)\n    5  {\"line\":5,\"match\":\"x\"}\n");
}

TEST_F(ShowClassMap, ARunningConfigNestsClassMapsThatAreThere) {
  const std::string parent =
      R"({"kind":"class-map","name":"all","type":2,"match_all":false,"rules":[)"
      R"({"line":10,"match":"class-map","name":"images"},{"line":20,"match":"http-url","expression":"/"}]})";
  const std::string other = R"({"kind":"class-map","name":"both","type":2,"match_all":true,"rules":[)"
                            R"({"line":10,"match":"class-map","name":"zoo"}]})";
  const std::string images =
      R"({"kind":"class-map","name":"images","type":2,"match_all":true,"rules":[)"
      R"({"line":10,"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":false}]})";
  const std::string zoo = R"({"kind":"class-map","name":"zoo","type":2,"match_all":true})";
  EXPECT_EQ(running_config({parent, other, images, zoo}),
            "class-map type http-load-balancing match-all images\n"
            "  10 match http source-address 10.0.0.1\n"
            "class-map type http-load-balancing match-all zoo\n"
            "class-map type http-load-balancing match-any all\n"
            "  10 match class-map images\n"
            "  20 match http url /\n"
            "class-map type http-load-balancing match-all both\n"
            "  10 match class-map zoo\n");
}

TEST_F(ShowClassMap, ARunningConfigLeavesOutRulesWithoutACommandAndReportsThem) {
  EXPECT_EQ(running_config({R"({"kind":"class-map","name":"odd","type":0,"match_all":true,"rules":[)"
                            R"({"line":5,"match":"x"},{"line":6,"match":"any"}]})",
                            web}),
            "class-map match-all odd\n"
            "  6 match any\n"
            "class-map match-any web\n"
            "  10 match virtual-address 10.1.1.1 255.255.255.255 tcp equal 80\n"
            "[class-map \"odd\" has parts that no command can create]");
}

}  // namespace
}  // namespace kvel::shell::show_class_map_test
