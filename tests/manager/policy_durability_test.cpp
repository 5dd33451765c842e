// Policy-maps across a restart: every kind of action and match, order and references; and stores with what cannot be.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/records.h"

namespace kvel::manager::testing::policy_durability_test {
namespace {

constexpr std::uint8_t kPolicyMap = 4;
constexpr std::uint64_t kClassDefault = 0x7fff'ffff'ffff'ffff;

StoreChange policy(const char* name, const char* body, std::uint64_t item = 0, std::uint16_t context = 0) {
  return put(name, body, item, context, kPolicyMap);
}

constexpr const char* kLayer34 = R"({"type":1,"subtype":1})";
constexpr const char* kLoadBalancing = R"({"type":2,"subtype":1})";
constexpr const char* kClassMap = R"({"type":2,"match_all":true})";
constexpr const char* kMatch = R"({"match":"m","rule":{"match":"http-url","expression":"/"}})";

class PolicyDurability : public ::testing::Test {
 protected:
  // The manager, started anew on the same store.
  rpc::Service& reopen() {
    manager_.reset();
    manager_ = Manager::open(open_store(path_)).value();
    return *manager_;
  }

  void expect_refused(std::vector<StoreChange> records, const std::string& words) {
    {
      const auto store = open_store(path_);
      ASSERT_TRUE(commit(*store, std::move(records)));
    }
    const FolderBytes before = folder_.bytes();
    {
      const auto manager = Manager::open(open_store(path_));
      ASSERT_FALSE(manager) << words;
      EXPECT_EQ(manager.error().message,
                "store " + path_.native() + ": it is damaged: " + words +
                    "; it was left as it is: put a sound copy in its place, or move it away to start anew");
    }
    EXPECT_TRUE(folder_.bytes() == before) << words;
    folder_.restore({});
  }
  // The same for the settings of a policy-map.
  void expect_settings_refused(const char* body, const std::string& words) {
    expect_refused({policy("p", body)}, R"(policy-map "p" in context 0: )" + words);
  }
  // The same for one class of a load-balancing policy-map, and for the actions of one.
  void expect_class_refused(const char* body, const std::string& words) {
    expect_refused({policy("p", kLoadBalancing), policy("p", body, 7), put("a", kClassMap)},
                   R"(policy-map "p" in context 0: its class at place 7: )" + words);
  }
  void expect_actions_refused(const std::string& actions, const std::string& words) {
    expect_class_refused((R"({"class":"a","actions":)" + actions + "}").c_str(), words);
  }

