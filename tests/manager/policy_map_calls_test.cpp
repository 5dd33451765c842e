// Making, describing, renumbering, listing and deleting policy-maps.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::policy_map_calls_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using namespace std::string_literals;

constexpr std::uint32_t kPolicyMap = 4;

FakeDisk::Key row(const std::string& policy, std::uint64_t item = 0) { return {0, 4, policy, item}; }

class PolicyMapCalls : public ::testing::Test {
 protected:
  std::string object(const std::string& name) { return client_.object(name, kPolicyMap).text; }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
};

TEST_F(PolicyMapCalls, CreatesAndLooksUp) {
  EXPECT_EQ(policy_.create("p"), Status::ok);
  EXPECT_EQ(policy_.created, "\0\0\0\1"s);
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.create("p"), Status::ok);
  EXPECT_EQ(policy_.created, "\0\0\0\0"s);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_THAT(disk_.records, ElementsAre(Pair(row("p"), R"({"type":1,"subtype":1})")));
  EXPECT_EQ(object("p"), R"({"kind":"policy-map","name":"p","type":1,"subtype":1})");
}

TEST_F(PolicyMapCalls, TypesAndTheirSubtypes) {
  for (std::uint32_t type = 0; type <= 7; ++type) {
    for (std::uint32_t subtype = 0; subtype <= 4; ++subtype) {
      const std::string name = fmt::format("p{}-{}", type, subtype);
      const bool takes = subtype == 1   ? type >= 1 && type <= 5
                         : subtype == 2 ? type == 2 || type == 4 || type == 5
                                        : subtype == 3 && type == 3;
      EXPECT_EQ(policy_.create(name, type, subtype), takes ? Status::ok : Status::invalid_type) << name;
      if (takes) {
        EXPECT_EQ(object(name),
                  fmt::format(R"({{"kind":"policy-map","name":"{}","type":{},"subtype":{}}})", name, type, subtype));
      }
    }
  }
  EXPECT_EQ(policy_.create("p", 255, 1), Status::invalid_type);
  EXPECT_EQ(policy_.create("p", 1, 255), Status::invalid_type);
}

TEST_F(PolicyMapCalls, AnotherTypeOrSubtypeDiffers) {
  ASSERT_EQ(policy_.create("p", 2, 2), Status::ok);
  EXPECT_EQ(policy_.create("p", 2, 1), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.created, "\0\0\0\0"s);
  EXPECT_EQ(policy_.create("p", 4, 2), Status::policy_map_type_differs);
  EXPECT_EQ(policy_.create("p", 2, 2), Status::ok);
  EXPECT_EQ(policy_.remove("p", 1), Status::policy_map_type_differs);
  // The subtype is not compared.
  EXPECT_EQ(policy_.create("p", 2, 1, 0), Status::ok);
  EXPECT_EQ(policy_.remove("p", 2), Status::policy_map_not_found);
  EXPECT_THAT(disk_.records, IsEmpty());
}

TEST_F(PolicyMapCalls, NamesAreThoseOfClassMaps) {
  for (const auto& name : {""s, "#p"s, "class-default"s, std::string(65, 'p')}) {
    EXPECT_EQ(policy_.create(name), Status::invalid_name) << name;
    EXPECT_EQ(policy_.remove(name), Status::invalid_name) << name;
  }
  for (const auto& name : {"p"s, "p#"s, "class-default2"s, std::string(64, 'p'), "\xc3\xa4 b"s})
    EXPECT_EQ(policy_.create(name), Status::ok) << name;
  // They are no class-maps.
  EXPECT_EQ(client_.create("p"), Status::ok);
  EXPECT_EQ(policy_.create("q", 1, 1, 2), Status::bad_arguments);
}

TEST_F(PolicyMapCalls, Descriptions) {
  EXPECT_EQ(policy_.describe("p", "text"), Status::policy_map_not_found);
  ASSERT_EQ(policy_.create("p"), Status::ok);
  EXPECT_EQ(policy_.describe("p", "front \"door\""), Status::ok);
  EXPECT_EQ(object("p"), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"description":"front \"door\""})");
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.describe("p", "front \"door\""), Status::ok);
  EXPECT_EQ(policy_.describe("p", std::string(241, 'd')), Status::invalid_text);
  EXPECT_EQ(policy_.describe("p", "a\tb"), Status::invalid_text);
  EXPECT_EQ(policy_.describe("p", "text", 2), Status::bad_arguments);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(policy_.describe("p", std::string(240, 'd')), Status::ok);
  EXPECT_EQ(policy_.describe("p", std::string(241, 'd'), 0), Status::ok);
  EXPECT_THAT(disk_.records, ElementsAre(Pair(row("p"), R"({"type":1,"subtype":1})")));
}

