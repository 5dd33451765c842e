// The values that rules may have, kind by kind, with the last accepted and the first refused, and expressions.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::rule_check_test {
namespace {

using namespace std::string_literals;

class RuleCheck : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("l3", 0), Status::ok);
    ASSERT_EQ(client_.create("mgmt", 1), Status::ok);
    ASSERT_EQ(client_.create("lb", 2), Status::ok);
    ASSERT_EQ(client_.create("http", 3), Status::ok);
    ASSERT_EQ(client_.create("ftp", 4), Status::ok);
  }

  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<NullStore>()).value();
  Client client_{*manager_};
  RuleClient rule_{*manager_};
  PolicyClient policy_{*manager_};
};

TEST_F(RuleCheck, HeadsOfLayer34AndManagementRules) {
  for (const std::uint32_t type : {1U, 2U, 5U, 255U}) {
    EXPECT_EQ(rule_.vip({"l3"}, 0, 0, 6, 1, 1, type), Status::bad_arguments);
    EXPECT_EQ(rule_.address({"l3"}, 1, 0, 0, 0, 0, type), Status::bad_arguments);
    EXPECT_EQ(rule_.port({"l3"}, 6, 1, 1, type), Status::bad_arguments);
    EXPECT_EQ(rule_.any({"l3"}, type), Status::bad_arguments);
    EXPECT_EQ(rule_.access_list({"l3"}, "in", type), Status::bad_arguments);
  }
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22, 0, 0, 0), Status::bad_arguments);
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22, 0, 0, 2), Status::bad_arguments);

  for (const std::uint32_t mode : {2U, 255U}) {
    EXPECT_EQ(rule_.vip({"l3", 0, 1, mode}, 0), Status::invalid_match_mode);
    EXPECT_EQ(rule_.address({"l3", 0, 1, mode}, 1, 0, 0, 0, 0), Status::invalid_match_mode);
    EXPECT_EQ(rule_.port({"l3", 0, 1, mode}, 6, 1, 1), Status::invalid_match_mode);
    EXPECT_EQ(rule_.any({"l3", 0, 1, mode}), Status::invalid_match_mode);
    EXPECT_EQ(rule_.access_list({"l3", 0, 1, mode}, "in"), Status::invalid_match_mode);
    EXPECT_EQ(rule_.management({"mgmt", 0, 1, mode}, 6, 22, 22), Status::invalid_match_mode);
  }

  EXPECT_EQ(rule_.vip({"l3"}, 0, 0, 6, 1, 1, 0, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.port({"l3"}, 6, 1, 1, 0, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22, 0, 0, 1, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.address({"l3"}, 2, 0, 0, 0, 0), Status::bad_arguments);
  EXPECT_EQ(rule_.address({"l3"}, 0xffffffff, 0, 0, 0, 0), Status::bad_arguments);
}

TEST_F(RuleCheck, AddIsZeroOrOne) {
  for (const std::uint32_t add : {2U, 255U}) {
    EXPECT_EQ(rule_.vip({"l3", 0, add}, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.address({"l3", 0, add}, 1, 0, 0, 0, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.port({"l3", 0, add}, 6, 1, 1), Status::bad_arguments);
    EXPECT_EQ(rule_.any({"l3", 0, add}), Status::bad_arguments);
    EXPECT_EQ(rule_.access_list({"l3", 0, add}, "in"), Status::bad_arguments);
    EXPECT_EQ(rule_.management({"mgmt", 0, add}, 6, 22, 22), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_url({"lb", 0, add}, "/"), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_cookie({"lb", 0, add}, "a", "b"), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_header({"lb", 0, add}, "a", "b"), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_source({"lb", 0, add}, 0, 0xffffffff, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.nest({"lb", 0, add}, "l3"), Status::bad_arguments);
    EXPECT_EQ(rule_.header_length({"http", 0, add}, 12, 0, 0, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.header({"http", 0, add}, "a", "b"), Status::bad_arguments);
    EXPECT_EQ(rule_.url({"http", 0, add}, 9, "/"), Status::bad_arguments);
    EXPECT_EQ(rule_.content({"http", 0, add}, "a"), Status::bad_arguments);
    EXPECT_EQ(rule_.content_length({"http", 0, add}, 0, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.code("cm_update_mime_type_match", {"http", 0, add}, 33), Status::bad_arguments);
  }
}

TEST_F(RuleCheck, HostAddresses) {
  const auto both = [&](std::uint32_t address) {
    const Status status = rule_.vip({"l3"}, address);
    EXPECT_EQ(rule_.address({"l3"}, 1, address, 0, 0, 0), status) << address;
    EXPECT_EQ(rule_.address({"l3"}, 0, 0, 0, address, 0), status) << address;
    return status;
  };
  for (const std::uint32_t address :
       {0U, ip(1, 0, 0, 0), ip(126, 255, 255, 255), ip(128, 0, 0, 0), ip(223, 255, 255, 255)})
    EXPECT_EQ(both(address), Status::ok) << address;
  for (const std::uint32_t address : {1U, ip(0, 255, 255, 255), ip(127, 0, 0, 0), ip(127, 0, 0, 1),
                                      ip(127, 255, 255, 255), ip(224, 0, 0, 0), ip(255, 255, 255, 255)})
    EXPECT_EQ(both(address), Status::invalid_address) << address;
  // Sources of management and of requests are not checked.
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22, ip(127, 0, 0, 0), ip(255, 0, 0, 0)), Status::ok);
  EXPECT_EQ(rule_.lb_source({"lb"}, ip(127, 0, 0, 0), ip(255, 0, 0, 0), 1), Status::ok);
}

TEST_F(RuleCheck, Masks) {
  const auto all = [&](std::uint32_t mask) {
    const Status status = rule_.vip({"l3"}, 0, mask);
    EXPECT_EQ(rule_.address({"l3"}, 1, 0, mask, 0, 0), status) << mask;
    EXPECT_EQ(rule_.address({"l3"}, 0, 0, 0, 0, mask), status) << mask;
    EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22, 0, mask), status) << mask;
    EXPECT_EQ(rule_.lb_source({"lb"}, 0, mask, 1), status) << mask;
    return status;
  };
  for (const std::uint32_t mask : {0U, 0x80000000U, 0xc0000000U, 0xffffff00U, 0xfffffffeU, 0xffffffffU})
    EXPECT_EQ(all(mask), Status::ok) << mask;
  for (const std::uint32_t mask : {1U, 0x7fffffffU, 0xff00ff00U, 0xfffffffdU, 0x000000ffU, 0xbfffffffU})
    EXPECT_EQ(all(mask), Status::invalid_mask) << mask;
}

TEST_F(RuleCheck, MaskGiven) {
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffffff, 0), Status::ok);
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffffff, 1), Status::ok);
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffff00, 0), Status::bad_arguments);
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0, 0), Status::bad_arguments);
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffffff, 2), Status::bad_arguments);
}

