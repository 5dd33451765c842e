// A store whose records this system cannot have written is refused by the record's name, and left as it is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/configuration/class_list.h"
#include "manager/model/expression.h"
#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/records.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::load_test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

using namespace std::string_literals;

constexpr const char* kGood = R"({"type":0,"match_all":true})";

class Load : public ::testing::Test {
 protected:
  void expect_refused(const StoreChange& record, const std::string& words) const {
    const auto path = folder / "kvel.db";
    {
      const auto store = open_store(path);
      ASSERT_TRUE(commit(*store, {put("a-good-one", kGood), record}));
    }
    const FolderBytes before = folder.bytes();
    {
      const auto manager = Manager::open(open_store(path));
      ASSERT_FALSE(manager) << words;
      EXPECT_EQ(manager.error().fault, StoreFault::damaged);
      EXPECT_EQ(manager.error().message,
                "store " + path.native() + ": it is damaged: " + words +
                    "; it was left as it is: put a sound copy in its place, or move it away to start anew");
    }
    EXPECT_TRUE(folder.bytes() == before) << words;
    folder.restore({});
  }

  Folder folder;
};

TEST_F(Load, ImpossibleBodies) {
  expect_refused(put("web", R"({"type":9,"match_all":true})"),
                 R"(class-map "web" in context 0: its type 9 is none of 0 to 4)");
  expect_refused(put("web", "{\"type\":0", 0, 12), R"(class-map "web" in context 12: its body is no JSON object)");
  expect_refused(put("web", ""), R"(class-map "web" in context 0: its body is no JSON object)");
  expect_refused(put("web", R"({"type":0,"match_all":true,"colour":1})"),
                 R"(class-map "web" in context 0: it has an unknown member "colour")");
  expect_refused(put("web", R"({"type":0})"),
                 R"(class-map "web" in context 0: its body is not in the form that this system writes)");
}

// Whatever reads or shows such a body must not go down with it.
TEST_F(Load, BodiesNestedWithoutEnd) {
  constexpr std::size_t kDepth = 300'000;
  const std::string nested = std::string(kDepth, '[') + std::string(kDepth, ']');
  const std::string why = " in context 0: its body is nested too deep";
  expect_refused(put("web", R"({"type":)" + nested + "}"), R"(class-map "web")" + why);
  expect_refused(put("a-good-one", R"({"match":"any","extra":)" + nested + "}", 10),
                 R"(class-map "a-good-one" in context 0: its rule at line 10: its body is nested too deep)");
  expect_refused(put("p", R"({"type":1,"subtype":1,"applied":)" + nested + "}", 0, 0, 4), R"(policy-map "p")" + why);
  expect_refused(put("s", R"({"key":)" + nested + "}", 0, 0, 6), R"(ssl-proxy "s")" + why);
  expect_refused(put("m", R"({"type":0,"settings":)" + nested + "}", 0, 0, 7), R"(parameter-map "m")" + why);
  // Brackets within texts nest nothing.
  expect_refused(put("web", R"({"type":0,"match_all":true,"description":"\"[[[[[[{{{{{{","colour":1})"),
                 R"(class-map "web" in context 0: it has an unknown member "colour")");
}

