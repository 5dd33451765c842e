#include "manager/service/policy_places.h"

#include "manager/model/text.h"

namespace kvel::manager {
namespace {

// How clients name class-default where they send no other sign of it.
constexpr std::string_view kLayer3ClassDefault = "#class_default_l3";

}  // namespace

tl::expected<const PolicyMap*, Status> find_policy_map(const Context& context, std::string_view name,
                                                       PolicyMapType type) {
  const PolicyMap* const policy = context.find<PolicyMap>(name);
  if (policy == nullptr) return tl::unexpected(Status::policy_map_not_found);
  if (policy->settings->type != type) return tl::unexpected(Status::policy_map_type_differs);
  return policy;
}

tl::expected<ClassPointer, Status> find_place_before(const Context& context, const PolicyMap& policy,
                                                     std::string_view name) {
  if (name == kClassDefault) return policy.classes.class_default();
  if (ClassPointer found = policy.classes.find(name)) return found;
  const bool is_class_map = context.find<ClassMap>(name) != nullptr;
  return tl::unexpected(is_class_map ? Status::class_not_found : Status::insert_before_not_found);
}

tl::expected<ClassPointer, Status> find_acting_class(const Context& context, const PolicyMap& policy,
                                                     std::string_view policy_name, std::string_view name) {
  if (name == kClassDefault || name == kLayer3ClassDefault) return policy.classes.class_default();
  if (ClassPointer named = policy.classes.find(name); named != nullptr && !named->content.rule) return named;
  if (ClassPointer hidden = find_by_hidden_name(policy, policy_name, name)) return hidden;
  const bool is_class_map = context.find<ClassMap>(name) != nullptr;
  return tl::unexpected(is_class_map ? Status::class_not_in_policy : Status::class_map_not_found);
}

Status check_hidden_name(const Context& context, const HiddenClasses& others, std::string_view policy_name,
                         std::string_view hidden_name) {
  if (!is_class_map_name(hidden_name)) return Status::invalid_name;
  const bool is_class_map =
      context.find<ClassMap>(hidden_name) != nullptr || context.find<ClassMap>(cut_name(hidden_name)) != nullptr;
  const bool is_hidden_class = others.find(hidden_name) != nullptr || others.is_ambiguous(policy_name, hidden_name);
  return is_class_map || is_hidden_class ? Status::name_taken : Status::ok;
}

}  // namespace kvel::manager