TEST_F(PolicyMapCalls, LinesFollowTheInterval) {
  EXPECT_EQ(policy_.interval("p", 5), Status::policy_map_not_found);
  ASSERT_EQ(policy_.create("p"), Status::ok);
  ASSERT_EQ(client_.create("a"), Status::ok);
  ASSERT_EQ(client_.create("b"), Status::ok);
  ASSERT_EQ(policy_.put({"p", "a"}), Status::ok);
  ASSERT_EQ(policy_.put({"p", "b"}), Status::ok);
  ASSERT_EQ(policy_.rtsp({"p", "class-default"}), Status::ok);
  EXPECT_EQ(classes_in(object("p")), R"([{"line":10,"class":"a"},{"line":20,"class":"b"},)"
                                     R"({"line":30,"class":"class-default","actions":[{"action":"inspect-rtsp"}]}])");
  EXPECT_EQ(policy_.interval("p", 7), Status::ok);
  EXPECT_EQ(object("p"), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"interval":7,"classes":[)"
                         R"({"line":7,"class":"a"},{"line":14,"class":"b"},)"
                         R"({"line":21,"class":"class-default","actions":[{"action":"inspect-rtsp"}]}]})");
  EXPECT_EQ(disk_.records.at(row("p")), R"({"type":1,"subtype":1,"interval":7})");
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.interval("p", 7), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
  EXPECT_EQ(policy_.interval("p", 0), Status::ok);
  EXPECT_EQ(disk_.records.at(row("p")), R"({"type":1,"subtype":1})");
  EXPECT_EQ(policy_.interval("p", 7), Status::ok);
  EXPECT_EQ(policy_.interval("p", 10), Status::ok);
  EXPECT_EQ(disk_.records.at(row("p")), R"({"type":1,"subtype":1})");
}

// 3 x 1431655765 is 4294967295.
TEST_F(PolicyMapCalls, LinesEnd) {
  ASSERT_EQ(policy_.create("p", 2), Status::ok);
  for (const char* name : {"a", "b", "c"})
    ASSERT_EQ(client_.create(name, 2), Status::ok);
  EXPECT_EQ(policy_.interval("p", 4294967295), Status::ok);
  EXPECT_EQ(policy_.put({"p", "a"}, 2), Status::lines_used_up);
  EXPECT_EQ(policy_.url_match({"p", "m"}, "/"), Status::lines_used_up);
  EXPECT_EQ(policy_.interval("p", 1431655765), Status::ok);
  EXPECT_EQ(policy_.put({"p", "a"}, 2), Status::ok);
  EXPECT_EQ(policy_.put({"p", "b"}, 2), Status::ok);
  EXPECT_EQ(policy_.put({"p", "c"}, 2), Status::lines_used_up);
  EXPECT_EQ(policy_.put({"p", "a", 1, "class-default"}, 2), Status::ok);
  EXPECT_EQ(policy_.lb({"p", "class-default"}, record(732, {{0, "\1"}})), Status::ok);
  EXPECT_EQ(policy_.interval("p", 1431655766), Status::lines_used_up);
  EXPECT_EQ(classes_in(object("p")),
            R"([{"line":1431655765,"class":"b"},{"line":2863311530,"class":"a"},)"
            R"({"line":4294967295,"class":"class-default","actions":[{"action":"number-676","number":1}]}])");
}

TEST_F(PolicyMapCalls, ADeletedOneTakesItsClassesAlong) {
  ASSERT_EQ(client_.create("a", 2), Status::ok);
  const auto records = disk_.records;
  ASSERT_EQ(policy_.create("p", 2), Status::ok);
  ASSERT_EQ(policy_.put({"p", "a"}, 2), Status::ok);
  ASSERT_EQ(policy_.url_match({"p", "m"}, "/"), Status::ok);
  EXPECT_EQ(client_.remove("a", 2), Status::class_map_in_use);
  EXPECT_EQ(client_.create("pm", 2), Status::name_taken);
  const int commits = disk_.commits;
  EXPECT_EQ(policy_.remove("p", 2), Status::ok);
  EXPECT_EQ(disk_.commits, commits + 1);
  EXPECT_EQ(disk_.records, records);
  EXPECT_EQ(client_.object("p", kPolicyMap).status, Status::policy_map_not_found);
  EXPECT_EQ(client_.create("pm", 2), Status::ok);
  EXPECT_EQ(client_.remove("a", 2), Status::ok);
  ASSERT_EQ(policy_.create("p", 1), Status::ok);
  EXPECT_EQ(classes_in(object("p")), "none");
}

