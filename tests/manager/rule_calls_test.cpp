// Every call that adds or removes a match rule: what is stored and shown, line numbers, and every refusal of a place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::rule_calls_test {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

using namespace std::string_literals;

FakeDisk::Key row(const std::string& class_map, std::uint64_t line = 0) { return {0, 5, class_map, line}; }

class RuleCalls : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("l3", 0, kMatchAny), Status::ok);
    ASSERT_EQ(client_.create("mgmt", 1), Status::ok);
    ASSERT_EQ(client_.create("lb", 2), Status::ok);
    ASSERT_EQ(client_.create("http", 3), Status::ok);
    ASSERT_EQ(client_.create("ftp", 4), Status::ok);
  }

  // The rules that a class-map shows, or what it shows instead.
  std::string rules(const std::string& class_map) {
    const std::string record = client_.object(class_map).text;
    const auto start = record.find(R"(,"rules":)");
    return start == std::string::npos ? "none" : record.substr(start + 9, record.size() - start - 10);
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  RuleClient rule_{*manager_};
};

TEST_F(RuleCalls, Layer34) {
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1)), Status::ok);
  EXPECT_EQ(rule_.vip({"l3"}, 0, 0, 0, 0, 65535), Status::ok);
  EXPECT_EQ(rule_.address({"l3"}, 1, ip(10, 2, 0, 0), ip(255, 255, 0, 0), 0, 0), Status::ok);
  EXPECT_EQ(rule_.address({"l3"}, 0, 0, 0, ip(10, 2, 0, 0), ip(255, 255, 255, 255)), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 17, 1, 65535), Status::ok);
  EXPECT_EQ(rule_.any({"l3"}), Status::ok);
  EXPECT_EQ(rule_.access_list({"l3"}, "in \"side\""), Status::ok);
  EXPECT_EQ(
      client_.object("l3").text,
      R"({"kind":"class-map","name":"l3","type":0,"match_all":false,"rules":[)"
      R"({"line":10,"match":"virtual-address","address":"10.1.1.1","mask":"255.255.255.255","protocol":6,"lower":80,"upper":80},)"
      R"({"line":20,"match":"virtual-address","address":"0.0.0.0","mask":"0.0.0.0","protocol":0,"lower":0,"upper":65535},)"
      R"({"line":30,"match":"source-address","address":"10.2.0.0","mask":"255.255.0.0"},)"
      R"({"line":40,"match":"destination-address","address":"10.2.0.0","mask":"255.255.255.255"},)"
      R"({"line":50,"match":"port","protocol":17,"lower":1,"upper":65535},)"
      R"({"line":60,"match":"any"},)"
      R"({"line":70,"match":"access-list","name":"in \"side\""}]})");
}

TEST_F(RuleCalls, ManagementAndFtp) {
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22), Status::ok);
  EXPECT_EQ(rule_.management({"mgmt"}, 1, 0, 65535, ip(192, 168, 0, 0), ip(255, 255, 0, 0)), Status::ok);
  EXPECT_EQ(
      rules("mgmt"),
      R"([{"line":10,"match":"management","protocol":6,"lower":22,"upper":22,"address":"0.0.0.0","mask":"0.0.0.0"},)"
      R"({"line":20,"match":"management","protocol":1,"lower":0,"upper":65535,"address":"192.168.0.0","mask":"255.255.0.0"}])");
  EXPECT_EQ(rule_.code("cm_update_ftp_request_method_match", {"ftp"}, 1), Status::ok);
  EXPECT_EQ(rule_.code("cm_update_ftp_request_method_match", {"ftp"}, 13), Status::ok);
  EXPECT_EQ(rules("ftp"), R"([{"line":10,"match":"ftp-method","code":1},{"line":20,"match":"ftp-method","code":13}])");
}

