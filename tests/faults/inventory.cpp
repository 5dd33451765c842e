#include "tests/faults/inventory.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/manager/support/client.h"
#include "tests/manager/support/policy_client.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::faults {

namespace {

using manager::testing::Client;
using manager::testing::PolicyClient;
using manager::testing::RuleClient;

constexpr std::size_t kMaxRules = 8;

std::size_t below(std::size_t bound, std::mt19937& random) {
  return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random);
}

// Changes of the order come often: they alone can give all places of a policy-map anew.
Step::Kind any_kind(std::mt19937& random) {
  using Kind = Step::Kind;
  static constexpr Kind kKinds[] = {Kind::make_class,  Kind::make_class, Kind::drop_class, Kind::describe_class,
                                    Kind::add_rule,    Kind::add_rule,   Kind::drop_rule,  Kind::make_policy,
                                    Kind::drop_policy, Kind::put_class,  Kind::put_class,  Kind::put_class,
                                    Kind::put_class,   Kind::put_class,  Kind::take_class};
  return kKinds[below(std::size(kKinds), random)];
}

}  // namespace

Step Inventory::choose(const std::string& prefix, std::mt19937& random) {
  while (true) {
    Step step;
    step.kind = any_kind(random);
    const bool is_policy = step.kind == Step::Kind::make_policy || step.kind == Step::Kind::drop_policy ||
                           step.kind == Step::Kind::put_class || step.kind == Step::Kind::take_class;
    const std::size_t number = below(is_policy ? 2 : 6, random);
    step.name = fmt::format("{}{}{}", prefix, is_policy ? "policy-" : "class-", number);
    step.other = fmt::format("{}class-{}", prefix, below(6, random));
    if (try_step(step, random)) return step;
  }
}

// Completes the step, or refuses it.
bool Inventory::try_step(Step& step, std::mt19937& random) {
  const auto found = class_maps_.find(step.name);
  const bool is_class = found != class_maps_.end();
  const auto policy = policy_maps_.find(step.name);
  const bool is_policy = policy != policy_maps_.end();
  switch (step.kind) {
    case Step::Kind::make_class:
      return !is_class;
    case Step::Kind::drop_class:
      return is_class && !is_in_use(step.name);
    case Step::Kind::describe_class:
      step.other = fmt::format("text {} {}", ++serial_, std::string(below(100, random), 'x'));
      return is_class;
    case Step::Kind::add_rule:
      step.other = fmt::format("list-{}", ++serial_);
      return is_class && found->second.rules.size() < kMaxRules;
    case Step::Kind::drop_rule:
      if (!is_class || found->second.rules.empty()) return false;
      step.line =
          std::next(found->second.rules.begin(), static_cast<std::ptrdiff_t>(below(found->second.rules.size(), random)))
              ->first;
      return true;
    case Step::Kind::make_policy:
      return !is_policy;
    case Step::Kind::drop_policy:
      // Seldom, or its order would never get interesting.
      return is_policy && below(4, random) == 0;
    case Step::Kind::put_class: {
      if (!is_policy || !class_maps_.contains(step.other)) return false;
      const Classes& classes = policy->second;
      const bool is_there = std::ranges::find(classes, step.other) != classes.end();
      if (classes.empty()) return true;
      // Before the last one most of the time, so that the space there is used up.
      step.before = below(4, random) != 0 ? classes.back() : classes[below(classes.size(), random)];
      if (!is_there && below(4, random) == 0) step.before.clear();
      if (!is_there) return true;
      const auto place = std::ranges::find(classes, step.before) - classes.begin();
      return step.before != step.other && (place == 0 || classes[static_cast<std::size_t>(place) - 1] != step.other);
    }
    case Step::Kind::take_class:
      return is_policy && std::ranges::find(policy->second, step.other) != policy->second.end();
  }
  return false;
}

bool Inventory::is_in_use(const std::string& class_map) const {
  return std::ranges::any_of(policy_maps_, [&](const auto& policy) {
    return std::ranges::find(policy.second, class_map) != policy.second.end();
  });
}

