// Failures inside a call: the model and the store stay as they were, and the next call works.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/failing_allocation.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Operation {
  const char* name;
  std::function<Status(Client&, RuleClient&)> run;
};

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
      {"create", [](Client& client, RuleClient&) { return client.create("a-rather-long-new-name-of-a-class-map"); }},
      {"match mode", [](Client& client, RuleClient&) { return client.create("web", 0, kMatchAny); }},
      {"describe",
       [](Client& client, RuleClient&) { return client.describe("web", "a new description, long enough"); }},
      {"clear description", [](Client& client, RuleClient&) { return client.describe("web", "", 0); }},
      {"rule", [](Client&, RuleClient& rules) { return rules.access_list({"web"}, "a new access list, long enough"); }},
      {"no rule",
       [](Client&, RuleClient& rules) {
         return rules.any({"web", 0, 0});
       }},
      {"no line", [](Client&, RuleClient& rules) { return rules.remove_line("web", 20); }},
      {"nested class-map", [](Client&, RuleClient& rules) { return rules.nest({"site"}, "images of the site"); }},
      {"no nested class-map",
       [](Client&, RuleClient& rules) {
         return rules.nest({"site", 0, 0}, "scripts of the site");
       }},
      {"delete", [](Client& client, RuleClient&) { return client.remove("web"); }},
  };
  return all;
}

// The manager with an allocation that fails inside a call, and not while a test makes up its arguments.
class StarvedService final : public rpc::Service {
 public:
  StarvedService(rpc::Service& service, int allocations) : service_(service), allocations_(allocations) {}

  [[nodiscard]] Status call(std::size_t row, std::span<const rpc::Argument> arguments) noexcept override {
    const FailingAllocation failing(static_cast<std::uint64_t>(allocations_));
    return service_.call(row, arguments);
  }

 private:
  rpc::Service& service_;
  int allocations_;
};

class Failure : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client_.create("web"), Status::ok);
    ASSERT_EQ(client_.describe("web", "front door of the whole site"), Status::ok);
    ASSERT_EQ(rules_.any({"web"}), Status::ok);
    ASSERT_EQ(rules_.access_list({"web"}, "an old access list, long enough"), Status::ok);
    for (const char* name : {"site", "images of the site", "scripts of the site"})
      ASSERT_EQ(client_.create(name, 2), Status::ok);
    ASSERT_EQ(rules_.nest({"site"}, "scripts of the site"), Status::ok);
  }

  FakeDisk disk_;
  std::vector<std::string> log_;
  std::unique_ptr<Manager> manager_ = Manager::open(std::make_unique<FakeStore>(disk_), [this](std::string_view line) {
                                        log_.emplace_back(line);
                                      }).value();
  Client client_{*manager_};
  RuleClient rules_{*manager_};
};

TEST_F(Failure, AFailingStoreChangesNothing) {
  const std::string before = client_.objects().response;
  const auto records = disk_.records;
  const std::vector<std::pair<StoreFault, Status>> faults{
      {StoreFault::full, Status::store_full},         {StoreFault::read_only, Status::store_read_only},
      {StoreFault::failed, Status::store_failed},     {StoreFault::busy, Status::store_failed},
      {StoreFault::damaged, Status::store_failed},    {StoreFault::no_access, Status::store_failed},
      {StoreFault::not_a_file, Status::store_failed}, {StoreFault::foreign, Status::store_failed},
      {StoreFault::newer, Status::store_failed}};
  for (const auto& [fault, status] : faults) {
    disk_.fault = StoreError{fault, "why it failed"};
    for (const Operation& operation : operations()) {
      log_.clear();
      EXPECT_EQ(operation.run(client_, rules_), status) << operation.name;
      EXPECT_EQ(client_.objects().response, before) << operation.name;
      EXPECT_EQ(disk_.records, records) << operation.name;
      EXPECT_THAT(log_, ElementsAre("why it failed")) << operation.name;
    }
  }
  disk_.fault.reset();
  log_.clear();
  for (const Operation& operation : operations())
    EXPECT_EQ(operation.run(client_, rules_), Status::ok) << operation.name;
  EXPECT_THAT(log_, IsEmpty());
}

// Each allocation of each call fails in turn, until the call gets by without one.
TEST_F(Failure, AFailingAllocationChangesNothing) {
  for (const Operation& operation : operations()) {
    const std::string before = client_.objects().response;
    const auto records = disk_.records;
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
      ASSERT_LT(failures, 100);
      StarvedService starved(*manager_, failures);
      Client client(starved);
      RuleClient rules(starved);
      const Status status = operation.run(client, rules);
      failed = FailingAllocation::has_failed();
      if (!failed) {
        EXPECT_EQ(status, Status::ok) << operation.name;
        break;
      }
      ASSERT_EQ(status, Status::internal) << operation.name << failures;
      ASSERT_EQ(client_.objects().response, before) << operation.name << failures;
      ASSERT_EQ(disk_.records, records) << operation.name << failures;
    }
    EXPECT_GE(failures, 1) << operation.name;
    EXPECT_NE(client_.objects().response, before) << operation.name;
    EXPECT_NE(disk_.records, records) << operation.name;
  }
}

class ThrowingStore final : public Store {
 public:
  [[nodiscard]] StoreResult<void> load(const Visitor&, const Judge&) override { return {}; }
  [[nodiscard]] StoreResult<void> commit(std::span<const Change>) override { throw std::runtime_error("no reason"); }
};

TEST(Exceptions, BecomeInternalAndAreLogged) {
  std::vector<std::string> log;
  const auto manager =
      Manager::open(std::make_unique<ThrowingStore>(), [&](std::string_view line) { log.emplace_back(line); }).value();
  Client client(*manager);
  EXPECT_EQ(client.create("web"), Status::internal);
  EXPECT_EQ(client.object("web").status, Status::class_map_not_found);
  EXPECT_THAT(log, ElementsAre("no reason"));
}

}  // namespace
}  // namespace kvel::manager::testing
