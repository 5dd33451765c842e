// The actions of layer-3/4 and management policy-maps: every field of their records, set and cleared on its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::layer34_action_test {
namespace {

constexpr std::uint32_t kPolicyMap = 4;

const In kSet{"p", "c"};
const In kClear{"p", "c", 0};

class Layer34Actions : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("c"), Status::ok);
    ASSERT_EQ(client_.create("other"), Status::ok);
    ASSERT_EQ(client_.create("mc", 1), Status::ok);
    ASSERT_EQ(policy_.create("p"), Status::ok);
    ASSERT_EQ(policy_.create("lb", 2), Status::ok);
    ASSERT_EQ(policy_.create("http", 3), Status::ok);
    ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
    ASSERT_EQ(policy_.create("mgmt", 5), Status::ok);
    ASSERT_EQ(policy_.put({"p", "c"}), Status::ok);
    ASSERT_EQ(policy_.put({"mgmt", "mc"}, 5), Status::ok);
  }

  // What is between the brackets of the actions of the one class.
  std::string actions(const std::string& policy = "p", const std::string& name = "c") {
    const std::string classes = classes_in(client_.object(policy, kPolicyMap).text);
    const std::string start = R"([{"line":10,"class":")" + name + R"(")";
    if (classes == start + "}]") return "";
    const std::string before = start + R"(,"actions":[)";
    EXPECT_EQ(classes.substr(0, before.size()), before);
    EXPECT_EQ(classes.substr(classes.size() - 3), "]}]");
    return classes.substr(before.size(), classes.size() - before.size() - 3);
  }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
};

TEST_F(Layer34Actions, ManyNats) {
  EXPECT_EQ(policy_.dynamic_nat(kSet, 7, 4094), Status::ok);
  EXPECT_EQ(policy_.static_nat(kSet, ip(10, 0, 0, 2), ip(255, 255, 255, 0), 65535, 4094), Status::ok);
  EXPECT_EQ(policy_.static_nat(kSet, ip(10, 0, 0, 1)), Status::ok);
  EXPECT_EQ(policy_.dynamic_nat(kSet, 0, 0), Status::ok);
  EXPECT_EQ(policy_.static_nat(kSet, ip(10, 0, 0, 1), 0xffffffff, 80), Status::ok);
  EXPECT_EQ(actions(),
            R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255"},)"
            R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255","port":80},)"
            R"({"action":"nat-static","address":"10.0.0.2","mask":"255.255.255.0","port":65535,"vlan":4094},)"
            R"({"action":"nat-dynamic","pool":0,"vlan":0},)"
            R"({"action":"nat-dynamic","pool":7,"vlan":4094})");
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.static_nat(kSet, ip(10, 0, 0, 1)), Status::ok);
  EXPECT_EQ(policy_.static_nat(kClear, ip(10, 0, 0, 1), 0xffffffff, 81), Status::action_not_found);
  EXPECT_EQ(policy_.static_nat(kClear, ip(10, 0, 0, 1), 0xffffff00), Status::action_not_found);
  EXPECT_EQ(policy_.static_nat(kClear, ip(10, 0, 0, 1), 0xffffffff, 0, 1), Status::action_not_found);
  EXPECT_EQ(policy_.dynamic_nat(kClear, 7, 0), Status::action_not_found);
  EXPECT_EQ(policy_.dynamic_nat(kClear, 8, 4094), Status::action_not_found);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(policy_.static_nat(kClear, ip(10, 0, 0, 2), ip(255, 255, 255, 0), 65535, 4094), Status::ok);
  EXPECT_EQ(policy_.static_nat(kClear, ip(10, 0, 0, 1)), Status::ok);
  EXPECT_EQ(policy_.dynamic_nat(kClear, 0, 0), Status::ok);
  EXPECT_EQ(policy_.dynamic_nat(kClear, 0, 0), Status::action_not_found);
  EXPECT_EQ(actions(), R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.255","port":80},)"
                       R"({"action":"nat-dynamic","pool":7,"vlan":4094})");
}

