// The named objects that a class of a policy-map takes, SSL-proxy services and parameter-maps, and the permissions of a
// management policy. What they share with the other actions is tested with those.
#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tests/cli/plugin_test.h"
#include "tests/cli/unlisted_keywords.h"

namespace kvel::cli::test::policy_map_attachment_test {
namespace {

using PolicyMapAttachment = PluginTest;

TEST_F(PolicyMapAttachment, AnSslProxyClient) {
  EXPECT_EQ(run("kvelpolicymap_config_sslproxy_client", {{503, "balance"}, {576, "act"}, {473, "tls"}}),
            (Events{"bind 2", "call cm_update_ssl_config(u16 7, session 0x01020304, 'balance', 'act', 'tls', u8 1)",
                    "return 0"}));
  EXPECT_EQ(run("kvelpolicymap_config_sslproxy_client", {{503, "balance"}, {576, "act"}, {473, "tls"}}, kNo),
            (Events{"bind 2", "call cm_update_ssl_config(u16 7, session 0x01020304, 'balance', 'act', 'tls', u8 0)",
                    "return 0"}));
}

TEST_F(PolicyMapAttachment, AnSslProxyServer) {
  EXPECT_EQ(run("kvelpolicymap_config_sslproxy_server", {{352, "edge"}, {356, "web"}, {471, "tls"}}),
            (Events{"bind 2", "call cm_update_ssl_config(u16 7, session 0x01020304, 'edge', 'web', 'tls', u8 1)",
                    "return 0"}));
  EXPECT_EQ(run("kvelpolicymap_config_sslproxy_server", {{352, "edge"}, {356, "web"}, {471, "tls"}}, kNo),
            (Events{"bind 2", "call cm_update_ssl_config(u16 7, session 0x01020304, 'edge', 'web', 'tls', u8 0)",
                    "return 0"}));
}

TEST_F(PolicyMapAttachment, AConnectionParameterMap) {
  EXPECT_EQ(run("kvelpolicymap_configconn", {{352, "edge"}, {356, "web"}, {466, "slow"}}),
            (Events{"bind 2",
                    "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', 'slow', u8 0, u8 1)",
                    "return 0"}));
}

TEST_F(PolicyMapAttachment, AnApplicationParameterMap) {
  EXPECT_EQ(run("kvelpolicymap_configappl_params", {{352, "edge"}, {356, "web"}, {492, "slow"}}),
            (Events{"bind 2",
                    "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', 'slow', u8 1, u8 1)",
                    "return 0"}));
}

// The name of the parameter-map is sent in the "no" form too, or an empty one.
TEST_F(PolicyMapAttachment, DetachingAParameterMap) {
  EXPECT_EQ(run("kvelpolicymap_configconn", {{352, "edge"}, {356, "web"}, {466, "slow"}}, kNo),
            (Events{"bind 2",
                    "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', 'slow', u8 0, u8 0)",
                    "return 0"}));
  EXPECT_EQ(
      run("kvelpolicymap_configconn", {{352, "edge"}, {356, "web"}}, kNo),
      (Events{"bind 2", "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', '', u8 0, u8 0)",
              "return 0"}));
  EXPECT_EQ(run("kvelpolicymap_configappl_params", {{352, "edge"}, {356, "web"}, {492, "slow"}}, kNo),
            (Events{"bind 2",
                    "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', 'slow', u8 1, u8 0)",
                    "return 0"}));
  EXPECT_EQ(
      run("kvelpolicymap_configappl_params", {{352, "edge"}, {356, "web"}}, kNo),
      (Events{"bind 2", "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'edge', 'web', '', u8 1, u8 0)",
              "return 0"}));
}

struct Attachment {
  const char* handler;
  std::uint32_t policy_keyword;
  std::uint32_t class_keyword;
  std::uint32_t object_keyword;
  const char* named;    // the call when the names are p, c and o
  const char* unnamed;  // the call when there are none
};

const std::array kAttachments = {
    Attachment{"kvelpolicymap_config_sslproxy_client", 503, 576, 473,
               "call cm_update_ssl_config(u16 7, session 0x01020304, 'p', 'c', 'o', u8 1)",
               "call cm_update_ssl_config(u16 7, session 0x01020304, '', '', '', u8 1)"},
    Attachment{"kvelpolicymap_config_sslproxy_server", 352, 356, 471,
               "call cm_update_ssl_config(u16 7, session 0x01020304, 'p', 'c', 'o', u8 1)",
               "call cm_update_ssl_config(u16 7, session 0x01020304, '', '', '', u8 1)"},
    Attachment{"kvelpolicymap_configconn", 352, 356, 466,
               "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'p', 'c', 'o', u8 0, u8 1)",
               "call cm_update_l3_param_map_config(u16 7, session 0x01020304, '', '', '', u8 0, u8 1)"},
    Attachment{"kvelpolicymap_configappl_params", 352, 356, 492,
               "call cm_update_l3_param_map_config(u16 7, session 0x01020304, 'p', 'c', 'o', u8 1, u8 1)",
               "call cm_update_l3_param_map_config(u16 7, session 0x01020304, '', '', '', u8 1, u8 1)"},
};

// The keywords of the other attachments, of other policy types and of the class-default class included.
TEST_F(PolicyMapAttachment, IgnoresOtherKeywords) {
  for (const Attachment& attachment : kAttachments) {
    const std::set<std::uint32_t> listed = {attachment.policy_keyword, attachment.class_keyword,
                                            attachment.object_keyword};
    const Tokens names = {
        {attachment.policy_keyword, "p"}, {attachment.class_keyword, "c"}, {attachment.object_keyword, "o"}};
    const Events sent = {"bind 2", attachment.named, "return 0"};
    for (std::uint32_t keyword : {351, 352, 353, 355, 356, 357, 366, 413, 465, 466, 467, 470, 471, 472, 473,
                                  474, 491, 492, 493, 502, 503, 504, 575, 576, 577, 593, 603, 605, 665, 668}) {
      if (listed.contains(keyword)) continue;
      Tokens tokens = names;
      tokens.emplace_back(keyword);
      EXPECT_EQ(run(attachment.handler, tokens), sent) << attachment.handler << " " << keyword;
    }
    for (const auto& [range, tokens] : unlisted_keywords(names, listed)) {
      EXPECT_EQ(run(attachment.handler, tokens), sent) << attachment.handler << " " << range;
    }
    for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
      EXPECT_EQ(run(attachment.handler, tokens), (Events{"bind 2", attachment.unnamed, "return 0"}))
          << attachment.handler << " " << range;
    }
  }
}

// ---- management

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

TEST_F(PolicyMapManagement, SetsAndClears) {
  EXPECT_EQ(
      permit({{665, "access"}, {668, "ssh"}, {670}}),
      (Events{"bind 2", "call cm_update_mgmt_action(u16 7, session 0x01020304, u8 1, 'access', 'ssh', u32 1, u32 0)",
              "return 0"}));
  EXPECT_EQ(
      permit({{665, "access"}, {668, "ssh"}, {674}}, kNo),
      (Events{"bind 2", "call cm_update_mgmt_action(u16 7, session 0x01020304, u8 0, 'access', 'ssh', u32 0, u32 1)",
              "return 0"}));
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

TEST_F(PolicyMapManagement, IgnoresOtherKeywords) {
  const std::set<std::uint32_t> listed = {665, 668, 670, 674};
  for (std::uint32_t keyword : {352, 356, 366, 413, 503, 576, 662, 675, 676}) {
    EXPECT_EQ(permit({{665, "p"}, {668, "c"}, {keyword}}), permitted("p", "c", "0", "0")) << "keyword " << keyword;
  }
  for (const auto& [range, tokens] : unlisted_keywords({{665, "p"}, {668, "c"}, {670}, {674}}, listed)) {
    EXPECT_EQ(permit(tokens), permitted("p", "c", "1", "1")) << range;
  }
  for (const auto& [range, tokens] : unlisted_keywords({}, listed)) {
    EXPECT_EQ(permit(tokens), permitted("", "", "0", "0")) << range;
  }
}

TEST_F(PolicyMapManagement, NothingIsRememberedBetweenCommands) {
  EXPECT_EQ(permit({{670}, {674}}), permitted("", "", "1", "1"));
  EXPECT_EQ(permit({}), permitted("", "", "0", "0"));
}

}  // namespace
}  // namespace kvel::cli::test::policy_map_attachment_test
