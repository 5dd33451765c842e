// Sequences of the manager's calls on objects that refer to one another, against a simple model. Each call answers what
// the model does; while the store is full, a call that would change something is refused and changes nothing; the
// records and the lists of names show what the model holds; a manager that is opened on the same store shows the same.
#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <memory>

#include "manager/service/manager.h"
#include "tests/fuzz/invariant.h"
#include "tests/fuzz/parameter_steps.h"
#include "tests/fuzz/reference_configuration.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/fake_store.h"
#include "tests/manager/support/policy_client.h"

namespace {

using namespace kvel;
using namespace kvel::fuzz;
using manager::Manager;
using manager::testing::Client;
using manager::testing::FakeDisk;
using manager::testing::PolicyClient;
using manager::testing::RuleClient;
using manager::testing::word;

constexpr std::uint32_t kMostSteps = 60;
constexpr const char* kNames[] = {"a", "b", "c", "d", "class-default"};
constexpr std::uint32_t kLines[] = {0, 10, 11, 20, 4294967290};
constexpr std::uint32_t kVlans[] = {0, 1, 2, 4094, 4095};

std::string any_name(FuzzedDataProvider& bytes, bool of_object) {
  return kNames[bytes.ConsumeIntegralInRange<std::size_t>(0, std::size(kNames) - (of_object ? 2 : 1))];
}

Step any_step(FuzzedDataProvider& bytes) {
  Step step;
  step.kind = static_cast<Step::Kind>(bytes.ConsumeIntegralInRange<int>(0, Step::kKinds - 1));
  step.add = bytes.ConsumeIntegralInRange<int>(0, 2) != 0;
  const bool has_default = step.kind == Step::class_map || step.kind == Step::policy_map;
  step.name = any_name(bytes, !has_default);
  step.class_name = any_name(bytes, false);
  step.other = any_name(bytes, true);
  const bool is_detached = step.kind == Step::ssl_proxy || step.kind == Step::connection ||
                           step.kind == Step::application || step.kind == Step::key || step.kind == Step::parameters;
  if (!step.add && is_detached && bytes.ConsumeBool()) step.other.clear();
  if (bytes.ConsumeBool()) step.before = any_name(bytes, false);
  const bool is_policy = step.kind == Step::policy_map || step.kind == Step::policy_class;
  const bool is_parameter_map = step.kind == Step::parameter_map;
  step.type = bytes.ConsumeIntegralInRange<std::uint32_t>(is_policy ? 1 : 0, is_policy ? 5 : is_parameter_map ? 2 : 4);
  step.mode = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 1);
  step.number = bytes.ConsumeIntegralInRange<std::uint32_t>(0, 2);
  step.line = bytes.PickValueInArray(kLines);
  step.vlan = bytes.PickValueInArray(kVlans);
  return step;
}

Status run_rule(Manager& manager, const Step& step) {
  RuleClient rules(manager);
  const manager::testing::At at{step.name, step.line, step.add ? 1U : 0U, 1};
  const std::string rule = rule_of(step);
  const std::string value = rule.substr(rule.find(':') + 1);
  switch (step.type) {
    case 0:
      return value.empty() ? rules.any(at) : rules.access_list(at, value);
    case 1:
      return rules.management(at, 6, static_cast<std::uint32_t>(std::stoul(value)),
                              static_cast<std::uint32_t>(std::stoul(value)));
    case 2:
      return rules.lb_url(at, value);
    case 3:
      return rules.code("cm_update_p80_misuse_match", at, static_cast<std::uint32_t>(std::stoul(value)));
    default:
      return rules.code("cm_update_ftp_request_method_match", at, static_cast<std::uint32_t>(std::stoul(value)));
  }
}

Status run_action(Manager& manager, const Step& step) {
  PolicyClient policies(manager);
  const manager::testing::In in{step.name, step.class_name, step.add ? 1U : 0U, ""};
  switch (step.kind) {
    case Step::load_balance:
      return policies.vip(in, manager::testing::record(160, {{85, step.other}, {156, word(0x02000000)}}));
    case Step::ssl_proxy:
      return policies.ssl(in, step.other);
    case Step::connection:
      return policies.parameters(in, step.other, 0);
    case Step::application:
      return policies.parameters(in, step.other, 1);
    case Step::flag:
      return policies.lb(in, manager::testing::record(732, {{728, word(0x02000000)}}));
    default:
      return policies.ftp_verdict(in, 5);
  }
}

Status run(Manager& manager, const Step& step) {
  const std::uint8_t add = step.add ? 1 : 0;
  switch (step.kind) {
    case Step::class_map:
      return Client(manager).create(step.name, static_cast<std::uint8_t>(step.type),
                                    static_cast<std::uint8_t>(step.mode), add);
    case Step::rule:
      return run_rule(manager, step);
    case Step::rule_line:
      return RuleClient(manager).remove_line(step.name, step.line);
    case Step::nesting:
      return RuleClient(manager).nest({step.name, step.line, add, 1}, step.other);
    case Step::policy_map:
      return PolicyClient(manager).create(step.name, step.type, 1, add);
    case Step::policy_class:
      return PolicyClient(manager).put({step.name, step.class_name, add, step.before}, step.type);
    case Step::parameter_map:
    case Step::service:
    case Step::key:
    case Step::parameters:
      return run_parameter_step(manager, step);
    case Step::application_to_traffic:
      return manager::testing::call(
          manager, "kvel_apply_policy",
          {manager::testing::u16(0), manager::testing::session(), manager::testing::string(step.name),
           manager::testing::u32(step.vlan), manager::testing::u8(add)});
    default:
      return run_action(manager, step);
  }
}

