// The list of class-map names, page by page.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"

namespace kvel::manager::testing::paging_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using namespace std::string_literals;

const std::string kNone = "\0\0\0\0"s;
const std::string kMore = "\0\0\0\1"s;

class Paging : public ::testing::Test {
 protected:
  void create_many(int count, std::uint8_t type = 0) {
    for (int index = 0; index < count; ++index)
      ASSERT_EQ(client.create(fmt::format("n{:06}", index), type), Status::ok);
  }

  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<NullStore>()).value();
  Client client{*manager};
};

TEST_F(Paging, NoNamesIsAnEmptyResponse) {
  for (const std::uint32_t kind : {0U, 1U, 2U, 3U, 4U, 6U}) {
    const ListAnswer answer = client.list(kind);
    EXPECT_EQ(answer.status, Status::ok);
    EXPECT_EQ(answer.response, "");
    EXPECT_EQ(answer.more, kNone);
    EXPECT_EQ(answer.cursor, std::string(65, '\0'));
  }
}

TEST_F(Paging, NamesAreZeroPaddedRecords) {
  ASSERT_EQ(client.create("web"), Status::ok);
  ASSERT_EQ(client.create(std::string(64, 'x')), Status::ok);
  const ListAnswer answer = client.list(6);
  EXPECT_EQ(answer.status, Status::ok);
  EXPECT_EQ(answer.more, kNone);
  EXPECT_EQ(answer.response, "web" + std::string(62, '\0') + std::string(64, 'x') + std::string(1, '\0'));
  EXPECT_EQ(answer.cursor, std::string(64, 'x') + std::string(1, '\0'));
}

TEST_F(Paging, NamesComeInTheOrderOfTheirBytes) {
  for (const char* name : {"b", "a", "\xc3\xa4", "Z", "aa", "a b", "a-b", "~", "10", "9"})
    ASSERT_EQ(client.create(name), Status::ok);
  EXPECT_THAT(client.names(), ElementsAre("10", "9", "Z", "a", "a b", "a-b", "aa", "b", "~", "\xc3\xa4"));
}

TEST_F(Paging, FiltersByType) {
  ASSERT_EQ(client.create("a", 0), Status::ok);
  ASSERT_EQ(client.create("b", 1), Status::ok);
  ASSERT_EQ(client.create("c", 2), Status::ok);
  ASSERT_EQ(client.create("d", 3), Status::ok);
  ASSERT_EQ(client.create("e", 4), Status::ok);
  ASSERT_EQ(client.create("f", 2), Status::ok);
  EXPECT_THAT(client.names(0), ElementsAre("a"));
  EXPECT_THAT(client.names(1), ElementsAre("b"));
  EXPECT_THAT(client.names(2), ElementsAre("c", "f"));
  EXPECT_THAT(client.names(3), ElementsAre("d"));
  EXPECT_THAT(client.names(4), ElementsAre("e"));
  EXPECT_THAT(client.names(6), ElementsAre("a", "b", "c", "d", "e", "f"));
}

TEST_F(Paging, RefusesOtherKinds) {
  for (const std::uint32_t kind : {5U, 7U, 0x80000000U, 0xffffffffU})
    EXPECT_EQ(client.list(kind).status, Status::invalid_type) << kind;
}

TEST_F(Paging, ACursorMustEnd) {
  EXPECT_EQ(client.list(6, field<65>(std::string(65, 'a'))).status, Status::bad_arguments);
  EXPECT_EQ(client.list(6, field<65>(std::string(64, 'a'))).status, Status::ok);
}

TEST_F(Paging, ACursorNeedsNoObject) {
  for (const char* name : {"a", "c", "e"})
    ASSERT_EQ(client.create(name), Status::ok);
  EXPECT_EQ(client.list(6, field<65>("b")).response, "c" + std::string(64, '\0') + "e" + std::string(64, '\0'));
  EXPECT_EQ(client.list(6, field<65>("c")).response, "e" + std::string(64, '\0'));
  // What lies after the first zero byte means nothing.
  EXPECT_EQ(client.list(6, field<65>("c\0zzz"s)).response, "e" + std::string(64, '\0'));
  EXPECT_EQ(client.list(6, field<65>("\xff\xfe")).response, "");
  const ListAnswer beyond = client.list(6, field<65>("e"));
  EXPECT_EQ(beyond.status, Status::ok);
  EXPECT_EQ(beyond.response, "");
  EXPECT_EQ(beyond.more, kNone);
  EXPECT_EQ(beyond.cursor, "e" + std::string(64, '\0'));
}

TEST_F(Paging, AFullPageWithNothingAfterItIsTheLast) {
  create_many(1000);
  const ListAnswer answer = client.list(6);
  EXPECT_EQ(answer.status, Status::ok);
  EXPECT_EQ(answer.more, kNone);
  EXPECT_EQ(answer.response.size(), 65000U);
}

TEST_F(Paging, OneNameMoreMakesAnotherPage) {
  create_many(1001);
  const ListAnswer first = client.list(6);
  EXPECT_EQ(first.status, Status::more_data);
  EXPECT_EQ(first.more, kMore);
  EXPECT_EQ(first.response.size(), 65000U);
  EXPECT_EQ(first.cursor, "n000999" + std::string(58, '\0'));
  const ListAnswer second = client.list(6, field<65>(first.cursor));
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(second.more, kNone);
  EXPECT_EQ(second.response, "n001000" + std::string(58, '\0'));
}

TEST_F(Paging, NamesOfOtherTypesAfterAFullPageDoNotCount) {
  create_many(1000, 1);
  ASSERT_EQ(client.create("z-other", 2), Status::ok);
  const ListAnswer answer = client.list(1);
  EXPECT_EQ(answer.status, Status::ok);
  EXPECT_EQ(answer.more, kNone);
  EXPECT_EQ(client.list(6).status, Status::more_data);
}

TEST_F(Paging, AnObjectDeletedBetweenPagesIsNoGap) {
  create_many(1500);
  const ListAnswer first = client.list(6);
  ASSERT_EQ(client.remove("n000999"), Status::ok);
  ASSERT_EQ(client.remove("n001000"), Status::ok);
  const ListAnswer second = client.list(6, field<65>(first.cursor));
  EXPECT_EQ(second.status, Status::ok);
  EXPECT_EQ(second.response.size(), 499U * 65);
  EXPECT_EQ(second.response.substr(0, 7), "n001001");
}

TEST_F(Paging, AHundredThousandNamesComeOnceEach) {
  create_many(100'000);
  const std::vector<std::string> names = client.names();
  ASSERT_EQ(names.size(), 100'000U);
  EXPECT_EQ(names.front(), "n000000");
  EXPECT_EQ(names.back(), "n099999");
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
  EXPECT_THAT(client.names(4), IsEmpty());
}

}  // namespace
}  // namespace kvel::manager::testing::paging_test
