// Service policies in a session: what is called for each command, and what is printed; and applications in a
// configuration. The text of a policy comes from the real plug-in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kvel/status.h"
#include "shell/configuration/running_config.h"
#include "shell/configuration/show_policy_map.h"
#include "tests/shell/record_service.h"
#include "tests/shell/session_on.h"

namespace kvel::shell::service_policy_test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string policy_map(const std::string& name, const std::string& more, int type = 1) {
  return R"({"kind":"policy-map","name":")" + name + R"(","type":)" + std::to_string(type) + R"(,"subtype":1)" + more +
         "}";
}

// One record without classes, on no VLAN: an active policy of the whole context.
std::string empty_statistics() {
  std::string page(260, '\0');
  page[3] = 2;   // record type
  page[15] = 1;  // active
  return page;
}

class PolicyService final : public test::RecordService {
 public:
  explicit PolicyService(std::vector<std::string> records) : RecordService(std::move(records)) {}

  Status call(std::size_t call, std::span<const rpc::Argument> arguments) noexcept override {
    const std::string_view name = rpc::kCalls[call].name;
    if (name == "kvel_apply_policy") {
      calls.push_back("apply " + std::to_string(arguments[0].number) + " " + std::to_string(arguments[1].number) + " " +
                      std::string(arguments[2].text) + " " + std::to_string(arguments[3].number) + " " +
                      std::to_string(arguments[4].number));
      return answer;
    }
    if (name == "cm_clear_service_policy") {
      calls.push_back("clear " + std::to_string(arguments[0].number) + " '" + std::string(arguments[1].text) + "'");
      return answer;
    }
    if (name == "cm_show_service_policy") {
      calls.push_back("show '" + std::string(arguments[1].text) + "' " + std::to_string(arguments[2].number));
      if (arguments[1].text == missing) return Status::policy_map_not_found;
      arguments[5].response->append(empty_statistics());
      return Status::ok;
    }
    return RecordService::call(call, arguments);
  }

  std::vector<std::string> calls;
  Status answer = Status::ok;
  std::string missing;
};

class ServicePolicy : public ::testing::Test {
 protected:
  PolicyService service{{policy_map("site", R"(,"applied":[10,20])"), policy_map("idle", ""),
                         policy_map("access", R"(,"applied":"global")", 5)}};
  test::SessionOn shell{service};
};

std::string heading(const std::string& name) {
  return "\nStatus     : ACTIVE\n-----------------------------------------\nContext Global Policy:\n  "
         "service-policy: " +
         name + "\n\n";
}

TEST_F(ServicePolicy, IsShownWithItsHeadingEveryTime) {
  for (int times = 0; times < 2; ++times) {
    const auto done = shell.execute("show service-policy site");
    EXPECT_EQ(done.out, heading("site"));
    EXPECT_EQ(done.outcome, Outcome::done);
  }
  EXPECT_EQ(shell.execute("show service-policy idle detail").outcome, Outcome::done);
  EXPECT_THAT(service.calls, ElementsAre("show 'site' 0", "show 'site' 0", "show 'idle' 1"));
}

TEST_F(ServicePolicy, WithoutANameEachThatIsAppliedIsShown) {
  const auto done = shell.execute("show service-policy");
  EXPECT_EQ(done.out, heading("access") + heading("site"));
  EXPECT_EQ(done.outcome, Outcome::done);
  EXPECT_EQ(shell.execute("show service-policy detail").outcome, Outcome::done);
  EXPECT_THAT(service.calls, ElementsAre("show 'access' 0", "show 'site' 0", "show 'access' 1", "show 'site' 1"));
}

