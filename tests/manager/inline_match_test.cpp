// Matches written into a policy-map: their records, their places, and their hidden classes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::inline_match_test {
namespace {

using namespace std::string_literals;

constexpr std::uint32_t kPolicyMap = 4;

class InlineMatches : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(policy_.create("l3"), Status::ok);
    ASSERT_EQ(policy_.create("lb", 2), Status::ok);
    ASSERT_EQ(policy_.create("http", 3), Status::ok);
    ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
    ASSERT_EQ(client_.create("c", 2), Status::ok);
  }

  std::string classes(const std::string& policy) { return classes_in(client_.object(policy, kPolicyMap).text); }
  // The rule of the one match of a policy-map.
  std::string rule(const std::string& policy) {
    const std::string all = classes(policy);
    const std::string start = R"([{"line":10,"match":"m","rule":)";
    EXPECT_EQ(all.substr(0, start.size()), start);
    return all.substr(start.size(), all.size() - start.size() - 2);
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
  RuleClient rule_{*manager_};
};

TEST_F(InlineMatches, LoadBalancingRecords) {
  const In m{"lb", "m"};
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(0)}, {4, "Host"}, {69, "a.*"}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-header","name":"Host","value":"a.*"})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{4, std::string(64, 'h')}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-header","name":")" + std::string(64, 'h') + R"(","value":""})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(2)}, {4, word(0x0a000001)}})), Status::ok);
  EXPECT_EQ(rule("lb"),
            R"({"match":"http-source-address","address":"10.0.0.1","mask":"255.255.255.255","mask_given":false})");
  EXPECT_EQ(
      policy_.lb_match(m, record(332, {{0, word(2)}, {4, word(0x0a000000)}, {8, word(0xff000000)}, {12, word(1)}})),
      Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-source-address","address":"10.0.0.0","mask":"255.0.0.0","mask_given":true})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(5)}, {4, "/" + std::string(254, 'u')}, {260, "GET"}})),
            Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-url","expression":"/)" + std::string(254, 'u') + R"(","qualifier":"GET"})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(5)}, {4, "/"}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-url","expression":"/"})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(6)}, {69, std::string(255, 'v')}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-value","value":")" + std::string(255, 'v') + R"("})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(7)}, {4, "id"}, {69, "1|2"}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-cookie","name":"id","value":"1|2"})");
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(7)}, {4, "id"}, {328, word(1)}})), Status::ok);
  EXPECT_EQ(rule("lb"), R"({"match":"http-cookie","name":"id","value":"","option":true})");
}

TEST_F(InlineMatches, LoadBalancingRecordsThatCannotBe) {
  const In m{"lb", "m"};
  for (const std::uint32_t kind : {1U, 3U, 4U, 8U, 9U, 0x05000000U})
    EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(kind)}, {4, "a"}})), Status::invalid_code) << kind;
  EXPECT_EQ(policy_.lb_match(m, record(332, {})), Status::invalid_token);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{4, "a b"}})), Status::invalid_token);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{4, std::string(65, 'h')}, {69, "v"}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{4, "h"}, {69, std::string(256, 'v')}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{4, "h"}, {69, "("}})), status_of({Status::expression_unclosed_group, 1}));
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(2)}, {12, word(2)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(2)}, {8, word(0xff00ff00)}, {12, word(1)}})),
            Status::invalid_mask);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(5)}})), Status::expression_empty);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(5)}, {4, "/"}, {260, std::string(65, 'q')}})),
            Status::bad_arguments);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(5)}, {4, std::string(256, 'u')}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(6)}})), Status::expression_empty);
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(6)}, {69, "["}})),
            status_of({Status::expression_unclosed_class, 1}));
  EXPECT_EQ(policy_.lb_match(m, record(332, {{0, word(7)}, {4, "id"}, {328, word(2)}})), Status::bad_arguments);
  EXPECT_EQ(classes("lb"), "none");
}