void Inventory::apply(const Step& step) {
  switch (step.kind) {
    case Step::Kind::make_class:
      class_maps_[step.name] = {};
      return;
    case Step::Kind::drop_class:
      class_maps_.erase(step.name);
      return;
    case Step::Kind::describe_class:
      class_maps_[step.name].description = step.other;
      return;
    case Step::Kind::add_rule: {
      auto& rules = class_maps_[step.name].rules;
      rules[rules.empty() ? 10 : rules.rbegin()->first + 10] = step.other;
      return;
    }
    case Step::Kind::drop_rule:
      class_maps_[step.name].rules.erase(step.line);
      return;
    case Step::Kind::make_policy:
      policy_maps_[step.name] = {};
      return;
    case Step::Kind::drop_policy:
      policy_maps_.erase(step.name);
      return;
    case Step::Kind::put_class: {
      Classes& classes = policy_maps_[step.name];
      std::erase(classes, step.other);
      classes.insert(step.before.empty() ? classes.end() : std::ranges::find(classes, step.before), step.other);
      return;
    }
    case Step::Kind::take_class:
      std::erase(policy_maps_[step.name], step.other);
      return;
  }
}

std::vector<std::string> Inventory::records() const {
  std::vector<std::string> records;
  for (const auto& [name, class_map] : class_maps_) {
    std::string record = fmt::format(R"({{"kind":"class-map","name":"{}","type":0,"match_all":true)", name);
    if (!class_map.description.empty()) record += fmt::format(R"(,"description":"{}")", class_map.description);
    std::string rules;
    for (const auto& [line, list] : class_map.rules)
      rules += fmt::format(R"(,{{"line":{},"match":"access-list","name":"{}"}})", line, list);
    if (!rules.empty()) record += fmt::format(R"(,"rules":[{}])", rules.substr(1));
    records.push_back(record + "}");
  }
  for (const auto& [name, classes] : policy_maps_) {
    std::string record = fmt::format(R"({{"kind":"policy-map","name":"{}","type":1,"subtype":1)", name);
    std::string entries;
    for (std::size_t place = 0; place < classes.size(); ++place)
      entries += fmt::format(R"(,{{"line":{},"class":"{}"}})", (place + 1) * 10, classes[place]);
    if (!entries.empty()) record += fmt::format(R"(,"classes":[{}])", entries.substr(1));
    records.push_back(record + "}");
  }
  return records;
}

Status carry_out(rpc::Service& service, std::uint16_t context, const Step& step) {
  Client client(service, context);
  RuleClient rules(service, context);
  PolicyClient policies(service, context);
  switch (step.kind) {
    case Step::Kind::make_class:
      return client.create(step.name);
    case Step::Kind::drop_class:
      return client.remove(step.name);
    case Step::Kind::describe_class:
      return client.describe(step.name, step.other);
    case Step::Kind::add_rule:
      return rules.access_list({step.name}, step.other);
    case Step::Kind::drop_rule:
      return rules.remove_line(step.name, step.line);
    case Step::Kind::make_policy:
      return policies.create(step.name);
    case Step::Kind::drop_policy:
      return policies.remove(step.name);
    case Step::Kind::put_class:
      return policies.put({step.name, step.other, 1, step.before});
    case Step::Kind::take_class:
      return policies.put({step.name, step.other, 0});
  }
  return Status::internal;
}

std::vector<std::string> records_of(rpc::Service& service, std::uint16_t context, const std::string& prefix) {
  Client client(service, context);
  std::vector<std::string> records;
  std::array<std::byte, 66> cursor{};
  while (true) {
    const auto page = client.objects(0, cursor);
    if (!succeeded(page.status)) {
      ADD_FAILURE() << "no list of objects: " << static_cast<std::int32_t>(page.status);
      return {"no list of objects"};
    }
    for (const auto& record : nlohmann::ordered_json::parse(page.response)) {
      if (record["name"].get<std::string>().starts_with(prefix)) records.push_back(record.dump());
    }
    if (page.status == Status::ok) return records;
    cursor = manager::testing::field<66>(page.cursor);
  }
}

}  // namespace kvel::faults
