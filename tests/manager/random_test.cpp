// Random calls against a reference model, with reopening in between.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"

namespace kvel::manager::testing::random_test {
namespace {

struct ModelClassMap {
  int type = 0;
  bool match_all = true;
  std::string description;
};
using ModelContexts = std::map<int, std::map<std::string, ModelClassMap>>;

struct Step {
  enum Kind { create, remove, describe, clear, reopen } kind = create;
  std::uint16_t context = 0;
  std::string name;
  std::string text;
  std::uint8_t type = 0;
  std::uint8_t mode = 0;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << "{" << step.kind << " context " << step.context << " '" << step.name << "' '" << step.text << "' type "
             << int{step.type} << " mode " << int{step.mode} << "}";
}

rc::Gen<Step> any_step() {
  const auto kind = rc::gen::weightedElement<Step::Kind>(
      {{8, Step::create}, {3, Step::remove}, {4, Step::describe}, {1, Step::clear}, {1, Step::reopen}});
  const auto name = rc::gen::element<std::string>("a", "b", "ab", "caf\xc3\xa9", std::string(64, 'x'), "\"", "%s", "");
  const auto text = rc::gen::element<std::string>("", "text", "\"quoted\"", "back\\slash", std::string(240, 'd'),
                                                  std::string(241, 'd'), "\x01");
  return rc::gen::build<Step>(
      rc::gen::set(&Step::kind, kind), rc::gen::set(&Step::context, rc::gen::element<std::uint16_t>(0, 1, 65535)),
      rc::gen::set(&Step::name, name), rc::gen::set(&Step::text, text),
      rc::gen::set(&Step::type, rc::gen::inRange<std::uint8_t>(0, 6)),
      rc::gen::set(&Step::mode, rc::gen::weightedElement<std::uint8_t>({{8, 0}, {8, 1}, {1, 2}})));
}

Status expected(const Step& step, ModelContexts& contexts) {
  auto& objects = contexts[step.context];
  const auto found = objects.find(step.name);
  switch (step.kind) {
    case Step::create:
    case Step::remove:
      if (step.type > 4) return Status::invalid_type;
      if (step.kind == Step::create && step.mode > 1) return Status::invalid_match_mode;
      if (step.name.empty()) return Status::invalid_name;
      if (found == objects.end() && step.kind == Step::remove) return Status::class_map_not_found;
      if (found != objects.end() && found->second.type != step.type) return Status::class_map_type_differs;
      if (step.kind == Step::remove) {
        objects.erase(found);
      } else {
        objects[step.name].type = step.type;
        objects[step.name].match_all = step.mode == 1;
      }
      return Status::ok;
    case Step::describe:
      if (step.text.size() > 240 || step.text == "\x01") return Status::invalid_text;
      [[fallthrough]];
    case Step::clear:
      if (found == objects.end()) return Status::class_map_not_found;
      found->second.description = step.kind == Step::clear ? "" : step.text;
      return Status::ok;
    case Step::reopen:
      return Status::ok;
  }
  return Status::internal;
}

nlohmann::json json_of(const std::string& name, const ModelClassMap& object) {
  nlohmann::json json{{"kind", "class-map"}, {"name", name}, {"type", object.type}, {"match_all", object.match_all}};
  if (!object.description.empty()) json["description"] = object.description;
  return json;
}

Status run(Client client, const Step& step) {
  switch (step.kind) {
    case Step::create:
      return client.create(step.name, step.type, step.mode);
    case Step::remove:
      return client.remove(step.name, step.type);
    case Step::describe:
      return client.describe(step.name, step.text);
    case Step::clear:
      return client.describe(step.name, step.text, 0);
    case Step::reopen:
      break;
  }
  return Status::ok;
}

void check_everything(Manager& manager, const ModelContexts& contexts) {
  for (const auto& [context, objects] : contexts) {
    Client client(manager, static_cast<std::uint16_t>(context));
    nlohmann::json all = nlohmann::json::array();
    std::vector<std::string> names;
    for (const auto& [name, object] : objects) {
      all.push_back(json_of(name, object));
      names.push_back(name);
      RC_ASSERT(nlohmann::json::parse(client.object(name).text) == json_of(name, object));
    }
    RC_ASSERT(nlohmann::json::parse(client.objects().response) == all);
    RC_ASSERT(client.names() == names);
  }
}

TEST(Random, CallsAgreeWithTheReferenceModel) {
  const bool agreed = rc::check("random calls and reopening", [] {
    const auto steps = *rc::gen::container<std::vector<Step>>(any_step());
    const Folder folder;
    const auto open = [&] { return Manager::open(SqliteStore::open(folder / "kvel.db").value()).value(); };
    auto manager = open();
    ModelContexts contexts;
    for (const Step& step : steps) {
      if (step.kind == Step::reopen) {
        manager.reset();
        manager = open();
        check_everything(*manager, contexts);
      }
      RC_ASSERT(run(Client(*manager, step.context), step) == expected(step, contexts));
    }
    check_everything(*manager, contexts);
    manager.reset();
    manager = open();
    check_everything(*manager, contexts);
  });
  EXPECT_TRUE(agreed);
}

}  // namespace
}  // namespace kvel::manager::testing::random_test
