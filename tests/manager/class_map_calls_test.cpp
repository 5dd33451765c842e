// Making, changing and deleting class-maps: every status, and what is on disk after it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"

namespace kvel::manager::testing::class_map_calls_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

using namespace std::string_literals;

FakeDisk::Key class_map(const std::string& name, int context = 0) { return {context, 5, name, 0}; }

class ClassMapCalls : public ::testing::Test {
 protected:
  FakeDisk disk;
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<FakeStore>(disk)).value();
  Client client{*manager};
};

TEST_F(ClassMapCalls, CreatesAndWrites) {
  EXPECT_EQ(client.create("web", 0, kMatchAny), Status::ok);
  EXPECT_EQ(client.word, "\0\0\0\1"s);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("web"), R"({"type":0,"match_all":false})")));
  EXPECT_EQ(client.object("web").text, R"({"kind":"class-map","name":"web","type":0,"match_all":false})");
}

TEST_F(ClassMapCalls, CreatesEveryType) {
  for (std::uint8_t type = 0; type <= 4; ++type)
    EXPECT_EQ(client.create("of-type-" + std::to_string(type), type), Status::ok);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("of-type-0"), R"({"type":0,"match_all":true})"),
                                        Pair(class_map("of-type-1"), R"({"type":1,"match_all":true})"),
                                        Pair(class_map("of-type-2"), R"({"type":2,"match_all":true})"),
                                        Pair(class_map("of-type-3"), R"({"type":3,"match_all":true})"),
                                        Pair(class_map("of-type-4"), R"({"type":4,"match_all":true})")));
}

TEST_F(ClassMapCalls, LooksUpWithoutWriting) {
  EXPECT_EQ(client.create("web"), Status::ok);
  EXPECT_EQ(disk.commits, 1);
  EXPECT_EQ(client.create("web"), Status::ok);
  EXPECT_EQ(client.word, "\0\0\0\0"s);
  EXPECT_EQ(disk.commits, 1);
}

TEST_F(ClassMapCalls, LookupSetsTheMatchModeAndKeepsTheRest) {
  EXPECT_EQ(client.create("web", 2, kMatchAll), Status::ok);
  EXPECT_EQ(client.describe("web", "front"), Status::ok);
  EXPECT_EQ(client.create("web", 2, kMatchAny), Status::ok);
  EXPECT_EQ(client.word, "\0\0\0\0"s);
  EXPECT_THAT(disk.records,
              ElementsAre(Pair(class_map("web"), R"({"type":2,"match_all":false,"description":"front"})")));
  EXPECT_EQ(client.create("web", 2, kMatchAll), Status::ok);
  EXPECT_THAT(disk.records,
              ElementsAre(Pair(class_map("web"), R"({"type":2,"match_all":true,"description":"front"})")));
}

TEST_F(ClassMapCalls, RefusesAnotherType) {
  EXPECT_EQ(client.create("web", 0, kMatchAll), Status::ok);
  EXPECT_EQ(client.create("web", 1, kMatchAny), Status::class_map_type_differs);
  EXPECT_EQ(client.remove("web", 1), Status::class_map_type_differs);
  EXPECT_EQ(disk.commits, 1);
  EXPECT_EQ(client.object("web").text, R"({"kind":"class-map","name":"web","type":0,"match_all":true})");
}

TEST_F(ClassMapCalls, Deletes) {
  EXPECT_EQ(client.create("web", 3), Status::ok);
  EXPECT_EQ(client.create("mail", 3), Status::ok);
  EXPECT_EQ(client.remove("web", 3), Status::ok);
  EXPECT_EQ(client.word, "\0\0\0\0"s);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("mail"), R"({"type":3,"match_all":true})")));
  EXPECT_EQ(client.object("web").status, Status::class_map_not_found);
  EXPECT_EQ(client.remove("web", 3), Status::class_map_not_found);
  EXPECT_EQ(disk.commits, 3);
}

TEST_F(ClassMapCalls, ADeletedNameIsFreeForAnotherType) {
  EXPECT_EQ(client.create("web", 0), Status::ok);
  EXPECT_EQ(client.describe("web", "old"), Status::ok);
  EXPECT_EQ(client.remove("web", 0), Status::ok);
  EXPECT_EQ(client.create("web", 4), Status::ok);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("web"), R"({"type":4,"match_all":true})")));
}

TEST_F(ClassMapCalls, ContextsDoNotSeeEachOther) {
  Client other(*manager, 65535);
  EXPECT_EQ(client.create("web", 0), Status::ok);
  EXPECT_EQ(other.object("web").status, Status::class_map_not_found);
  EXPECT_EQ(other.remove("web", 0), Status::class_map_not_found);
  EXPECT_EQ(other.describe("web", "x"), Status::class_map_not_found);
  EXPECT_EQ(other.create("web", 1), Status::ok);
  EXPECT_EQ(other.word, "\0\0\0\1"s);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("web"), R"({"type":0,"match_all":true})"),
                                        Pair(class_map("web", 65535), R"({"type":1,"match_all":true})")));
  EXPECT_EQ(client.remove("web", 0), Status::ok);
  EXPECT_THAT(client.names(), IsEmpty());
  EXPECT_THAT(other.names(), ElementsAre("web"));
}