TEST_F(RuleCalls, LoadBalancing) {
  ASSERT_EQ(client_.create("child", 2), Status::ok);
  EXPECT_EQ(rule_.lb_url({"lb"}, "/img/.*[.]png"), Status::ok);
  EXPECT_EQ(rule_.lb_url({"lb"}, "/img/.*[.]png", "GET"), Status::ok);
  EXPECT_EQ(rule_.lb_cookie({"lb"}, "session", ""), Status::ok);
  EXPECT_EQ(rule_.lb_cookie({"lb"}, "session", "a|b", 1), Status::ok);
  EXPECT_EQ(rule_.lb_header({"lb"}, "Host", ".*example"), Status::ok);
  EXPECT_EQ(rule_.lb_header({"lb"}, "X-Any", ""), Status::ok);
  EXPECT_EQ(rule_.lb_source({"lb"}, ip(10, 0, 0, 1), 0xffffffff, 0), Status::ok);
  EXPECT_EQ(rule_.lb_source({"lb"}, ip(10, 0, 0, 1), 0, 1), Status::ok);
  EXPECT_EQ(rule_.nest({"lb"}, "child"), Status::ok);
  EXPECT_EQ(
      rules("lb"),
      R"([{"line":10,"match":"http-url","expression":"/img/.*[.]png"},)"
      R"({"line":20,"match":"http-url","expression":"/img/.*[.]png","qualifier":"GET"},)"
      R"({"line":30,"match":"http-cookie","name":"session","value":""},)"
      R"({"line":40,"match":"http-cookie","name":"session","value":"a|b","option":true},)"
      R"({"line":50,"match":"http-header","name":"Host","value":".*example"},)"
      R"({"line":60,"match":"http-header","name":"X-Any","value":""},)"
      R"({"line":70,"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":false},)"
      R"({"line":80,"match":"http-source-address","address":"10.0.0.1","mask":"0.0.0.0","mask_given":true},)"
      R"({"line":90,"match":"class-map","name":"child"}])");
}

TEST_F(RuleCalls, HttpInspection) {
  EXPECT_EQ(rule_.header_length({"http"}, 12, 0, 1, 255), Status::ok);
  EXPECT_EQ(rule_.header_length({"http"}, 13, 1, 0, 0), Status::ok);
  EXPECT_EQ(rule_.header_length({"http"}, 0, 0, 7, 8), Status::ok);
  EXPECT_EQ(rule_.header({"http"}, "Via", "a\\.b"), Status::ok);
  EXPECT_EQ(rule_.url({"http"}, 9, "^/cgi"), Status::ok);
  EXPECT_EQ(rule_.url({"http"}, 10, "", 256, 65535), Status::ok);
  EXPECT_EQ(rule_.code("cm_update_mime_type_match", {"http"}, 33), Status::ok);
  EXPECT_EQ(rule_.content({"http"}, "x+", 17), Status::ok);
  EXPECT_EQ(rule_.content_length({"http"}, 1, 4294967295), Status::ok);
  EXPECT_EQ(rule_.code("cm_update_request_method_match", {"http"}, 27), Status::ok);
  EXPECT_EQ(rule_.code("cm_update_p80_misuse_match", {"http"}, 3), Status::ok);
  EXPECT_EQ(rule_.code("cm_update_transfer_encoding_match", {"http"}, 88), Status::ok);
  EXPECT_EQ(rules("http"), R"([{"line":10,"match":"header-length","direction":"request","low":1,"high":255},)"
                           R"({"line":20,"match":"header-length","direction":"response","low":0,"high":0},)"
                           R"({"line":30,"match":"header-length","direction":"request","low":7,"high":8},)"
                           R"({"line":40,"match":"header","name":"Via","value":"a\\.b"},)"
                           R"({"line":50,"match":"url","expression":"^/cgi"},)"
                           R"({"line":60,"match":"url-length","low":256,"high":65535},)"
                           R"({"line":70,"match":"mime-type","code":33},)"
                           R"({"line":80,"match":"content","expression":"x+","offset":17},)"
                           R"({"line":90,"match":"content-length","low":1,"high":4294967295},)"
                           R"({"line":100,"match":"request-method","code":27},)"
                           R"({"line":110,"match":"port-misuse","code":3},)"
                           R"({"line":120,"match":"transfer-encoding","code":88}])");
}