TEST_F(RuleCheck, ProtocolsAndPorts) {
  const auto all = [&](std::uint32_t protocol, std::uint32_t lower, std::uint32_t upper) {
    const Status status = rule_.port({"l3"}, protocol, lower, upper);
    EXPECT_EQ(rule_.vip({"l3"}, 0, 0, protocol, lower, upper), status);
    EXPECT_EQ(rule_.management({"mgmt"}, protocol, lower, upper), status);
    return status;
  };
  EXPECT_EQ(all(0, 0, 0), Status::ok);
  EXPECT_EQ(all(255, 0, 65535), Status::ok);
  EXPECT_EQ(all(6, 65535, 65535), Status::ok);
  EXPECT_EQ(all(256, 1, 1), Status::invalid_protocol);
  EXPECT_EQ(all(0xffffffff, 1, 1), Status::invalid_protocol);
  EXPECT_EQ(all(6, 0, 65536), Status::invalid_port);
  EXPECT_EQ(all(6, 65536, 65536), Status::invalid_port);
  EXPECT_EQ(all(6, 65536, 1), Status::invalid_port);
  EXPECT_EQ(all(6, 80, 79), Status::empty_range);
  EXPECT_EQ(all(6, 80, 0), Status::empty_range);
}

TEST_F(RuleCheck, AccessListNames) {
  EXPECT_EQ(rule_.access_list({"l3"}, std::string(64, 'a')), Status::ok);
  EXPECT_EQ(rule_.access_list({"l3"}, "caf\xc3\xa9"), Status::ok);
  for (const auto& name : {""s, std::string(65, 'a'), "#a"s, "a\n"s, "a\0"s, "\xff"s})
    EXPECT_EQ(rule_.access_list({"l3"}, name), Status::invalid_name) << name;
}

