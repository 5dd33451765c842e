#include "manager/service/load_policy_map.h"

#include <fmt/format.h>

#include <utility>

#include "manager/model/action_check.h"
#include "manager/model/policy_record.h"
#include "manager/model/record_body.h"
#include "manager/model/text.h"
#include "manager/service/policy_places.h"
#include "manager/service/targets.h"

namespace kvel::manager {
namespace {

using Refusal = tl::unexpected<std::string>;

Refusal refusal(Status status) { return Refusal(std::string(status_text(status))); }

// Older versions let a class have both verdicts: what it denies, it does not permit.
void settle_verdicts(ActionList& actions) {
  if (!succeeded(check_together(actions))) (void)actions.remove(kActionKind<ManagementPermitAction>);
}

Loaded load_class_default(PolicyMap& policy, PolicyClassContent content) {
  if (content.rule || content.actions.empty()) return Refusal(kOtherForm);
  policy.classes.class_default().change(std::move(content));
  return {};
}

Loaded load_class(PolicyMap& policy, std::uint64_t position, std::string_view body) {
  auto content = read_policy_class(body, policy.settings.type);
  if (!content) return Refusal(std::move(content).error());
  settle_verdicts(content->actions);
  const bool is_class_default = content->name == kClassDefault;
  if (is_class_default != (position == ClassList::kLastPosition)) return Refusal("its place is that of class-default");
  if (is_class_default) return load_class_default(policy, *std::move(content));
  if (!is_class_map_name(content->name)) return Refusal("no class and no match can have this name");
  ClassList& classes = policy.classes;
  if (classes.find(content->name) != classes.end()) return Refusal("another one has this name");
  if (!lines_suffice(classes.size() + 1, policy.settings.interval)) return refusal(Status::lines_used_up);
  classes.insert(ClassList::prepare(*std::move(content)), {classes.end(), position});
  return {};
}

Loaded refer_to_class_map(Context& context, const PolicyMap& policy, PolicyClass& entry) {
  ClassMap* const class_map = context.class_maps.find(entry.content.name);
  if (class_map == nullptr) return refusal(Status::class_map_not_found);
  if (class_map->settings.type != class_map_type(policy.settings.type)) return refusal(Status::class_type_differs);
  entry.class_map = Reference(class_map->references, ObjectKind::policy_map);
  return {};
}

Loaded refer_to_hidden_class(Context& context, std::string_view policy_name, PolicyMap& policy,
                             ClassList::Iterator entry) {
  std::string hidden_name(policy_name);
  hidden_name += entry->content.name;
  if (const Status status = check_hidden_name(context, policy, hidden_name); !succeeded(status)) return refusal(status);
  entry->hidden_name = std::move(hidden_name);
  context.hidden_classes.insert(HiddenClasses::prepare(policy, entry));
  return {};
}

Loaded refer_from_actions(Context& context, PolicyClass& entry) {
  auto mentioned = refer_to_targets(context, entry.content.actions);
  if (!mentioned) return refusal(mentioned.error());
  entry.mentioned.swap(*mentioned);
  return {};
}

}  // namespace

Loaded load_policy_map(Context& context, const RecordKey& key, std::string_view body) {
  if (!is_class_map_name(key.owner)) return Refusal("no policy-map can have this name");
  if (key.item == 0) {
    auto settings = read_policy_map(body);
    if (!settings) return Refusal(std::move(settings).error());
    context.policy_maps.insert(ObjectTable<PolicyMap>::prepare(key.owner, *std::move(settings)));
    return {};
  }
  PolicyMap* const policy = context.policy_maps.find(key.owner);
  if (policy == nullptr) return Refusal(fmt::format("its class at place {} is all there is of it", key.item));
  return load_class(*policy, key.item, body).map_error([&](const std::string& why) {
    return fmt::format("its class at place {}: {}", key.item, why);
  });
}

Loaded refer_from_policy_map(Context& context, std::string_view name, PolicyMap& policy) {
  const auto describe = [](const PolicyClass& entry, const std::string& why) {
    const auto& [entry_name, rule, actions] = entry.content;
    return fmt::format("its {} {:?}: {}", rule ? "match" : "class", entry_name, why);
  };
  for (auto entry = policy.classes.begin(); entry != policy.classes.end(); ++entry) {
    auto referred = entry->content.rule ? refer_to_hidden_class(context, name, policy, entry)
                                        : refer_to_class_map(context, policy, *entry);
    if (referred) referred = refer_from_actions(context, *entry);
    if (!referred) return Refusal(describe(*entry, referred.error()));
  }
  PolicyClass& class_default = policy.classes.class_default();
  if (auto referred = refer_from_actions(context, class_default); !referred) {
    return Refusal(describe(class_default, referred.error()));
  }
  return {};
}

}  // namespace kvel::manager