TEST_F(RuleCalls, AreWrittenAlone) {
  EXPECT_EQ(rule_.any({"l3", 7}), Status::ok);
  EXPECT_EQ(rule_.port({"l3", 4294967295}, 6, 80, 80), Status::ok);
  EXPECT_THAT(disk_.records,
              ElementsAre(Pair(row("ftp"), R"({"type":4,"match_all":true})"),
                          Pair(row("http"), R"({"type":3,"match_all":true})"),
                          Pair(row("l3"), R"({"type":0,"match_all":false})"), Pair(row("l3", 7), R"({"match":"any"})"),
                          Pair(row("l3", 4294967295), R"({"match":"port","protocol":6,"lower":80,"upper":80})"),
                          Pair(row("lb"), R"({"type":2,"match_all":true})"),
                          Pair(row("mgmt"), R"({"type":1,"match_all":true})")));
}

TEST_F(RuleCalls, TheFieldsOfTheOtherDirectionAreNoPartOfARule) {
  EXPECT_EQ(rule_.address({"l3"}, 1, ip(10, 0, 0, 1), 0, 0xffffffff, 0x00ff00ff), Status::ok);
  EXPECT_EQ(rule_.address({"l3"}, 0, 0xffffffff, 0x00ff00ff, ip(10, 0, 0, 1), 0), Status::ok);
  EXPECT_EQ(rule_.address({"l3", 0, 0}, 1, ip(10, 0, 0, 1), 0, 0, 0), Status::ok);
  EXPECT_EQ(rules("l3"), R"([{"line":20,"match":"destination-address","address":"10.0.0.1","mask":"0.0.0.0"}])");
}

TEST_F(RuleCalls, TheCodeSelectsTheUrlRule) {
  EXPECT_EQ(rule_.url({"http"}, 9, "abc", 9, 3), Status::ok);
  EXPECT_EQ(rule_.url({"http"}, 10, "((", 3, 9), Status::ok);
  EXPECT_EQ(rules("http"),
            R"([{"line":10,"match":"url","expression":"abc"},{"line":20,"match":"url-length","low":3,"high":9}])");
}

TEST_F(RuleCalls, TheModeThatARuleCarriesChangesNothing) {
  EXPECT_EQ(rule_.any({"l3", 0, 1, 1}), Status::ok);
  EXPECT_EQ(rule_.management({"mgmt", 0, 1, 0}, 6, 22, 22), Status::ok);
  EXPECT_EQ(rule_.remove_typed_line("mgmt", 10, 1, 0), Status::ok);
  EXPECT_EQ(client_.object("l3").text, R"({"kind":"class-map","name":"l3","type":0,"match_all":false,)"
                                       R"("rules":[{"line":10,"match":"any"}]})");
  EXPECT_EQ(client_.object("mgmt").text, R"({"kind":"class-map","name":"mgmt","type":1,"match_all":true})");
}

TEST_F(RuleCalls, LinesComeInStepsOfTen) {
  EXPECT_EQ(rule_.port({"l3", 5}, 6, 1, 1), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 2, 2), Status::ok);
  EXPECT_EQ(rule_.port({"l3", 19}, 6, 3, 3), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 4, 4), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 5, 5), Status::ok);
  EXPECT_EQ(rule_.remove_line("l3", 20), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 6, 6), Status::ok);
  EXPECT_EQ(rules("l3"), R"([{"line":5,"match":"port","protocol":6,"lower":1,"upper":1},)"
                         R"({"line":10,"match":"port","protocol":6,"lower":2,"upper":2},)"
                         R"({"line":19,"match":"port","protocol":6,"lower":3,"upper":3},)"
                         R"({"line":30,"match":"port","protocol":6,"lower":5,"upper":5},)"
                         R"({"line":40,"match":"port","protocol":6,"lower":6,"upper":6}])");
}

TEST_F(RuleCalls, LinesEnd) {
  EXPECT_EQ(rule_.port({"l3", 4294967279}, 6, 1, 1), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 2, 2), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 3, 3), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 4, 4), Status::lines_used_up);
  EXPECT_EQ(rule_.port({"l3", 4294967295}, 6, 4, 4), Status::ok);
  EXPECT_EQ(rule_.port({"l3"}, 6, 5, 5), Status::lines_used_up);
  EXPECT_EQ(rule_.port({"l3", 10}, 6, 5, 5), Status::ok);
  EXPECT_EQ(rules("l3"), R"([{"line":10,"match":"port","protocol":6,"lower":5,"upper":5},)"
                         R"({"line":4294967279,"match":"port","protocol":6,"lower":1,"upper":1},)"
                         R"({"line":4294967280,"match":"port","protocol":6,"lower":2,"upper":2},)"
                         R"({"line":4294967290,"match":"port","protocol":6,"lower":3,"upper":3},)"
                         R"({"line":4294967295,"match":"port","protocol":6,"lower":4,"upper":4}])");
}