TEST_F(RuleCheck, Lengths) {
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 255, 255), Status::ok);
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 0, 256), Status::invalid_length);
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 256, 256), Status::invalid_length);
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 256, 1), Status::invalid_length);
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 2, 1), Status::empty_range);
  EXPECT_EQ(rule_.url({"http"}, 10, "", 65535, 65535), Status::ok);
  EXPECT_EQ(rule_.url({"http"}, 10, "", 0, 65536), Status::invalid_length);
  EXPECT_EQ(rule_.url({"http"}, 10, "", 65536, 65536), Status::invalid_length);
  EXPECT_EQ(rule_.url({"http"}, 10, "", 2, 1), Status::empty_range);
  EXPECT_EQ(rule_.content_length({"http"}, 4294967295, 4294967295), Status::ok);
  EXPECT_EQ(rule_.content_length({"http"}, 4294967295, 4294967294), Status::empty_range);
}

TEST_F(RuleCheck, Directions) {
  EXPECT_EQ(rule_.header_length({"http"}, 12, 1, 1, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.header_length({"http"}, 13, 0, 1, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.header_length({"http"}, 0, 1, 1, 1), Status::bad_arguments);
  EXPECT_EQ(rule_.header_length({"http"}, 13, 2, 1, 1), Status::bad_arguments);
  for (const std::uint32_t code : {1U, 9U, 11U, 14U, 255U})
    EXPECT_EQ(rule_.header_length({"http"}, code, 0, 1, 1), Status::invalid_code) << code;
}

TEST_F(RuleCheck, Codes) {
  const auto check = [&](const char* call, const char* class_map, std::uint32_t first, std::uint32_t last) {
    for (std::uint32_t code = 0; code <= 255; ++code) {
      const Status wanted = code >= first && code <= last ? Status::ok : Status::invalid_code;
      EXPECT_EQ(rule_.code(call, {class_map}, code), wanted) << call << code;
    }
  };
  check("cm_update_mime_type_match", "http", 33, 77);
  check("cm_update_request_method_match", "http", 1, 27);
  check("cm_update_p80_misuse_match", "http", 1, 3);
  check("cm_update_transfer_encoding_match", "http", 83, 88);
  check("cm_update_ftp_request_method_match", "ftp", 1, 13);
  for (const std::uint32_t code : {0U, 8U, 11U, 255U})
    EXPECT_EQ(rule_.url({"http"}, code, "/", 0, 0), Status::invalid_code) << code;
}

TEST_F(RuleCheck, HeaderAndCookieNames) {
  const auto all = [&](const std::string& name) {
    const Status status = rule_.header({"http"}, name, "x");
    EXPECT_EQ(rule_.lb_header({"lb"}, name, "x"), status) << name;
    EXPECT_EQ(rule_.lb_cookie({"lb"}, name, "x"), status) << name;
    return status;
  };
  EXPECT_EQ(all("X-Forwarded-For"), Status::ok);
  EXPECT_EQ(all("!#$%&'*+-.^_`|~09azAZ"), Status::ok);
  EXPECT_EQ(all(std::string(64, 'h')), Status::ok);
  for (const auto& name : {""s, std::string(65, 'h'), "a b"s, "a\tb"s, "a\x7f"s, "a\0"s, "caf\xc3\xa9"s})
    EXPECT_EQ(all(name), Status::invalid_token) << name;
  for (const char separator : "()<>@,;:\\\"/[]?={}"s)
    EXPECT_EQ(all("a"s + separator), Status::invalid_token) << separator;
}

TEST_F(RuleCheck, ExpressionTexts) {
  const auto all = [&](const std::string& text) {
    const Status status = rule_.url({"http"}, 9, text);
    EXPECT_EQ(rule_.content({"http"}, text), status) << text;
    EXPECT_EQ(rule_.header({"http"}, "a", text), status) << text;
    EXPECT_EQ(rule_.lb_url({"lb"}, text), status) << text;
    EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", text), status) << text;
    EXPECT_EQ(rule_.lb_header({"lb"}, "a", text), status) << text;
    return status;
  };
  EXPECT_EQ(all(std::string(255, 'e')), Status::ok);
  EXPECT_EQ(all("caf\xc3\xa9|\\pL+(?i:x){2,3}[^[:digit:]a-z]$"), Status::ok);
  for (const auto& text : {std::string(256, 'e'), "a\nb"s, "a\0b"s, "\xff"s, "\xc2\x80"s})
    EXPECT_EQ(all(text), Status::invalid_text) << text;

  // The fault, and the character at which it is.
  const auto at = [&all](const std::string& text) {
    const ExpressionFault fault = expression_fault(all(text));
    return std::pair(fault.fault, fault.character);
  };
  EXPECT_EQ(at("a(b"), std::pair(Status::expression_unclosed_group, 2U));
  EXPECT_EQ(at("(a)((b)(c)"), std::pair(Status::expression_unclosed_group, 4U));
  EXPECT_EQ(at("[(](a"), std::pair(Status::expression_unclosed_group, 4U));
  EXPECT_EQ(at("a)b"), std::pair(Status::expression_unopened_group, 2U));
  EXPECT_EQ(at("(a))(b)"), std::pair(Status::expression_unopened_group, 4U));
  EXPECT_EQ(at("a[b"), std::pair(Status::expression_unclosed_class, 2U));
  EXPECT_EQ(at("[a](b[c\\]d"), std::pair(Status::expression_unclosed_class, 6U));
  EXPECT_EQ(at("[b-a]"), std::pair(Status::expression_bad_class, 2U));
  EXPECT_EQ(at("b-a[a-b][ab-a]"), std::pair(Status::expression_bad_class, 11U));
  EXPECT_EQ(at("[[:colour:]]"), std::pair(Status::expression_bad_class, 2U));
  EXPECT_EQ(at("x\\p{Klingon}"), std::pair(Status::expression_bad_class, 2U));
  EXPECT_EQ(at("\\q"), std::pair(Status::expression_bad_escape, 1U));
  EXPECT_EQ(at("\\\\q\\x41\\q"), std::pair(Status::expression_bad_escape, 8U));
  EXPECT_EQ(at("(a)\\1"), std::pair(Status::expression_bad_escape, 4U));
  EXPECT_EQ(at("a\\"), std::pair(Status::expression_trailing_backslash, 2U));
  EXPECT_EQ(at("*a"), std::pair(Status::expression_nothing_to_repeat, 1U));
  EXPECT_EQ(at("a|+"), std::pair(Status::expression_nothing_to_repeat, 3U));
  EXPECT_EQ(at("a{1,2}b{2,1}"), std::pair(Status::expression_bad_repetition, 8U));
  EXPECT_EQ(at("a{1001}"), std::pair(Status::expression_bad_repetition, 2U));
  EXPECT_EQ(at("(a{100}){11}"), std::pair(Status::expression_bad_repetition, 9U));
  EXPECT_EQ(at("a**"), std::pair(Status::expression_double_repetition, 2U));
  EXPECT_EQ(at("ab(?=a)"), std::pair(Status::expression_bad_group, 3U));
  EXPECT_EQ(at("(?P<a-b>c)"), std::pair(Status::expression_bad_group_name, 1U));
  EXPECT_EQ(at("caf\xc3\xa9 (a"), std::pair(Status::expression_unclosed_group, 6U));
  EXPECT_EQ(at(std::string(254, 'e') + "("), std::pair(Status::expression_unclosed_group, 255U));
  // A fault of the whole has no place.
  EXPECT_EQ(all("\\pL{1000}\\pL{1000}"), Status::expression_too_large);
}

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int time = 0; time < times; ++time)
    all += text;
  return all;
}