TEST_F(InlineMatches, HttpInspectionRecords) {
  const In m{"http", "m"};
  const struct {
    std::string bytes;
    const char* rule;
  } rules[] = {
      {record(328, {{0, word(9)}, {4, "/cgi"}}), R"({"match":"url","expression":"/cgi"})"},
      {record(328, {{0, word(10)}, {4, word(256)}, {8, word(65535)}}),
       R"({"match":"url-length","low":256,"high":65535})"},
      {record(328, {{0, word(11)}, {4, "Via"}, {69, "x"}}), R"({"match":"header","name":"Via","value":"x"})"},
      {record(328, {{0, word(12)}, {8, word(1)}, {12, word(255)}}),
       R"({"match":"header-length","direction":"request","low":1,"high":255})"},
      {record(328, {{0, word(13)}, {4, word(1)}, {8, word(2)}, {12, word(3)}}),
       R"({"match":"header-length","direction":"response","low":2,"high":3})"},
      {record(328, {{0, word(14)}, {4, "abc"}, {260, "\0\xfc"s}}),
       R"({"match":"content","expression":"abc","offset":252})"},
      {record(328, {{0, word(15)}, {4, word(1)}, {8, word(4294967295)}}),
       R"({"match":"content-length","low":1,"high":4294967295})"},
      {record(328, {{0, word(16)}, {4, "\x21"}}), R"({"match":"mime-type","code":33})"},
      {record(328, {{0, word(17)}, {4, "\3"}}), R"({"match":"port-misuse","code":3})"},
      {record(328, {{0, word(19)}, {4, "\x1b"}}), R"({"match":"request-method","code":27})"},
      {record(328, {{0, word(20)}, {4, "\x53"}}), R"({"match":"transfer-encoding","code":83})"},
      {record(328, {{0, word(21)}}), R"({"match":"kind-21"})"},
      {record(328, {{0, word(22)}, {4, std::string(256, 'x')}}), R"({"match":"kind-22"})"},
  };
  for (const auto& [bytes, text] : rules) {
    EXPECT_EQ(policy_.http_match(m, bytes), Status::ok) << text;
    EXPECT_EQ(rule("http"), text);
  }
}

TEST_F(InlineMatches, HttpInspectionRecordsThatCannotBe) {
  const In m{"http", "m"};
  for (const std::uint32_t kind : {0U, 1U, 8U, 18U, 23U})
    EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(kind)}, {4, "a"}})), Status::invalid_code) << kind;
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(9)}})), Status::expression_empty);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(9)}, {4, std::string(256, 'u')}})), Status::bad_arguments);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(10)}, {8, word(65536)}})), Status::invalid_length);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(10)}, {4, word(2)}, {8, word(1)}})), Status::empty_range);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(11)}})), Status::invalid_token);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(11)}, {4, std::string(65, 'h')}, {69, "v"}})),
            Status::bad_arguments);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(12)}, {12, word(256)}})), Status::invalid_length);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(14)}, {4, "abc"}, {260, "\0\xfd"s}})), Status::invalid_offset);
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(14)}, {4, "abc"}, {260, "\1\0"s}})), Status::invalid_offset);
  for (const std::uint32_t kind : {16U, 17U, 19U, 20U})
    EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(kind)}})), Status::invalid_code) << kind;
  // The compress coding is one of class-maps only.
  EXPECT_EQ(policy_.http_match(m, record(328, {{0, word(20)}, {4, "\x54"}})), Status::invalid_code);
  EXPECT_EQ(classes("http"), "none");
}