TEST_F(RuleCalls, TheSameRuleIsKeptOnce) {
  EXPECT_EQ(rule_.vip({"l3", 15}, ip(10, 1, 1, 1)), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1)), Status::ok);
  EXPECT_EQ(rule_.vip({"l3", 15}, ip(10, 1, 1, 1)), Status::ok);
  EXPECT_EQ(rule_.vip({"l3", 20}, ip(10, 1, 1, 1)), Status::rule_at_another_line);
  EXPECT_EQ(rule_.vip({"l3", 15}, ip(10, 1, 1, 2)), Status::line_taken);
  EXPECT_EQ(disk_.commits, commits);
  // The smallest difference makes another rule.
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1), 0xfffffffe), Status::ok);
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1), 0xffffffff, 17), Status::ok);
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1), 0xffffffff, 6, 79), Status::ok);
  EXPECT_EQ(rule_.vip({"l3"}, ip(10, 1, 1, 1), 0xffffffff, 6, 80, 81), Status::ok);
  EXPECT_EQ(disk_.commits, commits + 4);
}

TEST_F(RuleCalls, TheNoFormRemovesTheSameRule) {
  EXPECT_EQ(rule_.header({"http", 5}, "Via", "a"), Status::ok);
  EXPECT_EQ(rule_.header({"http", 6}, "Via", "b"), Status::ok);
  EXPECT_EQ(rule_.header({"http", 0, 0}, "Via", "c"), Status::rule_not_found);
  EXPECT_EQ(rule_.header({"http", 0, 0}, "Via", "(("), Status::rule_not_found);
  EXPECT_EQ(rule_.header({"http", 6, 0}, "Via", "a"), Status::rule_at_another_line);
  EXPECT_EQ(rule_.header({"http", 7, 0}, "Via", "a"), Status::rule_at_another_line);
  EXPECT_EQ(rule_.header({"http", 5, 0}, "Via", "a"), Status::ok);
  EXPECT_EQ(rules("http"), R"([{"line":6,"match":"header","name":"Via","value":"b"}])");
  EXPECT_EQ(rule_.header({"http", 0, 0}, "Via", "b"), Status::ok);
  EXPECT_EQ(rules("http"), "none");
  EXPECT_EQ(disk_.records.count(row("http", 6)), 0U);
  EXPECT_EQ(rule_.header({"http", 0, 0}, "Via", "b"), Status::rule_not_found);
}

