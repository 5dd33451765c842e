#include "tests/fuzz/plan_from_bytes.h"

#include <algorithm>
#include <string>

namespace kvel::fuzz {
namespace {

using namespace cli::test::stream;

constexpr std::uint32_t kTypes = 10;  // two more than there are
constexpr std::uint32_t kMostGroups = 4;
constexpr std::uint32_t kMostRecords = 3;
constexpr std::uint32_t kMostRules = 3;
constexpr std::uint32_t kMostClasses = 12;
constexpr std::uint32_t kMostVlans = 4;

// Few of them, so that a class often goes on; the longest fills its field but for the end.
constexpr const char* kNames[] = {"web", "mail", "web2", "",
                                  "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"};

PlannedClass any_class(FuzzedDataProvider& bytes) {
  PlannedClass planned;
  planned.name = bytes.PickValueInArray(kNames);
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostGroups); left > 0; --left) {
    PlannedAction& action = planned.actions.emplace_back();
    action.type = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kTypes - 1);
    action.count = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostRecords);
    action.has_l7 = bytes.ConsumeBool();
    action.rules = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostRules);
  }
  return planned;
}

}  // namespace

Plan any_plan(FuzzedDataProvider& bytes) {
  Plan plan;
  plan.active = bytes.ConsumeBool();
  plan.detail = bytes.ConsumeBool();
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostVlans); left > 0; --left)
    plan.vlans.push_back(bytes.ConsumeIntegral<std::uint32_t>());
  for (auto left = bytes.ConsumeIntegralInRange<std::uint32_t>(0, kMostClasses); left > 0; --left)
    plan.classes.push_back(any_class(bytes));
  return plan;
}

}  // namespace kvel::fuzz
