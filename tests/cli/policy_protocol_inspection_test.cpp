// The inspection of DNS, ICMP, FTP and RTSP in a class of a layer-3/4 policy-map, and the actions and inline matches of
// an FTP inspection policy-map.
#include <array>
#include <cstdint>
#include <string>

#include "tests/cli/plugin_test.h"
#include "tests/cli/wire_record.h"

namespace kvel::cli::test::policy_protocol_inspection_test {
namespace {

using namespace std::string_literals;

// ---- DNS

class PolicyMapInspectDns : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configinspect_dns", tokens, form);
  }
};

// The call of a command without names.
Events dns(const std::string& bytes) {
  return {"bind 2",
          "call cm_update_l3_dns_insp_config(u16 7, session 0x01020304, u8 1, '', '', buffer[12] " + bytes + ")",
          "return 0"};
}

TEST_F(PolicyMapInspectDns, AttachesAndRemoves) {
  const std::string bytes =
      hex("\x00\x00\x00\x01"   // maximum length given
          "\x00\x00\x02\x00"   // maximum length
          "\x80\x00\x00\x00"s  // presence bits
      );
  const Tokens tokens = {{352, "p1"}, {356, "c1"}, {389, 512}};
  EXPECT_EQ(act(tokens),
            (Events{"bind 2",
                    "call cm_update_l3_dns_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[12] " +
                        bytes + ")",
                    "return 0"}));
  EXPECT_EQ(act(tokens, kNo),
            (Events{"bind 2",
                    "call cm_update_l3_dns_insp_config(u16 7, session 0x01020304, u8 0, 'p1', 'c1', buffer[12] " +
                        bytes + ")",
                    "return 0"}));
}

TEST_F(PolicyMapInspectDns, WithoutAMaximumLengthAllIsZero) {
  EXPECT_EQ(act({{352, "p1"}, {356, "c1"}}),
            (Events{"bind 2",
                    "call cm_update_l3_dns_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[12] 00*12)",
                    "return 0"}));
}

TEST_F(PolicyMapInspectDns, MaximumLengthsAreNotChecked) {
  EXPECT_EQ(act({{389, 0}}), dns("000000010000000080000000"));
  EXPECT_EQ(act({{389, nullptr}}), dns("000000010000000080000000"));
  EXPECT_EQ(act({{389, 1}}), dns("000000010000000180000000"));
  EXPECT_EQ(act({{389, 65535}}), dns("000000010000ffff80000000"));
  EXPECT_EQ(act({{389, 65536}}), dns("000000010001000080000000"));
  EXPECT_EQ(act({{389, 0xa1b2c3d4}}), dns("00000001a1b2c3d480000000"));
  EXPECT_EQ(act({{389, 4294967295}}), dns("00000001ffffffff80000000"));
  EXPECT_EQ(act({{389, 4294967295}, {389, 5}}), dns("000000010000000580000000"));
}

// ---- ICMP

class PolicyMapInspectIcmp : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configinspect_icmp", tokens, form);
  }
};

// The call of a command without names.
Events icmp(const std::string& bytes) {
  return {"bind 2",
          "call cm_update_l3_icmp_insp_config(u16 7, session 0x01020304, u8 1, '', '', buffer[4] " + bytes + ")",
          "return 0"};
}

TEST_F(PolicyMapInspectIcmp, AttachesAndRemoves) {
  EXPECT_EQ(act({{352, "p1"}, {356, "c1"}, {390}}),
            (Events{"bind 2",
                    "call cm_update_l3_icmp_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', "
                    "buffer[4] 00000002)",
                    "return 0"}));
  EXPECT_EQ(act({{352, "p1"}, {356, "c1"}, {393}}, kNo),
            (Events{"bind 2",
                    "call cm_update_l3_icmp_insp_config(u16 7, session 0x01020304, u8 0, 'p1', 'c1', "
                    "buffer[4] 00000001)",
                    "return 0"}));
}

TEST_F(PolicyMapInspectIcmp, TheLaterModeWins) {
  EXPECT_EQ(act({}), icmp("00000000"));
  EXPECT_EQ(act({{393}}), icmp("00000001"));
  EXPECT_EQ(act({{390}}), icmp("00000002"));
  EXPECT_EQ(act({{393}, {390}}), icmp("00000002"));
  EXPECT_EQ(act({{390}, {393}}), icmp("00000001"));
}

// ---- FTP

class PolicyMapInspectFtp : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configinspect_ftp", tokens, form);
  }
};

// The call of a command without names.
Events ftp(std::initializer_list<Part> parts) {
  return {
      "bind 2",
      "call cm_update_l3_ftp_insp_config(u16 7, session 0x01020304, u8 1, '', '', " + buffer(record(72, parts)) + ")",
      "return 0"};
}