TEST_F(ClassMapCalls, RefusesNumbersOutOfRange) {
  EXPECT_EQ(client.create("web", 5), Status::invalid_type);
  EXPECT_EQ(client.create("web", 255), Status::invalid_type);
  EXPECT_EQ(client.create("web", 0, 2), Status::invalid_match_mode);
  EXPECT_EQ(client.create("web", 0, 255), Status::invalid_match_mode);
  EXPECT_EQ(client.create("web", 0, 1, 2), Status::bad_arguments);
  EXPECT_EQ(client.create("web", 0, 1, 255), Status::bad_arguments);
  EXPECT_EQ(client.create("web", 5, 1, 0), Status::invalid_type);
  EXPECT_EQ(client.create("web", 0, 2, 0), Status::invalid_match_mode);
  EXPECT_EQ(client.describe("web", "x", 2), Status::bad_arguments);
  EXPECT_EQ(disk.commits, 0);
}

TEST_F(ClassMapCalls, RefusesNamesThatNoObjectCanHave) {
  for (const auto& name : {""s, "#web"s, "#"s, "class-default"s, std::string(65, 'a')}) {
    EXPECT_EQ(client.create(name), Status::invalid_name) << name;
    EXPECT_EQ(client.remove(name), Status::invalid_name) << name;
  }
  EXPECT_EQ(disk.commits, 0);
}

TEST_F(ClassMapCalls, TakesEveryOtherName) {
  for (const auto& name :
       {"a"s, std::string(64, 'a'), "class-defaul"s, "class-default1"s, "Class-Default"s, "a#"s, " "s,
        "a \"quoted\\\" name"s, "caf\xc3\xa9"s, "\xf0\x9f\x94\x92"s, "'; DROP TABLE records"s}) {
    EXPECT_EQ(client.create(name), Status::ok) << name;
    EXPECT_EQ(client.object(name).status, Status::ok) << name;
    EXPECT_EQ(client.remove(name), Status::ok) << name;
  }
}

TEST_F(ClassMapCalls, DescriptionIsSetReplacedAndCleared) {
  EXPECT_EQ(client.create("web"), Status::ok);
  EXPECT_EQ(client.describe("web", "front \"door\""), Status::ok);
  EXPECT_THAT(disk.records,
              ElementsAre(Pair(class_map("web"), R"({"type":0,"match_all":true,"description":"front \"door\""})")));
  EXPECT_EQ(client.describe("web", "caf\xc3\xa9"), Status::ok);
  EXPECT_EQ(client.object("web").text,
            "{\"kind\":\"class-map\",\"name\":\"web\",\"type\":0,\"match_all\":true,\"description\":\"caf\xc3\xa9\"}");
  EXPECT_EQ(client.describe("web", "ignored", 0), Status::ok);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("web"), R"({"type":0,"match_all":true})")));
  EXPECT_EQ(client.describe("web", "again"), Status::ok);
  EXPECT_EQ(client.describe("web", ""), Status::ok);
  EXPECT_THAT(disk.records, ElementsAre(Pair(class_map("web"), R"({"type":0,"match_all":true})")));
  EXPECT_EQ(disk.commits, 6);
}

TEST_F(ClassMapCalls, ADescriptionThatDoesNotChangeIsNotWritten) {
  EXPECT_EQ(client.create("web"), Status::ok);
  EXPECT_EQ(client.describe("web", "", 0), Status::ok);
  EXPECT_EQ(client.describe("web", ""), Status::ok);
  EXPECT_EQ(disk.commits, 1);
  EXPECT_EQ(client.describe("web", "front"), Status::ok);
  EXPECT_EQ(client.describe("web", "front"), Status::ok);
  EXPECT_EQ(disk.commits, 2);
}

TEST_F(ClassMapCalls, DescriptionBounds) {
  EXPECT_EQ(client.create("web"), Status::ok);
  EXPECT_EQ(client.describe("web", std::string(240, 'd')), Status::ok);
  EXPECT_EQ(client.object("web").text, R"({"kind":"class-map","name":"web","type":0,"match_all":true,"description":")" +
                                           std::string(240, 'd') + "\"}");
  for (const auto& text : {std::string(241, 'd'), "a\tb"s, "a\0b"s, "\x1b[0m"s, "\xc2\x9b"s, "\xe2\x82"s, "\xf5\x80"s})
    EXPECT_EQ(client.describe("web", text), Status::invalid_text) << text;
  EXPECT_EQ(disk.commits, 2);
}

TEST_F(ClassMapCalls, DescriptionNeedsItsClassMap) {
  EXPECT_EQ(client.describe("web", "x"), Status::class_map_not_found);
  EXPECT_EQ(client.describe("", "x"), Status::class_map_not_found);
  EXPECT_EQ(client.describe("class-default", "x"), Status::class_map_not_found);
  EXPECT_EQ(client.describe("web", "x", 0), Status::class_map_not_found);
  EXPECT_EQ(client.describe("web", "\x01", 0), Status::class_map_not_found);
  EXPECT_EQ(disk.commits, 0);
}

TEST_F(ClassMapCalls, ACallBeyondTheTableIsUnknown) {
  EXPECT_EQ(manager->call(rpc::kCalls.size(), {}), Status::unknown_call);
  EXPECT_EQ(manager->call(static_cast<std::size_t>(-1), {}), Status::unknown_call);
}

}  // namespace
}  // namespace kvel::manager::testing::class_map_calls_test