TEST_F(InlineMatches, FtpMethods) {
  EXPECT_EQ(policy_.ftp_match({"ftp", "m"}, 1), Status::ok);
  EXPECT_EQ(policy_.ftp_match({"ftp", "m"}, 13), Status::ok);
  EXPECT_EQ(rule("ftp"), R"({"match":"ftp-method","code":13})");
  EXPECT_EQ(policy_.ftp_match({"ftp", "n"}, 0), Status::invalid_code);
  EXPECT_EQ(policy_.ftp_match({"ftp", "n"}, 14), Status::invalid_code);
  EXPECT_EQ(policy_.ftp_match({"ftp", "n", 2}, 1), Status::bad_arguments);
  EXPECT_EQ(policy_.ftp_match({"ftp", "m", 0}, 14), Status::ok);
  EXPECT_EQ(classes("ftp"), "none");
}

TEST_F(InlineMatches, ComeMoveAndGo) {
  ASSERT_EQ(policy_.put({"lb", "c"}, 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "m"}, "/m"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "n", 1, "m"}, "/n"), Status::ok);
  EXPECT_EQ(policy_.lb({"lb", "lbm"}, record(732, {{728, word(0x20000000)}})), Status::ok);
  EXPECT_EQ(classes("lb"), R"([{"line":10,"class":"c"},)"
                           R"({"line":20,"match":"n","rule":{"match":"http-url","expression":"/n"}},)"
                           R"({"line":30,"match":"m","rule":{"match":"http-url","expression":"/m"},)"
                           R"("actions":[{"action":"drop"}]}])");
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.url_match({"lb", "m"}, "/m"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "m", 1, "class-default"}, "/m"), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  // A new rule in its place, and another with a move; the actions stay.
  EXPECT_EQ(policy_.url_match({"lb", "n"}, "/nn"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "m", 1, "c"}, "/mm"), Status::ok);
  EXPECT_EQ(disk_.commits, commits + 2);
  EXPECT_EQ(classes("lb"), R"([{"line":10,"match":"m","rule":{"match":"http-url","expression":"/mm"},)"
                           R"("actions":[{"action":"drop"}]},{"line":20,"class":"c"},)"
                           R"({"line":30,"match":"n","rule":{"match":"http-url","expression":"/nn"}}])");
  // A class can go before a match.
  EXPECT_EQ(policy_.put({"lb", "c", 1, "m"}, 2), Status::ok);
  // Whatever the record contains.
  EXPECT_EQ(policy_.lb_match({"lb", "m", 0, "m"}, std::string(332, '\xff')), Status::ok);
  EXPECT_EQ(classes("lb"), R"([{"line":10,"class":"c"},)"
                           R"({"line":20,"match":"n","rule":{"match":"http-url","expression":"/nn"}}])");
  EXPECT_EQ(policy_.url_match({"lb", "m", 0}, "/mm"), Status::class_not_in_policy);
}