  Folder folder_;
  std::filesystem::path path_ = folder_ / "kvel.db";
  std::unique_ptr<Manager> manager_;
};

TEST_F(PolicyDurability, EverythingComesBack) {
  {
    Client client(reopen());
    PolicyClient policies(*manager_);
    for (std::uint8_t type = 0; type <= 4; ++type)
      ASSERT_EQ(client.create("c" + std::to_string(type), type), Status::ok);
    for (const std::uint32_t type : {1U, 2U, 3U, 4U, 5U})
      ASSERT_EQ(policies.create("p" + std::to_string(type), type), Status::ok);
    ASSERT_EQ(policies.describe("p1", "all of it"), Status::ok);
    ASSERT_EQ(policies.interval("p1", 4294967295 / 3), Status::ok);

    ASSERT_EQ(policies.put({"p1", "c0"}), Status::ok);
    ASSERT_EQ(policies.static_nat({"p1", "c0"}, ip(10, 0, 0, 1), 0xffffff00, 80, 9), Status::ok);
    ASSERT_EQ(policies.static_nat({"p1", "c0"}, ip(10, 0, 0, 2)), Status::ok);
    ASSERT_EQ(policies.dynamic_nat({"p1", "c0"}, 4294967295, 0), Status::ok);
    ASSERT_EQ(policies.options({"p1", "c0"}, 0x80000000), Status::ok);
    ASSERT_EQ(policies.vip({"p1", "c0"}, record(160, {{0, word(1)},
                                                      {4, word(2)},
                                                      {8, word(1)},
                                                      {12, word(5)},
                                                      {20, "o"},
                                                      {85, "p2"},
                                                      {152, word(1)},
                                                      {156, word(0xf7000000)}})),
              Status::ok);
    ASSERT_EQ(policies.http({"p1", "c0"}, record(156, {{0, word(1)}, {4, word(1)}, {89, "p3"}})), Status::ok);
    ASSERT_EQ(policies.dns({"p1", "c0"}, record(12, {{0, word(1)}, {4, word(512)}, {8, word(0x80000000)}})),
              Status::ok);
    ASSERT_EQ(policies.icmp({"p1", "c0"}, 1), Status::ok);
    ASSERT_EQ(policies.ftp({"p1", "c0"}, record(72, {{0, word(1)}, {4, "p4"}})), Status::ok);
    ASSERT_EQ(policies.rtsp({"p1", "c0"}), Status::ok);
    ASSERT_EQ(policies.http({"p1", "class-default"}, record(156, {})), Status::ok);
    ASSERT_EQ(policies.dns({"p1", "class-default"}, record(12, {})), Status::ok);
    ASSERT_EQ(policies.icmp({"p1", "class-default"}, 0), Status::ok);
    ASSERT_EQ(policies.ftp({"p1", "class-default"}, record(72, {})), Status::ok);

    ASSERT_EQ(policies.put({"p2", "c2"}, 2), Status::ok);
    ASSERT_EQ(policies.lb({"p2", "c2"}, record(732, {{0, "\7"},
                                                     {4, "farm"},
                                                     {69, "spare"},
                                                     {136, word(1)},
                                                     {140, word(1)},
                                                     {144, word(0xf0000000)},
                                                     {213, "X-From"},
                                                     {469, "\"v\\\""},
                                                     {728, word(0xc6000000)}})),
              Status::ok);
    ASSERT_EQ(policies.lb_match({"p2", "value"}, record(332, {{0, word(6)}, {69, "v+"}})), Status::ok);
    ASSERT_EQ(policies.lb({"p2", "p2value"}, record(732, {{728, word(0x20000000)}})), Status::ok);
    ASSERT_EQ(policies.lb_match({"p2", "cookie", 1, "c2"}, record(332, {{0, word(7)}, {4, "id"}, {328, word(1)}})),
              Status::ok);
    ASSERT_EQ(policies.lb({"p2", "p2cookie"}, record(732, {{728, word(0x10000000)}})), Status::ok);
    ASSERT_EQ(policies.lb({"p2", "class-default"}, record(732, {{4, "g"}, {728, word(0x01000000)}})), Status::ok);

    ASSERT_EQ(policies.put({"p3", "c3"}, 3), Status::ok);
    ASSERT_EQ(policies.http_verdict({"p3", "c3"}, 4), Status::ok);
    ASSERT_EQ(policies.http_match({"p3", "k21", 1, "c3"}, record(328, {{0, word(21)}})), Status::ok);
    ASSERT_EQ(policies.http_match({"p3", "k22", 1, "c3"}, record(328, {{0, word(22)}})), Status::ok);
    ASSERT_EQ(policies.http_match({"p3", "length"}, record(328, {{0, word(13)}, {8, word(1)}, {12, word(2)}})),
              Status::ok);
    ASSERT_EQ(policies.http_verdict({"p3", "p3length"}, 1), Status::ok);
    ASSERT_EQ(policies.ftp_match({"p4", "appe"}, 1), Status::ok);
    ASSERT_EQ(policies.ftp_verdict({"p4", "p4appe"}, 5), Status::ok);
    ASSERT_EQ(policies.put({"p4", "c4"}, 4), Status::ok);
    ASSERT_EQ(policies.ftp_verdict({"p4", "c4"}, 6), Status::ok);
    ASSERT_EQ(policies.put({"p5", "c1"}, 5), Status::ok);
    ASSERT_EQ(policies.permissions({"p5", "c1"}, 1, 0), Status::ok);
    ASSERT_EQ(policies.permissions({"p5", "class-default"}, 0, 1), Status::ok);
  }
  for (int round = 0; round < 2; ++round) {
    Client client(reopen());
    EXPECT_EQ(
        client.object("p1", kPolicyMap).text,
        R"({"kind":"policy-map","name":"p1","type":1,"subtype":1,"description":"all of it","interval":1431655765,)"
        R"("classes":[{"line":1431655765,"class":"c0","actions":[)"
        R"({"action":"nat-static","address":"10.0.0.1","mask":"255.255.255.0","port":80,"vlan":9},)"
        R"({"action":"nat-static","address":"10.0.0.2","mask":"255.255.255.255"},)"
        R"({"action":"nat-dynamic","pool":4294967295,"vlan":0},{"action":"security-acl"},)"
        R"({"action":"vip-in-service"},{"action":"vip-icmp-reply","when_active":true},)"
        R"({"action":"vip-advertise","when_active":false},{"action":"vip-metric","metric":5},)"
        R"({"action":"vip-object","name":"o"},{"action":"load-balance","policy":"p2"},{"action":"vip-option"},)"
        R"({"action":"inspect-http","policy":"p3","url_logging":true,"option":true},)"
        R"({"action":"inspect-dns","max_length":512},{"action":"inspect-icmp","error_mode":1},)"
        R"({"action":"inspect-ftp","strict":true,"policy":"p4"},{"action":"inspect-rtsp"}]},)"
        R"({"line":2863311530,"class":"class-default","actions":[{"action":"inspect-http"},)"
        R"({"action":"inspect-dns"},{"action":"inspect-icmp"},{"action":"inspect-ftp"}]}]})");
    EXPECT_EQ(client.object("p2", kPolicyMap).text,
              R"({"kind":"policy-map","name":"p2","type":2,"subtype":1,"classes":[)"
              R"({"line":10,"match":"cookie","rule":{"match":"http-cookie","name":"id","value":"","option":true},)"
              R"("actions":[{"action":"forward"}]},{"line":20,"class":"c2","actions":[)"
              R"({"action":"serverfarm","name":"farm"},{"action":"backup-serverfarm","name":"spare"},)"
              R"({"action":"backup-option"},{"action":"serverfarm-option"},{"action":"flag-585"},)"
              R"({"action":"flag-587"},{"action":"insert-header","name":"X-From","value":"\"v\\\""},)"
              R"({"action":"number-676","number":7}]},)"
              R"({"line":30,"match":"value","rule":{"match":"http-value","value":"v+"},"actions":[{"action":"drop"}]},)"
              R"({"line":40,"class":"class-default","actions":[{"action":"group","name":"g"}]}]})");
    EXPECT_EQ(classes_in(client.object("p3", kPolicyMap).text),
              R"([{"line":10,"match":"k21","rule":{"match":"kind-21"}},{"line":20,"match":"k22","rule":)"
              R"({"match":"kind-22"}},{"line":30,"class":"c3","actions":[{"action":"reset","log":true}]},)"
              R"({"line":40,"match":"length","rule":{"match":"header-length","direction":"response","low":1,"high":2},)"
              R"("actions":[{"action":"permit"}]}])");
    EXPECT_EQ(classes_in(client.object("p4", kPolicyMap).text),
              R"([{"line":10,"match":"appe","rule":{"match":"ftp-method","code":1},"actions":[{"action":"deny"}]},)"
              R"({"line":20,"class":"c4","actions":[{"action":"mask-reply"}]}])");
    EXPECT_EQ(classes_in(client.object("p5", kPolicyMap).text),
              R"([{"line":10,"class":"c1","actions":[{"action":"permission-1"}]},)"
              R"({"line":20,"class":"class-default","actions":[{"action":"permission-2"}]}])");
  }
}