TEST_F(Layer34Actions, NatsThatCannotBe) {
  for (const std::uint32_t address :
       {0U, ip(0, 1, 2, 3), ip(127, 0, 0, 1), ip(224, 0, 0, 1), ip(240, 0, 0, 1), 0xffffffffU})
    EXPECT_EQ(policy_.static_nat(kSet, address), Status::invalid_address) << address;
  for (const std::uint32_t mask : {0U, 0x00ffffffU, 0xff00ff00U, 1U})
    EXPECT_EQ(policy_.static_nat(kSet, 0x0a000001, mask), Status::invalid_mask) << mask;
  EXPECT_EQ(policy_.static_nat(kSet, 0x0a000001, 0xffffffff, 65536), Status::invalid_port);
  EXPECT_EQ(policy_.static_nat(kSet, 0x0a000001, 0xffffffff, 0, 4095), Status::invalid_vlan);
  EXPECT_EQ(policy_.dynamic_nat(kSet, 1, 4095), Status::invalid_vlan);
  EXPECT_EQ(policy_.dynamic_nat(kSet, 4294967295, 1), Status::ok);
  EXPECT_EQ(policy_.static_nat({"p", "c", 2}, 0x0a000001), Status::bad_arguments);
  EXPECT_EQ(policy_.dynamic_nat({"p", "c", 256}, 1, 1), Status::bad_arguments);
  EXPECT_EQ(actions(), R"({"action":"nat-dynamic","pool":4294967295,"vlan":1})");
}

TEST_F(Layer34Actions, SecurityAcl) {
  EXPECT_EQ(policy_.options(kSet, 0), Status::ok);
  EXPECT_EQ(actions(), "");
  EXPECT_EQ(policy_.options(kSet, 0x80000000), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"security-acl"})");
  EXPECT_EQ(policy_.options(kClear, 0), Status::ok);
  EXPECT_EQ(policy_.options(kSet, 0xc0000000), Status::bad_arguments);
  EXPECT_EQ(policy_.options(kClear, 0x80000001), Status::bad_arguments);
  EXPECT_EQ(policy_.options(kSet, 0x80000000, 1), Status::bad_arguments);
  EXPECT_EQ(policy_.options({"p", "c", 2}, 0x80000000), Status::bad_arguments);
  EXPECT_EQ(actions(), R"({"action":"security-acl"})");
  EXPECT_EQ(policy_.options(kClear, 0x80000000), Status::ok);
  EXPECT_EQ(policy_.options(kClear, 0x80000000), Status::ok);
  EXPECT_EQ(actions(), "");
}

// Each field with the bytes that carry it and its presence bit.
TEST_F(Layer34Actions, VipFieldsOneByOne) {
  const struct {
    std::size_t offset;
    std::string bytes;
    std::uint32_t bit;
    const char* action;
  } fields[] = {
      {0, word(1), 0x80000000, R"({"action":"vip-in-service"})"},
      {4, word(1), 0x40000000, R"({"action":"vip-icmp-reply","when_active":false})"},
      {4, word(2), 0x40000000, R"({"action":"vip-icmp-reply","when_active":true})"},
      {8, word(1), 0x20000000, R"({"action":"vip-advertise","when_active":false})"},
      {8, word(2), 0x20000000, R"({"action":"vip-advertise","when_active":true})"},
      {12, word(0), 0x10000000, R"({"action":"vip-metric","metric":0})"},
      {12, word(4294967295), 0x10000000, R"({"action":"vip-metric","metric":4294967295})"},
      {20, std::string(64, 'o'), 0x04000000, nullptr},
      {20, "object", 0x04000000, R"({"action":"vip-object","name":"object"})"},
      {85, "lb", 0x02000000, R"({"action":"load-balance","policy":"lb"})"},
      {152, word(1), 0x01000000, R"({"action":"vip-option"})"},
  };
  for (const auto& [offset, bytes, bit, action] : fields) {
    const std::string expected =
        action != nullptr ? action : R"({"action":"vip-object","name":")" + std::string(64, 'o') + R"("})";
    const std::string set = record(160, {{offset, bytes}, {156, word(bit)}});
    EXPECT_EQ(policy_.vip(kSet, set), Status::ok) << expected;
    EXPECT_EQ(actions(), expected);
    const int commits = disk_.commits;
    EXPECT_EQ(policy_.vip(kSet, set), Status::ok) << expected;
    // The value without its bit, and the bit of nothing that is there.
    EXPECT_EQ(policy_.vip(kSet, record(160, {{offset, bytes}})), Status::ok) << expected;
    EXPECT_EQ(policy_.vip(kClear, record(160, {{offset, bytes}})), Status::ok) << expected;
    EXPECT_EQ(policy_.vip(kClear, record(160, {{156, word(0xf7000000 & ~bit)}})), Status::ok) << expected;
    EXPECT_EQ(disk_.commits, commits) << expected;
    EXPECT_EQ(actions(), expected);
    // The bit alone clears.
    EXPECT_EQ(policy_.vip(kClear, record(160, {{156, word(bit)}})), Status::ok) << expected;
    EXPECT_EQ(actions(), "");
  }
}