TEST_F(RuleCheck, ExpressionsThatWouldTakeLongAreRefusedWhereverTheyAreGiven) {
  const Status large = Status::expression_too_large;
  ASSERT_EQ(policy_.create("inline-lb", 2), Status::ok);
  ASSERT_EQ(policy_.create("inline-http", 3), Status::ok);
  for (const auto& text : {repeated("a{0,1000}", 27), repeated("a{0,1000}|", 25), repeated("\\pL", 85),
                           repeated(".{0,1000}", 27), repeated("(a?){1000}", 25), "(?i)" + repeated("[^\\pL]", 41)}) {
    EXPECT_EQ(rule_.url({"http"}, 9, text), large) << text;
    EXPECT_EQ(rule_.content({"http"}, text), large) << text;
    EXPECT_EQ(rule_.header({"http"}, "a", text), large) << text;
    EXPECT_EQ(rule_.lb_url({"lb"}, text), large) << text;
    EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", text), large) << text;
    EXPECT_EQ(rule_.lb_header({"lb"}, "a", text), large) << text;
    EXPECT_EQ(policy_.url_match({"inline-lb", "m"}, text), large) << text;
    EXPECT_EQ(policy_.lb_match({"inline-lb", "m"}, record(332, {{0, word(6)}, {69, text}})), large) << text;
    EXPECT_EQ(policy_.http_match({"inline-http", "m"}, record(328, {{0, word(9)}, {4, text}})), large) << text;
  }
  EXPECT_EQ(client_.object("lb").text, R"({"kind":"class-map","name":"lb","type":2,"match_all":true})");
}

