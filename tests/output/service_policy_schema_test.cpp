// What the schema of service policies as documents refuses.
#include <gtest/gtest.h>

#include <string>

#include "tests/output/schema.h"

namespace kvel::output::testing::service_policy_schema_test {
namespace {

TEST(ServicePolicySchema, RefusesWhatCannotCome) {
  const auto faults = [](const std::string& inside) {
    return schema_faults("<xml_show_service_policy>" + inside + "</xml_show_service_policy>");
  };
  const std::string heading = "<text>Status     : ACTIVE</text><text>---</text>";
  const auto group = [](const std::string& inside) {
    return "<sp_class_types><sp_class_type>" + inside + "</sp_class_type></sp_class_types>";
  };
  EXPECT_EQ(faults("<service_policy>" + heading + "<sp_name/></service_policy>"), "");
  EXPECT_EQ(faults(group("<sp_inspectrtsp><sp_action_name>inspect rtsp</sp_action_name></sp_inspectrtsp>")), "");

  EXPECT_NE(schema_faults("<output/>"), "");
  EXPECT_NE(faults("<text>stray</text>"), "");
  EXPECT_NE(faults("<service_policy>" + heading + "</service_policy>"), "");
  EXPECT_NE(faults("<service_policy><text>Status</text><sp_name/></service_policy>"), "");
  EXPECT_NE(faults("<service_policy>" + heading + "<sp_name/></service_policy><service_policy>" + heading +
                   "<sp_name/></service_policy>"),
            "");
  EXPECT_NE(faults("<sp_class_map><sp_class_types/></sp_class_map>"), "");
  EXPECT_NE(faults("<sp_class_map><sp_class_name>a</sp_class_name></sp_class_map>"), "");
  EXPECT_NE(faults(group("<sp_security_acl>x</sp_security_acl>")), "");
  EXPECT_NE(faults(group("<sp_security_acl/><sp_security_acl/>")), "");
  EXPECT_NE(faults(group("<sp_security_acl/><sp_class_type/>")), "");
  EXPECT_NE(faults(group("<sp_nat><sp_actions/></sp_nat>")), "");
  EXPECT_NE(faults(group("<sp_inspectrtsp/>")), "");
  EXPECT_NE(faults(group("<sp_inspectrtsp><sp_action_name>inspect dns</sp_action_name></sp_inspectrtsp>")), "");
  EXPECT_NE(faults(group("<sp_inspectrtsp><sp_action_name>inspect rtsp</sp_action_name>"
                         "<sp_curr_conns>1</sp_curr_conns></sp_inspectrtsp>")),
            "");
  EXPECT_NE(faults(group("<sp_inspectdns><sp_action_name>inspect dns</sp_action_name>"
                         "<sp_inspdns_maxlen>4294967296</sp_inspdns_maxlen></sp_inspectdns>")),
            "");
  EXPECT_NE(faults(group("<sp_inspecticmp><sp_action_name>inspect icmp</sp_action_name>"
                         "<sp_inspicmp_error>maybe</sp_inspicmp_error></sp_inspecticmp>")),
            "");
}

}  // namespace
}  // namespace kvel::output::testing::service_policy_schema_test
