// Fills the model from the store's records and refuses what this system cannot have written.
#include <fmt/format.h>

#include <string>

#include "manager/model/class_map_record.h"
#include "manager/model/rule_record.h"
#include "manager/model/text.h"
#include "manager/service/applications.h"
#include "manager/service/calls.h"
#include "manager/service/load_parameters.h"
#include "manager/service/load_policy_map.h"
#include "manager/service/nesting.h"

namespace kvel::manager {
namespace {

Loaded load_rule(ClassMap& class_map, std::uint64_t line, std::string_view body) {
  auto rule = read_rule(body);
  if (!rule) return tl::unexpected(std::move(rule).error());
  if (type_of(*rule) != class_map.settings.type || !fits_class_map(*rule)) {
    return tl::unexpected(std::string(status_text(Status::rule_type_differs)));
  }
  if (const auto present = class_map.rules.line_of(*rule)) {
    return tl::unexpected(fmt::format("the same rule is at line {}", *present));
  }
  class_map.rules.insert(RuleTable::prepare(static_cast<std::uint32_t>(line), *std::move(rule)));
  return {};
}

Loaded load_class_map(Context& context, const RecordKey& key, std::string_view body) {
  if (!is_class_map_name(key.owner)) return tl::unexpected<std::string>("no class-map can have this name");
  if (key.item > RuleTable::kMaxLine) return tl::unexpected(fmt::format("a class-map has no part {}", key.item));
  if (key.item != 0) {
    ClassMap* const class_map = context.class_maps.find(key.owner);
    if (class_map == nullptr) return tl::unexpected(fmt::format("its rule at line {} is all there is of it", key.item));
    return load_rule(*class_map, key.item, body).map_error([&](const std::string& why) {
      return fmt::format("its rule at line {}: {}", key.item, why);
    });
  }
  auto settings = read_class_map(body);
  if (!settings) return tl::unexpected(std::move(settings).error());
  context.class_maps.insert(ObjectTable<ClassMap>::prepare(key.owner, *std::move(settings)));
  return {};
}

Loaded load_record(Configuration& configuration, const RecordKey& key, std::string_view body) {
  const auto kind = object_kind(key.kind);
  if (!kind) return tl::unexpected<std::string>("there are no objects of this kind");
  Context& context = configuration.edit(key.context);
  switch (*kind) {
    case ObjectKind::class_map:
      return load_class_map(context, key, body);
    case ObjectKind::parameter_map:
      return load_parameter_map(context, key, body);
    case ObjectKind::ssl_proxy:
      return load_ssl_proxy(context, key, body);
    case ObjectKind::policy_map:
      break;
  }
  return load_policy_map(context, key, body);
}

// A class-map is loaded before those that come later and that it may nest, so the references come last.
Loaded refer_to_nested(Context& context, ClassMap& class_map) {
  for (const auto& [line, rule] : class_map.rules) {
    const std::string* const name = nested_class_map(rule.match);
    if (name == nullptr) continue;
    const auto child = find_to_nest(context, class_map, *name);
    if (!child) {
      return tl::unexpected(
          fmt::format("its rule at line {}, class-map {:?}: {}", line, *name, status_text(child.error())));
    }
    class_map.rules.refer(line, Reference((*child)->references, ObjectKind::class_map));
  }
  return {};
}

std::string describe(const RecordKey& key) {
  const auto kind = object_kind(key.kind);
  return fmt::format("{} {:?} in context {}", kind ? std::string(kind_name(*kind)) : fmt::format("kind {}", key.kind),
                     key.owner, key.context);
}

// Resolves what the objects of a context name; policy-maps last, as nothing else refers to them.
Loaded refer_within(std::uint16_t number, Context& context) {
  const auto refuse = [number](ObjectKind kind, std::string_view name, const std::string& why) {
    const RecordKey key{number, static_cast<std::uint8_t>(kind), name, 0};
    return tl::unexpected(fmt::format("{}: {}", describe(key), why));
  };
  for (auto& [name, service] : context.ssl_proxies) {
    if (auto referred = refer_from_ssl_proxy(context, service); !referred) {
      return refuse(ObjectKind::ssl_proxy, name, referred.error());
    }
  }
  for (auto& [name, class_map] : context.class_maps) {
    if (auto referred = refer_to_nested(context, class_map); !referred) {
      return refuse(ObjectKind::class_map, name, referred.error());
    }
  }
  for (auto& [name, policy_map] : context.policy_maps) {
    if (auto referred = refer_from_policy_map(context, name, policy_map); !referred) {
      return refuse(ObjectKind::policy_map, name, referred.error());
    }
    if (is_application_taken(context, name, policy_map.settings)) {
      return refuse(ObjectKind::policy_map, name, std::string(status_text(Status::application_taken)));
    }
  }
  return {};
}

// Older versions took expressions that are too large now. What has one is kept, so that each start tells of it.
void report_if_large(const FailureLog& log, const RecordKey& key, const MatchRule& rule, const std::string& part) {
  const Expression* const expression = expression_of(rule);
  if (expression == nullptr || expression->check() != Status::expression_too_large) return;
  log(fmt::format("{}: its {} matches nothing until it is replaced: {}", describe(key), part,
                  status_text(Status::expression_too_large)));
}

void report_large_expressions(const FailureLog& log, std::uint16_t number, const Context& context) {
  const auto key_of_kind = [number](ObjectKind kind, std::string_view name) {
    return RecordKey{number, static_cast<std::uint8_t>(kind), name, 0};
  };
  for (const auto& [name, class_map] : context.class_maps) {
    for (const auto& [line, rule] : class_map.rules) {
      report_if_large(log, key_of_kind(ObjectKind::class_map, name), rule.match, fmt::format("rule at line {}", line));
    }
  }
  for (const auto& [name, policy_map] : context.policy_maps) {
    for (const PolicyClass& entry : policy_map.classes) {
      if (!entry.content.rule) continue;
      report_if_large(log, key_of_kind(ObjectKind::policy_map, name), *entry.content.rule,
                      fmt::format("match {:?}", entry.content.name));
    }
  }
}

}  // namespace

StoreResult<void> Calls::load() {
  const auto take = [this](const RecordKey& key, std::string_view body) -> Loaded {
    return load_record(configuration_, key, body).map_error([&](const std::string& why) {
      return fmt::format("{}: {}", describe(key), why);
    });
  };
  const auto refer = [this]() -> Loaded {
    for (auto& [number, context] : configuration_.edit_all()) {
      if (auto referred = refer_within(number, context); !referred) return referred;
      for (auto& [name, object] : context.parameter_maps)
        object.made = configuration_.changed();
      for (auto& [name, object] : context.ssl_proxies)
        object.made = configuration_.changed();
      for (auto& [name, object] : context.class_maps)
        object.made = configuration_.changed();
      for (auto& [name, object] : context.policy_maps)
        object.made = configuration_.changed();
    }
    return {};
  };
  auto loaded = store_->load(take, refer);
  if (!loaded || !log_) return loaded;
  for (const auto& [number, context] : configuration_.edit_all())
    report_large_expressions(log_, number, context);
  return loaded;
}

}  // namespace kvel::manager
