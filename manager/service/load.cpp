#include "manager/service/load.h"

#include <fmt/format.h>

#include <memory>
#include <utility>

#include "manager/model/action_check.h"
#include "manager/model/class_map_record.h"
#include "manager/model/parameter_map_record.h"
#include "manager/model/policy_record.h"
#include "manager/model/record_body.h"
#include "manager/model/rule_record.h"
#include "manager/model/ssl_proxy_record.h"
#include "manager/model/text.h"
#include "manager/service/applications.h"
#include "manager/service/nesting.h"
#include "manager/service/policy_places.h"
#include "manager/service/targets.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<std::string>;
using Checked = tl::expected<void, std::string>;
using Loaded = tl::expected<Change, std::string>;

Refusal refusal(Status status) { return Refusal(std::string(status_text(status))); }

Refusal within(const std::string& part, const std::string& why) { return Refusal(fmt::format("{}: {}", part, why)); }

// An object without its parts.
template <class Object, class Read>
Loaded read_object(const Configuration& configuration, const StoreKey& key, std::string_view body, const Read& read) {
  if (configuration.context(key.context)->template find<Object>(key.owner) != nullptr) {
    return Refusal("another one has this name");
  }
  auto settings = read(body);
  if (!settings) return Refusal(std::move(settings).error());
  using Settings = typename Object::Settings;
  return Change{{Object::kKind, key.context, Name(key.owner), key.object, 0},
                {},
                std::make_shared<const Settings>(*std::move(settings))};
}

// An object that has no parts.
template <class Object, class Read>
Loaded read_whole(const Configuration& configuration, const StoreKey& key, std::string_view body, const Read& read) {
  if (!is_object_name(key.owner)) return Refusal("nothing can have this name");
  if (key.item != 0) return Refusal(fmt::format("it has no part {}", key.item));
  return read_object<Object>(configuration, key, body, read);
}

tl::expected<RulePointer, std::string> read_rule_of(const ClassMap& class_map, std::string_view body) {
  auto rule = read_rule(body);
  if (!rule) return Refusal(std::move(rule).error());
  if (type_of(*rule) != class_map.settings->type || !fits_class_map(*rule)) return refusal(Status::rule_type_differs);
  if (const auto present = class_map.rules.line_of(*rule)) {
    return Refusal(fmt::format("the same rule is at line {}", *present));
  }
  return std::make_shared<const MatchRule>(*std::move(rule));
}

Loaded read_class_map_record(const Configuration& configuration, const StoreKey& key, std::string_view body) {
  if (!is_class_map_name(key.owner)) return Refusal("no class-map can have this name");
  if (key.item > RuleTable::kMaxLine) return Refusal(fmt::format("a class-map has no part {}", key.item));
  if (key.item == 0) return read_object<ClassMap>(configuration, key, body, read_class_map);
  const ClassMap* const class_map = configuration.context(key.context)->find<ClassMap>(key.owner);
  if (class_map == nullptr) return Refusal(fmt::format("its rule at line {} is all there is of it", key.item));
  auto rule = read_rule_of(*class_map, body);
  if (!rule) return within(fmt::format("its rule at line {}", key.item), rule.error());
  return Change{
      {ObjectKind::class_map, key.context, Name(key.owner), class_map->number, key.item}, {}, *std::move(rule)};
}

// Older versions let a class have both verdicts: what it denies, it does not permit.
void settle_verdicts(ActionList& actions) {
  if (!succeeded(check_together(actions))) (void)actions.remove(kActionKind<ManagementPermitAction>);
}

tl::expected<PolicyClass, std::string> read_class_of(const PolicyMap& policy, std::uint64_t position,
                                                     std::string_view body) {
  auto content = read_policy_class(body, policy.settings->type);
  if (!content) return Refusal(std::move(content).error());
  settle_verdicts(content->actions);
  const bool is_class_default = content->name == kClassDefault;
  if (is_class_default != (position == ClassList::kLastPosition)) return Refusal("its place is that of class-default");
  if (is_class_default) {
    if (content->rule || content->actions.empty()) return Refusal(kOtherForm);
    return PolicyClass{policy.number, position, *std::move(content)};
  }
  if (!is_class_map_name(content->name)) return Refusal("no class and no match can have this name");
  const ClassList& classes = policy.classes;
  if (classes.find(content->name) != nullptr) return Refusal("another one has this name");
  if (!lines_suffice(classes.size() + 1, policy.settings->interval)) return refusal(Status::lines_used_up);
  return PolicyClass{0, position, *std::move(content)};
}

Number number_of(const PolicyClass& entry, const StoreKey& key, const Configuration& known) {
  const PolicyMap* const policy = known.context(key.context)->find<PolicyMap>(key.owner);
  if (policy == nullptr || policy->number != key.object) return 0;
  const ClassPointer same = policy->classes.find(entry.content.name);
  return same == nullptr ? 0 : same->number;
}

Loaded read_policy_map_record(Configuration& configuration, const Configuration& known, const StoreKey& key,
                              std::string_view body) {
  if (!is_class_map_name(key.owner)) return Refusal("no policy-map can have this name");
  if (key.item == 0) return read_object<PolicyMap>(configuration, key, body, read_policy_map);
  const PolicyMap* const policy = configuration.context(key.context)->find<PolicyMap>(key.owner);
  if (policy == nullptr) return Refusal(fmt::format("its class at place {} is all there is of it", key.item));
  auto entry = read_class_of(*policy, key.item, body);
  if (!entry) return within(fmt::format("its class at place {}", key.item), entry.error());
  if (entry->number == 0) entry->number = number_of(*entry, key, known);
  if (entry->number == 0) entry->number = configuration.take_number();
  return Change{{ObjectKind::policy_map, key.context, Name(key.owner), policy->number, item_of(*entry)},
                {},
                std::make_shared<const PolicyClass>(*std::move(entry))};
}

