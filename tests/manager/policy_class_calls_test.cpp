// The classes of a policy-map: their order, their types, who is in use, and every refusal of a place.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::policy_class_calls_test {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

constexpr std::uint32_t kPolicyMap = 4;

class PolicyClassCalls : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(policy_.create("p", 2), Status::ok);
    for (const char* name : {"a", "b", "c", "d"})
      ASSERT_EQ(client_.create(name, 2), Status::ok);
  }

  // The names of the classes in their order, which must be that of their lines.
  std::string order(const std::string& policy = "p") {
    const std::string classes = classes_in(client_.object(policy, kPolicyMap).text);
    std::string names;
    std::size_t at = 0;
    for (int line = 10; (at = classes.find(R"({"line":)", at)) != std::string::npos; line += 10) {
      at += 8;
      EXPECT_EQ(classes.substr(at, classes.find(',', at) - at), std::to_string(line));
      at = classes.find(R"(":")", at) + 3;
      names += classes.substr(at, classes.find('"', at) - at) + " ";
    }
    return names;
  }
  Status put(const std::string& name, const std::string& before = "") { return policy_.put({"p", name, 1, before}, 2); }
  Status take(const std::string& name) { return policy_.put({"p", name, 0}, 2); }
  Status drop(const std::string& name) { return policy_.lb({"p", name}, record(732, {{728, word(0x20000000)}})); }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
};

TEST_F(PolicyClassCalls, ComeLastOrBeforeAnother) {
  EXPECT_EQ(put("a"), Status::ok);
  EXPECT_EQ(put("b"), Status::ok);
  EXPECT_EQ(put("c", "a"), Status::ok);
  EXPECT_EQ(put("d", "b"), Status::ok);
  EXPECT_EQ(order(), "c a d b ");
  EXPECT_EQ(take("a"), Status::ok);
  EXPECT_EQ(order(), "c d b ");
  EXPECT_EQ(put("a", "class-default"), Status::ok);
  EXPECT_EQ(order(), "c d b a ");
}