TEST_F(RuleCalls, EveryKindIsRemovedByItsNoForm) {
  ASSERT_EQ(client_.create("child", 2), Status::ok);
  const auto records = disk_.records;
  for (const std::uint32_t add : {1U, 0U}) {
    EXPECT_EQ(rule_.vip({"l3", 0, add}, ip(10, 1, 1, 1)), Status::ok);
    EXPECT_EQ(rule_.address({"l3", 0, add}, 1, ip(10, 1, 1, 1), 0, 0, 0), Status::ok);
    EXPECT_EQ(rule_.address({"l3", 0, add}, 0, 0, 0, ip(10, 1, 1, 1), 0), Status::ok);
    EXPECT_EQ(rule_.port({"l3", 0, add}, 6, 80, 80), Status::ok);
    EXPECT_EQ(rule_.any({"l3", 0, add}), Status::ok);
    EXPECT_EQ(rule_.access_list({"l3", 0, add}, "in"), Status::ok);
    EXPECT_EQ(rule_.management({"mgmt", 0, add}, 6, 22, 22), Status::ok);
    EXPECT_EQ(rule_.lb_url({"lb", 0, add}, "/", "GET"), Status::ok);
    EXPECT_EQ(rule_.lb_cookie({"lb", 0, add}, "a", "b", 1), Status::ok);
    EXPECT_EQ(rule_.lb_header({"lb", 0, add}, "a", "b"), Status::ok);
    EXPECT_EQ(rule_.lb_source({"lb", 0, add}, 1, 0xffffffff, 0), Status::ok);
    EXPECT_EQ(rule_.nest({"lb", 0, add}, "child"), Status::ok);
    EXPECT_EQ(rule_.header_length({"http", 0, add}, 13, 1, 1, 2), Status::ok);
    EXPECT_EQ(rule_.header({"http", 0, add}, "a", "b"), Status::ok);
    EXPECT_EQ(rule_.url({"http", 0, add}, 9, "/"), Status::ok);
    EXPECT_EQ(rule_.url({"http", 0, add}, 10, "", 1, 2), Status::ok);
    EXPECT_EQ(rule_.content({"http", 0, add}, "a", 1), Status::ok);
    EXPECT_EQ(rule_.content_length({"http", 0, add}, 1, 2), Status::ok);
    EXPECT_EQ(rule_.code("cm_update_mime_type_match", {"http", 0, add}, 40), Status::ok);
    EXPECT_EQ(rule_.code("cm_update_request_method_match", {"http", 0, add}, 2), Status::ok);
    EXPECT_EQ(rule_.code("cm_update_p80_misuse_match", {"http", 0, add}, 2), Status::ok);
    EXPECT_EQ(rule_.code("cm_update_transfer_encoding_match", {"http", 0, add}, 84), Status::ok);
    EXPECT_EQ(rule_.code("cm_update_ftp_request_method_match", {"ftp", 0, add}, 2), Status::ok);
    EXPECT_EQ(disk_.records.size(), records.size() + (add == 1 ? 23U : 0U));
  }
  EXPECT_EQ(disk_.records, records);
}

TEST_F(RuleCalls, RemovesByLine) {
  EXPECT_EQ(rule_.any({"l3"}), Status::ok);
  EXPECT_EQ(rule_.management({"mgmt"}, 6, 22, 22), Status::ok);
  EXPECT_EQ(rule_.lb_url({"lb"}, "/"), Status::ok);
  EXPECT_EQ(rule_.remove_typed_line("l3", 9), Status::line_not_found);
  EXPECT_EQ(rule_.remove_typed_line("l3", 0), Status::line_not_found);
  EXPECT_EQ(rule_.remove_typed_line("l3", 10, 1), Status::class_map_type_differs);
  EXPECT_EQ(rule_.remove_typed_line("l3", 10, 5), Status::invalid_type);
  EXPECT_EQ(rule_.remove_typed_line("l3", 10, 0, 2), Status::invalid_match_mode);
  EXPECT_EQ(rule_.remove_typed_line("nowhere", 10), Status::class_map_not_found);
  EXPECT_EQ(rule_.remove_typed_line("l3", 10), Status::ok);
  EXPECT_EQ(rule_.remove_typed_line("l3", 10), Status::line_not_found);
  EXPECT_EQ(rule_.remove_typed_line("mgmt", 10, 1), Status::ok);

  EXPECT_EQ(rule_.remove_line("lb", 10, 1), Status::rule_not_given);
  EXPECT_EQ(rule_.remove_line("lb", 10, 2), Status::bad_arguments);
  EXPECT_EQ(rule_.remove_line("lb", 11), Status::line_not_found);
  EXPECT_EQ(rule_.remove_line("lb", 4294967295), Status::line_not_found);
  EXPECT_EQ(rule_.remove_line("nowhere", 10), Status::class_map_not_found);
  EXPECT_EQ(rule_.remove_line("lb", 10), Status::ok);
  EXPECT_EQ(rules("l3") + rules("mgmt") + rules("lb"), "nonenonenone");
}

