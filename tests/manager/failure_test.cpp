// Failures inside a call: the configuration, what is derived from it, what was counted and the store stay as they were,
// and the next call works.
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
#include "tests/manager/support/parameter_client.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"
#include "tests/manager/support/service_policy_client.h"

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
Operation on_parameters(const char* name, std::function<Status(ParameterClient)> run) {
  return {name, [run = std::move(run)](rpc::Service& service) { return run(ParameterClient(service)); }};
}
Operation on_traffic(const char* name, std::function<Status(ServicePolicyClient)> run) {
  return {name, [run = std::move(run)](rpc::Service& service) { return run(ServicePolicyClient(service)); }};
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
      on_rules(
          "rule of a match by its hidden class",
          [](RuleClient rules) { return rules.lb_source({"crowded" + kMatch}, ip(10, 0, 0, 9), 0xffffffff, 1, 1); }),

      on_parameters("create parameter-map",
                    [](ParameterClient parameters) {
                      return parameters.create("a rather long new name of a parameter-map", kConnectionMap);
                    }),
      on_parameters(
          "setting",
          [](ParameterClient parameters) {
            return parameters.configure("limits", kConnectionMap, settings_record(0x08000000, {{20, word(77)}}));
          }),
      on_parameters("delete parameter-map",
                    [](ParameterClient parameters) { return parameters.remove("spare limits", kConnectionMap); }),
      on_parameters(
          "create service",
          [](ParameterClient parameters) { return parameters.service("a rather long new name of a service"); }),
      on_parameters(
          "key",
          [](ParameterClient parameters) { return parameters.set("key", "front", "a key with a rather long name"); }),
      on_parameters("parameter-map of a service",
                    [](ParameterClient parameters) { return parameters.set("param_map", "spare front", "tls"); }),
      on_parameters("no parameter-map of a service",
                    [](ParameterClient parameters) { return parameters.unset("param_map", "front", "tls"); }),
      on_parameters("delete service",
                    [](ParameterClient parameters) { return parameters.remove_service("spare front"); }),
      on_parameters("attach", [](ParameterClient parameters) { return parameters.attach("traffic", "limits", 0); }),
      on_parameters("detach", [](ParameterClient parameters) { return parameters.attach_service("counted", "", 0); }),

      on_traffic("apply", [](ServicePolicyClient traffic) { return traffic.apply("traffic", 7); }),
      on_policies("counted class moves",
                  [](PolicyClient policies) {
                    return policies.put({"counted", "rest", 1, "shop"});
                  }),
      on_policies("no counted action",
                  [](PolicyClient policies) {
                    return policies.rtsp({"counted", "shop", 0});
                  }),
      on_policies("no counted class",
                  [](PolicyClient policies) {
                    return policies.put({"counted", "shop", 0});
                  }),
      on_traffic("apply no more", [](ServicePolicyClient traffic) { return traffic.apply("counted", 0, 0); }),
      {"enter",
       [](rpc::Service& service) {
         return call(service, "kvel_enter_object",
                     {u16(0), session(), u32(5), string("a rather long name of what is entered"), u8(0), u8(1), u8(0),
                      buffer(std::string(20, '?'))});
       }},
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

// A store that lets a test look at the manager in the middle of a commit.
class WatchedStore final : public Store {
 public:
  WatchedStore(FakeDisk& disk, const std::function<void()>& during_commit)
      : store_(disk), during_commit_(during_commit) {}

  [[nodiscard]] StoreHead head() const override { return store_.head(); }
  [[nodiscard]] StoreResult<void> load(const Visitor& visit, const Validator& validate) override {
    return store_.load(visit, validate);
  }
  [[nodiscard]] StoreResult<void> commit(const StoreCommit& commit) override {
    if (during_commit_) during_commit_();
    return store_.commit(commit);
  }

 private:
  FakeStore store_;
  const std::function<void()>& during_commit_;
};

const std::string kFlow =
    R"({"source":"192.168.7.9","destination":"10.1.1.1","protocol":"tcp","source_port":40000,"destination_port":554})";

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
    ParameterClient parameters(*manager_);
    for (const char* name : {"limits", "spare limits"})
      ASSERT_EQ(parameters.create(name, kConnectionMap), Status::ok);
    ASSERT_EQ(parameters.create("tls", kSslMap), Status::ok);
    for (const char* name : {"front", "spare front"})
      ASSERT_EQ(parameters.service(name), Status::ok);
    ASSERT_EQ(parameters.set("param_map", "front", "tls"), Status::ok);
    ASSERT_EQ(policies.create("counted"), Status::ok);
    for (const char* name : {"shop", "rest"}) {
      ASSERT_EQ(client.create(name), Status::ok);
      ASSERT_EQ(rules.any({name}), Status::ok);
      ASSERT_EQ(policies.put({"counted", name}), Status::ok);
    }
    ASSERT_EQ(policies.rtsp({"counted", "shop"}), Status::ok);
    ASSERT_EQ(parameters.attach_service("counted", "front"), Status::ok);
    ASSERT_EQ(ServicePolicyClient(*manager_).apply("counted", 0), Status::ok);
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
    return Manager::open(std::make_unique<WatchedStore>(disk_, during_commit_),
                         [this](std::string_view line) { log_.emplace_back(line); })
        .value();
  }

  std::string objects() { return Client(*manager_).objects().response; }
  // What calls answer that change nothing: the configuration, what was counted, and how a flow is classified.
  std::vector<std::string> read() {
    std::vector<Value> explain{u16(0), string(kFlow), response()};
    EXPECT_EQ(call_with(*manager_, "kvel_explain_flow", explain), Status::ok);
    return {objects(), ServicePolicyClient(*manager_).show("counted").bytes, explain.back().text};
  }
  // What references and hidden classes decide, as long as the store fails: what is not refused by them comes to it.
  std::vector<Status> decided_by_indexes() {
    Client client(*manager_);
    PolicyClient policies(*manager_);
    ParameterClient parameters(*manager_);
    return {client.remove("shop"),
            client.remove("rest"),
            client.remove(kSite, 2),
            client.remove("images of the site", 2),
            client.remove(kScripts, 2),
            client.create(kPolicy + kMatch),
            client.create("crowded" + kMatch),
            client.create(kPolicy + "another new match"),
            policies.remove(kPolicy, 2),
            parameters.remove("tls", kSslMap),
            parameters.remove("limits", kConnectionMap),
            parameters.remove_service("front"),
            parameters.remove_service("spare front")};
  }

  FakeDisk disk_;
  std::function<void()> during_commit_;
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