TEST_F(PolicyMapCalls, ContextsDoNotSeeEachOther) {
  ASSERT_EQ(policy_.create("p", 2), Status::ok);
  ASSERT_EQ(client_.create("a", 2), Status::ok);
  PolicyClient other(*manager_, 1);
  EXPECT_EQ(other.put({"p", "a"}, 2), Status::policy_map_not_found);
  ASSERT_EQ(other.create("p", 2), Status::ok);
  EXPECT_EQ(other.put({"p", "a"}, 2), Status::class_map_not_found);
  ASSERT_EQ(other.url_match({"p", "m"}, "/"), Status::ok);
  EXPECT_EQ(client_.create("pm", 2), Status::ok);
  EXPECT_EQ(policy_.url_match({"p", "m"}, "/"), Status::name_taken);
  EXPECT_EQ(classes_in(object("p")), "none");
}

std::string names_in(const ListAnswer& answer) {
  std::string names;
  for (std::size_t at = 0; at < answer.response.size(); at += 65)
    names += answer.response.substr(at, 65).c_str() + " "s;
  return names;
}

TEST_F(PolicyMapCalls, Lists) {
  EXPECT_EQ(client_.policy_maps(8).status, Status::ok);
  EXPECT_EQ(client_.policy_maps(8).response, "");
  for (std::uint32_t type = 1; type <= 5; ++type) {
    ASSERT_EQ(policy_.create(fmt::format("b{}", type), type), Status::ok);
    ASSERT_EQ(policy_.create(fmt::format("a{}", type), type), Status::ok);
  }
  EXPECT_EQ(names_in(client_.policy_maps(1)), "a1 b1 ");
  EXPECT_EQ(names_in(client_.policy_maps(2)), "a2 b2 ");
  EXPECT_EQ(names_in(client_.policy_maps(3)), "a3 b3 ");
  EXPECT_EQ(names_in(client_.policy_maps(4)), "a4 b4 ");
  EXPECT_EQ(names_in(client_.policy_maps(5)), "a5 b5 ");
  EXPECT_EQ(names_in(client_.policy_maps(7)), "a1 a5 b1 b5 ");
  const ListAnswer all = client_.policy_maps(8);
  EXPECT_EQ(all.status, Status::ok);
  EXPECT_EQ(names_in(all), "a1 a2 a3 a4 a5 b1 b2 b3 b4 b5 ");
  EXPECT_EQ(all.more, "\0\0\0\0"s);
  EXPECT_EQ(all.cursor, "b5" + std::string(63, '\0'));
  EXPECT_EQ(names_in(client_.policy_maps(8, field<65>("b3"))), "b4 b5 ");
  for (const std::uint32_t kind : {0U, 6U, 9U, 4294967295U})
    EXPECT_EQ(client_.policy_maps(kind).status, Status::invalid_type) << kind;
  EXPECT_EQ(client_.policy_maps(8, field<65>(std::string(65, 'x'))).status, Status::bad_arguments);
}

TEST_F(PolicyMapCalls, ListsPageByPage) {
  for (int index = 0; index < 1001; ++index)
    ASSERT_EQ(policy_.create(fmt::format("p{:04}", index)), Status::ok);
  const ListAnswer first = client_.policy_maps(8);
  EXPECT_EQ(first.status, Status::more_data);
  EXPECT_EQ(first.more, "\0\0\0\1"s);
  EXPECT_EQ(first.response.size(), 65000U);
  EXPECT_EQ(first.cursor, "p0999" + std::string(60, '\0'));
  const ListAnswer second = client_.policy_maps(8, field<65>(first.cursor));
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(names_in(second), "p1000 ");
}

TEST_F(PolicyMapCalls, ComeAfterClassMapsAmongTheObjects) {
  ASSERT_EQ(policy_.create("a"), Status::ok);
  ASSERT_EQ(client_.create("b"), Status::ok);
  EXPECT_EQ(client_.objects().response, R"([{"kind":"class-map","name":"b","type":0,"match_all":true},)"
                                        R"({"kind":"policy-map","name":"a","type":1,"subtype":1}])");
  EXPECT_EQ(client_.objects(kPolicyMap).response, R"([{"kind":"policy-map","name":"a","type":1,"subtype":1}])");
}

}  // namespace
}  // namespace kvel::manager::testing::policy_map_calls_test
