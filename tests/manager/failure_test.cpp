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

namespace kvel::manager::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Operation {
  const char* name;
  std::function<Status(Client&)> run;
};

const std::vector<Operation>& operations() {
  static const std::vector<Operation> all{
      {"create", [](Client& client) { return client.create("a-rather-long-new-name-of-a-class-map"); }},
      {"match mode", [](Client& client) { return client.create("web", 0, kMatchAny); }},
      {"describe", [](Client& client) { return client.describe("web", "a new description, long enough"); }},
      {"clear description", [](Client& client) { return client.describe("web", "", 0); }},
      {"delete", [](Client& client) { return client.remove("web"); }},
  };
  return all;
}

class Failure : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.create("web"), Status::ok);
    ASSERT_EQ(client.describe("web", "front door of the whole site"), Status::ok);
  }

  FakeDisk disk;
  std::vector<std::string> log;
  std::unique_ptr<Manager> manager = Manager::open(std::make_unique<FakeStore>(disk), [this](std::string_view line) {
                                       log.emplace_back(line);
                                     }).value();
  Client client{*manager};
};

TEST_F(Failure, AFailingStoreChangesNothing) {
  const std::string before = client.objects().response;
  const auto records = disk.records;
  const std::vector<std::pair<StoreFault, Status>> faults{
      {StoreFault::full, Status::store_full},         {StoreFault::read_only, Status::store_read_only},
      {StoreFault::failed, Status::store_failed},     {StoreFault::busy, Status::store_failed},
      {StoreFault::damaged, Status::store_failed},    {StoreFault::no_access, Status::store_failed},
      {StoreFault::not_a_file, Status::store_failed}, {StoreFault::foreign, Status::store_failed},
      {StoreFault::newer, Status::store_failed}};
  for (const auto& [fault, status] : faults) {
    disk.fault = StoreError{fault, "why it failed"};
    for (const Operation& operation : operations()) {
      log.clear();
      EXPECT_EQ(operation.run(client), status) << operation.name;
      EXPECT_EQ(client.objects().response, before) << operation.name;
      EXPECT_EQ(disk.records, records) << operation.name;
      EXPECT_THAT(log, ElementsAre("why it failed")) << operation.name;
    }
  }
  disk.fault.reset();
  log.clear();
  for (const Operation& operation : operations())
    EXPECT_EQ(operation.run(client), Status::ok) << operation.name;
  EXPECT_THAT(log, IsEmpty());
}

// Each allocation of each call fails in turn, until the call gets by without one.
TEST_F(Failure, AFailingAllocationChangesNothing) {
  for (const Operation& operation : operations()) {
    const std::string before = client.objects().response;
    const auto records = disk.records;
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
      ASSERT_LT(failures, 100);
      Status status = Status::ok;
      {
        const FailingAllocation failing(static_cast<std::uint64_t>(failures));
        status = operation.run(client);
        failed = FailingAllocation::has_failed();
      }
      if (!failed) {
        EXPECT_EQ(status, Status::ok) << operation.name;
        break;
      }
      ASSERT_EQ(status, Status::internal) << operation.name << failures;
      ASSERT_EQ(client.objects().response, before) << operation.name << failures;
      ASSERT_EQ(disk.records, records) << operation.name << failures;
    }
    EXPECT_GE(failures, 1) << operation.name;
    EXPECT_NE(client.objects().response, before) << operation.name;
    EXPECT_NE(disk.records, records) << operation.name;
  }
}

class ThrowingStore final : public Store {
 public:
  [[nodiscard]] StoreResult<void> load(const Visitor&) override { return {}; }
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
