// Random rule calls against a reference model: a list of lines with texts, and reopening in between.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "manager/service/manager.h"
#include "manager/store/sqlite_store.h"
#include "tests/manager/support/client.h"
#include "tests/manager/support/folder.h"
#include "tests/manager/support/rule_client.h"

namespace kvel::manager::testing::rule_random_test {
namespace {

// A load-balancing class-map's rules as the records that it shows, without their lines.
using ModelRules = std::map<std::uint64_t, std::string>;
using ModelClassMaps = std::map<std::string, ModelRules>;

struct Step {
  enum Kind { add, remove, remove_line, nest, unnest, create, erase, reopen } kind = add;
  std::string name;
  std::string text;  // of a rule, or the nested class-map
  std::uint32_t line = 0;
};

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << "{" << step.kind << " " << step.name << " '" << step.text << "' line " << step.line << "}";
}

rc::Gen<Step> any_step() {
  const auto kind = rc::gen::weightedElement<Step::Kind>({{8, Step::add},
                                                          {3, Step::remove},
                                                          {3, Step::remove_line},
                                                          {6, Step::nest},
                                                          {2, Step::unnest},
                                                          {4, Step::create},
                                                          {2, Step::erase},
                                                          {1, Step::reopen}});
  const auto name = rc::gen::element<std::string>("a", "b", "c", "d");
  const auto line = rc::gen::weightedElement<std::uint32_t>(
      {{8, 0}, {2, 5}, {2, 10}, {2, 20}, {1, 30}, {1, 4294967280}, {1, 4294967290}, {1, 4294967295}});
  return rc::gen::build<Step>(rc::gen::set(&Step::kind, kind), rc::gen::set(&Step::name, name),
                              rc::gen::set(&Step::text, name), rc::gen::set(&Step::line, line));
}

std::string url_rule(const std::string& text) { return fmt::format(R"("match":"http-url","expression":"{}")", text); }
std::string nest_rule(const std::string& child) { return fmt::format(R"("match":"class-map","name":"{}")", child); }

bool nests_any(const ModelRules& rules) {
  for (const auto& [line, rule] : rules) {
    if (rule.find("class-map") != std::string::npos) return true;
  }
  return false;
}

bool is_nested(const ModelClassMaps& class_maps, const std::string& name) {
  for (const auto& [parent, rules] : class_maps) {
    for (const auto& [line, rule] : rules) {
      if (rule == nest_rule(name)) return true;
    }
  }
  return false;
}

Status expected_change(const Step& step, ModelClassMaps& class_maps, const std::string& rule, bool add) {
  const auto class_map = class_maps.find(step.name);
  if (class_map == class_maps.end()) return Status::class_map_not_found;
  ModelRules& rules = class_map->second;
  for (const auto& [line, present] : rules) {
    if (present != rule) continue;
    if (step.line != 0 && step.line != line) return Status::rule_at_another_line;
    if (!add) rules.erase(line);
    return Status::ok;
  }
  if (!add) return Status::rule_not_found;
  std::uint64_t line = step.line;
  if (line == 0) {
    for (line = 10; !rules.empty() && line <= rules.rbegin()->first;)
      line = rules.rbegin()->first / 10 * 10 + 10;
    if (line > 4294967295) return Status::lines_used_up;
  }
  if (rules.count(line) != 0) return Status::line_taken;
  if (rule == nest_rule(step.text)) {
    const auto child = class_maps.find(step.text);
    if (child == class_maps.end()) return Status::class_map_not_found;
    if (child == class_map) return Status::nested_in_itself;
    if (nests_any(child->second)) return Status::class_map_has_children;
    if (is_nested(class_maps, step.name)) return Status::class_map_is_child;
  }
  rules[line] = rule;
  return Status::ok;
}

Status expected(const Step& step, ModelClassMaps& class_maps) {
  const auto class_map = class_maps.find(step.name);
  switch (step.kind) {
    case Step::add:
    case Step::remove:
      return expected_change(step, class_maps, url_rule(step.text), step.kind == Step::add);
    case Step::nest:
    case Step::unnest:
      return expected_change(step, class_maps, nest_rule(step.text), step.kind == Step::nest);
    case Step::remove_line:
      if (class_map == class_maps.end()) return Status::class_map_not_found;
      return class_map->second.erase(step.line) == 1 ? Status::ok : Status::line_not_found;
    case Step::create:
      class_maps.try_emplace(step.name);
      return Status::ok;
    case Step::erase:
      if (class_map == class_maps.end()) return Status::class_map_not_found;
      if (is_nested(class_maps, step.name)) return Status::class_map_in_use;
      class_maps.erase(class_map);
      return Status::ok;
    case Step::reopen:
      break;
  }
  return Status::ok;
}

Status run(Manager& manager, const Step& step) {
  RuleClient rule(manager);
  switch (step.kind) {
    case Step::add:
      return rule.lb_url({step.name, step.line}, step.text);
    case Step::remove:
      return rule.lb_url({step.name, step.line, 0}, step.text);
    case Step::nest:
      return rule.nest({step.name, step.line}, step.text);
    case Step::unnest:
      return rule.nest({step.name, step.line, 0}, step.text);
    case Step::remove_line:
      return rule.remove_line(step.name, step.line);
    case Step::create:
      return Client(manager).create(step.name, 2);
    case Step::erase:
      return Client(manager).remove(step.name, 2);
    case Step::reopen:
      break;
  }
  return Status::ok;
}

void check_everything(Manager& manager, const ModelClassMaps& class_maps) {
  std::string all;
  for (const auto& [name, rules] : class_maps) {
    std::string lines;
    for (const auto& [line, rule] : rules)
      lines += fmt::format(R"({}{{"line":{},{}}})", lines.empty() ? "" : ",", line, rule);
    all += fmt::format(R"({}{{"kind":"class-map","name":"{}","type":2,"match_all":true{}}})", all.empty() ? "" : ",",
                       name, rules.empty() ? "" : R"(,"rules":[)" + lines + "]");
  }
  RC_ASSERT(Client(manager).objects().response == "[" + all + "]");
}

TEST(RandomRules, CallsAgreeWithTheReferenceModel) {
  const bool agreed = rc::check("random rule calls and reopening", [] {
    const auto steps = *rc::gen::container<std::vector<Step>>(any_step());
    const Folder folder;
    const auto open = [&] { return Manager::open(SqliteStore::open(folder / "kvel.db").value()).value(); };
    auto manager = open();
    ModelClassMaps class_maps;
    for (const char* name : {"a", "b", "c"}) {
      RC_ASSERT(Client(*manager).create(name, 2) == Status::ok);
      class_maps[name];
    }
    for (const Step& step : steps) {
      if (step.kind == Step::reopen) {
        manager.reset();
        manager = open();
      }
      RC_ASSERT(run(*manager, step) == expected(step, class_maps));
      check_everything(*manager, class_maps);
    }
    manager.reset();
    manager = open();
    check_everything(*manager, class_maps);
  });
  EXPECT_TRUE(agreed);
}

}  // namespace
}  // namespace kvel::manager::testing::rule_random_test
