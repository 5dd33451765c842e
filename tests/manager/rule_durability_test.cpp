// Rules across a restart: lines, nesting, thousands of rules, and stores with rules that cannot be.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::rule_durability_test {
namespace {

constexpr const char* kLayer34 = R"({"type":0,"match_all":true})";
constexpr const char* kLoadBalancing = R"({"type":2,"match_all":true})";

class RuleDurability : public ::testing::Test {
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
  // The same for one rule of a layer-3/4 class-map.
  void expect_rule_refused(const char* rule, const std::string& words) {
    expect_refused({put("web", kLayer34), put("web", rule, 10)},
                   R"(class-map "web" in context 0: its rule at line 10: )" + words);
  }

  Folder folder_;
  std::filesystem::path path_ = folder_ / "kvel.db";
  std::unique_ptr<Manager> manager_;
};

TEST_F(RuleDurability, LinesComeBack) {
  {
    rpc::Service& service = reopen();
    RuleClient rule(service);
    ASSERT_EQ(Client(service).create("web"), Status::ok);
    ASSERT_EQ(rule.any({"web", 4294967285}), Status::ok);
    ASSERT_EQ(rule.vip({"web", 3}, ip(10, 1, 1, 1)), Status::ok);
    ASSERT_EQ(rule.access_list({"web", 4}, "gone"), Status::ok);
    ASSERT_EQ(rule.remove_line("web", 4), Status::ok);
  }
  rpc::Service& service = reopen();
  RuleClient rule(service);
  EXPECT_EQ(
      Client(service).object("web").text,
      R"({"kind":"class-map","name":"web","type":0,"match_all":true,"rules":[{"line":3,"match":"virtual-address",)"
      R"("address":"10.1.1.1","mask":"255.255.255.255","protocol":6,"lower":80,"upper":80},)"
      R"({"line":4294967285,"match":"any"}]})");
  EXPECT_EQ(rule.any({"web", 5}), Status::rule_at_another_line);
  EXPECT_EQ(rule.port({"web", 3}, 6, 1, 1), Status::line_taken);
  EXPECT_EQ(rule.port({"web"}, 6, 1, 1), Status::ok);
  EXPECT_EQ(rule.port({"web"}, 6, 2, 2), Status::lines_used_up);
  EXPECT_EQ(rule.vip({"web", 0, 0}, ip(10, 1, 1, 1)), Status::ok);

  manager_.reset();
  EXPECT_EQ(records_in(path_),
            (Records{{0, 5, "web", 0, R"({"type":0,"match_all":true})"},
                     {0, 5, "web", 4294967285, R"({"match":"any"})"},
                     {0, 5, "web", 4294967290, R"({"match":"port","protocol":6,"lower":1,"upper":1})"}}));
}

TEST_F(RuleDurability, NestingIsOneLevelDeep) {
  reopen();
  for (const char* name : {"a", "b", "c", "d"})
    ASSERT_EQ(Client(*manager_).create(name, 2), Status::ok);
  ASSERT_EQ(Client(*manager_).create("l3", 0), Status::ok);
  // b nests a and c: names before and after its own.
  ASSERT_EQ(RuleClient(*manager_).nest({"b"}, "c"), Status::ok);
  ASSERT_EQ(RuleClient(*manager_).nest({"b"}, "a"), Status::ok);
  for (int round = 0; round < 2; ++round) {
    Client client(*manager_);
    RuleClient rule(*manager_);
    EXPECT_EQ(rule.nest({"b"}, "a"), Status::ok);
    EXPECT_EQ(rule.nest({"b"}, "nowhere"), Status::class_map_not_found);
    EXPECT_EQ(rule.nest({"nowhere"}, "a"), Status::class_map_not_found);
    EXPECT_EQ(rule.nest({"b"}, ""), Status::class_map_not_found);
    EXPECT_EQ(rule.nest({"b"}, "l3"), Status::nested_type_differs);
    EXPECT_EQ(rule.nest({"l3"}, "a"), Status::rule_type_differs);
    EXPECT_EQ(rule.nest({"b"}, "b"), Status::nested_in_itself);
    EXPECT_EQ(rule.nest({"d"}, "d"), Status::nested_in_itself);
    EXPECT_EQ(rule.nest({"a"}, "a"), Status::nested_in_itself);
    EXPECT_EQ(rule.nest({"d"}, "b"), Status::class_map_has_children);
    EXPECT_EQ(rule.nest({"a"}, "b"), Status::class_map_has_children);
    EXPECT_EQ(rule.nest({"a"}, "d"), Status::class_map_is_child);
    EXPECT_EQ(rule.nest({"c"}, "a"), Status::class_map_is_child);
    EXPECT_EQ(client.remove("a", 2), Status::class_map_in_use);
    EXPECT_EQ(client.remove("c", 2), Status::class_map_in_use);
    reopen();
  }
  Client client(*manager_);
  RuleClient rule(*manager_);
  // A second parent.
  EXPECT_EQ(rule.nest({"d"}, "a"), Status::ok);
  EXPECT_EQ(rule.nest({"b", 0, 0}, "a"), Status::ok);
  EXPECT_EQ(client.remove("a", 2), Status::class_map_in_use);
  EXPECT_EQ(rule.remove_line("d", 10), Status::ok);
  EXPECT_EQ(rule.nest({"a"}, "d"), Status::ok);
  EXPECT_EQ(client.remove("a", 2), Status::ok);
  EXPECT_EQ(client.remove("d", 2), Status::ok);
  // With its parent goes the last one that refers to it.
  EXPECT_EQ(client.remove("c", 2), Status::class_map_in_use);
  EXPECT_EQ(client.remove("b", 2), Status::ok);
  EXPECT_EQ(client.remove("c", 2), Status::ok);
  reopen();
  EXPECT_EQ(Client(*manager_).objects().response, R"([{"kind":"class-map","name":"l3","type":0,"match_all":true}])");
}

TEST_F(RuleDurability, NestingKeepsToItsContext) {
  reopen();
  ASSERT_EQ(Client(*manager_, 1).create("parent", 2), Status::ok);
  ASSERT_EQ(Client(*manager_, 0).create("child", 2), Status::ok);
  EXPECT_EQ(RuleClient(*manager_, 1).nest({"parent"}, "child"), Status::class_map_not_found);
  ASSERT_EQ(Client(*manager_, 1).create("child", 2), Status::ok);
  EXPECT_EQ(RuleClient(*manager_, 1).nest({"parent"}, "child"), Status::ok);
  EXPECT_EQ(Client(*manager_, 0).remove("child", 2), Status::ok);
  EXPECT_EQ(Client(*manager_, 1).remove("child", 2), Status::class_map_in_use);
}

TEST_F(RuleDurability, ThousandsOfRules) {
  constexpr std::uint32_t kCount = 8'000;
  {
    rpc::Service& service = reopen();
    RuleClient rule(service);
    ASSERT_EQ(Client(service).create("other", 0), Status::ok);
    ASSERT_EQ(rule.any({"other"}), Status::ok);
    ASSERT_EQ(Client(service).create("web", 0), Status::ok);
    for (std::uint32_t index = 0; index < kCount; ++index)
      ASSERT_EQ(rule.vip({"web"}, ip(10, 0, 0, 0) + index), Status::ok);
    ASSERT_EQ(rule.vip({"web", 100'001}, ip(10, 0, 0, 0)), Status::rule_at_another_line);
  }
  rpc::Service& service = reopen();
  Client client(service);
  const auto record = nlohmann::json::parse(client.object("web").text);
  ASSERT_EQ(record.at("rules").size(), kCount);
  for (std::uint32_t index = 0; index < kCount; ++index) {
    const auto& rule = record.at("rules").at(index);
    ASSERT_EQ(rule.at("line"), (index + 1) * 10);
    ASSERT_EQ(rule.at("address"), fmt::format("10.0.{}.{}", index / 256, index % 256));
  }
  // A record longer than a page has one to itself.
  const ListAnswer first = client.objects();
  EXPECT_EQ(first.status, Status::more_data);
  EXPECT_EQ(first.response, R"([{"kind":"class-map","name":"other","type":0,"match_all":true,)"
                            R"("rules":[{"line":10,"match":"any"}]}])");
  const ListAnswer second = client.objects(0, field<66>(first.cursor));
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(second.response, "[" + client.object("web").text + "]");
  EXPECT_EQ(client.remove("web", 0), Status::ok);
  manager_.reset();
  EXPECT_EQ(records_in(path_),
            (Records{{0, 5, "other", 0, R"({"type":0,"match_all":true})"}, {0, 5, "other", 10, R"({"match":"any"})"}}));
}

TEST_F(RuleDurability, RulesThatCannotBe) {
  expect_rule_refused("", "its body is no JSON object");
  expect_rule_refused("[]", "its body is no JSON object");
  expect_rule_refused(R"({"line":10})", "it has no kind");
  expect_rule_refused(R"({"match":3})", "it has no kind");
  expect_rule_refused(R"({"match":"colour"})", R"(there are no rules of the kind "colour")");
  expect_rule_refused(R"({"match":"port","protocol":-1,"lower":1,"upper":1})", "its protocol cannot be -1");
  expect_rule_refused(R"({"match":"port","protocol":4294967296,"lower":1,"upper":1})",
                      "its protocol cannot be 4294967296");
  expect_rule_refused(R"({"match":"port","protocol":"6","lower":1,"upper":1})", R"(its protocol cannot be "6")");
  expect_rule_refused(R"({"match":"access-list","name":1})", "its name cannot be 1");
  expect_rule_refused(R"({"match":"source-address","address":"10.0.0","mask":"0.0.0.0"})",
                      R"(its address cannot be "10.0.0")");
  expect_rule_refused(R"({"match":"source-address","address":"10.0.0.1","mask":0})", "its mask cannot be 0");
  expect_rule_refused(R"({"match":"header-length","direction":"both","low":1,"high":1})",
                      R"(its direction cannot be "both")");
  expect_rule_refused(R"({"match":"http-source-address","address":"1.0.0.1","mask":"0.0.0.0","mask_given":1})",
                      "its mask_given cannot be 1");
  expect_rule_refused(R"({"match":"source-address","address":"127.0.0.1","mask":"0.0.0.0"})",
                      "the address is not that of a host");
  expect_rule_refused(R"({"match":"port","protocol":6,"lower":2,"upper":1})",
                      "the range is empty: its lower end is above its upper end");
  expect_rule_refused(R"({"match":"ftp-method","code":14})",
                      "the rule's code stands for nothing that this kind of rule can match");
  expect_rule_refused(R"({"match":"url","expression":"("})", "the expression has a ( without its )");
  expect_rule_refused(R"({"match":"url","expression":"a"})", "the class-map's type does not take this kind of rule");
  expect_rule_refused(R"({"match":"http-url","expression":"a","qualifier":""})",
                      "its body is not in the form that this system writes");
  expect_rule_refused(R"({"match":"port","protocol":6,"upper":1})",
                      "its body is not in the form that this system writes");
  expect_rule_refused(R"({"match":"any","colour":"red"})", "its body is not in the form that this system writes");
  expect_rule_refused(R"({"match":"any" })", "its body is not in the form that this system writes");
  expect_rule_refused(R"({"line":10,"match":"any"})", "its body is not in the form that this system writes");
  expect_rule_refused(R"({"match":"port","lower":1,"protocol":6,"upper":1})",
                      "its body is not in the form that this system writes");
}

TEST_F(RuleDurability, PlacesThatCannotBe) {
  expect_refused({put("web", R"({"match":"any"})", 10)}, "the object of a record is missing (object 296335, item 10)");
  expect_refused({put("web", kLayer34), put("web", R"({"match":"any"})", 4294967296)},
                 R"(class-map "web" in context 0: a class-map has no part 4294967296)");
  expect_refused({put("web", kLayer34), put("web", R"({"match":"any"})", 10), put("web", R"({"match":"any"})", 20)},
                 R"(class-map "web" in context 0: its rule at line 20: the same rule is at line 10)");
}

TEST_F(RuleDurability, NestingThatCannotBe) {
  const char* const kNestsA = R"({"match":"class-map","name":"a"})";
  const char* const kNestsB = R"({"match":"class-map","name":"b"})";
  expect_refused({put("b", kLoadBalancing), put("b", kNestsA, 7)},
                 R"(class-map "b" in context 0: its rule at line 7, class-map "a": the class-map does not exist)");
  expect_refused({put("a", kLoadBalancing, 0, 1), put("b", kLoadBalancing, 0, 2), put("b", kNestsA, 7, 2)},
                 R"(class-map "b" in context 2: its rule at line 7, class-map "a": the class-map does not exist)");
  expect_refused({put("a", kLayer34), put("b", kLoadBalancing), put("b", kNestsA, 7)},
                 R"(class-map "b" in context 0: its rule at line 7, class-map "a": )"
                 "only an HTTP load-balancing class-map can be nested in another");
  expect_refused({put("a", kLoadBalancing), put("a", kNestsA, 7)},
                 R"(class-map "a" in context 0: its rule at line 7, class-map "a": )"
                 "a class-map cannot be nested in itself");
  expect_refused({put("a", kLoadBalancing), put("a", kNestsB, 7), put("b", kLoadBalancing), put("b", kNestsA, 8)},
                 R"(class-map "a" in context 0: its rule at line 7, class-map "b": )"
                 "the class-map has class-maps nested in it");
  expect_refused({put("a", kLoadBalancing), put("b", kLoadBalancing), put("b", kNestsA, 7), put("c", kLoadBalancing),
                  put("c", kNestsB, 8)},
                 R"(class-map "b" in context 0: its rule at line 7, class-map "a": )"
                 "the class-map is already nested in another class-map");
}

}  // namespace
}  // namespace kvel::manager::testing::rule_durability_test
