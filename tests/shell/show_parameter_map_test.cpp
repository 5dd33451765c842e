// "show parameter-map", "show ssl-proxy" and both kinds in "show running-config", on a manager that answers literal
// records and pages. The text of parameter-maps comes from the real plug-in.
#include "shell/configuration/show_parameter_map.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/configuration/running_config.h"
#include "shell/configuration/show_ssl_proxy.h"
#include "shell/plugin/plugin.h"
#include "shell/session/session.h"
#include "tests/shell/record_service.h"

namespace kvel::shell::show_parameter_map_test {
namespace {

const std::string kConnection =
    R"({"kind":"parameter-map","name":"slow","type":0,"settings":[{"setting":"half-closed-timeout","seconds":600},)"
    R"({"setting":"keepalive","mode":"enabled"},{"setting":"mss","min":536,"max":1400}]})";
const std::string kHttp =
    R"({"kind":"parameter-map","name":"h h","type":1,"settings":[{"setting":"cookie-delimiters","text":"<&>"}]})";
const std::string kSsl =
    R"({"kind":"parameter-map","name":"modern","type":2,"settings":[{"setting":"cipher","code":5,"priority":10},)"
    R"({"setting":"version","version":"tls1"}]})";
const std::string kPlain = R"({"kind":"parameter-map","name":"plain","type":0})";
const std::string kService =
    R"({"kind":"ssl-proxy","name":"shop","key":"k k","certificate":"c","chain_group":"g","parameter_map":"modern"})";
const std::string kEmptyService = R"({"kind":"ssl-proxy","name":"a <b>"})";

std::string parameter_maps(const std::string& name, output::Format format, std::vector<std::string> records) {
  return test::printed(std::move(records), format, [&] { return show_parameter_map(shell_grammar(), 0, name); });
}

std::string ssl_proxies(const std::string& name, output::Format format, std::vector<std::string> records) {
  return test::printed(std::move(records), format, [&] { return show_ssl_proxy(shell_grammar(), 0, name); });
}

TEST(ShowParameterMap, AsXml) {
  EXPECT_EQ(parameter_maps("slow", output::Format::xml, {kPlain, kConnection}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<parameter_maps>\n"
            "  <parameter-map>\n"
            "    <name>slow</name>\n"
            "    <type>connection</type>\n"
            "    <setting>\n"
            "      <setting>half-closed-timeout</setting>\n"
            "      <seconds>600</seconds>\n"
            "    </setting>\n"
            "    <setting>\n"
            "      <setting>keepalive</setting>\n"
            "      <mode>enabled</mode>\n"
            "    </setting>\n"
            "    <setting>\n"
            "      <setting>mss</setting>\n"
            "      <min>536</min>\n"
            "      <max>1400</max>\n"
            "    </setting>\n"
            "  </parameter-map>\n"
            "</parameter_maps>\n");
  EXPECT_EQ(parameter_maps("", output::Format::xml, {kHttp, kPlain}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<parameter_maps>\n"
            "  <parameter-map>\n"
            "    <name>h h</name>\n"
            "    <type>http</type>\n"
            "    <setting>\n"
            "      <setting>cookie-delimiters</setting>\n"
            "      <text>&lt;&amp;&gt;</text>\n"
            "    </setting>\n"
            "  </parameter-map>\n"
            "  <parameter-map>\n"
            "    <name>plain</name>\n"
            "    <type>connection</type>\n"
            "  </parameter-map>\n"
            "</parameter_maps>\n");
}

TEST(ShowParameterMap, AsJsonWithTheNamesOfCiphers) {
  EXPECT_EQ(parameter_maps("modern", output::Format::json, {kSsl}),
            "{\n"
            "  \"parameter_maps\": {\n"
            "    \"parameter-map\": {\n"
            "      \"name\": \"modern\",\n"
            "      \"type\": \"ssl\",\n"
            "      \"setting\": [\n"
            "        {\n"
            "          \"setting\": \"cipher\",\n"
            "          \"name\": \"rsa-with-aes-256-cbc-sha\",\n"
            "          \"priority\": 10\n"
            "        },\n"
            "        {\n"
            "          \"setting\": \"version\",\n"
            "          \"version\": \"tls1\"\n"
            "        }\n"
            "      ]\n"
            "    }\n"
            "  }\n"
            "}\n");
}

TEST(ShowSslProxy, AsText) {
  EXPECT_EQ(ssl_proxies("shop", output::Format::text, {kEmptyService, kService}),
            "ssl-proxy service shop\n"
            "  key \"k k\"\n"
            "  certificate c\n"
            "  chain-group g\n"
            "  parameter-map modern\n");
  EXPECT_EQ(ssl_proxies("", output::Format::text, {kEmptyService, kService}).substr(0, 47),
            "ssl-proxy service \"a <b>\"\nssl-proxy service sho");
  EXPECT_EQ(ssl_proxies("", output::Format::text, {}), "");
}

TEST(ShowSslProxy, AsDocuments) {
  EXPECT_EQ(ssl_proxies("", output::Format::xml, {kEmptyService, kService}),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<ssl_proxies>\n"
            "  <ssl-proxy>\n"
            "    <name>a &lt;b&gt;</name>\n"
            "  </ssl-proxy>\n"
            "  <ssl-proxy>\n"
            "    <name>shop</name>\n"
            "    <key>k k</key>\n"
            "    <certificate>c</certificate>\n"
            "    <chain_group>g</chain_group>\n"
            "    <parameter_map>modern</parameter_map>\n"
            "  </ssl-proxy>\n"
            "</ssl_proxies>\n");
  EXPECT_EQ(ssl_proxies("a <b>", output::Format::json, {kEmptyService, kService}),
            "{\n"
            "  \"ssl_proxies\": {\n"
            "    \"ssl-proxy\": {\n"
            "      \"name\": \"a <b>\"\n"
            "    }\n"
            "  }\n"
            "}\n");
}

TEST(ShowParameterMap, ANameThatDoesNotExistIsOneLine) {
  const std::string nothing = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<output/>\n";
  EXPECT_EQ(parameter_maps("nobody", output::Format::xml, {kPlain}),
            nothing + "[parameter-map 'nobody' not configured]");
  EXPECT_EQ(ssl_proxies("nobody", output::Format::xml, {kService}),
            nothing + "[ssl-proxy service 'nobody' not configured]");
  EXPECT_EQ(ssl_proxies("nobody", output::Format::text, {kService}), "[ssl-proxy service 'nobody' not configured]");
}

TEST(ShowRunningConfig, ParameterMapsAndServicesComeBeforeClassMaps) {
  const std::string class_map = R"({"kind":"class-map","name":"web","type":0,"match_all":true})";
  EXPECT_EQ(test::printed({kHttp, kSsl, kConnection, kService, class_map}, output::Format::text,
                          [] { return show_running_config(shell_grammar(), 0); }),
            "parameter-map type http \"h h\"\n"
            "  cookie-delimiters <&>\n"
            "parameter-map type ssl modern\n"
            "  cipher rsa-with-aes-256-cbc-sha priority 10\n"
            "  version tls1\n"
            "parameter-map type connection slow\n"
            "  half-closed-timeout 600\n"
            "  keepalive\n"
            "  mss minimum 536 maximum 1400\n"
            "ssl-proxy service shop\n"
            "  key \"k k\"\n"
            "  certificate c\n"
            "  chain-group g\n"
            "  parameter-map modern\n"
            "class-map match-all web\n");
}

// Answers pages of parameter-maps too: two empty ssl maps, one to a page, and none of another name.
class PageService final : public test::RecordService {
 public:
  using test::RecordService::RecordService;

  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    if (rpc::kCalls[call].name != std::string_view("cm_show_parameter_map"))
      return test::RecordService::call(call, arguments);
    ++shown;
    const bool all = arguments[1].text.empty();
    if (!all && arguments[1].text != "one") return static_cast<Status>(KVEL_STATUS_parameter_map_not_found);
    const bool first = arguments[2].bytes[0] == std::byte{0};
    std::string page(4 + 288, '\0');
    page[3] = 1;       // entries
    page[4 + 11] = 2;  // type: ssl
    page.replace(4 + 12, 3, first ? "one" : "two");
    arguments[2].bytes[0] = std::byte{1};
    arguments[3].bytes[3] = std::byte{2};  // in total
    arguments[4].bytes[3] = static_cast<std::byte>(all && first ? 1 : 0);
    arguments[5].response->append(page);
    return Status::ok;
  }

  int shown = 0;
};

class ShowInASession : public ::testing::Test {
 protected:
  // What is printed, and the error message in brackets after it.
  std::string execute(const std::string& line) {
    kvel::test::StdoutCapture capture;
    const Execution execution = session_.execute(line);
    const std::string printed = capture.take();
    return execution.outcome == Outcome::done ? printed : printed + "[" + execution.error_message + "]";
  }

  static constexpr const char* kOne =
      "\n\n Parameter-map : one\n"
      " Type : ssl\n"
      "    version                            : all\n"
      "    close-protocol                     : strict\n";

  PageService service{std::vector<std::string>{R"({"kind":"parameter-map","name":"one","type":2})"}};

 private:
  rpc::EmbeddedChannel channel_{service};
  rpc::InstalledChannel installed_{channel_};
  Plugin plugin_ = *Plugin::load(KVEL_PLUGIN, shell_grammar().handlers(), shell_grammar().hooks());
  Session session_{shell_grammar(), plugin_, 0, 1};
};

TEST_F(ShowInASession, ThePluginPrintsTheText) {
  EXPECT_EQ(execute("show parameter-map one"), kOne);
  EXPECT_EQ(execute("show parameter-map"), std::string("\n Number of parameter-maps : 2\n") + kOne +
                                               "\n\n Parameter-map : two\n"
                                               " Type : ssl\n"
                                               "    version                            : all\n"
                                               "    close-protocol                     : strict\n");
  EXPECT_EQ(service.shown, 3);
}

TEST_F(ShowInASession, ThePluginPrintsNothingIntoDocuments) {
  EXPECT_EQ(execute("show parameter-map one | xml"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<parameter_maps>\n"
            "  <parameter-map>\n"
            "    <name>one</name>\n"
            "    <type>ssl</type>\n"
            "  </parameter-map>\n"
            "</parameter_maps>\n");
  EXPECT_EQ(execute("show parameter-map | json"),
            "{\n"
            "  \"parameter_maps\": {\n"
            "    \"parameter-map\": {\n"
            "      \"name\": \"one\",\n"
            "      \"type\": \"ssl\"\n"
            "    }\n"
            "  }\n"
            "}\n");
  EXPECT_EQ(service.shown, 0);
  // After a document the text is text again.
  EXPECT_EQ(execute("show parameter-map one"), kOne);
}

TEST_F(ShowInASession, ANameThatDoesNotExistIsOneLine) {
  EXPECT_EQ(execute("show parameter-map nobody"), "[Error: the parameter-map does not exist\n]");
  EXPECT_EQ(execute("show parameter-map nobody | json"), "[Error: parameter-map 'nobody' not configured\n]");
  EXPECT_EQ(service.shown, 1);
}

}  // namespace
}  // namespace kvel::shell::show_parameter_map_test