TEST_F(ServicePolicy, AllAreOneDocument) {
  const auto element = [](const std::string& name) {
    return "  <xml_show_service_policy>\n"
           "    <service_policy>\n"
           "      <text>Status     : ACTIVE</text>\n"
           "      <text>-----------------------------------------</text>\n"
           "      <text>Context Global Policy:</text>\n"
           "      <sp_name>" +
           name +
           "</sp_name>\n"
           "    </service_policy>\n"
           "  </xml_show_service_policy>\n";
  };
  EXPECT_EQ(shell.execute("show service-policy | xml").out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<service_policies>\n" + element("access") + element("site") +
                "</service_policies>\n");
  const auto one = shell.execute("show service-policy site | xml");
  EXPECT_EQ(one.out.substr(0, 64), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xml_show_service_policy>");
}

TEST_F(ServicePolicy, AFailureEndsTheList) {
  service.missing = "access";
  const auto done = shell.execute("show service-policy");
  EXPECT_EQ(done.outcome, Outcome::failed);
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(done.error_message.substr(0, 7), "Error: ");
  EXPECT_THAT(service.calls, ElementsAre("show 'access' 0"));
}

TEST(NoServicePolicy, NothingAppliedIsNothingShown) {
  PolicyService service{{policy_map("idle", "")}};
  test::SessionOn shell{service};
  EXPECT_EQ(shell.execute("show service-policy").out, "");
  EXPECT_EQ(shell.execute("show service-policy | xml").out,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<service_policies/>\n");
  EXPECT_EQ(shell.execute("show service-policy detail | json").out, "{\n  \"service_policies\": {}\n}\n");
  EXPECT_THAT(service.calls, IsEmpty());
}

TEST_F(ServicePolicy, IsCleared) {
  EXPECT_EQ(shell.execute("clear service-policy site").outcome, Outcome::done);
  EXPECT_EQ(shell.execute("clear service-policy").outcome, Outcome::done);
  service.answer = Status::policy_map_not_found;
  const auto failed = shell.execute("clear service-policy nobody");
  EXPECT_EQ(failed.outcome, Outcome::failed);
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(failed.error_message.substr(0, 7), "Error: ");
  EXPECT_THAT(service.calls, ElementsAre("clear 3 'site'", "clear 3 ''", "clear 3 'nobody'"));
}

TEST_F(ServicePolicy, IsApplied) {
  for (const char* line : {"service-policy site global", "service-policy \"a b\" vlan 4094",
                           "no service-policy site global", "no service-policy site vlan 1"}) {
    const auto done = shell.execute(line);
    EXPECT_EQ(done.outcome, Outcome::done);
    EXPECT_EQ(done.out + done.err + done.error_message, "");
  }
  EXPECT_THAT(service.calls, ElementsAre("apply 3 77 site 0 1", "apply 3 77 a b 4094 1", "apply 3 77 site 0 0",
                                         "apply 3 77 site 1 0"));
}

TEST_F(ServicePolicy, ARefusalIsReportedByItsText) {
  for (const auto& [status, text] : std::vector<std::pair<Status, std::string>>{
           {Status::policy_not_applicable, "only a layer-3/4 or a management policy-map can be applied to traffic"},
           {Status::policy_not_applied, "the policy-map is not applied there"},
           {Status::application_taken, "another policy-map of this type is applied there already"},
           {Status::policy_applied_otherwise,
            "a policy-map is applied to all traffic or to VLANs, not to both; take it away there first"}}) {
    service.answer = status;
    const auto done = shell.execute("service-policy site global");
    EXPECT_EQ(done.outcome, Outcome::failed);
    EXPECT_EQ(done.error_message, "Error: " + text + "\n");
  }
}

// Like every command of the top mode, also when it fails.
TEST(ServicePolicyModes, ApplyingLeavesTheInnerModes) {
  PolicyService service{{R"({"kind":"class-map","name":"web","type":0,"match_all":true})"}};
  service.answer = Status::policy_not_applied;
  test::SessionOn shell{service};
  ASSERT_EQ(shell.execute("class-map web").outcome, Outcome::done);
  EXPECT_EQ(shell.session().prompt(), "kvel(config-class-map web)# ");
  EXPECT_EQ(shell.execute("show service-policy").outcome, Outcome::done);
  EXPECT_EQ(shell.session().prompt(), "kvel(config-class-map web)# ");
  EXPECT_EQ(shell.execute("no service-policy site global").outcome, Outcome::failed);
  EXPECT_EQ(shell.session().prompt(), "kvel# ");
}

// ---- applications in a configuration

std::string running_config(const std::string& record) {
  return test::printed({record}, output::Format::text, [] { return show_running_config(shell_grammar(), 0); });
}

TEST(Applications, FollowThePolicyMap) {
  EXPECT_EQ(running_config(policy_map("a b", R"(,"applied":"global","classes":[{"line":10,"class":"c"}])")),
            "policy-map \"a b\"\n"
            "  class c\n"
            "service-policy \"a b\" global\n");
  EXPECT_EQ(running_config(policy_map("m", R"(,"applied":[1,4094])", 5)),
            "policy-map type management m\n"
            "service-policy m vlan 1\n"
            "service-policy m vlan 4094\n");
  EXPECT_EQ(running_config(policy_map("global", R"(,"applied":"global")")),
            "policy-map global\n"
            "service-policy global global\n");
}

TEST(Applications, WithoutACommandAreReported) {
  for (const char* applied : {"\"elsewhere\"", "[0]", "[4095]", "[\"x\"]", "true"}) {
    EXPECT_EQ(running_config(policy_map("m", R"(,"applied":)"s + applied)),
              "policy-map m\n[policy-map \"m\" has parts that no command can create]")
        << applied;
  }
}

TEST(Applications, AreShownWithThePolicyMap) {
  const auto show = [](const std::string& applied, output::Format format) {
    return test::printed({policy_map("m", R"(,"applied":)" + applied)}, format,
                         [] { return show_policy_map(shell_grammar(), 0, "m"); });
  };
  EXPECT_EQ(show("\"global\"", output::Format::text), "policy-map m (layer-3/4)\n  applied: global\n");
  EXPECT_EQ(show("[10,20]", output::Format::text), "policy-map m (layer-3/4)\n  applied: vlan 10, vlan 20\n");
  EXPECT_EQ(show("[10,20]", output::Format::xml),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<policy_maps>\n"
            "  <policy-map>\n"
            "    <name>m</name>\n"
            "    <type>layer-3/4</type>\n"
            "    <subtype>1</subtype>\n"
            "    <applied>10</applied>\n"
            "    <applied>20</applied>\n"
            "  </policy-map>\n"
            "</policy_maps>\n");
}

}  // namespace
}  // namespace kvel::shell::service_policy_test