TEST_F(Layer34Actions, VipFieldsTogether) {
  // In service, reply when active, object, policy; the metric has withdrawn the advertisement.
  EXPECT_EQ(policy_.vip(kSet, record(160, {{0, word(1)},
                                           {4, word(2)},
                                           {8, word(1)},
                                           {12, word(50)},
                                           {20, "o"},
                                           {85, "lb"},
                                           {156, word(0xd6000000)}})),
            Status::ok);
  EXPECT_EQ(actions(), R"({"action":"vip-in-service"},{"action":"vip-icmp-reply","when_active":true},)"
                       R"({"action":"vip-metric","metric":50},{"action":"vip-object","name":"o"},)"
                       R"({"action":"load-balance","policy":"lb"})");
  // Another call changes what it gives and keeps the rest.
  EXPECT_EQ(policy_.vip(kSet, record(160, {{4, word(1)}, {8, word(2)}, {156, word(0x60000000)}})), Status::ok);
  EXPECT_EQ(policy_.vip(kClear, record(160, {{156, word(0x84000000)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"vip-icmp-reply","when_active":false},)"
                       R"({"action":"vip-advertise","when_active":true},{"action":"vip-metric","metric":50},)"
                       R"({"action":"load-balance","policy":"lb"})");
  EXPECT_EQ(policy_.vip(kClear, record(160, {{156, word(0xf7000000)}})), Status::ok);
  EXPECT_EQ(actions(), "");
}

TEST_F(Layer34Actions, VipValuesThatCannotBe) {
  const int commits = disk_.commits;
  const auto refused = [&](std::size_t offset, const std::string& bytes, std::uint32_t bit) {
    return policy_.vip(kSet, record(160, {{offset, bytes}, {156, word(bit)}}));
  };
  EXPECT_EQ(refused(0, word(0), 0x80000000), Status::bad_arguments);
  EXPECT_EQ(refused(0, word(2), 0x80000000), Status::bad_arguments);
  EXPECT_EQ(refused(4, word(0), 0x40000000), Status::bad_arguments);
  EXPECT_EQ(refused(4, word(3), 0x40000000), Status::bad_arguments);
  EXPECT_EQ(refused(8, word(0), 0x20000000), Status::bad_arguments);
  EXPECT_EQ(refused(8, word(3), 0x20000000), Status::bad_arguments);
  EXPECT_EQ(refused(152, word(0), 0x01000000), Status::bad_arguments);
  EXPECT_EQ(refused(152, word(2), 0x01000000), Status::bad_arguments);
  EXPECT_EQ(refused(20, std::string(65, 'o'), 0x04000000), Status::bad_arguments);
  EXPECT_EQ(refused(85, std::string(65, 'o'), 0x02000000), Status::bad_arguments);
  EXPECT_EQ(refused(20, "", 0x04000000), Status::invalid_name);
  EXPECT_EQ(refused(20, "#o", 0x04000000), Status::invalid_name);
  EXPECT_EQ(refused(85, "", 0x02000000), Status::invalid_name);
  EXPECT_EQ(refused(85, "nowhere", 0x02000000), Status::policy_map_not_found);
  EXPECT_EQ(refused(85, "http", 0x02000000), Status::policy_map_type_differs);
  EXPECT_EQ(refused(85, "p", 0x02000000), Status::policy_map_type_differs);
  for (const std::uint32_t bit : {0x08000000U, 0x00800000U, 0x00000001U}) {
    EXPECT_EQ(refused(0, word(1), 0x80000000 | bit), Status::bad_arguments) << bit;
    EXPECT_EQ(policy_.vip(kClear, record(160, {{156, word(bit)}})), Status::bad_arguments) << bit;
  }
  EXPECT_EQ(policy_.vip({"p", "c", 2}, record(160, {})), Status::bad_arguments);
  // One bad field, and none is set.
  EXPECT_EQ(policy_.vip(kSet, record(160, {{0, word(1)}, {4, word(9)}, {156, word(0xc0000000)}})),
            Status::bad_arguments);
  EXPECT_EQ(policy_.vip(kSet, record(160, {{0, word(1)}, {85, "nowhere"}, {156, word(0x82000000)}})),
            Status::policy_map_not_found);
  EXPECT_EQ(actions(), "");
  EXPECT_EQ(disk_.commits, commits);
}

TEST_F(Layer34Actions, HttpInspection) {
  EXPECT_EQ(policy_.http(kClear, record(156, {})), Status::action_not_found);
  EXPECT_EQ(policy_.http(kSet, record(156, {})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-http"})");
  EXPECT_EQ(policy_.http(kSet, record(156, {{0, word(1)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-http","option":true})");
  EXPECT_EQ(policy_.http(kSet, record(156, {{4, word(1)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-http","url_logging":true})");
  EXPECT_EQ(policy_.http(kSet, record(156, {{0, word(1)}, {4, word(1)}, {89, "http"}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-http","policy":"http","url_logging":true,"option":true})");
  EXPECT_EQ(policy_.remove("http", 3), Status::policy_map_in_use);
  EXPECT_EQ(policy_.http(kSet, record(156, {{89, "nowhere"}})), Status::policy_map_not_found);
  EXPECT_EQ(policy_.http(kSet, record(156, {{89, "lb"}})), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.http(kSet, record(156, {{89, "#x"}})), Status::invalid_name);
  EXPECT_EQ(policy_.http(kSet, record(156, {{89, std::string(65, 'x')}})), Status::bad_arguments);
  EXPECT_EQ(policy_.http(kSet, record(156, {{0, word(2)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.http(kSet, record(156, {{4, word(2)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.http({"p", "c", 2}, record(156, {})), Status::bad_arguments);
  EXPECT_EQ(actions(), R"({"action":"inspect-http","policy":"http","url_logging":true,"option":true})");
  EXPECT_EQ(policy_.http(kClear, record(156, {{0, word(2)}, {89, "nowhere"}})), Status::ok);
  EXPECT_EQ(actions(), "");
  EXPECT_EQ(policy_.remove("http", 3), Status::ok);
}

TEST_F(Layer34Actions, OtherInspections) {
  EXPECT_EQ(policy_.ftp(kSet, record(72, {})), Status::ok);
  EXPECT_EQ(policy_.icmp(kSet, 2), Status::ok);
  EXPECT_EQ(policy_.rtsp(kSet), Status::ok);
  EXPECT_EQ(policy_.dns(kSet, record(12, {{0, word(1)}, {4, word(512)}, {8, word(0x80000000)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-dns","max_length":512},{"action":"inspect-icmp","error_mode":2},)"
                       R"({"action":"inspect-ftp"},{"action":"inspect-rtsp"})");
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.rtsp(kSet), Status::ok);
  EXPECT_EQ(policy_.icmp(kSet, 2), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(policy_.icmp(kSet, 1), Status::ok);
  EXPECT_EQ(policy_.dns(kSet, record(12, {})), Status::ok);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{0, word(1)}, {4, "ftp"}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-dns"},{"action":"inspect-icmp","error_mode":1},)"
                       R"({"action":"inspect-ftp","strict":true,"policy":"ftp"},{"action":"inspect-rtsp"})");
  EXPECT_EQ(policy_.remove("ftp", 4), Status::policy_map_in_use);
  EXPECT_EQ(policy_.icmp(kSet, 0), Status::ok);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{0, word(1)}})), Status::ok);
  EXPECT_EQ(actions(), R"({"action":"inspect-dns"},{"action":"inspect-icmp"},)"
                       R"({"action":"inspect-ftp","strict":true},{"action":"inspect-rtsp"})");
  EXPECT_EQ(policy_.remove("ftp", 4), Status::ok);

  EXPECT_EQ(policy_.icmp(kSet, 3), Status::bad_arguments);
  EXPECT_EQ(policy_.dns(kSet, record(12, {{0, word(1)}, {4, word(5)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.dns(kSet, record(12, {{4, word(5)}, {8, word(0x80000000)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.dns(kSet, record(12, {{8, word(0x40000000)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{0, word(2)}})), Status::bad_arguments);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{4, std::string(65, 'x')}})), Status::bad_arguments);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{4, "http"}})), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.ftp(kSet, record(72, {{4, "ftp"}})), Status::policy_map_not_found);
  EXPECT_EQ(policy_.rtsp({"p", "c", 2}), Status::bad_arguments);

  EXPECT_EQ(policy_.dns(kClear, record(12, {{8, word(7)}})), Status::ok);
  EXPECT_EQ(policy_.icmp(kClear, 9), Status::ok);
  EXPECT_EQ(policy_.ftp(kClear, record(72, {})), Status::ok);
  EXPECT_EQ(policy_.rtsp(kClear), Status::ok);
  EXPECT_EQ(actions(), "");
  EXPECT_EQ(policy_.dns(kClear, record(12, {})), Status::action_not_found);
  EXPECT_EQ(policy_.icmp(kClear, 0), Status::action_not_found);
  EXPECT_EQ(policy_.ftp(kClear, record(72, {})), Status::action_not_found);
  EXPECT_EQ(policy_.rtsp(kClear), Status::action_not_found);
}

// Nothing of the kind can be attached yet.
TEST_F(Layer34Actions, AttachmentsNeedTheirObjects) {
  EXPECT_EQ(policy_.parameters(kSet, "tcp", 0), Status::parameter_map_not_found);
  EXPECT_EQ(policy_.parameters(kSet, "web", 1), Status::parameter_map_not_found);
  EXPECT_EQ(policy_.parameters(kSet, "c", 2), Status::bad_arguments);
  EXPECT_EQ(policy_.parameters(kSet, "", 0), Status::invalid_name);
  EXPECT_EQ(policy_.parameters({"p", "c", 2}, "tcp", 0), Status::bad_arguments);
  EXPECT_EQ(policy_.parameters(kClear, "tcp", 0), Status::action_not_found);
  EXPECT_EQ(policy_.parameters(kClear, "", 1), Status::action_not_found);
  EXPECT_EQ(policy_.parameters({"p", "nowhere"}, "tcp", 0), Status::class_map_not_found);
  EXPECT_EQ(policy_.parameters({"nowhere", "c"}, "tcp", 0), Status::policy_map_not_found);
  EXPECT_EQ(policy_.ssl(kSet, "proxy"), Status::ssl_proxy_not_found);
  EXPECT_EQ(policy_.ssl(kClear, "proxy"), Status::action_not_found);
  EXPECT_EQ(policy_.ssl(kClear, ""), Status::action_not_found);
  EXPECT_EQ(policy_.ssl({"p", "c", 2}, "proxy"), Status::bad_arguments);
  EXPECT_EQ(policy_.ssl({"http", "c"}, "proxy"), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.ssl({"nowhere", "c"}, "proxy"), Status::policy_map_not_found);
  EXPECT_EQ(policy_.ssl({"p", "other"}, "proxy"), Status::class_not_in_policy);
  EXPECT_EQ(actions(), "");
}

TEST_F(Layer34Actions, ManagementVerdicts) {
  const In set{"mgmt", "mc"};
  const In clear{"mgmt", "mc", 0};
  EXPECT_EQ(policy_.permissions(set, 0, 0), Status::ok);
  EXPECT_EQ(actions("mgmt", "mc"), "");
  EXPECT_EQ(policy_.permissions(set, 0, 1), Status::ok);
  EXPECT_EQ(actions("mgmt", "mc"), R"({"action":"permission-2"})");
  EXPECT_EQ(policy_.permissions(set, 0, 1), Status::ok);
  // Neither together nor one after the other.
  EXPECT_EQ(policy_.permissions(set, 1, 0), Status::permit_and_deny);
  EXPECT_EQ(policy_.permissions(set, 1, 1), Status::permit_and_deny);
  EXPECT_EQ(actions("mgmt", "mc"), R"({"action":"permission-2"})");
  EXPECT_EQ(policy_.permissions(clear, 0, 0), Status::ok);
  EXPECT_EQ(policy_.permissions(clear, 0, 1), Status::ok);
  EXPECT_EQ(actions("mgmt", "mc"), "");
  EXPECT_EQ(policy_.permissions(set, 1, 1), Status::permit_and_deny);
  EXPECT_EQ(actions("mgmt", "mc"), "");
  EXPECT_EQ(policy_.permissions(set, 1, 0), Status::ok);
  EXPECT_EQ(policy_.permissions(set, 0, 1), Status::permit_and_deny);
  EXPECT_EQ(actions("mgmt", "mc"), R"({"action":"permission-1"})");
  EXPECT_EQ(policy_.permissions(clear, 1, 1), Status::ok);
  EXPECT_EQ(actions("mgmt", "mc"), "");
  EXPECT_EQ(policy_.permissions(set, 2, 0), Status::bad_arguments);
  EXPECT_EQ(policy_.permissions(set, 0, 2), Status::bad_arguments);
  EXPECT_EQ(policy_.permissions({"mgmt", "mc", 2}, 0, 0), Status::bad_arguments);
  EXPECT_EQ(policy_.permissions(kSet, 1, 0), Status::policy_map_type_differs);
}

TEST_F(Layer34Actions, NeedTheirClass) {
  EXPECT_EQ(policy_.rtsp({"nowhere", "c"}), Status::policy_map_not_found);
  EXPECT_EQ(policy_.rtsp({"p", "nowhere"}), Status::class_map_not_found);
  EXPECT_EQ(policy_.rtsp({"p", "other"}), Status::class_not_in_policy);
  EXPECT_EQ(policy_.rtsp({"p", ""}), Status::class_map_not_found);
  for (const char* policy : {"lb", "http", "ftp", "mgmt"}) {
    const In in{policy, "class-default"};
    EXPECT_EQ(policy_.static_nat(in, 0x0a000001), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.dynamic_nat(in, 1, 1), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.options(in, 0x80000000), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.vip(in, record(160, {})), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.http(in, record(156, {})), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.dns(in, record(12, {})), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.icmp(in, 0), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.ftp(in, record(72, {})), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.rtsp(in), Status::policy_map_type_differs);
    EXPECT_EQ(policy_.parameters(in, "tcp", 0), Status::policy_map_type_differs);
  }
}

TEST_F(Layer34Actions, ClassDefaultHasTwoNames) {
  EXPECT_EQ(policy_.dynamic_nat({"p", "#class_default_l3"}, 1, 2), Status::ok);
  EXPECT_EQ(policy_.rtsp({"p", "class-default"}), Status::ok);
  EXPECT_EQ(classes_in(client_.object("p", kPolicyMap).text),
            R"([{"line":10,"class":"c"},{"line":20,"class":"class-default","actions":[)"
            R"({"action":"nat-dynamic","pool":1,"vlan":2},{"action":"inspect-rtsp"}]}])");
  EXPECT_EQ(policy_.rtsp({"p", "#class_default_l3", 0}), Status::ok);
  EXPECT_EQ(policy_.dynamic_nat({"p", "class-default", 0}, 1, 2), Status::ok);
  EXPECT_EQ(actions(), "");
}

}  // namespace
}  // namespace kvel::manager::testing::layer34_action_test
