// Applying policy-maps to traffic: where one can be, what is refused, and that it is kept.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/service_policy_client.h"

namespace kvel::manager::testing::application_test {
namespace {

constexpr std::uint32_t kPolicyMap = 4;
constexpr std::uint32_t kGlobal = 0;

class Applications : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(policy_.create("p"), Status::ok);
    ASSERT_EQ(policy_.create("q"), Status::ok);
    ASSERT_EQ(policy_.create("m", 5), Status::ok);
    ASSERT_EQ(policy_.create("lb", 2), Status::ok);
    ASSERT_EQ(policy_.create("http", 3), Status::ok);
    ASSERT_EQ(policy_.create("ftp", 4), Status::ok);
  }

  std::string shown(const std::string& name = "p") { return client_.object(name, kPolicyMap).text; }

  FakeDisk disk_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client client_{*manager_};
  PolicyClient policy_{*manager_};
  ServicePolicyClient traffic_{*manager_};
};

TEST_F(Applications, ToAllTraffic) {
  EXPECT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"applied":"global"})");
  EXPECT_EQ(traffic_.apply("p", kGlobal, 0), Status::ok);
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1})");
}

TEST_F(Applications, ToVlansInTheirOrder) {
  EXPECT_EQ(policy_.interval("p", 5), Status::ok);
  EXPECT_EQ(policy_.describe("p", "site"), Status::ok);
  for (const std::uint32_t vlan : {20U, 4094U, 1U, 10U})
    EXPECT_EQ(traffic_.apply("p", vlan), Status::ok);
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"description":"site","interval":5,)"
                     R"("applied":[1,10,20,4094]})");
  EXPECT_EQ(traffic_.apply("p", 10, 0), Status::ok);
  EXPECT_EQ(traffic_.apply("p", 4094, 0), Status::ok);
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"description":"site","interval":5,)"
                     R"("applied":[1,20]})");
}

TEST_F(Applications, TwiceChangesNothing) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  const int commits = disk_.commits;
  EXPECT_EQ(traffic_.apply("p", 10), Status::ok);
  EXPECT_EQ(disk_.commits, commits);
}

TEST_F(Applications, WhatCannotBe) {
  EXPECT_EQ(traffic_.apply("nowhere", kGlobal), Status::policy_map_not_found);
  EXPECT_EQ(traffic_.apply("", kGlobal), Status::policy_map_not_found);
  EXPECT_EQ(traffic_.apply("lb", kGlobal), Status::policy_not_applicable);
  EXPECT_EQ(traffic_.apply("http", 1), Status::policy_not_applicable);
  EXPECT_EQ(traffic_.apply("ftp", 1, 0), Status::policy_not_applicable);
  EXPECT_EQ(traffic_.apply("p", 4095), Status::invalid_vlan);
  EXPECT_EQ(traffic_.apply("p", 4294967295), Status::invalid_vlan);
  EXPECT_EQ(traffic_.apply("p", 1, 2), Status::bad_arguments);
  EXPECT_EQ(traffic_.apply("p", kGlobal, 0), Status::policy_not_applied);
  EXPECT_EQ(traffic_.apply("p", 7, 0), Status::policy_not_applied);
}

TEST_F(Applications, ToAllTrafficOrToVlansButNotToBoth) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  EXPECT_EQ(traffic_.apply("p", kGlobal), Status::policy_applied_otherwise);
  EXPECT_EQ(traffic_.apply("p", kGlobal, 0), Status::policy_not_applied);
  ASSERT_EQ(traffic_.apply("p", 10, 0), Status::ok);
  ASSERT_EQ(traffic_.apply("p", kGlobal), Status::ok);
  EXPECT_EQ(traffic_.apply("p", 10), Status::policy_applied_otherwise);
  EXPECT_EQ(traffic_.apply("p", 10, 0), Status::policy_not_applied);
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"applied":"global"})");
}