TEST_F(PolicyClassCalls, MoveOnlyWhenAskedTo) {
  for (const char* name : {"a", "b", "c", "d"})
    ASSERT_EQ(put(name), Status::ok);
  ASSERT_EQ(drop("b"), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(put("b"), Status::ok);
  EXPECT_EQ(put("b", "c"), Status::ok);
  EXPECT_EQ(put("d", "class-default"), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(put("b", "a"), Status::ok);
  EXPECT_EQ(order(), "b a c d ");
  EXPECT_EQ(put("b", "d"), Status::ok);
  EXPECT_EQ(order(), "a c b d ");
  EXPECT_EQ(put("b", "class-default"), Status::ok);
  EXPECT_EQ(order(), "a c d b ");
  EXPECT_EQ(put("d", "c"), Status::ok);
  EXPECT_EQ(order(), "a d c b ");
  EXPECT_EQ(disk_.commits, commits + 4);
  EXPECT_EQ(classes_in(client_.object("p", kPolicyMap).text),
            R"([{"line":10,"class":"a"},{"line":20,"class":"d"},{"line":30,"class":"c"},)"
            R"({"line":40,"class":"b","actions":[{"action":"drop"}]}])");
}

TEST_F(PolicyClassCalls, AreWrittenAlone) {
  ASSERT_EQ(put("a"), Status::ok);
  ASSERT_EQ(put("b"), Status::ok);
  ASSERT_EQ(put("c", "b"), Status::ok);
  ASSERT_EQ(put("d", "a"), Status::ok);
  ASSERT_EQ(drop("class-default"), Status::ok);
  const std::string class_map = R"({"type":2,"match_all":true})";
  const auto row = [](const std::string& name, std::uint64_t item) { return FakeDisk::Key{0, 4, name, item}; };
  const auto class_row = [](const std::string& name) { return FakeDisk::Key{0, 5, name, 0}; };
  EXPECT_THAT(disk_.records, ElementsAre(Pair(row("p", 0), R"({"type":2,"subtype":1})"),     //
                                         Pair(row("p", 0x8000'0000), R"({"class":"d"})"),    //
                                         Pair(row("p", 0x1'0000'0000), R"({"class":"a"})"),  //
                                         Pair(row("p", 0x1'8000'0000), R"({"class":"c"})"),  //
                                         Pair(row("p", 0x2'0000'0000), R"({"class":"b"})"),  //
                                         Pair(row("p", 0x7fff'ffff'ffff'ffff),
                                              R"({"class":"class-default","actions":[{"action":"drop"}]})"),
                                         Pair(class_row("a"), class_map), Pair(class_row("b"), class_map),
                                         Pair(class_row("c"), class_map), Pair(class_row("d"), class_map)));
  // A removed class leaves a gap that is not used again; class-default without actions is not written.
  ASSERT_EQ(take("b"), Status::ok);
  ASSERT_EQ(put("b"), Status::ok);
  ASSERT_EQ(put("class-default"), Status::ok);
  ASSERT_EQ(take("class-default"), Status::ok);
  EXPECT_EQ(disk_.records.count(row("p", 0x2'8000'0000)), 1U);
  EXPECT_EQ(disk_.records.count(row("p", 0x7fff'ffff'ffff'ffff)), 0U);
}

// Each class takes half of the gap that is left before "a".
TEST_F(PolicyClassCalls, GapsRunOutAndAreMadeAnew) {
  ASSERT_EQ(put("b"), Status::ok);
  ASSERT_EQ(put("a"), Status::ok);
  ASSERT_EQ(drop("a"), Status::ok);
  std::string expected = "b ";
  for (int index = 0; index < 100; ++index) {
    const std::string name = fmt::format("n{}", index);
    ASSERT_EQ(client_.create(name, 2), Status::ok);
    ASSERT_EQ(put(name, "a"), Status::ok);
    expected += name + " ";
  }
  EXPECT_EQ(order(), expected + "a ");
  ASSERT_EQ(policy_.url_match({"p", "m", 1, "b"}, "/"), Status::ok);
  // The same by moving, with both ways of coming at the same place.
  expected.clear();
  for (int index = 0; index < 100; ++index)
    expected += fmt::format("n{} ", 99 - index);
  for (int index = 0; index < 100; ++index)
    ASSERT_EQ(put(fmt::format("n{}", index), index == 0 ? "b" : fmt::format("n{}", index - 1)), Status::ok);
  EXPECT_EQ(order(), "m " + expected + "b a ");

  const std::string before = client_.objects(kPolicyMap).response;
  manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  EXPECT_EQ(Client(*manager_).objects(kPolicyMap).response, before);
}

TEST_F(PolicyClassCalls, PositionsRunOutAtTheEnd) {
  disk_.records[{0, 4, "p", 0x7fff'ffff'ffff'fffe}] = R"({"class":"b"})";
  disk_.records[{0, 4, "p", 0x7fff'ffff'ffff'ffff}] = R"({"class":"class-default","actions":[{"action":"drop"}]})";
  manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  PolicyClient policies(*manager_);
  ASSERT_EQ(policies.put({"p", "a"}, 2), Status::ok);
  EXPECT_EQ(disk_.records.at({0, 4, "p", 0x1'0000'0000}), R"({"class":"b"})");
  EXPECT_EQ(disk_.records.at({0, 4, "p", 0x2'0000'0000}), R"({"class":"a"})");
  EXPECT_EQ(disk_.records.size(), 8U);
  EXPECT_EQ(classes_in(Client(*manager_).object("p", kPolicyMap).text),
            R"([{"line":10,"class":"b"},{"line":20,"class":"a"},)"
            R"({"line":30,"class":"class-default","actions":[{"action":"drop"}]}])");
}

TEST_F(PolicyClassCalls, ClassDefaultIsAlwaysThere) {
  const int commits = disk_.commits;
  EXPECT_EQ(put("class-default"), Status::ok);
  EXPECT_EQ(put("class-default", "nowhere"), Status::ok);
  EXPECT_EQ(policy_.put({"p", ""}, 2, 1, 1), Status::ok);
  EXPECT_EQ(policy_.put({"p", "nowhere"}, 2, 1, 1), Status::ok);
  EXPECT_EQ(take("class-default"), Status::ok);
  EXPECT_EQ(policy_.put({"p", "a", 0}, 2, 1, 1), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(order(), "");
  ASSERT_EQ(drop("class-default"), Status::ok);
  ASSERT_EQ(put("a"), Status::ok);
  EXPECT_EQ(order(), "a class-default ");
  EXPECT_EQ(policy_.put({"p", "", 0}, 2, 1, 1), Status::ok);
  EXPECT_EQ(order(), "a ");
  ASSERT_EQ(drop("class-default"), Status::ok);
  EXPECT_EQ(take("class-default"), Status::ok);
  EXPECT_EQ(order(), "a ");
  EXPECT_EQ(policy_.put({"nowhere", "class-default"}, 2), Status::policy_map_not_found);
  EXPECT_EQ(policy_.put({"p", "class-default"}, 1), Status::policy_map_type_differs);
}

TEST_F(PolicyClassCalls, RefusalsOfPlaces) {
  ASSERT_EQ(put("a"), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(put("nowhere"), Status::class_map_not_found);
  EXPECT_EQ(put(""), Status::class_map_not_found);
  EXPECT_EQ(put("b", "nowhere"), Status::insert_before_not_found);
  EXPECT_EQ(put("b", "c"), Status::class_not_found);
  EXPECT_EQ(put("a", "c"), Status::class_not_found);
  EXPECT_EQ(put("a", "a"), Status::bad_arguments);
  EXPECT_EQ(put("b", "b"), Status::bad_arguments);
  EXPECT_EQ(take("b"), Status::class_not_in_policy);
  EXPECT_EQ(take("nowhere"), Status::class_not_in_policy);
  EXPECT_EQ(policy_.put({"nowhere", "a"}, 2), Status::policy_map_not_found);
  EXPECT_EQ(policy_.put({"nowhere", "a", 0}, 2), Status::policy_map_not_found);
  EXPECT_EQ(policy_.put({"p", "a"}, 1), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.put({"p", "a", 0}, 3), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.put({"p", "a"}, 0), Status::invalid_type);
  EXPECT_EQ(policy_.put({"p", "a"}, 6), Status::invalid_type);
  EXPECT_EQ(policy_.put({"p", "a"}, 2, 0), Status::invalid_type);
  EXPECT_EQ(policy_.put({"p", "a"}, 2, 4), Status::invalid_type);
  EXPECT_EQ(policy_.put({"p", "a"}, 2, 3), Status::ok);
  EXPECT_EQ(policy_.put({"p", "a", 2}, 2), Status::bad_arguments);
  EXPECT_EQ(policy_.put({"p", "a"}, 2, 1, 2), Status::bad_arguments);
  EXPECT_EQ(policy_.put({"p", "a"}, 2, 1, 0, 1), Status::bad_arguments);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(order(), "a ");
  // A removal looks at no other name.
  EXPECT_EQ(policy_.put({"p", "a", 0, "a"}, 2), Status::ok);
  EXPECT_EQ(order(), "");
}

TEST_F(PolicyClassCalls, TypesFit) {
  // The class-map type that each policy-map type takes.
  const std::uint32_t fitting[] = {0, 2, 3, 4, 1};
  for (std::uint32_t policy_type = 1; policy_type <= 5; ++policy_type) {
    const std::string policy = fmt::format("t{}", policy_type);
    ASSERT_EQ(policy_.create(policy, policy_type), Status::ok);
    for (std::uint32_t class_type = 0; class_type <= 4; ++class_type) {
      const std::string class_map = fmt::format("t{}", class_type);
      ASSERT_EQ(client_.create(class_map, static_cast<std::uint8_t>(class_type)), Status::ok);
      EXPECT_EQ(policy_.put({policy, class_map}, policy_type),
                class_type == fitting[policy_type - 1] ? Status::ok : Status::class_type_differs)
          << policy << class_map;
    }
  }
}

TEST_F(PolicyClassCalls, AClassMapInAPolicyMapIsInUse) {
  ASSERT_EQ(policy_.create("q", 2), Status::ok);
  ASSERT_EQ(put("a"), Status::ok);
  ASSERT_EQ(policy_.put({"q", "a"}, 2), Status::ok);
  EXPECT_EQ(client_.remove("a", 2), Status::class_map_in_use);
  ASSERT_EQ(take("a"), Status::ok);
  EXPECT_EQ(client_.remove("a", 2), Status::class_map_in_use);
  ASSERT_EQ(policy_.remove("q", 2), Status::ok);
  EXPECT_EQ(client_.remove("a", 2), Status::ok);
  // A nested class-map can be a class, too.
  RuleClient rule(*manager_);
  ASSERT_EQ(rule.nest({"b"}, "c"), Status::ok);
  ASSERT_EQ(put("c"), Status::ok);
  ASSERT_EQ(put("b"), Status::ok);
  ASSERT_EQ(rule.nest({"b", 0, 0}, "c"), Status::ok);
  EXPECT_EQ(client_.remove("c", 2), Status::class_map_in_use);
  // Being a class does not stand in the way of nesting.
  EXPECT_EQ(rule.nest({"c"}, "b"), Status::ok);
}

TEST_F(PolicyClassCalls, APolicyMapThatAnotherNamesIsInUse) {
  ASSERT_EQ(policy_.create("l3"), Status::ok);
  ASSERT_EQ(client_.create("traffic"), Status::ok);
  ASSERT_EQ(policy_.put({"l3", "traffic"}), Status::ok);
  const std::string to_p = record(160, {{85, "p"}, {156, word(0x02000000)}});
  ASSERT_EQ(policy_.vip({"l3", "traffic"}, to_p), Status::ok);
  ASSERT_EQ(policy_.vip({"l3", "class-default"}, to_p), Status::ok);
  EXPECT_EQ(policy_.remove("p", 2), Status::policy_map_in_use);
  // With its class goes the reference, and with the other action the last one.
  ASSERT_EQ(policy_.put({"l3", "traffic", 0}), Status::ok);
  EXPECT_EQ(policy_.remove("p", 2), Status::policy_map_in_use);
  ASSERT_EQ(policy_.vip({"l3", "class-default", 0}, to_p), Status::ok);
  EXPECT_EQ(policy_.remove("p", 2), Status::ok);
}

}  // namespace
}  // namespace kvel::manager::testing::policy_class_calls_test