// After a restart everything refers to what it named before.
TEST_F(PolicyDurability, ReferencesComeBack) {
  reopen();
  {
    Client client(*manager_);
    PolicyClient policies(*manager_);
    ASSERT_EQ(client.create("z", 0), Status::ok);
    ASSERT_EQ(client.create("a", 2), Status::ok);
    // A name before and one after that of what it names.
    ASSERT_EQ(policies.create("m"), Status::ok);
    ASSERT_EQ(policies.create("a", 2), Status::ok);
    ASSERT_EQ(policies.create("z", 3), Status::ok);
    ASSERT_EQ(policies.put({"m", "z"}), Status::ok);
    ASSERT_EQ(policies.put({"a", "a"}, 2), Status::ok);
    ASSERT_EQ(policies.vip({"m", "z"}, record(160, {{85, "a"}, {156, word(0x02000000)}})), Status::ok);
    ASSERT_EQ(policies.http({"m", "class-default"}, record(156, {{89, "z"}})), Status::ok);
    ASSERT_EQ(policies.url_match({"a", "m"}, "/"), Status::ok);
  }
  Client client(reopen());
  PolicyClient policies(*manager_);
  EXPECT_EQ(client.remove("z", 0), Status::class_map_in_use);
  EXPECT_EQ(client.remove("a", 2), Status::class_map_in_use);
  EXPECT_EQ(policies.remove("a", 2), Status::policy_map_in_use);
  EXPECT_EQ(policies.remove("z", 3), Status::policy_map_in_use);
  EXPECT_EQ(client.create("am"), Status::name_taken);
  EXPECT_EQ(policies.lb({"a", "am"}, record(732, {{728, word(0x20000000)}})), Status::ok);
  EXPECT_EQ(policies.url_match({"a", "n", 1, "m"}, "/"), Status::ok);
  ASSERT_EQ(policies.remove("m"), Status::ok);
  EXPECT_EQ(policies.remove("z", 3), Status::ok);
  EXPECT_EQ(policies.remove("a", 2), Status::ok);
  EXPECT_EQ(client.remove("z", 0), Status::ok);
  EXPECT_EQ(client.remove("a", 2), Status::ok);
  EXPECT_EQ(client.create("am"), Status::ok);
  manager_.reset();
  EXPECT_EQ(records_in(path_), (Records{{0, 5, "am", 0, R"({"type":0,"match_all":true})"}}));
}

