// The actions of load-balancing and inspection policy-maps, of classes and of inline matches.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::layer7_action_test {
namespace {

constexpr std::uint32_t kPolicyMap = 4;

const In kSet{"p", "c"};
const In kClear{"p", "c", 0};

class Layer7Actions : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("c", 2), Status::ok);
    ASSERT_EQ(client_.create("other", 2), Status::ok);
    ASSERT_EQ(client_.create("hc", 3), Status::ok);
    ASSERT_EQ(client_.create("fc", 4), Status::ok);
    ASSERT_EQ(policy_.create("l3"), Status::ok);
    ASSERT_EQ(policy_.create("p", 2), Status::ok);
    ASSERT_EQ(policy_.create("http", 3), Status::ok);
    ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
    ASSERT_EQ(policy_.put({"p", "c"}, 2), Status::ok);
    ASSERT_EQ(policy_.put({"http", "hc"}, 3), Status::ok);
    ASSERT_EQ(policy_.put({"ftp", "fc"}, 4), Status::ok);
  }

  // What is between the brackets of the actions of the first class or match.
  std::string actions(const std::string& policy = "p") {
    const std::string classes = classes_in(client_.object(policy, kPolicyMap).text);
    const auto end_of_class = classes.find(R"({"line":20)");
    const std::string first = classes.substr(0, end_of_class);
    const auto start = first.find(R"("actions":[)");
    return start == std::string::npos ? "" : first.substr(start + 11, first.rfind(']', first.size() - 2) - start - 11);
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
};

// A field of the load-balancing record: the bytes that carry it and its presence bits.
struct LbField {
  std::size_t offset;
  std::string bytes;
  std::uint32_t bits_a;
  std::uint32_t bits_b;
  std::string action;
};

const std::vector<LbField>& lb_fields() {
  static const std::vector<LbField> fields{
      {4, "farm", 0x80000000, 0x40000000, R"({"action":"serverfarm","name":"farm"})"},
      {4, std::string(64, 'f'), 0x80000000, 0x40000000,
       R"({"action":"serverfarm","name":")" + std::string(64, 'f') + R"("})"},
      {69, "spare", 0x40000000, 0, R"({"action":"backup-serverfarm","name":"spare"})"},
      {136, word(1), 0x20000000, 0, R"({"action":"backup-option"})"},
      {140, word(1), 0x10000000, 0, R"({"action":"serverfarm-option"})"},
      {4, word(1), 0, 0x20000000, R"({"action":"drop"})"},
      {4, word(1), 0, 0x10000000, R"({"action":"forward"})"},
      {0, "", 0, 0x80000000, R"({"action":"flag-585"})"},
      {0, "", 0, 0x02000000, R"({"action":"flag-587"})"},
      {213, "X-From", 0, 0x04000000, R"({"action":"insert-header","name":"X-From"})"},
      {213, std::string(255, 'h'), 0, 0x04000000,
       R"({"action":"insert-header","name":")" + std::string(255, 'h') + R"("})"},
      {4, "sticky", 0, 0x01000000, R"({"action":"group","name":"sticky"})"},
  };
  return fields;
}

TEST_F(Layer7Actions, LoadBalancingFieldsOneByOne) {
  for (const auto& [offset, bytes, bits_a, bits_b, action] : lb_fields()) {
    const std::string bits = record(732, {{144, word(bits_a)}, {728, word(bits_b)}});
    const std::string set = record(732, {{offset, bytes}, {144, word(bits_a)}, {728, word(bits_b)}});
    EXPECT_EQ(policy_.lb(kSet, set), Status::ok) << action;
    EXPECT_EQ(actions(), action);
    const int commits = disk_.commits;
    EXPECT_EQ(policy_.lb(kSet, set), Status::ok) << action;
    if (offset != 0) {
      EXPECT_EQ(policy_.lb(kSet, record(732, {{offset, bytes}})), Status::ok) << action;
    }
    // All the other fields, which are not there.
    EXPECT_EQ(
        policy_.lb(kClear,
                   record(732, {{0, "\1"}, {144, word(0xf0000000 & ~bits_a)}, {728, word(0xf7000000 & ~bits_b)}})),
        Status::ok)
        << action;
    EXPECT_EQ(disk_.commits, commits) << action;
    EXPECT_EQ(policy_.lb(kClear, bits), Status::ok) << action;
    EXPECT_EQ(actions(), "");
  }
}