TEST_F(PolicyMapInspectFtp, AttachesAndRemoves) {
  const std::string bytes = hex("\x00\x00\x00\x01"s +  // strict, or a policy-map given
                                field("ftp-1", 65) +   // FTP inspection policy-map name
                                "\x00\x00\x00"s        // zero
  );
  const Tokens tokens = {{352, "p1"}, {356, "c1"}, {383}, {384, "ftp-1"}};
  EXPECT_EQ(act(tokens),
            (Events{"bind 2",
                    "call cm_update_l3_ftp_insp_config(u16 7, session 0x01020304, u8 1, 'p1', 'c1', buffer[72] " +
                        bytes + ")",
                    "return 0"}));
  EXPECT_EQ(act(tokens, kNo),
            (Events{"bind 2",
                    "call cm_update_l3_ftp_insp_config(u16 7, session 0x01020304, u8 0, 'p1', 'c1', buffer[72] " +
                        bytes + ")",
                    "return 0"}));
}

TEST_F(PolicyMapInspectFtp, EveryKeyword) {
  EXPECT_EQ(act({}), ftp({}));
  EXPECT_EQ(act({{383}}), ftp({{0, "\0\0\0\1"s}}));
  EXPECT_EQ(act({{384, "ftp-1"}}), ftp({{0, "\0\0\0\1"s}, {4, "ftp-1"}}));
  EXPECT_EQ(act({{384, "ftp-1"}, {383}}), ftp({{0, "\0\0\0\1"s}, {4, "ftp-1"}}));
  EXPECT_EQ(act({{384, "a-long-name"}, {384, "ab"}}), ftp({{0, "\0\0\0\1"s}, {4, "ab"}}));
}

TEST_F(PolicyMapInspectFtp, PolicyMapNamesAreCutAt64Characters) {
  const std::string longest(64, 'x');
  EXPECT_EQ(act({{384, ""}}), ftp({{0, "\0\0\0\1"s}}));
  EXPECT_EQ(act({{384, nullptr}}), ftp({{0, "\0\0\0\1"s}}));
  EXPECT_EQ(act({{384, longest}, {384, nullptr}}), ftp({{0, "\0\0\0\1"s}}));
  EXPECT_EQ(act({{384, std::string(63, 'x')}}), ftp({{0, "\0\0\0\1"s}, {4, std::string(63, 'x')}}));
  for (const std::string& typed : {longest, longest + "y", longest + "yyyyyy", longest + std::string(65536, 'y')}) {
    EXPECT_EQ(act({{384, typed}}), ftp({{0, "\0\0\0\1"s}, {4, longest}}));
  }
  EXPECT_EQ(act({{384, "#\x01 %s%n\xff"}}), ftp({{0, "\0\0\0\1"s}, {4, "#\x01 %s%n\xff"}}));
}

// ---- RTSP

// ---- messages of the four

// The policy-map that is missing is the one that holds the class, not the one that it was to use.
TEST_F(PolicyMapInspectFtp, AMissingPolicyMapIsTheLayer34One) {
  host.answer({.status = 0x40f30009});
  const Events events = act({{352, "p1"}, {356, "c1"}, {384, "ftp-1"}});
  ASSERT_EQ(events.size(), 4U);
  EXPECT_EQ(events[2], out("Error: policy-map 'p1' not configured\n"));
}

// ---- the action of a class in an FTP inspection policy-map

class PolicyMapFtpAction : public PluginTest {
 protected:
  Events act(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configclass_insftpact", tokens, form);
  }
};

Events ftp_action(const std::string& policy, const std::string& action, const std::string& bytes = "00000000",
                  const std::string& add = "1") {
  return {"bind 2",
          "call cm_update_l7_ftp_insp_action(u16 7, session 0x01020304, '" + policy + "', '" + action +
              "', buffer[4] " + bytes + ", u8 " + add + ")",
          "return 0"};
}

TEST_F(PolicyMapFtpAction, SetsAndClears) {
  EXPECT_EQ(
      act({{652, "p1"}, {659, "a1"}, {661}}),
      (Events{"bind 2",
              "call cm_update_l7_ftp_insp_action(u16 7, session 0x01020304, 'p1', 'a1', buffer[4] 00000005, u8 1)",
              "return 0"}));
  EXPECT_EQ(
      act({{652, "p1"}, {659, "a1"}, {662}}, kNo),
      (Events{"bind 2",
              "call cm_update_l7_ftp_insp_action(u16 7, session 0x01020304, 'p1', 'a1', buffer[4] 00000006, u8 0)",
              "return 0"}));
}

TEST_F(PolicyMapFtpAction, TheLaterCodeWins) {
  EXPECT_EQ(act({}), ftp_action("", "", "00000000"));
  EXPECT_EQ(act({{661}}), ftp_action("", "", "00000005"));
  EXPECT_EQ(act({{662}}), ftp_action("", "", "00000006"));
  EXPECT_EQ(act({{661}, {662}}), ftp_action("", "", "00000006"));
  EXPECT_EQ(act({{662}, {661}}), ftp_action("", "", "00000005"));
}