TEST_F(PolicyDurability, SettingsThatCannotBe) {
  expect_settings_refused("", "its body is no JSON object");
  expect_settings_refused(R"({"type":0,"subtype":1})", "its type 0 is none of 1 to 5");
  expect_settings_refused(R"({"type":6,"subtype":1})", "its type 6 is none of 1 to 5");
  expect_settings_refused(R"({"type":"1","subtype":1})", R"(its type "1" is none of 1 to 5)");
  expect_settings_refused(R"({"type":1,"subtype":0})", "its subtype 0 is none of 1 to 3");
  expect_settings_refused(R"({"type":1,"subtype":2})", "its type 1 has no subtype 2");
  expect_settings_refused(R"({"type":2,"subtype":3})", "its type 2 has no subtype 3");
  expect_settings_refused(R"({"type":3,"subtype":2})", "its type 3 has no subtype 2");
  expect_settings_refused(R"({"type":1,"subtype":1,"description":1})", "its description is no text");
  expect_settings_refused(R"({"type":1,"subtype":1,"description":"\u0001"})",
                          "its description is too long or has control characters");
  expect_settings_refused(R"({"type":1,"subtype":1,"interval":0})", "its interval cannot be 0");
  expect_settings_refused(R"({"type":1,"subtype":1,"interval":4294967296})", "its interval cannot be 4294967296");
  expect_settings_refused(R"({"type":1,"subtype":1,"colour":1})", R"(it has an unknown member "colour")");
  for (const char* other : {R"({"type":1})", R"({"subtype":1,"type":1})", R"({"type":1,"subtype":1,"interval":10})",
                            R"({"type":1,"subtype":1,"description":""})", R"({"type":1,"subtype":1} )"})
    expect_settings_refused(other, "its body is not in the form that this system writes");
  expect_refused({policy("#p", kLayer34)}, R"(policy-map "#p" in context 0: no policy-map can have this name)");
  expect_refused({policy("class-default", kLayer34)},
                 R"(policy-map "class-default" in context 0: no policy-map can have this name)");
}

TEST_F(PolicyDurability, ClassesThatCannotBe) {
  expect_class_refused("7", "its body is no JSON object");
  expect_class_refused("{}", "it has no name");
  expect_class_refused(R"({"class":7})", "it has no name");
  expect_class_refused(R"({"class":"#a"})", "no class and no match can have this name");
  expect_class_refused(R"({"match":"","rule":{"match":"http-url","expression":"/"}})",
                       "no class and no match can have this name");
  expect_class_refused(R"({"class":"class-default","actions":[{"action":"drop"}]})",
                       "its place is that of class-default");
  expect_class_refused(R"({"match":"m"})", "it has no rule");
  expect_class_refused(R"({"match":"m","rule":1})", "its rule: its body is no JSON object");
  expect_class_refused(R"({"match":"m","rule":{"match":"colour"}})",
                       R"(its rule: there are no rules of the kind "colour")");
  expect_class_refused(R"({"match":"m","rule":{"match":"http-url","expression":"("}})",
                       "its rule: the expression has a ( without its )");
  expect_class_refused(R"({"match":"m","rule":{"match":"url","expression":"/"}})",
                       "its rule is none of this type of policy-map");
  expect_class_refused(R"({"match":"m","rule":{"match":"class-map","name":"a"}})",
                       "its rule is none of this type of policy-map");
  for (const char* other :
       {R"({"class":"a","actions":[]})", R"({"class":"a","rule":{"match":"http-url","expression":"/"}})",
        R"({"class":"a","match":"m","rule":{"match":"http-url","expression":"/"}})", R"({"line":10,"class":"a"})",
        R"({"match":"m","rule":{"match":"http-url","expression":"/","qualifier":""}})",
        R"({"class":"a","actions":[{"action":"forward"},{"action":"backup-option"}]})",
        R"({"class":"a","actions":[{"action":"drop","colour":1}]})",
        R"({"class":"a","actions":[{"action":"insert-header","name":"a","value":""}]})"})
    expect_class_refused(other, "its body is not in the form that this system writes");
}

TEST_F(PolicyDurability, ActionsThatCannotBe) {
  expect_actions_refused("{}", "its actions are no JSON array");
  expect_actions_refused("[1]", "an action is no JSON object");
  expect_actions_refused("[{}]", "an action: it has no kind");
  expect_actions_refused(R"([{"action":"sing"}])", R"(an action: there are no actions of the kind "sing")");
  expect_actions_refused(R"([{"action":"serverfarm","name":1}])", "an action: its name cannot be 1");
  expect_actions_refused(R"([{"action":"serverfarm","name":""}])",
                         "an action: an object name must be 1 to 64 bytes of UTF-8 without control characters");
  expect_actions_refused(R"([{"action":"number-676","number":256}])",
                         "an action: the arguments of the call do not fit the called function");
  expect_actions_refused(R"([{"action":"inspect-rtsp"}])", "an action is none of this type of policy-map");
  expect_actions_refused(R"([{"action":"drop"},{"action":"forward"}])", "two of its actions exclude each other");
  expect_actions_refused(R"([{"action":"drop"},{"action":"drop"}])", "two of its actions exclude each other");
  expect_refused({policy("p", kLayer34), policy("p",
                                                R"({"class":"c","actions":[{"action":"nat-dynamic","pool":1,"vlan":1},)"
                                                R"({"action":"nat-dynamic","pool":1,"vlan":1}]})",
                                                1)},
                 R"(policy-map "p" in context 0: its class at place 1: two of its actions exclude each other)");
  expect_refused({policy("p", R"({"type":3,"subtype":1})"),
                  policy("p", R"({"class":"c","actions":[{"action":"permit"},{"action":"reset"}]})", 1)},
                 R"(policy-map "p" in context 0: its class at place 1: two of its actions exclude each other)");
  expect_refused(
      {policy("p", kLayer34),
       policy("p", R"({"class":"c","actions":[{"action":"nat-static","address":"10.0.0.1","mask":"0.0.0.0"}]})", 1)},
      R"(policy-map "p" in context 0: its class at place 1: an action: )"
      "a mask must be a run of one bits followed by zero bits only");
  expect_refused({policy("p", kLayer34), policy("p",
                                                R"({"class":"c","actions":[{"action":"nat-dynamic","pool":1,"vlan":2},)"
                                                R"({"action":"nat-dynamic","pool":1,"vlan":1}]})",
                                                1)},
                 R"(policy-map "p" in context 0: its class at place 1: )"
                 "its body is not in the form that this system writes");
}

TEST_F(PolicyDurability, PlacesThatCannotBe) {
  const std::string place = R"(policy-map "p" in context 0: its class at place )";
  expect_refused({policy("p", R"({"class":"a"})", 7)}, "the object of a record is missing (object 268, item 7)");
  expect_refused({policy("p", kLoadBalancing), policy("p", R"({"class":"a"})", kClassDefault)},
                 place + "9223372036854775807: its place is that of class-default");
  expect_refused({policy("p", kLoadBalancing), policy("p", R"({"class":"class-default"})", kClassDefault)},
                 place + "9223372036854775807: its body is not in the form that this system writes");
  expect_refused({policy("p", kLoadBalancing), policy("p", R"({"class":"a"})", 7), policy("p", R"({"class":"a"})", 8)},
                 place + "8: another one has this name");
  expect_refused({policy("p", kLoadBalancing), policy("p", kMatch, 7), policy("p", R"({"class":"m"})", 8)},
                 place + "8: another one has this name");
  expect_refused({policy("p", R"({"type":2,"subtype":1,"interval":1431655766})"), policy("p", R"({"class":"a"})", 7),
                  policy("p", R"({"class":"b"})", 8)},
                 place + "8: the line numbers would go beyond 4294967295");
}

TEST_F(PolicyDurability, ReferencesThatCannotBe) {
  const std::string p = R"(policy-map "p" in context 0: )";
  expect_refused({policy("p", kLoadBalancing), policy("p", R"({"class":"a"})", 7)},
                 p + R"(its class "a": the class-map does not exist)");
  expect_refused({policy("p", kLoadBalancing), policy("p", R"({"class":"a"})", 7), put("a", kClassMap, 0, 1)},
                 p + R"(its class "a": the class-map does not exist)");
  expect_refused({policy("p", kLayer34), policy("p", R"({"class":"a"})", 7), put("a", kClassMap)},
                 p + R"(its class "a": the class-map is of a type that this policy-map does not take)");
  const char* const load_balance = R"({"class":"class-default","actions":[{"action":"load-balance","policy":"q"}]})";
  expect_refused({policy("p", kLayer34), policy("p", load_balance, kClassDefault)},
                 p + R"(its class "class-default": the policy-map does not exist)");
  expect_refused({policy("p", kLayer34), policy("p", load_balance, kClassDefault), policy("q", kLayer34)},
                 p + R"(its class "class-default": the policy-map is of another type)");
  for (const char* action : {"connection-parameters", "application-parameters"})
    expect_refused({policy("p", kLayer34), policy("p",
                                                  (R"({"class":"class-default","actions":[{"action":")" +
                                                   std::string(action) + R"(","name":"x"}]})")
                                                      .c_str(),
                                                  kClassDefault)},
                   p + R"(its class "class-default": the parameter-map does not exist)");
  expect_refused(
      {policy("p", kLayer34),
       policy("p", R"({"class":"class-default","actions":[{"action":"ssl-proxy-server","name":"x"}]})", kClassDefault)},
      p + R"(its class "class-default": the SSL-proxy service does not exist)");
  expect_refused(
      {policy("p", kLoadBalancing),
       policy("p", R"({"class":"class-default","actions":[{"action":"ssl-proxy-client","name":"x"}]})", kClassDefault)},
      p + R"(its class "class-default": the SSL-proxy service does not exist)");
}

