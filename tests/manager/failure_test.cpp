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
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::failure_test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Operation {
  const char* name;
  std::function<Status(rpc::Service&)> run;
};

Operation on(const char* name, std::function<Status(Client)> run) {
  return {name, [run = std::move(run)](rpc::Service& service) { return run(Client(service)); }};
}
Operation on_rules(const char* name, std::function<Status(RuleClient)> run) {
  return {name, [run = std::move(run)](rpc::Service& service) { return run(RuleClient(service)); }};
}
Operation on_policies(const char* name, std::function<Status(PolicyClient)> run) {
  return {name, [run = std::move(run)](rpc::Service& service) { return run(PolicyClient(service)); }};
}

const std::string kPolicy = "a policy-map with a rather long name";
const std::string kMatch = "an inline match";
const std::string kSite = "site";
const std::string kScripts = "scripts of the site";

// A match without an expression: what compiles those gets along without some of the memory that it asks for.
std::string from_address(std::uint32_t address) { return record(332, {{0, word(2)}, {4, word(address)}}); }

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
      on("create", [](Client client) { return client.create("a-rather-long-new-name-of-a-class-map"); }),
      on("match mode", [](Client client) { return client.create("web", 0, kMatchAny); }),
      on("describe", [](Client client) { return client.describe("web", "a new description, long enough"); }),
      on("clear description", [](Client client) { return client.describe("web", "", 0); }),
      on_rules("rule", [](RuleClient rules) { return rules.access_list({"web"}, "a new access list, long enough"); }),
      on_rules("no rule",
               [](RuleClient rules) {
                 return rules.any({"web", 0, 0});
               }),
      on_rules("no line", [](RuleClient rules) { return rules.remove_line("web", 20); }),
      on_rules("nested class-map", [](RuleClient rules) { return rules.nest({"site"}, "images of the site"); }),
      on_rules("no nested class-map",
               [](RuleClient rules) {
                 return rules.nest({"site", 0, 0}, "scripts of the site");
               }),
      on("delete", [](Client client) { return client.remove("web"); }),

      on_policies("create policy-map",
                  [](PolicyClient policies) { return policies.create("a rather long new name of a policy-map"); }),
      on_policies("describe policy-map",
                  [](PolicyClient policies) { return policies.describe(kPolicy, "a description, long enough"); }),
      on_policies("interval", [](PolicyClient policies) { return policies.interval(kPolicy, 5); }),
      on_policies("class",
                  [](PolicyClient policies) {
                    return policies.put({kPolicy, kSite}, 2);
                  }),
      on_policies("class moves",
                  [](PolicyClient policies) {
                    return policies.put({kPolicy, kScripts, 1, kMatch}, 2);
                  }),
      on_policies("class where there is no gap",
                  [](PolicyClient policies) {
                    return policies.put({"crowded", kSite, 1, kScripts}, 2);
                  }),
      on_policies("match moves to where there is no gap",
                  [](PolicyClient policies) {
                    return policies.lb_match({"crowded", kMatch, 1, kScripts}, from_address(2));
                  }),
      on_policies("match",
                  [](PolicyClient policies) {
                    return policies.lb_match({kPolicy, "another new match", 1, kMatch}, from_address(3));
                  }),
      on_policies("rule of a match",
                  [](PolicyClient policies) {
                    return policies.lb_match({kPolicy, kMatch}, from_address(4));
                  }),
      on_policies("rule and place of a match",
                  [](PolicyClient policies) {
                    return policies.lb_match({kPolicy, kMatch, 1, "class-default"}, from_address(5));
                  }),
      on_policies("action",
                  [](PolicyClient policies) {
                    return policies.lb({kPolicy, kPolicy + kMatch}, record(732, {{4, "a server farm with a long name"},
                                                                                 {144, word(0x80000000)},
                                                                                 {728, word(0x40000000)}}));
                  }),
      on_policies(
          "action that names a policy-map",
          [](PolicyClient policies) {
            return policies.vip({"traffic", "class-default"}, record(160, {{85, kPolicy}, {156, word(0x02000000)}}));
          }),
      on_policies("no actions",
                  [](PolicyClient policies) {
                    return policies.put({"traffic", "class-default", 0});
                  }),
      on_policies("no class",
                  [](PolicyClient policies) {
                    return policies.put({kPolicy, kScripts, 0}, 2);
                  }),
      on_policies("no match",
                  [](PolicyClient policies) {
                    return policies.lb_match({kPolicy, kMatch, 0}, from_address(6));
                  }),
      on_policies("delete policy-map", [](PolicyClient policies) { return policies.remove(kPolicy, 2); }),
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
    Client client(*manager_);
    RuleClient rules(*manager_);
    ASSERT_EQ(client.create("web"), Status::ok);
    ASSERT_EQ(client.describe("web", "front door of the whole site"), Status::ok);
    ASSERT_EQ(rules.any({"web"}), Status::ok);
    ASSERT_EQ(rules.access_list({"web"}, "an old access list, long enough"), Status::ok);
    for (const char* name : {"site", "images of the site", "scripts of the site"})
      ASSERT_EQ(client.create(name, 2), Status::ok);
    ASSERT_EQ(rules.nest({"site"}, "scripts of the site"), Status::ok);
    PolicyClient policies(*manager_);
    ASSERT_EQ(policies.create("traffic"), Status::ok);
    ASSERT_EQ(policies.rtsp({"traffic", "class-default"}), Status::ok);
    for (const std::string& name : {kPolicy, std::string("crowded")}) {
      ASSERT_EQ(policies.create(name, 2), Status::ok);
      ASSERT_EQ(policies.lb_match({name, kMatch}, from_address(7)), Status::ok);
      ASSERT_EQ(policies.put({name, kScripts, 1, name == kPolicy ? "" : kMatch}, 2), Status::ok);
    }
    leave_no_gap();
  }

  // Gives the classes of a policy-map the first places that there are.
  void leave_no_gap() {
    manager_.reset();
    std::uint64_t place = 0;
    for (auto row = disk_.records.lower_bound({0, 4, "crowded", 1}); std::get<2>(row->first) == "crowded";) {
      auto moved = disk_.records.extract(row++);
      moved.key() = {0, 4, "crowded", ++place};
      disk_.records.insert(std::move(moved));
    }
    ASSERT_EQ(place, 2U);
    manager_ = open();
  }
  std::unique_ptr<Manager> open() {
    return Manager::open(std::make_unique<FakeStore>(disk_), [this](std::string_view line) { log_.emplace_back(line); })
        .value();
  }

  std::string objects() { return Client(*manager_).objects().response; }

  FakeDisk disk_;
  std::vector<std::string> log_;
  std::unique_ptr<Manager> manager_ = open();
};

