// "show policy-map" and policy-maps in "show running-config", on a manager that answers literal records.
#include "shell/configuration/show_policy_map.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/configuration/running_config.h"
#include "tests/shell/record_service.h"

namespace kvel::shell::show_policy_map_test {
namespace {

class ShowPolicyMap : public ::testing::Test {
 protected:
  static std::string show(const std::string& name, output::Format format, std::vector<std::string> records) {
    return test::printed(std::move(records), format, [&] { return show_policy_map(shell_grammar(), 0, name); });
  }
  static std::string running_config(std::vector<std::string> records) {
    return test::printed(std::move(records), output::Format::text,
                         [] { return show_running_config(shell_grammar(), 0); });
  }

  const std::string front =
      R"({"kind":"policy-map","name":"front","type":1,"subtype":1,"description":"At <the> edge","interval":20,)"
      R"("classes":[{"line":20,"class":"web","actions":[{"action":"nat-static","address":"10.0.0.1",)"
      R"("mask":"255.255.255.255","port":80},{"action":"load-balance","policy":"shop"}]},{"line":40,"class":"rest of it"},)"
      R"({"line":60,"class":"class-default","actions":[{"action":"security-acl"}]}]})";
  const std::string shop =
      R"({"kind":"policy-map","name":"shop","type":2,"subtype":2,"classes":[{"line":10,"match":"old one",)"
      R"("rule":{"match":"http-url","expression":"/old/.*"},"actions":[{"action":"drop"}]}]})";
  const std::string puts =
      R"({"kind":"policy-map","name":"puts","type":3,"subtype":1,"classes":[{"line":10,"class":"u"},{"line":20,"match":"m",)"
      R"("rule":{"match":"request-method","code":7},"actions":[{"action":"reset","log":true}]},{"line":30,"class":"v"}]})";
};

TEST_F(ShowPolicyMap, AsText) {
  EXPECT_EQ(show("front", output::Format::text, {shop, front}),
            "policy-map front (layer-3/4)\n"
            "  description: At <the> edge\n"
            "   20  class web\n"
            "         nat static 10.0.0.1 mask 255.255.255.255 port 80\n"
            "         load-balance policy shop\n"
            "   40  class \"rest of it\"\n"
            "   60  class class-default\n"
            "         security-acl\n");
  EXPECT_EQ(show("", output::Format::text, {puts, shop}),
            "policy-map puts (HTTP inspection)\n"
            "   10  class u\n"
            "   20  match m request-method put\n"
            "         reset log\n"
            "   30  class v\n"
            "policy-map shop (HTTP load-balancing, sub-type 2)\n"
            "   10  match \"old one\" http url /old/.*\n"
            "         drop\n");
  EXPECT_EQ(show("", output::Format::text, {}), "");
}

TEST_F(ShowPolicyMap, AsXml) {
  EXPECT_EQ(show("front", output::Format::xml, {front}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<policy_maps>\n"
            "  <policy-map>\n"
            "    <name>front</name>\n"
            "    <type>layer-3/4</type>\n"
            "    <subtype>1</subtype>\n"
            "    <description>At &lt;the&gt; edge</description>\n"
            "    <interval>20</interval>\n"
            "    <entry>\n"
            "      <line>20</line>\n"
            "      <class>web</class>\n"
            "      <action>\n"
            "        <action>nat-static</action>\n"
            "        <address>10.0.0.1</address>\n"
            "        <mask>255.255.255.255</mask>\n"
            "        <port>80</port>\n"
            "      </action>\n"
            "      <action>\n"
            "        <action>load-balance</action>\n"
            "        <policy>shop</policy>\n"
            "      </action>\n"
            "    </entry>\n"
            "    <entry>\n"
            "      <line>40</line>\n"
            "      <class>rest of it</class>\n"
            "    </entry>\n"
            "    <entry>\n"
            "      <line>60</line>\n"
            "      <class>class-default</class>\n"
            "      <action>\n"
            "        <action>security-acl</action>\n"
            "      </action>\n"
            "    </entry>\n"
            "  </policy-map>\n"
            "</policy_maps>\n");
}

// Classes and matches keep their order, so they are one array.
TEST_F(ShowPolicyMap, AsJson) {
  EXPECT_EQ(show("", output::Format::json, {puts}),
            "{\n"
            "  \"policy_maps\": {\n"
            "    \"policy-map\": {\n"
            "      \"name\": \"puts\",\n"
            "      \"type\": \"HTTP inspection\",\n"
            "      \"subtype\": 1,\n"
            "      \"entry\": [\n"
            "        {\n"
            "          \"line\": 10,\n"
            "          \"class\": \"u\"\n"
            "        },\n"
            "        {\n"
            "          \"line\": 20,\n"
            "          \"match\": \"m\",\n"
            "          \"rule\": {\n"
            "            \"match\": \"request-method\",\n"
            "            \"name\": \"put\"\n"
            "          },\n"
            "          \"action\": {\n"
            "            \"action\": \"reset\",\n"
            "            \"log\": true\n"
            "          }\n"
            "        },\n"
            "        {\n"
            "          \"line\": 30,\n"
            "          \"class\": \"v\"\n"
            "        }\n"
            "      ]\n"
            "    }\n"
            "  }\n"
            "}\n");
}

TEST_F(ShowPolicyMap, AnUnknownNameIsReported) {
  EXPECT_EQ(show("nobody", output::Format::text, {front}), "[policy-map 'nobody' not configured]");
  EXPECT_EQ(show("web", output::Format::text, {R"({"kind":"class-map","name":"web","type":0,"match_all":true})"}),
            "[policy-map 'web' not configured]");
}

TEST_F(ShowPolicyMap, ARecordWithoutACommandIsShownAsItIs) {
  EXPECT_EQ(
      show("", output::Format::text,
           {R"({"kind":"policy-map","name":"odd","type":1,"subtype":1,"classes":[)"
            R"({"line":10,"match":"m","rule":{"match":"x"}},{"line":20,"class":"c","actions":[{"action":"y"}]}]})"}),
      "policy-map odd (layer-3/4)\n"
      "   10  {\"line\":10,\"match\":\"m\",\"rule\":{\"match\":\"x\"}}\n"
      "   20  class c\n"
      "         {\"action\":\"y\"}\n");
}

TEST_F(ShowPolicyMap, ARunningConfigHasThePolicyMapsThatOthersNameInFrontOfThem) {
  EXPECT_EQ(running_config({R"({"kind":"class-map","name":"web","type":0,"match_all":false})", front, puts, shop}),
            "class-map match-any web\n"
            "policy-map type http-inspection puts\n"
            "  class u\n"
            "  match m request-method put\n"
            "    reset log\n"
            "  class v\n"
            "policy-map type http-load-balancing advanced subtype-2 shop\n"
            "  match \"old one\" http url /old/.*\n"
            "    drop\n"
            "policy-map front\n"
            "  description At <the> edge\n"
            "  renumber 20\n"
            "  class web\n"
            "    nat static 10.0.0.1 mask 255.255.255.255 port 80\n"
            "    load-balance policy shop\n"
            "  class \"rest of it\"\n"
            "  class class-default\n"
            "    security-acl\n");
}

// Class-maps that wait for others do not wait for policy-maps, which name class-maps.
TEST_F(ShowPolicyMap, ARunningConfigHasAllClassMapsInFrontOfPolicyMaps) {
  EXPECT_EQ(running_config({R"({"kind":"class-map","name":"all","type":2,"match_all":false,"rules":[)"
                            R"({"line":10,"match":"class-map","name":"images"}]})",
                            R"({"kind":"class-map","name":"images","type":2,"match_all":true})", shop}),
            "class-map type http-load-balancing match-all images\n"
            "class-map type http-load-balancing match-any all\n"
            "  10 match class-map images\n"
            "policy-map type http-load-balancing advanced subtype-2 shop\n"
            "  match \"old one\" http url /old/.*\n"
            "    drop\n");
}

TEST_F(ShowPolicyMap, ARunningConfigLeavesOutRecordsWithoutACommandAndReportsThem) {
  EXPECT_EQ(running_config({R"({"kind":"policy-map","name":"odd","type":1,"subtype":1,"classes":[)"
                            R"({"line":10,"class":"c","actions":[{"action":"y"},{"action":"security-acl"}]}]})"}),
            "policy-map odd\n"
            "  class c\n"
            "    security-acl\n"
            "[policy-map \"odd\" has parts that no command can create]");
}

}  // namespace
}  // namespace kvel::shell::show_policy_map_test