TEST_F(Applications, OneOfATypeAtAPlace) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  EXPECT_EQ(traffic_.apply("q", 10), Status::application_taken);
  EXPECT_EQ(traffic_.apply("q", 11), Status::ok);
  EXPECT_EQ(traffic_.apply("m", 10), Status::ok);  // of another type
  ASSERT_EQ(policy_.create("r"), Status::ok);
  EXPECT_EQ(traffic_.apply("r", kGlobal), Status::ok);
  ASSERT_EQ(policy_.create("s"), Status::ok);
  EXPECT_EQ(traffic_.apply("s", kGlobal), Status::application_taken);
  EXPECT_EQ(shown("s"), R"({"kind":"policy-map","name":"s","type":1,"subtype":1})");
  // Another context has places of its own.
  PolicyClient elsewhere(*manager_, 3);
  ServicePolicyClient traffic(*manager_, 3);
  ASSERT_EQ(elsewhere.create("t"), Status::ok);
  EXPECT_EQ(traffic.apply("t", 10), Status::ok);
  EXPECT_EQ(traffic.apply("p", 10), Status::policy_map_not_found);
}

TEST_F(Applications, AnAppliedPolicyMapCannotBeDeleted) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  EXPECT_EQ(policy_.remove("p"), Status::policy_map_in_use);
  ASSERT_EQ(traffic_.apply("p", 10, 0), Status::ok);
  EXPECT_EQ(policy_.remove("p"), Status::ok);
}

TEST_F(Applications, AreKept) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  ASSERT_EQ(traffic_.apply("p", 30), Status::ok);
  ASSERT_EQ(traffic_.apply("m", kGlobal), Status::ok);
  const std::string before = shown() + shown("m");
  manager_ = Manager::open(std::make_unique<FakeStore>(disk_)).value();
  Client again(*manager_);
  EXPECT_EQ(again.object("p", kPolicyMap).text + again.object("m", kPolicyMap).text, before);
}

TEST_F(Applications, AFailedStoreLeavesThemAsTheyWere) {
  ASSERT_EQ(traffic_.apply("p", 10), Status::ok);
  disk_.fault = StoreError{StoreFault::full, "no space"};
  EXPECT_EQ(traffic_.apply("p", 20), Status::store_full);
  EXPECT_EQ(traffic_.apply("p", 10, 0), Status::store_full);
  disk_.fault.reset();
  EXPECT_EQ(shown(), R"({"kind":"policy-map","name":"p","type":1,"subtype":1,"applied":[10]})");
}

// Bodies that this system cannot have written.
TEST_F(Applications, ImpossibleRecordsAreRefused) {
  const FakeDisk::Key key{0, 4, "p", 0};
  const std::pair<const char*, const char*> bodies[]{
      {R"({"type":1,"subtype":1,"applied":[]})", "it cannot be applied to []"},
      {R"({"type":1,"subtype":1,"applied":[0]})", "it cannot be applied to [0]"},
      {R"({"type":1,"subtype":1,"applied":[4095]})", "it cannot be applied to [4095]"},
      {R"({"type":1,"subtype":1,"applied":[20,10]})", "it cannot be applied to [20,10]"},
      {R"({"type":1,"subtype":1,"applied":[10,10]})", "it cannot be applied to [10,10]"},
      {R"({"type":1,"subtype":1,"applied":[-1]})", "it cannot be applied to [-1]"},
      {R"({"type":1,"subtype":1,"applied":["10"]})", R"(it cannot be applied to ["10"])"},
      {R"({"type":1,"subtype":1,"applied":10})", "it cannot be applied to 10"},
      {R"({"type":1,"subtype":1,"applied":"vlan"})", R"(it cannot be applied to "vlan")"},
      {R"({"type":2,"subtype":1,"applied":[10]})", "a policy-map of its type is not applied to traffic"},
  };
  for (const auto& [body, why] : bodies) {
    disk_.records[key] = body;
    const auto opened = Manager::open(std::make_unique<FakeStore>(disk_));
    ASSERT_FALSE(opened) << body;
    EXPECT_EQ(opened.error().message, std::string(R"(policy-map "p" in context 0: )") + why) << body;
  }
}

TEST_F(Applications, TwoOfATypeAtOnePlaceAreRefused) {
  disk_.records[{0, 4, "p", 0}] = R"({"type":1,"subtype":1,"applied":[10,20]})";
  disk_.records[{0, 4, "q", 0}] = R"({"type":1,"subtype":1,"applied":[20,30]})";
  const auto opened = Manager::open(std::make_unique<FakeStore>(disk_));
  ASSERT_FALSE(opened);
  EXPECT_EQ(opened.error().message,
            R"(policy-map "p" in context 0: another policy-map of this type is applied there already)");
}

}  // namespace
}  // namespace kvel::manager::testing::application_test