TEST_F(Failure, AFailingStoreChangesNothing) {
  const std::string before = objects();
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
      EXPECT_EQ(operation.run(*manager_), status) << operation.name;
      EXPECT_EQ(objects(), before) << operation.name;
      EXPECT_EQ(disk_.records, records) << operation.name;
      EXPECT_THAT(log_, ElementsAre("why it failed")) << operation.name;
    }
  }
  disk_.fault.reset();
  log_.clear();
  for (const Operation& operation : operations())
    EXPECT_EQ(operation.run(*manager_), Status::ok) << operation.name;
  EXPECT_THAT(log_, IsEmpty());
}

// Each allocation of each call fails in turn, until the call gets by without one.
TEST_F(Failure, AFailingAllocationChangesNothing) {
  for (const Operation& operation : operations()) {
    const std::string before = objects();
    const auto records = disk_.records;
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
      ASSERT_LT(failures, 200);
      StarvedService starved(*manager_, failures);
      const Status status = operation.run(starved);
      failed = FailingAllocation::has_failed();
      if (!failed) {
        EXPECT_EQ(status, Status::ok) << operation.name;
        break;
      }
      ASSERT_EQ(status, Status::internal) << operation.name << failures;
      ASSERT_EQ(objects(), before) << operation.name << failures;
      ASSERT_EQ(disk_.records, records) << operation.name << failures;
    }
    EXPECT_GE(failures, 1) << operation.name;
    EXPECT_NE(objects(), before) << operation.name;
    EXPECT_NE(disk_.records, records) << operation.name;
  }
  // Nobody is taken for a user who never came to be one.
  Client client(*manager_);
  PolicyClient policies(*manager_);
  EXPECT_EQ(policies.remove("traffic"), Status::ok);
  EXPECT_EQ(policies.remove("crowded", 2), Status::ok);
  for (const char* name : {"site", "images of the site", "scripts of the site"})
    EXPECT_EQ(client.remove(name, 2), Status::ok) << name;
  EXPECT_EQ(client.create(kPolicy + kMatch), Status::ok);
}

class ThrowingStore final : public Store {
 public:
  [[nodiscard]] StoreResult<void> load(const Visitor&, const Validator&) override { return {}; }
  [[nodiscard]] StoreResult<void> commit(std::span<const StoreChange>) override {
    throw std::runtime_error("no reason");
  }
};

TEST(Exceptions, AreReportedAsInternalAndLogged) {
  std::vector<std::string> log;
  const auto manager =
      Manager::open(std::make_unique<ThrowingStore>(), [&](std::string_view line) { log.emplace_back(line); }).value();
  Client client(*manager);
  EXPECT_EQ(client.create("web"), Status::internal);
  EXPECT_EQ(client.object("web").status, Status::class_map_not_found);
  EXPECT_THAT(log, ElementsAre("no reason"));
}

}  // namespace
}  // namespace kvel::manager::testing::failure_test
