// kvelpolicymap_configmgmt: the permissions of a management policy.
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"

namespace kvel::cli::test::policy_map_management_test {
namespace {

class PolicyMapManagement : public PluginTest {
 protected:
  Events permit(const Tokens& tokens, const Form& form = {}) { return run("kvelpolicymap_configmgmt", tokens, form); }
};

Events permitted(const std::string& policy, const std::string& name, const std::string& first,
                 const std::string& second) {
  return {"bind 2",
          "call cm_update_mgmt_action(u16 7, session 0x01020304, u8 1, '" + policy + "', '" + name + "', u32 " + first +
              ", u32 " + second + ")",
          "return 0"};
}

TEST_F(PolicyMapManagement, EveryKeyword) {
  EXPECT_EQ(permit({}), permitted("", "", "0", "0"));
  EXPECT_EQ(permit({{665, "p"}}), permitted("p", "", "0", "0"));
  EXPECT_EQ(permit({{668, "c"}}), permitted("", "c", "0", "0"));
  EXPECT_EQ(permit({{670}}), permitted("", "", "1", "0"));
  EXPECT_EQ(permit({{674}}), permitted("", "", "0", "1"));
  EXPECT_EQ(permit({{670}, {674}}), permitted("", "", "1", "1"));
  EXPECT_EQ(permit({{674}, {670}}), permitted("", "", "1", "1"));
  EXPECT_EQ(permit({{670}, {670}}), permitted("", "", "1", "0"));
}

TEST_F(PolicyMapManagement, AcceptsAndIgnoresTheKeywordsBesideTheOptions) {
  for (std::uint32_t keyword : {663, 664, 666, 667, 669, 671, 672, 673}) {
    EXPECT_EQ(permit({{keyword}}), permitted("", "", "0", "0")) << "keyword " << keyword;
    EXPECT_EQ(permit({{665, "p"}, {668, "c"}, {670}, {674}, {keyword}}), permitted("p", "c", "1", "1"))
        << "keyword " << keyword;
    EXPECT_EQ(permit({{keyword}, {665, "p"}, {668, "c"}, {670}}), permitted("p", "c", "1", "0"))
        << "keyword " << keyword;
  }
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_management_test
