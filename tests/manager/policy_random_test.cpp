// Random calls of policy-maps against a reference model: lists of names with sets of texts, and reopening in
// between.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/policy_client.h"

namespace kvel::manager::testing::policy_random_test {
namespace {

// One class or match: its members before the actions, and the actions.
struct ModelClass {
  std::string name;
  std::string expression;  // of a match; empty: a class
  std::set<std::string> actions;
};

struct ModelPolicy {
  std::vector<ModelClass> classes;
  std::set<std::string> default_actions;
  std::uint64_t interval = 10;
};

struct Model {
  std::set<std::string> class_maps;
  std::map<std::string, ModelPolicy> policies;             // of load balancing
  std::map<std::string, std::string> traffic{{"l3", ""}};  // the policy-map that its class-default hands traffic to
};

struct Step {
  enum Kind {
    put_class,
    take_class,
    put_match,
    take_match,
    set_action,
    clear_action,
    interval,
    create_policy,
    erase_policy,
    create_class_map,
    erase_class_map,
    hand_over,
    hand_over_no_more,
    reopen
  } kind = put_class;
  std::string policy;
  std::string name;
  std::string before;
  std::uint32_t number = 0;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << "{" << step.kind << " " << step.policy << " " << step.name << " before '" << step.before << "' "
             << step.number << "}";
}

// Names of class-maps, classes and matches meet, and so do those of hidden classes.
rc::Gen<Step> any_step() {
  const auto kind = rc::gen::weightedElement<Step::Kind>({{10, Step::put_class},
                                                          {3, Step::take_class},
                                                          {8, Step::put_match},
                                                          {2, Step::take_match},
                                                          {6, Step::set_action},
                                                          {3, Step::clear_action},
                                                          {1, Step::interval},
                                                          {2, Step::create_policy},
                                                          {1, Step::erase_policy},
                                                          {3, Step::create_class_map},
                                                          {2, Step::erase_class_map},
                                                          {2, Step::hand_over},
                                                          {1, Step::hand_over_no_more},
                                                          {1, Step::reopen}});
  const auto policy = rc::gen::element<std::string>("p", "pa", "q");
  const auto name = rc::gen::element<std::string>("a", "b", "c", "ab", "pb", "pab", "class-default");
  const auto before = rc::gen::weightedElement<std::string>(
      {{6, ""}, {2, "a"}, {2, "b"}, {1, "c"}, {1, "ab"}, {1, "pb"}, {1, "class-default"}});
  const auto number = rc::gen::inRange<std::uint32_t>(0, 6);
  return rc::gen::build<Step>(rc::gen::set(&Step::kind, kind), rc::gen::set(&Step::policy, policy),
                              rc::gen::set(&Step::name, name), rc::gen::set(&Step::before, before),
                              rc::gen::set(&Step::number, number));
}

constexpr std::uint32_t kIntervals[] = {0, 10, 1, 4294967295, 1431655765, 1000000000};

bool is_hidden(const Model& model, const std::string& name) {
  for (const auto& [policy, content] : model.policies) {
    for (const ModelClass& entry : content.classes) {
      if (!entry.expression.empty() && policy + entry.name == name) return true;
    }
  }
  return false;
}

bool is_used(const Model& model, const std::string& class_map) {
  for (const auto& [policy, content] : model.policies) {
    for (const ModelClass& entry : content.classes) {
      if (entry.expression.empty() && entry.name == class_map) return true;
    }
  }
  return false;
}

auto find(ModelPolicy& policy, const std::string& name) {
  return std::find_if(policy.classes.begin(), policy.classes.end(),
                      [&](const ModelClass& entry) { return entry.name == name; });
}

// A class or match that comes, changes or moves, once what is its own has been checked.
Status expected_entry(const Step& step, Model& model, ModelPolicy& policy, ModelClass entry) {
  const auto present = find(policy, step.name);
  if (present != policy.classes.end() && present->expression.empty() != entry.expression.empty()) {
    return Status::name_taken;
  }
  if (!step.before.empty() && step.before != "class-default" && find(policy, step.before) == policy.classes.end()) {
    return model.class_maps.count(step.before) != 0 ? Status::class_not_found : Status::insert_before_not_found;
  }
  if (present != policy.classes.end()) {
    entry.actions = present->actions;
    if (step.before.empty()) {
      *present = entry;
      return Status::ok;
    }
    policy.classes.erase(present);
  } else {
    const std::string hidden = step.policy + step.name;
    if (!entry.expression.empty() && (is_hidden(model, hidden) || model.class_maps.count(hidden) != 0)) {
      return Status::name_taken;
    }
    if ((policy.classes.size() + 2) * policy.interval > 4294967295) return Status::lines_used_up;
  }
  policy.classes.insert(find(policy, step.before), entry);
  return Status::ok;
}

std::string action_of(std::uint32_t number) {
  const char* const actions[] = {R"({"action":"backup-option"})", R"({"action":"flag-585"})",
                                 R"({"action":"flag-587"})"};
  return actions[number % 3];
}

Status expected_action(const Step& step, Model& model, ModelPolicy& policy) {
  std::set<std::string>* actions = step.name == "class-default" ? &policy.default_actions : nullptr;
  for (ModelClass& entry : policy.classes) {
    if (step.name == (entry.expression.empty() ? entry.name : step.policy + entry.name)) actions = &entry.actions;
  }
  if (actions == nullptr) {
    return model.class_maps.count(step.name) != 0 ? Status::class_not_in_policy : Status::class_map_not_found;
  }
  if (step.kind == Step::set_action) {
    actions->insert(action_of(step.number));
  } else {
    actions->erase(action_of(step.number));
  }
  return Status::ok;
}

Status expected_in_policy(const Step& step, Model& model, ModelPolicy& policy) {
  const bool is_default = step.name == "class-default";
  const auto present = find(policy, step.name);
  const bool is_there = present != policy.classes.end();
  switch (step.kind) {
    case Step::put_class:
      if (is_default) return Status::ok;
      if (step.name == step.before) return Status::bad_arguments;
      if (model.class_maps.count(step.name) == 0) return Status::class_map_not_found;
      return expected_entry(step, model, policy, {step.name, "", {}});
    case Step::put_match:
      return expected_entry(step, model, policy, {step.name, fmt::format("/{}", step.number), {}});
    case Step::take_class:
    case Step::take_match:
      if (is_default && step.kind == Step::take_class) {
        policy.default_actions.clear();
        return Status::ok;
      }
      if (!is_there || present->expression.empty() != (step.kind == Step::take_class)) {
        return Status::class_not_in_policy;
      }
      policy.classes.erase(present);
      return Status::ok;
    case Step::interval: {
      const std::uint64_t interval = kIntervals[step.number] == 0 ? 10 : kIntervals[step.number];
      if ((policy.classes.size() + 1) * interval > 4294967295) return Status::lines_used_up;
      policy.interval = interval;
      return Status::ok;
    }
    default:
      return expected_action(step, model, policy);
  }
}

Status expected(const Step& step, Model& model) {
  const auto policy = model.policies.find(step.policy);
  const bool is_default = step.name == "class-default";
  switch (step.kind) {
    case Step::reopen:
      return Status::ok;
    case Step::create_policy:
      model.policies.try_emplace(step.policy);
      return Status::ok;
    case Step::create_class_map:
      if (is_default) return Status::invalid_name;
      if (is_hidden(model, step.name)) return Status::name_taken;
      model.class_maps.insert(step.name);
      return Status::ok;
    case Step::erase_class_map:
      if (is_default) return Status::invalid_name;
      if (model.class_maps.count(step.name) == 0) return Status::class_map_not_found;
      if (is_used(model, step.name)) return Status::class_map_in_use;
      model.class_maps.erase(step.name);
      return Status::ok;
    case Step::hand_over_no_more:
      model.traffic["l3"].clear();
      return Status::ok;
    case Step::put_match:
      if (is_default) return Status::invalid_name;
      if (step.name == step.before) return Status::bad_arguments;
      break;
    default:
      break;
  }
  if (policy == model.policies.end()) return Status::policy_map_not_found;
  switch (step.kind) {
    case Step::erase_policy:
      if (model.traffic["l3"] == step.policy) return Status::policy_map_in_use;
      model.policies.erase(policy);
      return Status::ok;
    case Step::hand_over:
      model.traffic["l3"] = step.policy;
      return Status::ok;
    default:
      return expected_in_policy(step, model, policy->second);
  }
}

Status run(Manager& manager, const Step& step) {
  PolicyClient policies(manager);
  const std::uint32_t bits[] = {0x20000000, 0x80000000, 0x02000000};
  const std::uint32_t bit = bits[step.number % 3];
  const std::string flag =
      step.number % 3 == 0 ? record(732, {{136, word(1)}, {144, word(bit)}}) : record(732, {{728, word(bit)}});
  const std::string hands_over = record(160, {{85, step.policy}, {156, word(0x02000000)}});
  switch (step.kind) {
    case Step::put_class:
      return policies.put({step.policy, step.name, 1, step.before}, 2);
    case Step::take_class:
      return policies.put({step.policy, step.name, 0, step.before}, 2);
    case Step::put_match:
      return policies.url_match({step.policy, step.name, 1, step.before}, fmt::format("/{}", step.number));
    case Step::take_match:
      return policies.url_match({step.policy, step.name, 0, step.before}, "");
    case Step::set_action:
      return policies.lb({step.policy, step.name}, flag);
    case Step::clear_action:
      return policies.lb({step.policy, step.name, 0}, flag);
    case Step::interval:
      return policies.interval(step.policy, kIntervals[step.number]);
    case Step::create_policy:
      return policies.create(step.policy, 2);
    case Step::erase_policy:
      return policies.remove(step.policy, 2);
    case Step::create_class_map:
      return Client(manager).create(step.name, 2);
    case Step::erase_class_map:
      return Client(manager).remove(step.name, 2);
    case Step::hand_over:
      return policies.vip({"l3", "class-default"}, hands_over);
    case Step::hand_over_no_more:
      return policies.vip({"l3", "class-default", 0}, hands_over);
    case Step::reopen:
      break;
  }
  return Status::ok;
}

std::string text_of(const std::set<std::string>& actions) {
  std::string text;
  for (const std::string& action : actions)
    text += (text.empty() ? R"(,"actions":[)" : ",") + action;
  return text.empty() ? "" : text + "]";
}

std::string text_of(const std::string& name, const ModelPolicy& policy) {
  std::string classes;
  std::uint64_t line = 0;
  for (const ModelClass& entry : policy.classes) {
    line += policy.interval;
    classes += fmt::format(R"(,{{"line":{},)", line);
    classes += entry.expression.empty() ? fmt::format(R"("class":"{}")", entry.name)
                                        : fmt::format(R"("match":"{}","rule":{{"match":"http-url","expression":"{}"}})",
                                                      entry.name, entry.expression);
    classes += text_of(entry.actions) + "}";
  }
  if (!policy.default_actions.empty()) {
    classes += fmt::format(R"(,{{"line":{},"class":"class-default"{}}})", line + policy.interval,
                           text_of(policy.default_actions));
  }
  if (!classes.empty()) classes = R"(,"classes":[)" + classes.substr(1) + "]";
  const std::string interval = policy.interval == 10 ? "" : fmt::format(R"(,"interval":{})", policy.interval);
  return fmt::format(R"({{"kind":"policy-map","name":"{}","type":2,"subtype":1{}{}}})", name, interval, classes);
}

void check_everything(Manager& manager, const Model& model) {
  std::string all;
  for (const std::string& name : model.class_maps)
    all += fmt::format(R"({{"kind":"class-map","name":"{}","type":2,"match_all":true}},)", name);
  const std::string& target = model.traffic.at("l3");
  const std::string hands_over = target.empty()
                                     ? ""
                                     : fmt::format(R"(,"classes":[{{"line":10,"class":"class-default","actions":[)"
                                                   R"({{"action":"load-balance","policy":"{}"}}]}}])",
                                                   target);
  all += R"({"kind":"policy-map","name":"l3","type":1,"subtype":1)" + hands_over + "}";
  for (const auto& [name, policy] : model.policies)
    all += "," + text_of(name, policy);
  RC_ASSERT(Client(manager).objects().response == "[" + all + "]");
}

TEST(RandomPolicies, CallsAgreeWithTheReferenceModel) {
  const bool agreed = rc::check("random policy-map calls and reopening", [] {
    const auto steps = *rc::gen::scale(3, rc::gen::container<std::vector<Step>>(any_step()));
    const Folder folder;
    const auto open = [&] { return Manager::open(SqliteStore::open(folder / "kvel.db").value()).value(); };
    auto manager = open();
    Model model;
    RC_ASSERT(PolicyClient(*manager).create("l3") == Status::ok);
    for (const char* name : {"p", "pa"}) {
      RC_ASSERT(PolicyClient(*manager).create(name, 2) == Status::ok);
      model.policies[name];
    }
    for (const char* name : {"a", "b"}) {
      RC_ASSERT(Client(*manager).create(name, 2) == Status::ok);
      model.class_maps.insert(name);
    }
    for (const Step& step : steps) {
      if (step.kind == Step::reopen) {
        manager.reset();
        manager = open();
      }
      RC_ASSERT(run(*manager, step) == expected(step, model));
      check_everything(*manager, model);
    }
    manager.reset();
    manager = open();
    check_everything(*manager, model);
  });
  EXPECT_TRUE(agreed);
}

}  // namespace
}  // namespace kvel::manager::testing::policy_random_test
