// The configuration as JSON records.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"

namespace kvel::manager::testing::view_calls_test {
namespace {

using ::testing::ElementsAre;

using namespace std::string_literals;

const std::string kNone = "\0\0\0\0"s;
const std::string kMore = "\0\0\0\1"s;

// A cursor: the rank of a kind, then a name.
std::array<std::byte, 66> cursor(int rank, const std::string& name) {
  return field<66>(std::string(1, static_cast<char>(rank)) + name);
}

class View : public ::testing::Test {
 protected:
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<NullStore>()).value();
  Client client{*manager};
};

TEST_F(View, OneObject) {
  ASSERT_EQ(client.create("web \"1\" \\", 2, kMatchAny), Status::ok);
  const Text answer = client.object("web \"1\" \\");
  EXPECT_EQ(answer.status, Status::ok);
  EXPECT_EQ(answer.text, R"({"kind":"class-map","name":"web \"1\" \\","type":2,"match_all":false})");
}

TEST_F(View, AnUnknownNameHasTheStatusOfItsKind) {
  EXPECT_EQ(client.object("web", 5).status, Status::class_map_not_found);
  EXPECT_EQ(client.object("web", 4).status, Status::policy_map_not_found);
  EXPECT_EQ(client.object("web", 6).status, Status::ssl_proxy_not_found);
  EXPECT_EQ(client.object("web", 7).status, Status::parameter_map_not_found);
  EXPECT_EQ(client.object("").status, Status::class_map_not_found);
  EXPECT_EQ(client.object(std::string(1000, 'a')).status, Status::class_map_not_found);
}

TEST_F(View, UnknownKindsAreRefused) {
  for (const std::uint32_t kind : {1U, 2U, 3U, 8U, 255U, 261U, 0xffffffffU}) {
    EXPECT_EQ(client.object("web", kind).status, Status::invalid_type) << kind;
    EXPECT_EQ(client.objects(kind).status, Status::invalid_type) << kind;
  }
  EXPECT_EQ(client.object("web", 0).status, Status::invalid_type);
}

TEST_F(View, AnEmptyConfigurationIsAnEmptyArray) {
  for (const std::uint32_t kind : {0U, 4U, 5U, 6U, 7U}) {
    const ListAnswer answer = client.objects(kind);
    EXPECT_EQ(answer.status, Status::ok);
    EXPECT_EQ(answer.response, "[]");
    EXPECT_EQ(answer.more, kNone);
    EXPECT_EQ(answer.cursor, std::string(66, '\0'));
  }
}

TEST_F(View, AllObjects) {
  ASSERT_EQ(client.create("web", 0, kMatchAny), Status::ok);
  ASSERT_EQ(client.create("mail", 1), Status::ok);
  ASSERT_EQ(client.describe("mail", "smtp"), Status::ok);
  const std::string expected = R"([{"kind":"class-map","name":"mail","type":1,"match_all":true,"description":"smtp"},)"
                               R"({"kind":"class-map","name":"web","type":0,"match_all":false}])";
  for (const std::uint32_t kind : {0U, 5U}) {
    const ListAnswer answer = client.objects(kind);
    EXPECT_EQ(answer.status, Status::ok);
    EXPECT_EQ(answer.more, kNone);
    EXPECT_EQ(answer.response, expected);
    EXPECT_EQ(answer.cursor, "\3web"s + std::string(62, '\0'));
  }
  for (const std::uint32_t kind : {4U, 6U, 7U})
    EXPECT_EQ(client.objects(kind).response, "[]");
  EXPECT_EQ(Client(*manager, 1).objects().response, "[]");
}

TEST_F(View, CursorsStartAfterWhatTheyName) {
  ASSERT_EQ(client.create("b"), Status::ok);
  ASSERT_EQ(client.create("d"), Status::ok);
  const std::string b = R"({"kind":"class-map","name":"b","type":0,"match_all":true})";
  const std::string d = R"({"kind":"class-map","name":"d","type":0,"match_all":true})";
  EXPECT_EQ(client.objects(0, cursor(3, "b")).response, "[" + d + "]");
  EXPECT_EQ(client.objects(0, cursor(3, "c")).response, "[" + d + "]");
  EXPECT_EQ(client.objects(0, cursor(3, "a")).response, "[" + b + "," + d + "]");
  EXPECT_EQ(client.objects(0, cursor(3, "d")).response, "[]");
  // Class-maps come third: after all objects of an earlier kind, before those of a later one.
  EXPECT_EQ(client.objects(0, cursor(2, "zzz")).response, "[" + b + "," + d + "]");
  EXPECT_EQ(client.objects(5, cursor(1, "zzz")).response, "[" + b + "," + d + "]");
  EXPECT_EQ(client.objects(0, cursor(4, "")).response, "[]");
  EXPECT_EQ(client.objects(5, cursor(4, "")).response, "[]");
}

TEST_F(View, BrokenCursorsAreRefused) {
  EXPECT_EQ(client.objects(0, cursor(5, "")).status, Status::bad_arguments);
  EXPECT_EQ(client.objects(0, cursor(255, "")).status, Status::bad_arguments);
  EXPECT_EQ(client.objects(0, cursor(3, std::string(65, 'a'))).status, Status::bad_arguments);
  EXPECT_EQ(client.objects(0, cursor(3, std::string(64, 'a'))).status, Status::ok);
}

TEST_F(View, PagesHoldAtMost64KiBAndEveryRecordOnce) {
  constexpr int kCount = 3000;
  for (int index = 0; index < kCount; ++index) {
    const std::string name = fmt::format("n{:06}", index);
    ASSERT_EQ(client.create(name), Status::ok);
    if (index % 3 == 0) {
      ASSERT_EQ(client.describe(name, std::string(200, 'd')), Status::ok);
    }
  }
  std::vector<std::string> names;
  std::array<std::byte, 66> position{};
  int pages = 0;
  for (bool more = true; more; ++pages) {
    const ListAnswer answer = client.objects(0, position);
    more = answer.status == Status::more_data;
    ASSERT_EQ(answer.status, more ? Status::more_data : Status::ok);
    ASSERT_EQ(answer.more, more ? kMore : kNone);
    ASSERT_LE(answer.response.size(), 65536U);
    // A further record of the longer sort would have fitted into no page but the last.
    if (more) {
      ASSERT_GT(answer.response.size(), 65536U - 300);
    }
    const auto records = nlohmann::json::parse(answer.response);
    ASSERT_FALSE(records.empty());
    for (const auto& record : records)
      names.push_back(record.at("name").get<std::string>());
    position = field<66>(answer.cursor);
  }
  EXPECT_EQ(pages, 7);
  ASSERT_EQ(names.size(), static_cast<std::size_t>(kCount));
  for (int index = 0; index < kCount; ++index)
    ASSERT_EQ(names[static_cast<std::size_t>(index)], fmt::format("n{:06}", index));
}

}  // namespace
}  // namespace kvel::manager::testing::view_calls_test