TEST_F(RuleCheck, LongExpressionsAreTaken) {
  for (const auto& text :
       {repeated(".", 255), repeated("[^/]", 63), repeated("(a|b)", 51), repeated(".*a", 85), repeated("\\w+", 85),
        "(?i)" + repeated("k", 251), repeated("[a-z]{9}", 31), repeated("[^a]{1,8}", 28), repeated("a?", 127),
        repeated(".{1,9}", 42), repeated("abcd|", 51), repeated("\\pL", 4), "\\pL{1,4}"s, ".{500}"s, ".{1,255}"s,
        "[a-z0-9]{1,1000}"s, "/img/[a-z0-9_-]{1,64}/.{1,200}\\.(png|jpe?g|gif|webp)(\\?.*)?"s,
        "(?i)([a-z0-9]([a-z0-9-]{0,61}[a-z0-9])?\\.){1,8}example\\.(org|com|net)(:[0-9]{1,5})?"s})
    EXPECT_EQ(rule_.lb_url({"lb"}, text), Status::ok) << text;
}

TEST_F(RuleCheck, OnlyValuesMayBeEmpty) {
  EXPECT_EQ(rule_.url({"http"}, 9, ""), Status::expression_empty);
  EXPECT_EQ(rule_.content({"http"}, ""), Status::expression_empty);
  EXPECT_EQ(rule_.lb_url({"lb"}, "", "GET"), Status::expression_empty);
  EXPECT_EQ(rule_.header({"http"}, "a", ""), Status::ok);
  EXPECT_EQ(rule_.lb_header({"lb"}, "a", ""), Status::ok);
  EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", ""), Status::ok);
}

TEST_F(RuleCheck, Qualifiers) {
  EXPECT_EQ(rule_.lb_url({"lb"}, "/", std::string(64, 'q')), Status::ok);
  for (const auto& text : {std::string(65, 'q'), "a\n"s, "\xff"s})
    EXPECT_EQ(rule_.lb_url({"lb"}, "/", text), Status::invalid_text) << text;
}

TEST_F(RuleCheck, ContentReaches255Bytes) {
  EXPECT_EQ(rule_.content({"http"}, std::string(250, 'c'), 5), Status::ok);
  EXPECT_EQ(rule_.content({"http"}, std::string(250, 'c'), 6), Status::invalid_offset);
  EXPECT_EQ(rule_.content({"http"}, std::string(255, 'c'), 0), Status::ok);
  EXPECT_EQ(rule_.content({"http"}, std::string(255, 'c'), 1), Status::invalid_offset);
  EXPECT_EQ(rule_.content({"http"}, "c", 254), Status::ok);
  EXPECT_EQ(rule_.content({"http"}, "c", 255), Status::invalid_offset);
}

TEST_F(RuleCheck, InlineMatchesNeedAPolicyMap) {
  EXPECT_EQ(rule_.lb_url({"lb"}, "/", "", 1), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_url({"lb"}, "/", "", 1, "before"), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", "b", 0, 1), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_header({"lb"}, "a", "b", 1), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffffff, 0, 1), Status::class_not_in_policy);
  for (const std::uint32_t flag : {2U, 0xffffffffU}) {
    EXPECT_EQ(rule_.lb_url({"lb"}, "/", "", flag), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", "b", 0, flag), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", "b", flag, 0), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_header({"lb"}, "a", "b", flag), Status::bad_arguments);
    EXPECT_EQ(rule_.lb_source({"lb"}, 1, 0xffffffff, 0, flag), Status::bad_arguments);
  }
  EXPECT_EQ(rule_.lb_url({"lb"}, "/", "", 0, "before"), Status::insert_before_not_found);
  EXPECT_EQ(rule_.lb_cookie({"lb"}, "a", "b", 0, 0, "before"), Status::insert_before_not_found);
  EXPECT_EQ(rule_.lb_header({"lb"}, "a", "b", 0, "before"), Status::insert_before_not_found);
  EXPECT_EQ(client_.object("lb").text, R"({"kind":"class-map","name":"lb","type":2,"match_all":true})");
}

}  // namespace
}  // namespace kvel::manager::testing::rule_check_test