TEST_F(Layer7Actions, LoadBalancingFieldsTogether) {
  EXPECT_EQ(policy_.lb(kSet, record(732, {{0, "\xff"},
                                          {4, "farm"},
                                          {69, "spare"},
                                          {136, word(1)},
                                          {140, word(1)},
                                          {144, word(0xf0000000)},
                                          {213, "X-From"},
                                          {469, "a \"value\""},
                                          {728, word(0xc6000000)}})),
            Status::ok);
  EXPECT_EQ(actions(), R"({"action":"serverfarm","name":"farm"},{"action":"backup-serverfarm","name":"spare"},)"
                       R"({"action":"backup-option"},{"action":"serverfarm-option"},{"action":"flag-585"},)"
                       R"({"action":"flag-587"},{"action":"insert-header","name":"X-From","value":"a \"value\""},)"
                       R"({"action":"number-676","number":255})");
  EXPECT_EQ(policy_.lb(kSet, record(732, {{0, "\2"}})), Status::ok);
  EXPECT_EQ(policy_.lb(kClear, record(732, {{144, word(0x60000000)}, {728, word(0x84000000)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"serverfarm","name":"farm"},{"action":"serverfarm-option"},)"
                       R"({"action":"flag-587"},{"action":"number-676","number":2})");
  EXPECT_EQ(policy_.lb(kClear, record(732, {{0, "\7"}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"serverfarm","name":"farm"},{"action":"serverfarm-option"},{"action":"flag-587"})");
}

TEST_F(Layer7Actions, AClassHasOnePrimaryAction) {
  const LbField* primaries[] = {&lb_fields()[0], &lb_fields()[5], &lb_fields()[6], &lb_fields()[11]};
  ASSERT_EQ(policy_.lb(kSet, record(732, {{136, word(1)}, {144, word(0x20000000)}})), Status::ok);
  for (const LbField* first : primaries) {
    for (const LbField* second : primaries) {
      for (const LbField* field : {first, second})
        ASSERT_EQ(
            policy_.lb(
                kSet,
                record(732, {{field->offset, field->bytes}, {144, word(field->bits_a)}, {728, word(field->bits_b)}})),
            Status::ok);
      const std::string option = R"({"action":"backup-option"})";
      const bool in_front = second == primaries[0];
      EXPECT_EQ(actions(), in_front ? second->action + "," + option : option + "," + second->action);
      if (first == second) continue;
      EXPECT_EQ(policy_.lb(kSet, record(732, {{4, "both"},
                                              {144, word(first->bits_a | second->bits_a)},
                                              {728, word(first->bits_b | second->bits_b)}})),
                Status::bad_arguments);
    }
  }
  // All of them can be cleared at once.
  EXPECT_EQ(policy_.lb(kClear, record(732, {{144, word(0x80000000)}, {728, word(0x71000000)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"backup-option"})");
}

TEST_F(Layer7Actions, LoadBalancingValuesThatCannotBe) {
  const int commits = disk_.commits;
  const auto refused = [&](std::size_t offset, const std::string& bytes, std::uint32_t bits_a, std::uint32_t bits_b) {
    return policy_.lb(kSet, record(732, {{offset, bytes}, {144, word(bits_a)}, {728, word(bits_b)}}));
  };
  EXPECT_EQ(refused(4, "", 0x80000000, 0x40000000), Status::invalid_name);
  EXPECT_EQ(refused(4, "#farm", 0x80000000, 0x40000000), Status::invalid_name);
  EXPECT_EQ(refused(4, std::string(65, 'f'), 0x80000000, 0x40000000), Status::bad_arguments);
  EXPECT_EQ(refused(4, "farm", 0x80000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(4, "farm", 0, 0x40000000), Status::bad_arguments);
  EXPECT_EQ(refused(69, "", 0x40000000, 0), Status::invalid_name);
  EXPECT_EQ(refused(69, std::string(65, 'f'), 0x40000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(136, word(2), 0x20000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(136, word(0), 0x20000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(140, word(2), 0x10000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(213, "", 0, 0x04000000), Status::invalid_token);
  EXPECT_EQ(refused(213, "a b", 0, 0x04000000), Status::invalid_token);
  EXPECT_EQ(refused(213, std::string(256, 'h'), 0, 0x04000000), Status::bad_arguments);
  EXPECT_EQ(refused(469, std::string(256, 'v'), 0, 0x04000000), Status::bad_arguments);
  EXPECT_EQ(policy_.lb(kSet, record(732, {{213, "h"}, {469, "\n"}, {728, word(0x04000000)}})), Status::invalid_text);
  EXPECT_EQ(refused(4, "", 0, 0x01000000), Status::invalid_name);
  EXPECT_EQ(refused(0, "", 0x08000000, 0), Status::bad_arguments);
  EXPECT_EQ(refused(0, "", 0, 0x08000000), Status::bad_arguments);
  EXPECT_EQ(policy_.lb(kClear, record(732, {{144, word(1)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb(kClear, record(732, {{728, word(1)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.lb({"p", "c", 2}, record(732, {})), Status::bad_arguments);
  EXPECT_EQ(disk_.commits, commits);
}

TEST_F(Layer7Actions, AnEmptyRecordLooksUp) {
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.lb(kSet, record(732, {})), Status::ok);
  EXPECT_EQ(policy_.lb(kClear, record(732, {})), Status::ok);
  EXPECT_EQ(policy_.lb({"p", "class-default"}, record(732, {})), Status::ok);
  EXPECT_EQ(policy_.lb({"p", "nowhere"}, record(732, {})), Status::class_map_not_found);
  EXPECT_EQ(policy_.lb({"p", "other"}, record(732, {})), Status::class_not_in_policy);
  EXPECT_EQ(policy_.lb({"nowhere", "c"}, record(732, {})), Status::policy_map_not_found);
  EXPECT_EQ(policy_.lb({"http", "hc"}, record(732, {})), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.lb({"l3", "class-default"}, record(732, {})), Status::policy_map_type_differs);
  EXPECT_EQ(disk_.commits, commits);
}

TEST_F(Layer7Actions, HttpVerdicts) {
  const In set{"http", "hc"};
  const In clear{"http", "hc", 0};
  const char* const records[] = {"", R"({"action":"permit"})", R"({"action":"reset"})",
                                 R"({"action":"permit","log":true})", R"({"action":"reset","log":true})"};
  for (std::uint32_t first = 0; first <= 4; ++first) {
    for (std::uint32_t code = 0; code <= 4; ++code) {
      EXPECT_EQ(policy_.http_verdict(set, first), Status::ok);
      EXPECT_EQ(policy_.http_verdict(set, code), Status::ok);
      EXPECT_EQ(actions("http"), records[code]) << first;
    }
  }
  EXPECT_EQ(policy_.http_verdict(set, 5), Status::invalid_code);
  EXPECT_EQ(policy_.http_verdict(set, 255), Status::invalid_code);
  EXPECT_EQ(policy_.http_verdict({"http", "hc", 2}, 1), Status::bad_arguments);
  EXPECT_EQ(actions("http"), records[4]);
  // A removal means the verdict of its code, with or without log, and none without a code.
  EXPECT_EQ(policy_.http_verdict(clear, 1), Status::ok);
  EXPECT_EQ(actions("http"), records[4]);
  EXPECT_EQ(policy_.http_verdict(clear, 5), Status::invalid_code);
  EXPECT_EQ(policy_.http_verdict(clear, 2), Status::ok);
  EXPECT_EQ(actions("http"), "");
  EXPECT_EQ(policy_.http_verdict(set, 1), Status::ok);
  EXPECT_EQ(policy_.http_verdict(clear, 4), Status::ok);
  EXPECT_EQ(actions("http"), records[1]);
  EXPECT_EQ(policy_.http_verdict(clear, 3), Status::ok);
  EXPECT_EQ(actions("http"), "");
  EXPECT_EQ(policy_.http_verdict(set, 2), Status::ok);
  EXPECT_EQ(policy_.http_verdict(clear, 0), Status::ok);
  EXPECT_EQ(actions("http"), "");
  EXPECT_EQ(policy_.http_verdict({"http", "nowhere"}, 1), Status::class_map_not_found);
  EXPECT_EQ(policy_.http_verdict({"http", "c"}, 1), Status::class_not_in_policy);
  EXPECT_EQ(policy_.http_verdict({"nowhere", "c"}, 1), Status::policy_map_not_found);
  EXPECT_EQ(policy_.http_verdict({"p", "c"}, 1), Status::policy_map_type_differs);
}

TEST_F(Layer7Actions, FtpVerdicts) {
  const In set{"ftp", "fc"};
  const In clear{"ftp", "fc", 0};
  EXPECT_EQ(policy_.ftp_verdict(set, 5), Status::ok);
  EXPECT_EQ(actions("ftp"), R"({"action":"deny"})");
  EXPECT_EQ(policy_.ftp_verdict(set, 6), Status::ok);
  EXPECT_EQ(actions("ftp"), R"({"action":"mask-reply"})");
  for (const std::uint32_t code : {1U, 4U, 7U, 0x05000000U})
    EXPECT_EQ(policy_.ftp_verdict(set, code), Status::invalid_code) << code;
  EXPECT_EQ(policy_.ftp_verdict({"ftp", "fc", 2}, 5), Status::bad_arguments);
  EXPECT_EQ(actions("ftp"), R"({"action":"mask-reply"})");
  EXPECT_EQ(policy_.ftp_verdict(set, 0), Status::ok);
  EXPECT_EQ(actions("ftp"), "");
  EXPECT_EQ(policy_.ftp_verdict(set, 6), Status::ok);
  EXPECT_EQ(policy_.ftp_verdict(clear, 5), Status::ok);
  EXPECT_EQ(policy_.ftp_verdict(clear, 7), Status::invalid_code);
  EXPECT_EQ(actions("ftp"), R"({"action":"mask-reply"})");
  EXPECT_EQ(policy_.ftp_verdict(clear, 6), Status::ok);
  EXPECT_EQ(actions("ftp"), "");
  EXPECT_EQ(policy_.ftp_verdict(set, 5), Status::ok);
  EXPECT_EQ(policy_.ftp_verdict(clear, 0), Status::ok);
  EXPECT_EQ(actions("ftp"), "");
  EXPECT_EQ(policy_.ftp_verdict({"ftp", "nowhere"}, 5), Status::class_map_not_found);
  EXPECT_EQ(policy_.ftp_verdict({"p", "c"}, 5), Status::policy_map_type_differs);
}

TEST_F(Layer7Actions, SslProxyClients) {
  EXPECT_EQ(policy_.ssl(kSet, "proxy"), Status::ssl_proxy_not_found);
  EXPECT_EQ(policy_.ssl(kClear, "proxy"), Status::action_not_found);
  EXPECT_EQ(policy_.ssl({"p", "nowhere"}, "proxy"), Status::class_map_not_found);
  EXPECT_EQ(policy_.ssl({"p", "other"}, "proxy"), Status::class_not_in_policy);
  ASSERT_EQ(policy_.url_match({"p", "m"}, "/"), Status::ok);
  EXPECT_EQ(policy_.ssl({"p", "pm"}, "proxy"), Status::ssl_proxy_not_found);
  EXPECT_EQ(policy_.ssl({"ftp", "fc"}, "proxy"), Status::policy_map_type_differs);
}

// The actions of a match go to the name of its hidden class, whole or cut to 63 bytes.
TEST_F(Layer7Actions, OfInlineMatches) {
  const std::string flag = record(732, {{728, word(0x80000000)}});
  ASSERT_EQ(policy_.url_match({"p", "m", 1, "c"}, "/"), Status::ok);
  EXPECT_EQ(policy_.lb({"p", "pm"}, flag), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"flag-585"})");
  EXPECT_EQ(policy_.lb({"p", "m"}, flag), Status::class_map_not_found);
  EXPECT_EQ(policy_.lb({"p", "p"}, flag), Status::class_map_not_found);
  EXPECT_EQ(policy_.lb({"p", "pc"}, flag), Status::class_map_not_found);
  EXPECT_EQ(policy_.lb({"p", "pmm"}, flag), Status::class_map_not_found);
  EXPECT_EQ(policy_.lb({"http", "httpm"}, flag), Status::policy_map_type_differs);
  ASSERT_EQ(policy_.create("pp", 2), Status::ok);
  EXPECT_EQ(policy_.lb({"pp", "pm"}, flag), Status::class_map_not_found);

  const std::string m62(62, 'm');
  const std::string m63(63, 'm');
  ASSERT_EQ(policy_.put({"p", "m", 0}, 2), Status::class_not_in_policy);
  ASSERT_EQ(policy_.url_match({"p", "m", 0}, "/"), Status::ok);
  ASSERT_EQ(policy_.url_match({"p", m63, 1, "c"}, "/"), Status::ok);
  EXPECT_EQ(policy_.lb({"p", "p" + m63}, flag), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"flag-585"})");
  EXPECT_EQ(policy_.lb({"p", "p" + m62, 0}, flag), Status::ok);
  EXPECT_EQ(actions(), "");
  EXPECT_EQ(policy_.lb({"p", "p" + m62.substr(1), 0}, flag), Status::class_map_not_found);

  ASSERT_EQ(policy_.http_match({"http", "m", 1, "hc"}, record(328, {{0, word(21)}})), Status::ok);
  EXPECT_EQ(policy_.http_verdict({"http", "httpm"}, 3), Status::ok);
  EXPECT_EQ(actions("http"), R"({"action":"permit","log":true})");
  ASSERT_EQ(policy_.put({"ftp", "fc", 0}, 4), Status::ok);
  ASSERT_EQ(policy_.ftp_match({"ftp", "m"}, 1), Status::ok);
  EXPECT_EQ(policy_.ftp_verdict({"ftp", "ftpm"}, 5), Status::ok);
  EXPECT_EQ(actions("ftp"), R"({"action":"deny"})");
}

}  // namespace
}  // namespace kvel::manager::testing::layer7_action_test