TEST_F(PolicyDurability, HiddenClassesThatCannotBe) {
  const std::string taken = R"(its match "m": the name is taken by an inline match, or by the class behind it)";
  expect_refused({policy("p", kLoadBalancing), policy("p", kMatch, 7), put("pm", kClassMap)},
                 R"(policy-map "p" in context 0: )" + taken);
  expect_refused(
      {policy("p", kLoadBalancing), policy("p", R"({"match":"qm","rule":{"match":"http-url","expression":"/"}})", 7),
       policy("pq", kLoadBalancing), policy("pq", kMatch, 7)},
      R"(policy-map "p" in context 0: its match "qm")" + taken.substr(taken.find(':')));
  const std::string name(64, 'p');
  expect_refused({policy(name.c_str(), kLoadBalancing), policy(name.c_str(), kMatch, 7)},
                 R"(policy-map ")" + name +
                     R"(" in context 0: its match "m": )"
                     "an object name must be 1 to 64 bytes of UTF-8 without control characters");
  const std::string cut(62, 'p');
  expect_refused({policy(cut.c_str(), kLoadBalancing),
                  policy(cut.c_str(), R"({"match":"ma","rule":{"match":"http-url","expression":"/"}})", 7),
                  policy(cut.c_str(), kMatch, 8)},
                 R"(policy-map ")" + cut + R"(" in context 0: its match "ma")" + taken.substr(taken.find(':')));
}

// Kinds of rules that only an inline match has.
TEST_F(PolicyDurability, RulesOfMatchesAreNotThoseOfClassMaps) {
  for (const char* rule : {R"({"match":"http-value","value":"v"})", R"({"match":"kind-21"})"})
    expect_refused({put("web", rule[10] == 'h' ? kClassMap : R"({"type":3,"match_all":true})"), put("web", rule, 10)},
                   R"(class-map "web" in context 0: its rule at line 10: )"
                   "the class-map's type does not take this kind of rule");
}

}  // namespace
}  // namespace kvel::manager::testing::policy_durability_test
