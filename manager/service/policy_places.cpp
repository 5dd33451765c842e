#include "manager/service/policy_places.h"

#include "manager/model/text.h"

namespace kvel::manager {
namespace {

// How clients name class-default where they send no other sign of it.
constexpr std::string_view kLayer3ClassDefault = "#class_default_l3";

}  // namespace

tl::expected<PolicyMap*, Status> find_policy_map(Context& context, std::string_view name, PolicyMapType type) {
  PolicyMap* const policy = context.policy_maps.find(name);
  if (policy == nullptr) return tl::unexpected(Status::policy_map_not_found);
  if (policy->settings.type != type) return tl::unexpected(Status::policy_map_type_differs);
  return policy;
}

tl::expected<ClassList::Iterator, Status> find_place_before(const Context& context, PolicyMap& policy,
                                                            std::string_view name) {
  if (name == kClassDefault) return policy.classes.end();
  const auto found = policy.classes.find(name);
  if (found != policy.classes.end()) return found;
  const bool is_class_map = context.class_maps.find(name) != nullptr;
  return tl::unexpected(is_class_map ? Status::class_not_found : Status::insert_before_not_found);
}

tl::expected<PolicyClass*, Status> find_acting_class(const Context& context, PolicyMap& policy,
                                                     std::string_view policy_name, std::string_view name) {
  ClassList& classes = policy.classes;
  if (name == kClassDefault || name == kLayer3ClassDefault) return &classes.class_default();
  const auto named = classes.find(name);
  if (named != classes.end() && !named->content.rule) return &*named;
  const auto hidden = find_by_hidden_name(policy, policy_name, name);
  if (hidden != classes.end()) return &*hidden;
  const bool is_class_map = context.class_maps.find(name) != nullptr;
  return tl::unexpected(is_class_map ? Status::class_not_in_policy : Status::class_map_not_found);
}

Status check_hidden_name(const Context& context, const PolicyMap& policy, std::string_view hidden_name) {
  if (!is_class_map_name(hidden_name)) return Status::invalid_name;
  const bool is_class_map =
      context.class_maps.find(hidden_name) != nullptr || context.class_maps.find(cut_name(hidden_name)) != nullptr;
  const bool is_hidden_class =
      context.hidden_classes.find(hidden_name) != nullptr || context.hidden_classes.is_ambiguous(policy, hidden_name);
  return is_class_map || is_hidden_class ? Status::name_taken : Status::ok;
}

}  // namespace kvel::manager