std::string description(const Step& step, Status expected, Status answered) {
  return "step " + std::to_string(step.kind) + (step.add ? " add " : " remove ") + step.name + " class " +
         step.class_name + " other " + step.other + " before " + step.before + " type " + std::to_string(step.type) +
         " line " + std::to_string(step.line) + " vlan " + std::to_string(step.vlan) + ": expected '" +
         std::string(status_text(expected)) + "', answered '" + std::string(status_text(answered)) + "'";
}

// ---- What is to be seen

std::string records(Manager& manager) {
  const auto answer = Client(manager).objects();
  invariant(answer.status == Status::ok, "all records fit one page");
  return answer.response;
}

std::vector<std::string> policy_map_names(Manager& manager, std::uint32_t kind) {
  const auto answer = Client(manager).policy_maps(kind);
  invariant(answer.status == Status::ok, "all policy-maps fit one page");
  std::vector<std::string> names;
  for (std::size_t at = 0; at < answer.response.size(); at += 65)
    names.emplace_back(answer.response.substr(at, 65).c_str());
  return names;
}

template <class Objects, class IsListed>
std::vector<std::string> names_of(const Objects& objects, IsListed is_listed) {
  std::vector<std::string> names;
  for (const auto& [name, object] : objects) {
    if (is_listed(object)) names.push_back(name);
  }
  return names;
}

void check_lists(Manager& manager, const ReferenceConfiguration& model) {
  const auto all = [](const auto&) { return true; };
  for (std::uint32_t type = 0; type <= 4; ++type) {
    const auto is_of = [type](const auto& class_map) { return class_map.type == type; };
    invariant(Client(manager).names(type) == names_of(model.class_maps, is_of), "class-maps are listed by type");
  }
  invariant(Client(manager).names(6) == names_of(model.class_maps, all), "all class-maps are listed");
  for (std::uint32_t type = 1; type <= 5; ++type) {
    const auto is_of = [type](const auto& policy) { return policy.type == type; };
    invariant(policy_map_names(manager, type) == names_of(model.policy_maps, is_of), "policy-maps are listed by type");
  }
  const auto can_be_applied = [](const auto& policy) { return policy.type == 1 || policy.type == 5; };
  invariant(policy_map_names(manager, 7) == names_of(model.policy_maps, can_be_applied),
            "policy-maps for traffic are listed");
  invariant(policy_map_names(manager, 8) == names_of(model.policy_maps, all), "all policy-maps are listed");
  for (std::uint32_t type = 0; type <= 2; ++type) {
    const auto is_of = [type](std::uint32_t of) { return of == type; };
    invariant(parameter_map_names(manager, type) == names_of(model.parameter_maps, is_of),
              "parameter-maps are listed by type");
  }
  invariant(parameter_map_names(manager, 3) == names_of(model.parameter_maps, all), "all parameter-maps are listed");
  invariant(service_names(manager) == names_of(model.services, all), "all services are listed");
}

void check_everything(Manager& manager, FakeDisk& disk, const ReferenceConfiguration& model) {
  const std::string shown = records(manager);
  invariant(ReferenceConfiguration::from_records(shown) == model, "the records show the model", shown);
  check_lists(manager, model);
  const auto reopened = Manager::open(std::make_unique<manager::testing::FakeStore>(disk));
  invariant(reopened.has_value(), "the store opens again", reopened ? "" : reopened.error().message);
  invariant(records(**reopened) == shown, "an opened store shows the same", shown);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ::testing::FLAGS_gtest_throw_on_failure = true;  // the clients' own expectations count too
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider bytes(data, size);
  FakeDisk disk;
  const auto opened = Manager::open(std::make_unique<manager::testing::FakeStore>(disk));
  invariant(opened.has_value(), "an empty store opens");
  Manager& manager = **opened;
  ReferenceConfiguration model;
  for (std::uint32_t left = kMostSteps; left > 0 && bytes.remaining_bytes() > 0; --left) {
    const Step step = any_step(bytes);
    const bool is_full = bytes.ConsumeIntegralInRange<int>(0, 7) == 7;
    if (is_full) disk.fault = manager::StoreError{manager::StoreFault::full, "no space"};
    ReferenceConfiguration after = model;
    const Status expected = after.carry_out(step);
    const Status answered = run(manager, step);
    disk.fault.reset();
    if (answered == Status::store_full) {
      invariant(is_full && expected == Status::ok, "only a change needs the store",
                description(step, expected, answered));
    } else {
      invariant(answered == expected, "a call answers as the model", description(step, expected, answered));
      invariant(!is_full || after == model, "a change is in the store", description(step, expected, answered));
      model = std::move(after);
    }
    if (bytes.ConsumeIntegralInRange<int>(0, 15) == 15) check_everything(manager, disk, model);
  }
  check_everything(manager, disk, model);
  return 0;
}