TEST_F(Failure, AFailedCommitLeavesWhatIsDerivedAndCounted) {
  ASSERT_EQ(ServicePolicyClient(*manager_).count(kFlow), Status::ok);
  const auto before = read();
  ASSERT_THAT(before[1], ::testing::HasSubstr("shop"));
  disk_.fault = StoreError{StoreFault::full, "why it failed"};
  const auto decided = decided_by_indexes();
  constexpr auto kInUse = Status::class_map_in_use;
  constexpr auto kFull = Status::store_full;
  ASSERT_THAT(decided, ElementsAre(kInUse, kInUse, kFull, kFull, kInUse, Status::name_taken, Status::name_taken, kFull,
                                   kFull, Status::parameter_map_in_use, kFull, Status::ssl_proxy_in_use, kFull));
  for (const Operation& operation : operations()) {
    int commits = 0;
    during_commit_ = [&] {
      ++commits;
      EXPECT_EQ(read(), before) << operation.name;
    };
    EXPECT_EQ(operation.run(*manager_), Status::store_full) << operation.name;
    EXPECT_EQ(commits, 1) << operation.name;
    during_commit_ = nullptr;
    EXPECT_EQ(read(), before) << operation.name;
    EXPECT_EQ(decided_by_indexes(), decided) << operation.name;
  }
  // Counting goes on from there.
  ASSERT_EQ(ServicePolicyClient(*manager_).count(kFlow), Status::ok);
  EXPECT_NE(read()[1], before[1]);
}

TEST_F(Failure, WhatIsReadDuringACommitIsThatBeforeIt) {
  for (const Operation& operation : operations()) {
    const auto before = read();
    int commits = 0;
    during_commit_ = [&] {
      ++commits;
      EXPECT_EQ(read(), before) << operation.name;
    };
    EXPECT_EQ(operation.run(*manager_), Status::ok) << operation.name;
    EXPECT_EQ(commits, 1) << operation.name;
    EXPECT_NE(read(), before) << operation.name;
  }
}

// Each allocation of each call fails in turn, until the call gets by without one.
TEST_F(Failure, AFailingAllocationChangesNothing) {
  for (const Operation& operation : operations()) {
    const std::string before = objects();
    const auto records = disk_.records;
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
      ASSERT_LT(failures, 500);
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
  ParameterClient parameters(*manager_);
  EXPECT_EQ(ServicePolicyClient(*manager_).apply("traffic", 7, 0), Status::ok);
  EXPECT_EQ(policies.remove("traffic"), Status::ok);
  EXPECT_EQ(policies.remove("crowded", 2), Status::ok);
  for (const char* name : {"site", "images of the site", "scripts of the site"})
    EXPECT_EQ(client.remove(name, 2), Status::ok) << name;
  EXPECT_EQ(client.remove("shop"), Status::ok);
  EXPECT_EQ(client.create(kPolicy + kMatch), Status::ok);
  EXPECT_EQ(parameters.remove_service("front"), Status::ok);
  EXPECT_EQ(parameters.remove("tls", kSslMap), Status::ok);
  EXPECT_EQ(parameters.remove("limits", kConnectionMap), Status::ok);
}

class ThrowingStore final : public Store {
 public:
  [[nodiscard]] StoreHead head() const override { return {}; }
  [[nodiscard]] StoreResult<void> load(const Visitor&, const Validator&) override { return {}; }
  [[nodiscard]] StoreResult<void> commit(const StoreCommit&) override { throw std::runtime_error("no reason"); }
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
