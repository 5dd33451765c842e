// A store that cannot say whether a commit has happened, or that somebody else has written to: nothing is answered from
// what was known before.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"
#include "tests/manager/support/service_policy_client.h"

namespace kvel::manager::testing::uncertain_store_test {
namespace {

const std::string kFlow =
    R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":554})";

class UncertainStore : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.create("web"), Status::ok);
    disk.fault = StoreError{StoreFault::unknown, "no answer"};
  }
  std::unique_ptr<Manager> open() {
    return Manager::open(std::make_unique<FakeStore>(disk), [this](std::string_view line) { log.emplace_back(line); })
        .value();
  }

  FakeDisk disk;
  std::vector<std::string> log;
  std::unique_ptr<Manager> manager = open();
  Client client{*manager};
};

TEST_F(UncertainStore, WhatHasNotHappenedIsRefused) {
  EXPECT_EQ(client.create("mail"), Status::store_failed);
  EXPECT_EQ(log, std::vector<std::string>{"no answer"});
  EXPECT_EQ(client.names(), std::vector<std::string>{"web"});
  disk.fault.reset();
  EXPECT_EQ(client.create("mail"), Status::ok);
}

TEST_F(UncertainStore, WhatHasHappenedAllTheSameIsDone) {
  disk.happens_all_the_same = true;
  EXPECT_EQ(client.create("mail"), Status::ok);
  EXPECT_EQ(client.names(), (std::vector<std::string>{"mail", "web"}));
  disk.fault.reset();
  EXPECT_EQ(client.remove("mail"), Status::ok);
}

TEST_F(UncertainStore, NothingIsServedUntilItIsReadAgain) {
  disk.is_unreadable = true;
  EXPECT_EQ(client.create("mail"), Status::store_failed);
  EXPECT_EQ(client.object("web").status, Status::store_failed);
  EXPECT_EQ(client.create("web"), Status::store_failed);
  EXPECT_EQ(log,
            (std::vector<std::string>{"no answer", "it cannot be read", "it cannot be read", "it cannot be read"}));
  disk.is_unreadable = false;
  EXPECT_EQ(client.object("web").status, Status::ok);
}

TEST_F(UncertainStore, AnotherWritersChangesAreTakenIn) {
  disk.fault.reset();
  const auto other = open();
  ASSERT_EQ(Client(*other).create("mail"), Status::ok);
  EXPECT_EQ(client.create("mail"), Status::store_failed) << "it is elsewhere";
  EXPECT_EQ(client.names(), (std::vector<std::string>{"mail", "web"}));
  EXPECT_EQ(client.create("mail"), Status::ok);
  EXPECT_EQ(client.create("shop"), Status::ok);
}

// Counters stay with the classes that are there after all.
TEST_F(UncertainStore, CountersOutliveTheReading) {
  disk.fault.reset();
  RuleClient rules(*manager);
  ASSERT_EQ(rules.any({"web"}), Status::ok);
  PolicyClient policies(*manager);
  ServicePolicyClient traffic(*manager);
  ASSERT_EQ(policies.create("site"), Status::ok);
  ASSERT_EQ(policies.put({"site", "web"}), Status::ok);
  ASSERT_EQ(policies.rtsp({"site", "web"}), Status::ok);
  ASSERT_EQ(traffic.apply("site", 0), Status::ok);
  const std::string untouched = traffic.show("site").bytes;
  ASSERT_EQ(traffic.count(kFlow), Status::ok);
  const std::string before = traffic.show("site").bytes;
  ASSERT_NE(before, untouched);
  disk.fault = StoreError{StoreFault::unknown, "no answer"};
  EXPECT_EQ(client.create("mail"), Status::store_failed);
  EXPECT_EQ(traffic.show("site").bytes, before);
}

}  // namespace
}  // namespace kvel::manager::testing::uncertain_store_test