TEST_F(Load, ImpossibleNames) {
  const std::string long_name(65, 'n');
  expect_refused(put(long_name, kGood),
                 "class-map \"" + long_name + "\" in context 0: no class-map can have this name");
  expect_refused(put("", kGood), "class-map \"\" in context 0: no class-map can have this name");
  expect_refused(put("a\nb", kGood), R"(class-map "a\nb" in context 0: no class-map can have this name)");
  expect_refused(put("a\0b"s, kGood), R"(class-map "a\x00b" in context 0: no class-map can have this name)");
  expect_refused(put("\xff", kGood), R"(class-map "\xff" in context 0: no class-map can have this name)");
  expect_refused(put("#x", kGood), R"(class-map "#x" in context 0: no class-map can have this name)");
  expect_refused(put("class-default", kGood),
                 R"(class-map "class-default" in context 0: no class-map can have this name)");
}

TEST_F(Load, ImpossibleKinds) {
  expect_refused(put("web", kGood, 0, 0, 9), R"(kind 9 "web" in context 0: there are no objects of this kind)");
  expect_refused(put("web", kGood, 0, 0, 0), R"(kind 0 "web" in context 0: there are no objects of this kind)");
  expect_refused(put("web", kGood, 0, 3, 9), R"(kind 9 "web" in context 3: there are no objects of this kind)");
  expect_refused(put("web", kGood, 1), "the object of a record is missing (object 296335, item 1)");
  expect_refused(put("a-good-one", kGood, 4294967296),
                 R"(class-map "a-good-one" in context 0: a class-map has no part 4294967296)");
}

// Each is held against what the others are applied to, which must not take as long as all of them have pairs.
TEST_F(Load, AHundredThousandPolicyMaps) {
  FakeDisk disk;
  for (int number = 0; number < 100'000; ++number)
    disk.records[{0, 4, "p" + std::to_string(number), 0}] = R"({"type":1,"subtype":1})";
  disk.records[{0, 4, "p7", 0}] = R"({"type":1,"subtype":1,"applied":[10,20]})";
  disk.records[{0, 4, "p8", 0}] = R"({"type":1,"subtype":1,"applied":[30]})";
  EXPECT_TRUE(Manager::open(std::make_unique<FakeStore>(disk)));
  disk.records[{0, 4, "p9", 0}] = R"({"type":1,"subtype":1,"applied":[5,30]})";
  const auto refused = Manager::open(std::make_unique<FakeStore>(disk));
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().message,
            R"(policy-map "p8" in context 0: another policy-map of this type is applied there already)");
}

// Expressions that older versions took: shown and told of, but compiled no further than to see how large they are.
TEST_F(Load, ExpressionsThatAreTooLargeNowAreKeptAndMatchNothing) {
  std::string large;
  for (int time = 0; time < 27; ++time)
    large += "a{0,1000}";
  FakeDisk disk;
  disk.records[{0, 4, "lb", 0}] = R"({"type":2,"subtype":1})";
  disk.records[{0, 4, "lb", 1U << 31U}] =
      R"({"match":"old","rule":{"match":"http-value","value":")" + large + R"("},"actions":[{"action":"drop"}]})";
  disk.records[{0, 4, "lb", 1U << 30U}] = R"({"class":"pages","actions":[{"action":"drop"}]})";
  disk.records[{0, 4, "site", 0}] = R"({"type":1,"subtype":1,"applied":"global"})";
  disk.records[{0, 4, "site", ClassList::kLastPosition}] =
      R"({"class":"class-default","actions":[{"action":"vip-in-service"},{"action":"load-balance","policy":"lb"}]})";
  disk.records[{0, kClassMap, "pages", 0}] = R"({"type":2,"match_all":false})";
  for (std::uint64_t line = 1; line <= 36; ++line) {
    disk.records[{0, kClassMap, "pages", line}] =
        R"({"match":"http-url","expression":"/)" + std::to_string(line) + large.substr(0, 240) + R"({0,9}"})";
  }
  disk.records[{0, kClassMap, "pages", 37}] = R"({"match":"http-url","expression":"/b"})";

  const std::uint64_t compiled = expressions_compiled();
  std::vector<std::string> log;
  const auto manager =
      Manager::open(std::make_unique<FakeStore>(disk), [&](std::string_view line) { log.emplace_back(line); }).value();
  const auto explained = [&](const std::string& url) {
    std::vector<Value> values{u16(0),
                              string(R"({"source":"10.0.0.1","destination":"10.0.0.2","protocol":6,"source_port":1,)"
                                     R"("destination_port":80,"http":{"url":")" +
                                     url + R"(","headers":{"A":"aaa"}}})"),
                              response()};
    EXPECT_EQ(call_with(*manager, "kvel_explain_flow", values), Status::ok);
    return values.back().text;
  };
  const std::string by_large = explained("/1aaa");
  EXPECT_EQ(expressions_compiled() - compiled, 36U + 2U + 1U);  // the small one once to match
  EXPECT_TRUE(
      by_large.find(R"("matched":false,"why":"the expression is too large, so that the rule matches nothing"}]})"
                    R"(,{"class":"class-default","matched":true,)") != std::string::npos);
  EXPECT_THAT(by_large, Not(HasSubstr("dropped")));
  EXPECT_THAT(explained("/b"), HasSubstr(R"("dropped":"load balancing drops the connection")"));

  ASSERT_EQ(log.size(), 37U);
  EXPECT_EQ(
      log.front(),
      R"(class-map "pages" in context 0: its rule at line 1 matches nothing until it is replaced: the expression )"
      R"(is too large; repeat less, as with * instead of {0,1000})");
  EXPECT_EQ(log.back(),
            R"(policy-map "lb" in context 0: its match "old" matches nothing until it is replaced: the expression is )"
            R"(too large; repeat less, as with * instead of {0,1000})");
  Client client(*manager);
  EXPECT_THAT(client.object("pages").text, HasSubstr(large.substr(0, 240)));
  // Taken away it can be, but not given again.
  RuleClient rules(*manager);
  const std::string first = "/1" + large.substr(0, 240) + "{0,9}";
  EXPECT_EQ(rules.lb_url({"pages", 0, kMatchAny, 0}, first), Status::ok);
  EXPECT_EQ(rules.lb_url({"pages"}, first), Status::expression_too_large);
}