Checked validate(const Context& context, std::string_view /*name*/, const SslProxy& service) {
  const Status status = check_parameter_map(context, *service.settings);
  if (succeeded(status)) return {};
  return within(fmt::format("parameter-map {:?}", service.settings->parameter_map), std::string(status_text(status)));
}

Checked validate(const Context& context, std::string_view name, const ClassMap& class_map) {
  for (const auto& [line, rule] : class_map.rules) {
    const std::string* const child = nested_class_map(*rule);
    const Status status = child == nullptr ? Status::ok : check_nesting(context, name, *child);
    if (!succeeded(status)) {
      return within(fmt::format("its rule at line {}, class-map {:?}", line, *child), std::string(status_text(status)));
    }
  }
  return {};
}

// Of all matches whose hidden classes have one name, or one name once they are cut, only one can be there.
Status check_hidden_class(const Context& context, std::string_view policy, const PolicyClass& match) {
  const std::string hidden_name = hidden_name_of(policy, match.content.name);
  const HiddenClass* const known = context.hidden_classes.find(hidden_name);
  if (known == nullptr || known->policy != policy || known->match != match.content.name) return Status::name_taken;
  HiddenClasses others = context.hidden_classes;
  others.erase(hidden_name);
  return check_hidden_name(context, others, policy, hidden_name);
}

Status check_class(const Context& context, std::string_view name, const PolicyMap& policy, const PolicyClass& entry) {
  if (entry.content.rule) return check_hidden_class(context, name, entry);
  if (entry.position == ClassList::kLastPosition) return Status::ok;
  const ClassMap* const class_map = context.find<ClassMap>(entry.content.name);
  if (class_map == nullptr) return Status::class_map_not_found;
  return class_map->settings->type == class_map_type(policy.settings->type) ? Status::ok : Status::class_type_differs;
}

Checked validate(const Context& context, std::string_view name, const PolicyMap& policy) {
  const auto check = [&](const PolicyClass& entry) -> Checked {
    Status status = check_class(context, name, policy, entry);
    if (succeeded(status)) status = check_targets(context, entry.content.actions);
    if (succeeded(status)) return {};
    return within(fmt::format("its {} {:?}", entry.content.rule ? "match" : "class", entry.content.name),
                  std::string(status_text(status)));
  };
  for (const auto& [position, entry] : policy.classes) {
    if (auto checked = check(*entry); !checked) return checked;
  }
  if (auto checked = check(*policy.classes.class_default()); !checked) return checked;
  if (is_application_taken(context, name, *policy.settings)) return refusal(Status::application_taken);
  return {};
}

StoreKey key_of(std::uint16_t context, ObjectKind kind, std::string_view name) {
  return {context, static_cast<std::uint8_t>(kind), name};
}

template <class Object>
Checked validate_all(std::uint16_t number, const Context& context) {
  for (const auto& [name, object] : context.table<Object>()) {
    auto checked = validate(context, name, *object);
    if (checked) continue;
    return within(describe(key_of(number, Object::kKind, name)), checked.error());
  }
  return {};
}

void report_if_large(const FailureLog& log, const StoreKey& key, const MatchRule& rule, const std::string& part) {
  const Expression* const expression = expression_of(rule);
  if (expression == nullptr || expression->check() != Status::expression_too_large) return;
  log(fmt::format("{}: its {} matches nothing until it is replaced: {}", describe(key), part,
                  status_text(Status::expression_too_large)));
}

}  // namespace

Loaded read_record(Configuration& configuration, const Configuration& known, const StoreKey& key,
                   std::string_view body) {
  const auto kind = object_kind(key.kind);
  if (!kind) return Refusal("there are no objects of this kind");
  switch (*kind) {
    case ObjectKind::class_map:
      return read_class_map_record(configuration, key, body);
    case ObjectKind::parameter_map:
      return read_whole<ParameterMap>(configuration, key, body, read_parameter_map);
    case ObjectKind::ssl_proxy:
      return read_whole<SslProxy>(configuration, key, body, read_ssl_proxy);
    case ObjectKind::policy_map:
      break;
  }
  return read_policy_map_record(configuration, known, key, body);
}

// Policy-maps last, as nothing else refers to them.
Checked validate(const Configuration& configuration) {
  for (const auto& [number, context] : configuration.contexts()) {
    auto valid = validate_all<SslProxy>(number, *context);
    if (valid) valid = validate_all<ClassMap>(number, *context);
    if (valid) valid = validate_all<PolicyMap>(number, *context);
    if (!valid) return valid;
  }
  return {};
}

void report_large_expressions(const Configuration& configuration, const FailureLog& log) {
  for (const auto& [number, context] : configuration.contexts()) {
    for (const auto& [name, class_map] : context->class_maps) {
      for (const auto& [line, rule] : class_map->rules)
        report_if_large(log, key_of(number, ObjectKind::class_map, name), *rule, fmt::format("rule at line {}", line));
    }
    for (const auto& [name, policy_map] : context->policy_maps) {
      for (const auto& [position, entry] : policy_map->classes) {
        if (!entry->content.rule) continue;
        report_if_large(log, key_of(number, ObjectKind::policy_map, name), *entry->content.rule,
                        fmt::format("match {:?}", entry->content.name));
      }
    }
  }
}

std::string describe(const StoreKey& key) {
  const auto kind = object_kind(key.kind);
  return fmt::format("{} {:?} in context {}", kind ? std::string(kind_name(*kind)) : fmt::format("kind {}", key.kind),
                     key.owner, key.context);
}

}  // namespace kvel::manager
