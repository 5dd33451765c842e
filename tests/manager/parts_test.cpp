// Objects that are too long for one answer: their records have the number of their parts, and these come in pages.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "manager/configuration/object_record.h"
#include "manager/service/manager.h"
#include "manager/store/null_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::parts_test {
namespace {

using Json = nlohmann::json;

constexpr std::uint32_t kPolicyMaps = 4, kClassMaps = 5, kSslProxies = 6;
constexpr std::size_t kPage = std::size_t{1} << 20U;

class Parts : public ::testing::Test {
 protected:
  struct Page {
    Status status = Status::internal;
    std::string parts;
    std::string position = std::string(16, '\0');
    std::string more{};
  };
  Page page(std::uint32_t kind, const std::string& name, const std::string& position = std::string(16, '\0')) {
    std::vector values{u16(0), u32(kind), string(name), buffer(position), buffer("????"), response()};
    const Status status = call_with(*manager, "kvel_get_parts", values);
    return {status, values[5].text, values[3].text, values[4].text};
  }
  // Every part, and how long the longest page was.
  std::vector<Json> all(std::uint32_t kind, const std::string& name, std::size_t& longest) {
    std::vector<Json> parts;
    for (Page next;;) {
      next = page(kind, name, next.position);
      EXPECT_TRUE(succeeded(next.status));
      EXPECT_EQ(next.more, word(next.status == Status::more_data ? 1 : 0));
      longest = std::max(longest, next.parts.size());
      const Json on_page = Json::parse(next.parts);
      if (next.status == Status::more_data) {
        EXPECT_FALSE(on_page.empty());
      }
      parts.insert(parts.end(), on_page.begin(), on_page.end());
      if (next.status != Status::more_data) return parts;
    }
  }
  void fill_class_map(int rules) {
    EXPECT_EQ(client.create("web", 2, kMatchAny), Status::ok);
    RuleClient rule(*manager);
    for (int number = 0; number < rules; ++number) {
      ASSERT_EQ(rule.lb_url({"web"}, fmt::format("/{:06}{}", number, std::string(240, 'x'))), Status::ok);
    }
  }

  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<NullStore>()).value();
  Client client{*manager};
  PolicyClient policy{*manager};
};

TEST_F(Parts, AClassMapThatIsTooLongHasTheNumberOfItsRules) {
  fill_class_map(7000);
  const std::string record = R"({"kind":"class-map","name":"web","type":2,"match_all":false,"rules":7000})";
  EXPECT_EQ(client.object("web").text, record);
  EXPECT_EQ(client.objects().response, "[" + record + "]");

  std::size_t longest = 0;
  const std::vector<Json> rules = all(kClassMaps, "web", longest);
  ASSERT_EQ(rules.size(), 7000U);
  for (int number = 0; number < 7000; ++number) {
    EXPECT_EQ(rules[number]["line"], 10 * (number + 1));
    EXPECT_EQ(rules[number]["expression"].get<std::string>().substr(0, 7), fmt::format("/{:06}", number));
  }
  EXPECT_LE(longest, kPage);
  EXPECT_GT(longest, kPage - 1000);
}

TEST_F(Parts, WhatIsShortIsWholeAndCanBePagedAsWell) {
  fill_class_map(2);
  EXPECT_EQ(Json::parse(client.object("web").text)["rules"].size(), 2U);
  std::size_t longest = 0;
  EXPECT_EQ(all(kClassMaps, "web", longest).size(), 2U);
  EXPECT_EQ(page(kSslProxies, "s").status, Status::ssl_proxy_not_found);
  EXPECT_EQ(page(3, "s").status, Status::invalid_type);
  ASSERT_EQ(client.create("empty"), Status::ok);
  EXPECT_EQ(page(kClassMaps, "empty").parts, "[]");
  EXPECT_EQ(page(kClassMaps, "empty").status, Status::ok);
}