// Older versions let a class permit and deny. It denies, and is shown so that it can be given again.
TEST_F(Load, AClassWithBothVerdictsDenies) {
  constexpr const char* kBoth =
      R"({"class":"class-default","actions":[{"action":"permission-1"},{"action":"permission-2"}]})";
  FakeDisk disk;
  disk.records[{0, 4, "access", 0}] = R"({"type":5,"subtype":1})";
  disk.records[{0, 4, "access", ClassList::kLastPosition}] = kBoth;
  const auto manager = Manager::open(std::make_unique<FakeStore>(disk)).value();
  EXPECT_THAT(Client(*manager).object("access", 4).text, HasSubstr(R"("actions":[{"action":"permission-2"}])"));
  EXPECT_EQ((disk.records[{0, 4, "access", ClassList::kLastPosition}]), kBoth);
}

TEST_F(Load, EverythingComesBack) {
  const auto path = folder / "kvel.db";
  {
    const auto manager = Manager::open(open_store(path)).value();
    Client client(*manager);
    Client other(*manager, 65535);
    ASSERT_EQ(client.create("web", 2, kMatchAny), Status::ok);
    ASSERT_EQ(client.describe("web", "front \"door\""), Status::ok);
    ASSERT_EQ(client.create(std::string(64, 'n'), 4), Status::ok);
    ASSERT_EQ(client.create("gone", 0), Status::ok);
    ASSERT_EQ(client.remove("gone", 0), Status::ok);
    ASSERT_EQ(other.create("caf\xc3\xa9", 1), Status::ok);
  }
  const auto manager = Manager::open(open_store(path)).value();
  EXPECT_EQ(Client(*manager).objects().response,
            R"([{"kind":"class-map","name":")" + std::string(64, 'n') +
                R"(","type":4,"match_all":true},{"kind":"class-map","name":"web","type":2,"match_all":false,)"
                R"("description":"front \"door\""}])");
  EXPECT_THAT(Client(*manager, 65535).names(1), ElementsAre("caf\xc3\xa9"));
  EXPECT_EQ(Client(*manager).create("web", 2, kMatchAny), Status::ok);
}

// Also when nothing is left of them.
TEST_F(Load, NumbersAreNotTakenAgain) {
  const auto path = folder / "kvel.db";
  for (const std::uint64_t expected : {2U, 3U}) {
    {
      const auto manager = Manager::open(open_store(path)).value();
      ASSERT_EQ(Client(*manager).create("web"), Status::ok);
      ASSERT_EQ(Client(*manager).remove("web"), Status::ok);
    }
    EXPECT_EQ(open_store(path)->head().next_number, expected);
  }
}

}  // namespace
}  // namespace kvel::manager::testing::load_test