TEST_F(PolicyMapFtpAction, WithoutANameItIsPolicyAndClass) {
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}}), ftp_action("p1", "p1c1"));
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}}, kNo), ftp_action("p1", "p1c1", "00000000", "0"));
  EXPECT_EQ(act({{656, "c1"}, {661}, {652, "p1"}}), ftp_action("p1", "p1c1", "00000005"));
  EXPECT_EQ(act({{656, "c1"}}), ftp_action("", "c1"));
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}, {656, "c2"}}), ftp_action("p1", "p1c2"));
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}, {659, ""}}), ftp_action("p1", "p1c1"));
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}, {659, "a1"}, {659, nullptr}}), ftp_action("p1", "p1c1"));
  EXPECT_EQ(act({{652, "100%s"}, {656, "%n%d"}}), ftp_action("100%s", "100%s%n%d"));
}

TEST_F(PolicyMapFtpAction, WithoutAClassThereIsNoName) {
  EXPECT_EQ(act({{652, "p1"}}), ftp_action("p1", ""));
  EXPECT_EQ(act({{652, "p1"}, {656, ""}}), ftp_action("p1", ""));
  EXPECT_EQ(act({{652, "p1"}, {656, nullptr}}), ftp_action("p1", ""));
}

TEST_F(PolicyMapFtpAction, AGivenNameIsKept) {
  EXPECT_EQ(act({{652, "p1"}, {656, "c1"}, {659, "a1"}}), ftp_action("p1", "a1"));
  EXPECT_EQ(act({{659, "a1"}, {656, "c1"}, {652, "p1"}}), ftp_action("p1", "a1"));
  EXPECT_EQ(act({{656, "c1"}, {659, std::string(65, 'a')}}), ftp_action("", std::string(64, 'a')));
}

TEST_F(PolicyMapFtpAction, TheJoinedNameIsCutAt63Characters) {
  const auto text = [](std::size_t count, char character) { return std::string(count, character); };
  EXPECT_EQ(act({{652, text(30, 'p')}, {656, text(33, 'c')}}),
            ftp_action(text(30, 'p'), text(30, 'p') + text(33, 'c')));
  EXPECT_EQ(act({{652, text(30, 'p')}, {656, text(34, 'c')}}),
            ftp_action(text(30, 'p'), text(30, 'p') + text(33, 'c')));
  EXPECT_EQ(act({{652, text(62, 'p')}, {656, "c1"}}), ftp_action(text(62, 'p'), text(62, 'p') + "c"));
  EXPECT_EQ(act({{652, text(64, 'p')}, {656, "c1"}}), ftp_action(text(64, 'p'), text(63, 'p')));
  EXPECT_EQ(act({{652, text(70, 'p')}, {656, text(70, 'c')}}), ftp_action(text(64, 'p'), text(63, 'p')));
  EXPECT_EQ(act({{656, text(63, 'c')}}), ftp_action("", text(63, 'c')));
  EXPECT_EQ(act({{656, text(64, 'c')}}), ftp_action("", text(63, 'c')));
}

// ---- an inline match of an FTP inspection policy-map

class PolicyMapFtpMatch : public PluginTest {
 protected:
  Events match(const Tokens& tokens, const Form& form = {}) {
    return run("kvelpolicymap_configmatch_insftpreq", tokens, form);
  }
};

Events ftp_match(const std::string& code, const std::string& add = "1") {
  return {
      "bind 2",
      "call cm_update_l7_inline_ftp_insp_match(u16 7, session 0x01020304, 'p1', 'm1', u8 " + code + ", u8 " + add + ")",
      "return 0"};
}

TEST_F(PolicyMapFtpMatch, EveryRequestCommand) {
  struct Row {
    std::uint32_t keyword_id;
    const char* code;
  };
  const std::array rows = {
      Row{889, "2"}, Row{890, "3"},  Row{891, "4"},  Row{892, "5"},  Row{893, "6"}, Row{894, "7"},  Row{895, "8"},
      Row{896, "9"}, Row{897, "10"}, Row{898, "11"}, Row{899, "12"}, Row{900, "1"}, Row{901, "13"},
  };
  for (const auto& [keyword, code] : rows) {
    EXPECT_EQ(match({{652, "p1"}, {656, "m1"}, {keyword}}), ftp_match(code)) << "keyword " << keyword;
    EXPECT_EQ(match({{keyword}, {656, "m1"}, {652, "p1"}}, kNo), ftp_match(code, "0")) << "keyword " << keyword;
    EXPECT_EQ(match({{652, "p1"}, {901}, {656, "m1"}, {keyword}}), ftp_match(code)) << "keyword " << keyword;
    EXPECT_EQ(match({{652, "p1"}, {keyword}, {656, "m1"}, {900}}), ftp_match("1")) << "keyword " << keyword;
  }
}

TEST_F(PolicyMapFtpMatch, WithoutARequestCommandTheCodeIsZero) {
  EXPECT_EQ(match({{652, "p1"}, {656, "m1"}}), ftp_match("0"));
}

}  // namespace
}  // namespace kvel::cli::test::policy_protocol_inspection_test