TEST_F(Parts, AnObjectMadeAnewBetweenTwoPagesIsNotMixed) {
  fill_class_map(7000);
  const Page first = page(kClassMaps, "web");
  EXPECT_EQ(first.status, Status::more_data);
  ASSERT_EQ(client.remove("web", 2), Status::ok);
  EXPECT_EQ(page(kClassMaps, "web", first.position).status, Status::class_map_not_found);
  ASSERT_EQ(client.create("web", 2), Status::ok);
  EXPECT_EQ(page(kClassMaps, "web", first.position).status, Status::object_made_anew);
}

// Rules that come and go between two pages do not disturb the others.
TEST_F(Parts, TheNextPageBeginsAfterTheLastRuleAlsoWhenThatIsGone) {
  fill_class_map(7000);
  const Page first = page(kClassMaps, "web");
  const Json rules = Json::parse(first.parts);
  const auto last = rules.back()["line"].get<std::uint32_t>();
  RuleClient rule(*manager);
  ASSERT_EQ(rule.remove_line("web", last), Status::ok);
  EXPECT_EQ(Json::parse(page(kClassMaps, "web", first.position).parts).front()["line"], last + 10);
}

TEST_F(Parts, APolicyMapThatIsTooLongHasTheNumberOfItsClasses) {
  ASSERT_EQ(policy.create("lb", 2), Status::ok);
  for (int number = 0; number < 4500; ++number) {
    ASSERT_EQ(policy.url_match({"lb", fmt::format("m{:04}", number)}, "/" + std::string(250, 'x')), Status::ok);
  }
  ASSERT_EQ(policy.interval("lb", 3), Status::ok);
  const auto record = [](int classes) {
    return fmt::format(R"({{"kind":"policy-map","name":"lb","type":2,"subtype":1,"interval":3,"classes":{}}})",
                       classes);
  };
  EXPECT_EQ(client.object("lb", kPolicyMaps).text, record(4500));
  std::size_t longest = 0;
  const std::vector<Json> classes = all(kPolicyMaps, "lb", longest);
  ASSERT_EQ(classes.size(), 4500U);
  for (int number = 0; number < 4500; ++number) {
    EXPECT_EQ(classes[number]["line"], 3 * (number + 1));
    EXPECT_EQ(classes[number]["match"], fmt::format("m{:04}", number));
  }
  EXPECT_LE(longest, kPage);
}

// What could not be shown is not added; but what is there from before may become shorter.
TEST(TooManyActions, AreNotAddedToAClass) {
  FakeDisk disk;
  const auto body_of = [](int actions) {
    std::string body = R"({"class":"class-default","actions":[)";
    for (int pool = 0; pool < actions; ++pool)
      body += fmt::format(R"({}{{"action":"nat-dynamic","pool":{},"vlan":0}})", pool == 0 ? "" : ",", pool + 100'000);
    return body + "]}";
  };
  int actions = 0;
  while (body_of(actions + 1000).size() <= kMaxPartsBytes)
    actions += 1000;
  while (body_of(actions + 1).size() <= kMaxPartsBytes)
    ++actions;
  disk.records[{0, 4, "p", 0}] = R"({"type":1,"subtype":1})";
  disk.records[{0, 4, "p", 0x7fffffffffffffff}] = body_of(actions);
  auto manager = Manager::open(std::make_unique<FakeStore>(disk));
  ASSERT_TRUE(manager) << manager.error().message;
  PolicyClient policy(**manager);
  EXPECT_EQ(policy.dynamic_nat({"p", "class-default"}, 999'999, 0), Status::too_many_actions);
  EXPECT_EQ(policy.dynamic_nat({"p", "class-default", 0}, 100'000, 0), Status::ok);
  EXPECT_EQ(policy.dynamic_nat({"p", "class-default"}, 999'999, 0), Status::ok);
}

}  // namespace
}  // namespace kvel::manager::testing::parts_test
