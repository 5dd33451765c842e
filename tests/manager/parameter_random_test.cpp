// Random calls of parameter-maps and SSL-proxy services against a reference model, with reopening between.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/parameter_client.h"

namespace kvel::manager::testing::parameter_random_test {
namespace {

// Two settings of each type: a mask bit, where its word lies, and how its record begins and ends.
struct Row {
  std::uint32_t mask;
  std::size_t at;
  std::uint32_t max;
  std::uint32_t usual;
  const char* shown;
};
constexpr Row kRows[3][2] = {
    {{0x08000000, 20, 4294967295, 5, R"({"setting":"embryonic-timeout","seconds":)"},
     {0x00200000, 44, 4294967295, 4, R"({"setting":"syn-retry-count","count":)"}},
    {{0x08000000, 20, 4294967295, 8192, R"({"setting":"header-max-parse","bytes":)"},
     {0x04000000, 24, 4294967295, 4096, R"({"setting":"content-max-parse","bytes":)"}},
    {{0x80000000, 8, 255, 0, R"({"setting":"cipher","code":0,"priority":)"},
     {0x20000000, 4, 4294967295, 0, R"({"setting":"setting-956","value":)"}},
};

struct ModelMap {
  std::uint32_t type = 0;
  std::uint32_t values[2]{};
};
struct Model {
  std::map<std::string, ModelMap> maps;
  std::map<std::string, std::map<std::string, std::string>> services;  // members by the names of their calls
  // What is attached to the one policy-map, by the kind of attachment: "" for nothing.
  std::string connection;
  std::string service;
};

struct Step {
  enum Kind { create, remove, set, reset, service, remove_service, member, unset_member, attach, detach, reopen } kind;
  std::uint32_t type = 0;
  std::string name;
  std::string other;
  std::uint32_t which = 0;
  std::uint32_t value = 0;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << "{" << step.kind << " '" << step.name << "' '" << step.other << "' type " << step.type << " which "
             << step.which << " value " << step.value << "}";
}

rc::Gen<Step> any_step() {
  const auto kind = rc::gen::weightedElement<Step::Kind>({{6, Step::create},
                                                          {3, Step::remove},
                                                          {6, Step::set},
                                                          {3, Step::reset},
                                                          {4, Step::service},
                                                          {2, Step::remove_service},
                                                          {5, Step::member},
                                                          {2, Step::unset_member},
                                                          {4, Step::attach},
                                                          {2, Step::detach},
                                                          {1, Step::reopen}});
  const auto name = rc::gen::element<std::string>("a", "b", "caf\xc3\xa9");
  return rc::gen::build<Step>(rc::gen::set(&Step::kind, kind),
                              rc::gen::set(&Step::type, rc::gen::inRange<std::uint32_t>(0, 3)),
                              rc::gen::set(&Step::name, name), rc::gen::set(&Step::other, name),
                              rc::gen::set(&Step::which, rc::gen::inRange<std::uint32_t>(0, 2)),
                              rc::gen::set(&Step::value, rc::gen::element<std::uint32_t>(0, 1, 4, 5, 255, 256, 4096)));
}

// The members that steps change.
constexpr const char* kMembers[] = {"key", "param_map"};

bool uses(const Model& model, const std::string& map) {
  if (model.connection == map) return true;
  return std::any_of(model.services.begin(), model.services.end(), [&](const auto& entry) {
    const auto found = entry.second.find("param_map");
    return found != entry.second.end() && found->second == map;
  });
}

Status expected_of_map(const Step& step, Model& model) {
  const auto found = model.maps.find(step.name);
  if (step.kind == Step::create && found == model.maps.end()) {
    model.maps[step.name] = {step.type, {kRows[step.type][0].usual, kRows[step.type][1].usual}};
    return Status::ok;
  }
  if (found == model.maps.end()) return Status::parameter_map_not_found;
  if (found->second.type != step.type) return Status::parameter_map_type_differs;
  const Row& row = kRows[step.type][step.which];
  std::uint32_t& value = found->second.values[step.which];
  switch (step.kind) {
    case Step::remove:
      if (uses(model, step.name)) return Status::parameter_map_in_use;
      model.maps.erase(found);
      return Status::ok;
    case Step::set:
      if (step.value > row.max) return Status::invalid_setting;
      value = step.value;
      return Status::ok;
    case Step::reset:
      value = row.usual;
      return Status::ok;
    default:
      return Status::ok;
  }
}

Status expected_of_service(const Step& step, Model& model) {
  const auto found = model.services.find(step.name);
  if (step.kind == Step::service) {
    model.services[step.name];
    return Status::ok;
  }
  if (found == model.services.end()) return Status::ssl_proxy_not_found;
  if (step.kind == Step::remove_service) {
    if (model.service == step.name) return Status::ssl_proxy_in_use;
    model.services.erase(found);
    return Status::ok;
  }
  const std::string which = kMembers[step.which];
  auto& members = found->second;
  const auto member = members.find(which);
  if (step.kind == Step::unset_member) {
    if (member == members.end() || member->second != step.other) return Status::member_not_set;
    members.erase(member);
    return Status::ok;
  }
  if (which == "param_map") {
    const auto map = model.maps.find(step.other);
    if (map == model.maps.end()) return Status::parameter_map_not_found;
    if (map->second.type != kSslMap) return Status::parameter_map_type_differs;
  }
  members[which] = step.other;
  return Status::ok;
}

Status expected_of_attachment(const Step& step, Model& model) {
  std::string& attached = step.which == 0 ? model.connection : model.service;
  if (step.kind == Step::detach) {
    if (attached != step.name) return Status::action_not_found;
    attached.clear();
    return Status::ok;
  }
  if (step.which == 0) {
    const auto map = model.maps.find(step.name);
    if (map == model.maps.end()) return Status::parameter_map_not_found;
    if (map->second.type != kConnectionMap) return Status::parameter_map_type_differs;
  } else if (!model.services.contains(step.name)) {
    return Status::ssl_proxy_not_found;
  }
  attached = step.name;
  return Status::ok;
}

Status expected(const Step& step, Model& model) {
  switch (step.kind) {
    case Step::create:
    case Step::remove:
    case Step::set:
    case Step::reset:
      return expected_of_map(step, model);
    case Step::attach:
    case Step::detach:
      return expected_of_attachment(step, model);
    default:
      return expected_of_service(step, model);
  }
}

Status run(ParameterClient client, const Step& step) {
  const Row& row = kRows[step.type][step.which];
  const std::string settings = settings_record(row.mask, {{row.at, word(step.value)}});
  const std::uint32_t add = step.kind == Step::attach ? 1 : 0;
  switch (step.kind) {
    case Step::create:
      return client.create(step.name, step.type);
    case Step::remove:
      return client.remove(step.name, step.type);
    case Step::set:
      return client.configure(step.name, step.type, settings);
    case Step::reset:
      return client.reset(step.name, step.type, settings);
    case Step::service:
      return client.service(step.name);
    case Step::remove_service:
      return client.remove_service(step.name);
    case Step::member:
      return client.set(kMembers[step.which], step.name, step.other);
    case Step::unset_member:
      return client.unset(kMembers[step.which], step.name, step.other);
    case Step::attach:
    case Step::detach:
      return step.which == 0 ? client.attach("edge", step.name, 0, add) : client.attach_service("edge", step.name, add);
    case Step::reopen:
      break;
  }
  return Status::internal;
}

std::string record_of(const std::string& name, const ModelMap& map) {
  // Of an SSL map the second row comes after the first as well.
  std::string settings;
  for (std::size_t which = 0; which < 2; ++which) {
    const Row& row = kRows[map.type][which];
    if (map.values[which] == row.usual) continue;
    settings += (settings.empty() ? "" : ",") + (row.shown + std::to_string(map.values[which])) + "}";
  }
  return R"({"kind":"parameter-map","name":")" + name + R"(","type":)" + std::to_string(map.type) +
         (settings.empty() ? "" : R"(,"settings":[)" + settings + "]") + "}";
}

std::string record_of(const std::string& name, const std::map<std::string, std::string>& members) {
  std::string record = R"({"kind":"ssl-proxy","name":")" + name + "\"";
  if (members.contains("key")) record += R"(,"key":")" + members.at("key") + "\"";
  if (members.contains("param_map")) record += R"(,"parameter_map":")" + members.at("param_map") + "\"";
  return record + "}";
}

