// The smaller actions in the display of a service policy: security ACL, inspection of ftp, dns, icmp and rtsp, types
// that are none, and groups without records.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/service_policy_test.h"

namespace kvel::cli::test::service_policy_inspect_test {
namespace {

const Mode kDetail = {.active = 1, .detail = 1};
const Mode kInactiveDetail = {.active = 0, .detail = 1};
const std::string kNewline = R"(xprint "\n" => "\n")";

// ---- ftp

using ServicePolicyFtp = ServicePolicyTest;

std::string ftp_group(const stream::Ftp& record) {
  return stream::action({.count = 1, .type = stream::kInspectFtp}) + stream::ftp(record);
}

std::string ftp_policy(const std::string& text) {
  return line("        L7 inspect policy : <%s>\n", "sp_inspftp_policymap", text);
}

std::string ftp_strict(const std::string& text) { return line("        strict ftp: <%s>", "sp_inspftp_strict", text); }

// The second policy line: another word, another blank.
std::string ftp_l7_policy(const std::string& text) {
  return line("        L7 Inspect policy: <%s>\n", "sp_inspftp_policymap", text);
}

std::string ftp_l7_counters(const std::string& text) {
  return line("          Total ReplyMasked : <%-10u> , Total Dropped: <%-10u>\n", "sp_inspftp_l7stats", text);
}

const Events kFtpOpened = {"xprint_header 'sp_inspectftp'",
                           R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect ftp>:\n")"};
const Events kFtpClosed = {"xprint_footer 'sp_inspectftp'"};

TEST_F(ServicePolicyFtp, ActiveWithDetail) {
  EXPECT_EQ(
      format_action(ftp_group({}), kDetail),
      (Events{
          "xprint_header 'sp_inspectftp'",
          R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect ftp>:\n")",
          R"(xprint "        L7 inspect policy : <%s>\n" 'sp_inspftp_policymap' => )"
          R"("        L7 inspect policy : <no-put>\n")",
          R"(xprint "        strict ftp: <%s>" 'sp_inspftp_strict' => "        strict ftp: <ENABLED>")",
          R"(xprint "\n" => "\n")",
          R"(xprint "        curr conns       : <%-10u>, hit count        : <%-10u>\n" 'sp_curr_conns sp_hit_count' )"
          R"(=> "        curr conns       : <1001      >, hit count        : <1002      >\n")",
          R"(xprint "        dropped conns    : <%-10u>\n" 'sp_drop_conns' )"
          R"(=> "        dropped conns    : <1007      >\n")",
          R"(xprint "        client pkt count : <%-10u>, client byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_client sp_byte_count_client' )"
          R"(=> "        client pkt count : <1003      >, client byte count: <1005                >\n")",
          R"(xprint "        server pkt count : <%-10u>, server byte count: <%-20llu>\n" )"
          R"('sp_pkt_count_server sp_byte_count_server' )"
          R"(=> "        server pkt count : <1004      >, server byte count: <1006                >\n")",
          R"(xprint "        L7 Inspect policy: <%s>\n" 'sp_inspftp_policymap' => )"
          R"("        L7 Inspect policy: <no-put>\n")",
          R"(xprint "          Total ReplyMasked : <%-10u> , Total Dropped: <%-10u>\n" 'sp_inspftp_l7stats' => )"
          R"("          Total ReplyMasked : <2005      > , Total Dropped: <2006      >\n")",
          "xprint_footer 'sp_inspectftp'",
      }));
}

TEST_F(ServicePolicyFtp, InEveryOtherMode) {
  const Events settings = {ftp_policy("        L7 inspect policy : <no-put>\n"),
                           ftp_strict("        strict ftp: <ENABLED>"), kNewline};
  EXPECT_EQ(format_action(ftp_group({}), {.active = 1, .detail = 0}),
            kFtpOpened + settings + statistics() + kFtpClosed);
  EXPECT_EQ(format_action(ftp_group({}), {.active = 0, .detail = 0}), kFtpOpened + settings + kFtpClosed);
  // the second policy line without its counters
  EXPECT_EQ(format_action(ftp_group({}), kInactiveDetail),
            kFtpOpened + settings + Events{ftp_l7_policy("        L7 Inspect policy: <no-put>\n")} + kFtpClosed);
}

TEST_F(ServicePolicyFtp, WithoutAPolicy) {
  for (const Mode& mode : kModes) {
    EXPECT_EQ(format_action(ftp_group({.l7_policy_name = ""}), mode),
              (kFtpOpened +
               Events{ftp_policy("        L7 inspect policy : <->\n"), ftp_strict("        strict ftp: <ENABLED>"),
                      kNewline} +
               statistics(mode) + kFtpClosed))
        << name_of(mode);
  }
}

TEST_F(ServicePolicyFtp, Strict) {
  EXPECT_EQ(format_action(ftp_group({.strict = 0})).at(3), ftp_strict("        strict ftp: <DISABLED>"));
  for (std::uint32_t strict : {1U, 2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU})
    EXPECT_EQ(format_action(ftp_group({.strict = strict})).at(3), ftp_strict("        strict ftp: <ENABLED>"));
}

TEST_F(ServicePolicyFtp, PolicyNamesAndCounters) {
  for (const std::string& name : {std::string("x"), std::string("-"), std::string("%s%n"), std::string(71, 'p')}) {
    EXPECT_EQ(format_action(ftp_group({.l7_policy_name = name, .reply_masked = 0xffffffff, .l7_dropped = 0x01020304}),
                            kDetail),
              (kFtpOpened +
               Events{ftp_policy("        L7 inspect policy : <" + name + ">\n"),
                      ftp_strict("        strict ftp: <ENABLED>"), kNewline} +
               statistics() +
               Events{ftp_l7_policy("        L7 Inspect policy: <" + name + ">\n"),
                      ftp_l7_counters("          Total ReplyMasked : <4294967295> , Total Dropped: <16909060  >\n")} +
               kFtpClosed));
  }
}

// ---- dns, icmp, rtsp, security ACL

using ServicePolicyDns = ServicePolicyTest;
using ServicePolicyIcmp = ServicePolicyTest;
using ServicePolicyRtsp = ServicePolicyTest;
using ServicePolicyAcl = ServicePolicyTest;

TEST_F(ServicePolicyDns, InEveryMode) {
  for (const Mode& mode : kModes) {
    EXPECT_EQ(
        format_action(stream::action({.count = 1, .type = stream::kInspectDns}) + stream::dns({}), mode),
        (Events{"xprint_header 'sp_inspectdns'",
                R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect dns>:\n")",
                R"(xprint "        max length: <%u>" 'sp_inspdns_maxlen' => "        max length: <512>")", kNewline} +
         statistics(mode) + Events{"xprint_footer 'sp_inspectdns'"}))
        << name_of(mode);
  }
}

TEST_F(ServicePolicyDns, TheLengthIsUnsigned) {
  struct Row {
    std::uint32_t length;
    const char* text;
  };
  for (const Row& row : std::array{Row{0, "        max length: <0>"}, Row{65535, "        max length: <65535>"},
                                   Row{0x01020304, "        max length: <16909060>"},
                                   Row{0x80000000, "        max length: <2147483648>"},
                                   Row{0xffffffff, "        max length: <4294967295>"}}) {
    EXPECT_EQ(format_action(stream::action({.count = 1, .type = stream::kInspectDns}) +
                            stream::dns({.max_length = row.length}))
                  .at(2),
              line("        max length: <%u>", "sp_inspdns_maxlen", row.text));
  }
}

TEST_F(ServicePolicyIcmp, InEveryMode) {
  for (const Mode& mode : kModes) {
    EXPECT_EQ(format_action(stream::action({.count = 1, .type = stream::kInspectIcmp}) + stream::icmp({}), mode),
              (Events{"xprint_header 'sp_inspecticmp'",
                      R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect icmp>:\n")",
                      R"(xprint "        icmp error: <%s>" 'sp_inspicmp_error' => "        icmp error: <ENABLED>")",
                      kNewline} +
               statistics(mode) + Events{"xprint_footer 'sp_inspecticmp'"}))
        << name_of(mode);
  }
}

TEST_F(ServicePolicyIcmp, Errors) {
  const auto error_line = [this](std::uint32_t error) {
    return format_action(stream::action({.count = 1, .type = stream::kInspectIcmp}) +
                         stream::icmp({.icmp_error = error}))
        .at(2);
  };
  EXPECT_EQ(error_line(0), line("        icmp error: <%s>", "sp_inspicmp_error", "        icmp error: <DISABLED>"));
  for (std::uint32_t error : {1U, 2U, 0x100U, 0x10000U, 0x01000000U, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(error_line(error),
              line("        icmp error: <%s>", "sp_inspicmp_error", "        icmp error: <ENABLED>"));
  }
}

TEST_F(ServicePolicyRtsp, InEveryMode) {
  for (const Mode& mode : kModes) {
    EXPECT_EQ(format_action(stream::action({.count = 1, .type = stream::kInspectRtsp}) + stream::rtsp({}), mode),
              (Events{"xprint_header 'sp_inspectrtsp'",
                      R"(xprint "      <%s>:\n" 'sp_action_name' => "      <inspect rtsp>:\n")", kNewline} +
               statistics(mode) + Events{"xprint_footer 'sp_inspectrtsp'"}))
        << name_of(mode);
  }
}

// Nothing but its element, and no records, whatever its count.
TEST_F(ServicePolicyAcl, InEveryMode) {
  for (const Mode& mode : kModes) {
    for (std::uint32_t count : {1U, 2U, 0x80000000U, 0xffffffffU}) {
      EXPECT_EQ(format_action(stream::action({.count = count, .type = stream::kSecurityAcl}), mode),
                (Events{"xprint_header 'sp_security_acl'", "xprint_footer 'sp_security_acl'"}))
          << name_of(mode);
    }
  }
}

// ---- what they have in common

using ServicePolicyActions = ServicePolicyTest;

TEST_F(ServicePolicyActions, TypesThatAreNoneShowNothing) {
  for (std::uint32_t type : {8U, 9U, 255U, 0x0101U, 0x00010000U, 0x01000000U, 0x80000000U, 0x80000001U, 0xffffffffU}) {
    for (const Mode& mode : kModes) {
      EXPECT_EQ(format_action(stream::action({.has_l7 = 1, .count = 1, .type = type}), mode), Events{})
          << type << ", " << name_of(mode);
    }
  }
}

// Each group with three records, of which the first is shown, and with has_l7, which means nothing here.
TEST_F(ServicePolicyActions, OnlyTheFirstRecordIsShown) {
  const auto group = [](std::uint32_t type, const std::string& records) {
    return stream::action({.has_l7 = 1, .count = 3, .type = type}) + records;
  };
  const std::string bytes =
      stream::policy({}) + stream::class_map({.entry_count = 5}) +
      group(stream::kInspectFtp, stream::ftp({.l7_policy_name = ""}) + stream::ftp({}) + stream::ftp({.strict = 0})) +
      group(stream::kInspectDns, stream::dns({}) + stream::dns({.max_length = 1}) + stream::dns({.max_length = 2})) +
      group(stream::kInspectIcmp, stream::icmp({}) + stream::icmp({.icmp_error = 0}) + stream::icmp({})) +
      group(stream::kInspectRtsp, stream::rtsp({}) + stream::rtsp({}) + stream::rtsp({})) +
      stream::action({.type = stream::kSecurityAcl});
  const Events next = {closed("sp_class_type"), opened("sp_class_type")};
  EXPECT_EQ(
      format(bytes, 1),
      (heading(kDetail) + class_opened("web") + Events{opened("sp_class_type")} + kFtpOpened +
       Events{ftp_policy("        L7 inspect policy : <->\n"), ftp_strict("        strict ftp: <ENABLED>"), kNewline} +
       statistics() + kFtpClosed + next + Events{opened("sp_inspectdns"), action_name("inspect dns")} +
       Events{line("        max length: <%u>", "sp_inspdns_maxlen", "        max length: <512>"), kNewline} +
       statistics() + Events{closed("sp_inspectdns")} + next +
       Events{opened("sp_inspecticmp"), action_name("inspect icmp")} +
       Events{line("        icmp error: <%s>", "sp_inspicmp_error", "        icmp error: <ENABLED>"), kNewline} +
       statistics() + Events{closed("sp_inspecticmp")} + next +
       Events{opened("sp_inspectrtsp"), action_name("inspect rtsp"), kNewline} + statistics() +
       Events{closed("sp_inspectrtsp")} + next +
       Events{opened("sp_security_acl"), closed("sp_security_acl"), closed("sp_class_type")} + class_closed() +
       Events{closed("service_policy")}));
}

// A group without records has no payload and leaves its element open, whatever its type.
TEST_F(ServicePolicyActions, GroupsWithoutRecordsLeaveTheirElementOpen) {
  for (std::uint32_t type = 0; type <= 8; ++type) {
    for (const Mode& mode : kModes) {
      reload();
      // at the end of the class
      EXPECT_EQ(format(stream::policy({.active = mode.active}) + stream::class_map({.entry_count = 1}) +
                           stream::action({.has_l7 = 1, .count = 0, .type = type}),
                       mode.detail),
                (heading(mode) + class_opened("web") +
                 Events{"xprint_header 'sp_class_type'", "xprint_footer 'sp_class_types'",
                        "xprint_footer 'sp_class_map'", "xprint_footer 'service_policy'"}))
          << type << ", " << name_of(mode);
      reload();
      // in its middle, twice
      EXPECT_EQ(
          format(stream::policy({.active = mode.active}) + stream::class_map({.entry_count = 4}) +
                     stream::action({.type = stream::kSecurityAcl}) +
                     stream::action({.has_l7 = 1, .count = 0, .type = type}) +
                     stream::action({.has_l7 = 0, .count = 0, .type = type}) +
                     stream::action({.type = stream::kSecurityAcl}),
                 mode.detail),
          (heading(mode) + class_opened("web") +
           Events{"xprint_header 'sp_class_type'", "xprint_header 'sp_security_acl'", "xprint_footer 'sp_security_acl'",
                  "xprint_footer 'sp_class_type'", "xprint_header 'sp_class_type'", "xprint_header 'sp_class_type'",
                  "xprint_header 'sp_class_type'", "xprint_header 'sp_security_acl'", "xprint_footer 'sp_security_acl'",
                  "xprint_footer 'sp_class_type'", "xprint_footer 'sp_class_types'", "xprint_footer 'sp_class_map'",
                  "xprint_footer 'service_policy'"}))
          << type << ", " << name_of(mode);
    }
  }
}

}  // namespace
}  // namespace kvel::cli::test::service_policy_inspect_test