TEST_F(InlineMatches, RefusalsOfPlaces) {
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.url_match({"nowhere", "m"}, "/"), Status::policy_map_not_found);
  EXPECT_EQ(policy_.url_match({"nowhere", "m", 0}, "/"), Status::policy_map_not_found);
  for (const std::string policy : {"l3", "lb", "http", "ftp"}) {
    for (const std::uint32_t add : {1U, 0U}) {
      const Status good = add == 1 ? Status::ok : Status::class_not_in_policy;
      const auto expected = [&](const std::string& owner) {
        return policy == owner ? good : Status::policy_map_type_differs;
      };
      const In in{policy, "x", add};
      if (policy != "lb" || add == 0) {
        EXPECT_EQ(policy_.url_match(in, "/"), expected("lb")) << policy;
      }
      if (policy != "http" || add == 0) {
        EXPECT_EQ(policy_.http_match(in, record(328, {{0, word(21)}})), expected("http")) << policy;
      }
      if (policy != "ftp" || add == 0) {
        EXPECT_EQ(policy_.ftp_match(in, 1), expected("ftp")) << policy;
      }
    }
  }
  for (const auto& name : {""s, "#m"s, "class-default"s})
    EXPECT_EQ(policy_.url_match({"lb", name}, "/"), Status::invalid_name) << name;
  EXPECT_EQ(policy_.url_match({"lb", "m", 1, "m"}, "/"), Status::bad_arguments);
  EXPECT_EQ(policy_.url_match({"lb", "m", 1, "nowhere"}, "/"), Status::insert_before_not_found);
  EXPECT_EQ(policy_.url_match({"lb", "m", 1, "c"}, "/"), Status::class_not_found);
  EXPECT_EQ(policy_.url_match({"lb", "m", 2}, "/"), Status::bad_arguments);
  EXPECT_EQ(policy_.http_match({"http", "m", 2}, record(328, {{0, word(21)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.url_match({"lb", "class-default", 0}, "/"), Status::class_not_in_policy);
  EXPECT_EQ(disk_.commits, commits);
}

TEST_F(InlineMatches, ClassesAndMatchesShareTheirNames) {
  ASSERT_EQ(client_.create("d", 2), Status::ok);
  ASSERT_EQ(policy_.put({"lb", "c"}, 2), Status::ok);
  ASSERT_EQ(policy_.url_match({"lb", "d"}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "c"}, "/"), Status::name_taken);
  EXPECT_EQ(policy_.put({"lb", "d"}, 2), Status::name_taken);
  EXPECT_EQ(policy_.url_match({"lb", "c", 0}, "/"), Status::class_not_in_policy);
  EXPECT_EQ(policy_.put({"lb", "d", 0}, 2), Status::class_not_in_policy);
  // Elsewhere they are free.
  ASSERT_EQ(policy_.create("lb2", 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb2", "c"}, "/"), Status::ok);
  EXPECT_EQ(policy_.put({"lb2", "d"}, 2), Status::ok);
}

TEST_F(InlineMatches, HiddenClassesHaveNamesOfTheirOwn) {
  ASSERT_EQ(client_.create("lbx", 0), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "x"}, "/"), Status::name_taken);
  ASSERT_EQ(client_.remove("lbx", 0), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "x"}, "/"), Status::ok);
  EXPECT_EQ(client_.create("lbx", 0), Status::name_taken);
  EXPECT_EQ(client_.create("lb", 0), Status::ok);
  EXPECT_EQ(client_.create("lbxx", 0), Status::ok);
  // Another policy-map with another match that come to the same.
  ASSERT_EQ(policy_.create("l", 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"l", "bx"}, "/"), Status::name_taken);
  ASSERT_EQ(policy_.url_match({"lb", "x", 0}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"l", "bx"}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", "x"}, "/"), Status::name_taken);
  // Class-default is nobody's.
  ASSERT_EQ(policy_.create("class", 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"class", "-default"}, "/"), Status::invalid_name);
}

TEST_F(InlineMatches, HiddenNamesAreKnownByTheir63Bytes) {
  const std::string m61(61, 'm');
  EXPECT_EQ(policy_.url_match({"lb", m61 + "aa"}, "/"), Status::invalid_name);
  EXPECT_EQ(policy_.url_match({"lb", m61 + "a"}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", m61 + "b"}, "/"), Status::name_taken);
  EXPECT_EQ(policy_.url_match({"lb", m61}, "/"), Status::name_taken);
  EXPECT_EQ(client_.create("lb" + m61 + "a"), Status::name_taken);
  EXPECT_EQ(client_.create("lb" + m61), Status::name_taken);
  EXPECT_EQ(client_.create("lb" + m61 + "b"), Status::ok);
  EXPECT_EQ(client_.create("lb" + m61.substr(1)), Status::ok);
  // Another policy-map may come to the same 63 bytes: calls name the policy-map as well.
  ASSERT_EQ(policy_.create("lbm", 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"lbm", m61.substr(1) + "c"}, "/"), Status::ok);
  ASSERT_EQ(policy_.url_match({"lb", m61 + "a", 0}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", m61}, "/"), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", m61 + "a"}, "/"), Status::name_taken);
  // The cut name collides with a class-map.
  ASSERT_EQ(policy_.url_match({"lb", m61, 0}, "/"), Status::ok);
  ASSERT_EQ(policy_.url_match({"lbm", m61.substr(1) + "c", 0}, "/"), Status::ok);
  ASSERT_EQ(client_.create("lb" + m61), Status::ok);
  EXPECT_EQ(policy_.url_match({"lb", m61 + "a"}, "/"), Status::name_taken);
}

