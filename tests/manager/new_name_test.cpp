// Characters that no new name may have, whatever it is the name of; and names from before they were refused.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kvel/rpc.h"
#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/parameter_client.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::new_name_test {
namespace {

using namespace std::string_literals;

struct Refused {
  std::string name;
  std::int32_t status;
  char32_t code;
  std::uint32_t character;
};

// The status is 0x40f34000, 64 for each number of the list of characters, and the place less 1.
const std::vector<Refused> kRefused{
    {"a\nb"s, 0x40f34000 + 10 * 64 + 1, 0x0A, 2},
    {"a\0b"s, 0x40f34000 + 1, 0x00, 2},
    {"\x7f"s, 0x40f34000 + 32 * 64, 0x7F, 1},
    {"\xc2\x80"s, 0x40f34000 + 33 * 64, 0x80, 1},
    {"x\xc2\xad"s, 0x40f34000 + 65 * 64 + 1, 0xAD, 2},
    {"\xd8\x9c"s, 0x40f34000 + 66 * 64, 0x61C, 1},
    {"\xe2\x80\x8b"s, 0x40f34000 + 68 * 64, 0x200B, 1},
    {"\xc3\xa4\xc3\xa4\xe2\x80\x8f"s, 0x40f34000 + 72 * 64 + 2, 0x200F, 3},
    {"a\xe2\x80\xa8"s, 0x40f34000 + 73 * 64 + 1, 0x2028, 2},
    {"web\xe2\x80\xaetxt"s, 0x40f34000 + 79 * 64 + 3, 0x202E, 4},
    {"\xe2\x81\xa6"s, 0x40f34000 + 86 * 64, 0x2066, 1},
    {std::string(61, 'n') + "\xef\xbb\xbf", 0x40f34000 + 96 * 64 + 61, 0xFEFF, 62},
    {"\xf3\xa0\x81\xbf"s, 0x40f34000 + 227 * 64, 0xE007F, 1},
    {"\xff"s, 0x40f34000 + 255 * 64, NameFault::kNoCharacter, 1},
    {"caf\xc3"s, 0x40f34000 + 255 * 64 + 3, NameFault::kNoCharacter, 4},
    {"\xc0\xaf"s, 0x40f34000 + 255 * 64, NameFault::kNoCharacter, 1},
    {"\xed\xa0\x80"s, 0x40f34000 + 255 * 64, NameFault::kNoCharacter, 1},
};

TEST(NewName, TheStatusSaysWhichCharacterAtWhichPlace) {
  for (const Refused& refused : kRefused) {
    const auto status = static_cast<Status>(refused.status);
    EXPECT_EQ(status_of(NameFault{refused.code, refused.character}), status) << refused.name;
    EXPECT_EQ(name_fault(status).code, refused.code) << refused.name;
    EXPECT_EQ(name_fault(status).character, refused.character) << refused.name;
    EXPECT_EQ(status_text(status), "") << refused.name;
  }
  for (const Status other : {Status::invalid_name, Status::ok, static_cast<Status>(0x40f33fff),
                             static_cast<Status>(0x40f34000 + 228 * 64), static_cast<Status>(0x40f38000)}) {
    EXPECT_EQ(name_fault(other).character, 0U);
  }
}

class NewNames : public ::testing::Test {
 protected:
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<NullStore>()).value();
  Client classes_{*manager_};
  PolicyClient policies_{*manager_};
  ParameterClient parameters_{*manager_};
};

TEST_F(NewNames, AreRefusedForEveryKindOfObjectAndForInlineMatches) {
  ASSERT_EQ(policies_.create("lb", 2), Status::ok);
  for (const Refused& refused : kRefused) {
    const auto status = static_cast<Status>(refused.status);
    EXPECT_EQ(classes_.create(refused.name), status) << refused.name;
    EXPECT_EQ(policies_.create(refused.name), status) << refused.name;
    EXPECT_EQ(parameters_.create(refused.name, kHttpMap), status) << refused.name;
    EXPECT_EQ(parameters_.service(refused.name), status) << refused.name;
    EXPECT_EQ(policies_.url_match({"lb", refused.name}, "/"), status) << refused.name;
  }
  EXPECT_EQ(parameters_.objects(), R"([{"kind":"policy-map","name":"lb","type":2,"subtype":1}])");
}

TEST_F(NewNames, OtherCharactersAreTaken) {
  for (const auto& name : {"\xc3\xa4"s, "\xd7\xa9"s, "\xe2\x80\x90"s, "\xf0\x9f\x8c\x8d"s, "a b"s, "\xe2\x80\xaf"s}) {
    EXPECT_EQ(classes_.create(name), Status::ok) << name;
    EXPECT_EQ(parameters_.service(name), Status::ok) << name;
  }
}

// What an earlier version took is still there, is found by its name, and goes.
TEST(NamesFromBefore, AreLoadedChangedAndDeleted) {
  const std::string name = "web\xe2\x80\xae";
  FakeDisk disk;
  const auto put = [&](int kind, std::uint64_t item, const std::string& owner, const std::string& body) {
    disk.records[{0, kind, owner, item}] = body;
  };
  put(5, 0, name, R"({"type":0,"match_all":true})");
  put(4, 0, name, R"({"type":2,"subtype":1})");
  put(4, 0x100000000, name, "{\"match\":\"" + name + R"(","rule":{"match":"http-url","expression":"/"}})");
  put(7, 0, name, R"({"type":1})");
  put(6, 0, name, "{}");
  auto manager = Manager::open(std::make_unique<FakeStore>(disk));
  ASSERT_TRUE(manager) << manager.error().message;
  Client classes(**manager);
  PolicyClient policies(**manager);
  ParameterClient parameters(**manager);
  EXPECT_EQ(classes.create(name), Status::ok);
  EXPECT_EQ(classes.word, std::string(4, '\0'));
  EXPECT_EQ(policies.create(name, 2), Status::ok);
  EXPECT_EQ(policies.url_match({name, name}, "/other"), Status::ok);
  EXPECT_EQ(parameters.create(name, kHttpMap), Status::ok);
  EXPECT_EQ(parameters.service(name), Status::ok);
  EXPECT_EQ(policies.url_match({name, name, 0}, "/other"), Status::ok);
  EXPECT_EQ(policies.create(name, 2, 1, 0), Status::ok);
  EXPECT_EQ(classes.remove(name), Status::ok);
  EXPECT_EQ(parameters.remove(name, kHttpMap), Status::ok);
  EXPECT_EQ(parameters.remove_service(name), Status::ok);
  EXPECT_TRUE(disk.records.empty());
  EXPECT_NE(classes.create(name), Status::ok);
}

}  // namespace
}  // namespace kvel::manager::testing::new_name_test