std::string record_of_policy(const Model& model) {
  std::string actions;
  if (!model.service.empty()) actions = R"({"action":"ssl-proxy-server","name":")" + model.service + "\"}";
  if (!model.connection.empty()) {
    if (!actions.empty()) actions += ",";
    actions += R"({"action":"connection-parameters","name":")" + model.connection + "\"}";
  }
  const std::string classes =
      actions.empty() ? "" : R"(,"classes":[{"line":10,"class":"class-default","actions":[)" + actions + "]}]";
  return R"({"kind":"policy-map","name":"edge","type":1,"subtype":1)" + classes + "}";
}

void check_everything(Manager& manager, const Model& model) {
  std::string all = "[";
  for (const auto& [name, map] : model.maps)
    all += record_of(name, map) + ",";
  for (const auto& [name, members] : model.services)
    all += record_of(name, members) + ",";
  all += record_of_policy(model) + "]";
  RC_ASSERT(ParameterClient(manager).objects() == all);
}

TEST(ParameterRandom, CallsAgreeWithTheReferenceModel) {
  const bool agreed = rc::check("random calls and reopening", [] {
    const auto steps = *rc::gen::container<std::vector<Step>>(any_step());
    const Folder folder;
    const auto open = [&] { return Manager::open(SqliteStore::open(folder / "kvel.db").value()).value(); };
    auto manager = open();
    RC_ASSERT(ParameterClient(*manager).policy("edge", 1) == Status::ok);
    Model model;
    for (const Step& step : steps) {
      if (step.kind == Step::reopen) {
        manager.reset();
        manager = open();
        check_everything(*manager, model);
        continue;
      }
      RC_ASSERT(run(ParameterClient(*manager), step) == expected(step, model));
    }
    check_everything(*manager, model);
    manager.reset();
    manager = open();
    check_everything(*manager, model);
  });
  EXPECT_TRUE(agreed);
}

}  // namespace
}  // namespace kvel::manager::testing::parameter_random_test