TEST_F(RuleCalls, ARuleNeedsAClassMapOfItsType) {
  const int commits = disk_.commits;
  for (const std::string name : {"l3", "mgmt", "lb", "http", "ftp", "nowhere"}) {
    const auto wanted = [&](const std::string& owner) {
      return name == "nowhere" ? Status::class_map_not_found : name == owner ? Status::ok : Status::rule_type_differs;
    };
    for (const std::uint32_t add : {1U, 0U}) {
      const At at{name, 0, add};
      EXPECT_EQ(rule_.vip(at, ip(10, 1, 1, 1)), wanted("l3")) << name;
      EXPECT_EQ(rule_.address(at, 1, 0, 0, 0, 0), wanted("l3")) << name;
      EXPECT_EQ(rule_.port(at, 6, 1, 1), wanted("l3")) << name;
      EXPECT_EQ(rule_.any(at), wanted("l3")) << name;
      EXPECT_EQ(rule_.access_list(at, "in"), wanted("l3")) << name;
      EXPECT_EQ(rule_.management(at, 6, 22, 22), wanted("mgmt")) << name;
      EXPECT_EQ(rule_.lb_url(at, "/"), wanted("lb")) << name;
      EXPECT_EQ(rule_.lb_cookie(at, "a", "b"), wanted("lb")) << name;
      EXPECT_EQ(rule_.lb_header(at, "a", "b"), wanted("lb")) << name;
      EXPECT_EQ(rule_.lb_source(at, 1, 0xffffffff, 0), wanted("lb")) << name;
      EXPECT_EQ(rule_.header_length(at, 12, 0, 1, 1), wanted("http")) << name;
      EXPECT_EQ(rule_.header(at, "a", "b"), wanted("http")) << name;
      EXPECT_EQ(rule_.url(at, 9, "/"), wanted("http")) << name;
      EXPECT_EQ(rule_.url(at, 10, "", 1, 1), wanted("http")) << name;
      EXPECT_EQ(rule_.content(at, "a"), wanted("http")) << name;
      EXPECT_EQ(rule_.content_length(at, 1, 1), wanted("http")) << name;
      EXPECT_EQ(rule_.code("cm_update_mime_type_match", at, 40), wanted("http")) << name;
      EXPECT_EQ(rule_.code("cm_update_request_method_match", at, 2), wanted("http")) << name;
      EXPECT_EQ(rule_.code("cm_update_p80_misuse_match", at, 2), wanted("http")) << name;
      EXPECT_EQ(rule_.code("cm_update_transfer_encoding_match", at, 84), wanted("http")) << name;
      EXPECT_EQ(rule_.code("cm_update_ftp_request_method_match", at, 2), wanted("ftp")) << name;
    }
  }
  EXPECT_EQ(disk_.commits, commits + 2 * 21);
}

TEST_F(RuleCalls, AChangedClassMapKeepsItsRules) {
  EXPECT_EQ(rule_.any({"l3"}), Status::ok);
  EXPECT_EQ(client_.create("l3", 0, kMatchAll), Status::ok);
  EXPECT_EQ(client_.describe("l3", "all"), Status::ok);
  EXPECT_EQ(client_.object("l3").text,
            R"({"kind":"class-map","name":"l3","type":0,"match_all":true,"description":"all",)"
            R"("rules":[{"line":10,"match":"any"}]})");
}

TEST_F(RuleCalls, ADeletedClassMapTakesItsRulesAlongInOneCommit) {
  const auto records = disk_.records;
  ASSERT_EQ(client_.create("more", 0), Status::ok);
  EXPECT_EQ(rule_.any({"more"}), Status::ok);
  EXPECT_EQ(rule_.port({"more"}, 6, 1, 1), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(client_.remove("more", 0), Status::ok);
  EXPECT_EQ(disk_.commits, commits + 1);
  EXPECT_EQ(disk_.records, records);
  ASSERT_EQ(client_.create("more", 0), Status::ok);
  EXPECT_EQ(rules("more"), "none");
}

TEST_F(RuleCalls, ContextsDoNotSeeEachOther) {
  Client other(*manager_, 1);
  RuleClient other_rule(*manager_, 1);
  EXPECT_EQ(other_rule.any({"l3"}), Status::class_map_not_found);
  ASSERT_EQ(other.create("l3", 0), Status::ok);
  EXPECT_EQ(other_rule.any({"l3", 3}), Status::ok);
  EXPECT_EQ(rules("l3"), "none");
  EXPECT_EQ(rule_.remove_line("l3", 3), Status::line_not_found);
}

}  // namespace
}  // namespace kvel::manager::testing::rule_calls_test