// What the rule calls of class-maps do with the inline flag 1.
TEST_F(InlineMatches, RulesByTheNameOfTheHiddenClass) {
  ASSERT_EQ(policy_.put({"lb", "c"}, 2), Status::ok);
  ASSERT_EQ(policy_.url_match({"lb", "m"}, "/"), Status::ok);
  ASSERT_EQ(policy_.lb({"lb", "lbm"}, record(732, {{728, word(0x20000000)}})), Status::ok);
  EXPECT_EQ(rule_.lb_cookie({"lbm"}, "id", "1", 1, 1), Status::ok);
  EXPECT_EQ(classes("lb"), R"([{"line":10,"class":"c"},{"line":20,"match":"m","rule":{"match":"http-cookie",)"
                           R"("name":"id","value":"1","option":true},"actions":[{"action":"drop"}]}])");
  EXPECT_EQ(rule_.lb_header({"lbm"}, "Host", "x", 1, "c"), Status::ok);
  EXPECT_EQ(classes("lb"), R"([{"line":10,"match":"m","rule":{"match":"http-header",)"
                           R"("name":"Host","value":"x"},"actions":[{"action":"drop"}]},{"line":20,"class":"c"}])");
  EXPECT_EQ(rule_.lb_source({"lbm"}, 0x0a000001, 0xffffffff, 0, 1), Status::ok);
  EXPECT_EQ(rule_.lb_url({"lbm", 10}, "/x", "GET", 1), Status::ok);
  EXPECT_EQ(rule_.lb_url({"lbm", 20}, "/y", "", 1), Status::rule_at_another_line);
  const std::string before = classes("lb");
  EXPECT_EQ(before, R"([{"line":10,"match":"m","rule":{"match":"http-url","expression":"/x","qualifier":"GET"},)"
                    R"("actions":[{"action":"drop"}]},{"line":20,"class":"c"}])");
  EXPECT_EQ(rule_.lb_url({"lbm", 0, 0}, "/x", "GET", 1), Status::rule_needed);
  EXPECT_EQ(rule_.lb_url({"lbm", 0, 0}, "/x", "", 1), Status::rule_not_found);
  EXPECT_EQ(rule_.lb_url({"lbm", 0, 2}, "/x", "", 1), Status::bad_arguments);
  EXPECT_EQ(rule_.lb_url({"lbm"}, "(", "", 1), status_of({Status::expression_unclosed_group, 1}));
  EXPECT_EQ(rule_.lb_url({"lbm"}, "/", "", 1, "m"), Status::bad_arguments);
  EXPECT_EQ(rule_.lb_url({"lbm"}, "/", "", 1, "nowhere"), Status::insert_before_not_found);
  EXPECT_EQ(rule_.lb_url({"m"}, "/", "", 1), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_url({"c"}, "/", "", 1), Status::class_not_in_policy);
  EXPECT_EQ(rule_.lb_url({"lbm"}, "/", "", 0), Status::class_map_not_found);
  // The hidden class of another type of policy-map.
  ASSERT_EQ(policy_.http_match({"http", "m"}, record(328, {{0, word(21)}})), Status::ok);
  EXPECT_EQ(rule_.lb_url({"httpm"}, "/", "", 1), Status::class_not_in_policy);
  EXPECT_EQ(classes("lb"), before);
}

}  // namespace
}  // namespace kvel::manager::testing::inline_match_test
