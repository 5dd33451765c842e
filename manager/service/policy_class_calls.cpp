// The call that puts class-maps into a policy-map and takes them out.
#include <string>

#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/policy_places.h"

namespace kvel::manager {

Status Calls::update_policy_class(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                                  std::string_view class_map, std::string_view insert_before, std::uint8_t type,
                                  std::uint8_t subtype, std::uint8_t class_default, std::uint8_t add,
                                  std::uint32_t reserved) {
  if (add > 1 || class_default > 1 || reserved != 0) return Status::bad_arguments;
  if (!is_policy_map_type(type) || !is_policy_map_subtype(subtype)) return Status::invalid_type;
  const ClassPlace place{context, policy, class_default == 1 ? kClassDefault : class_map, insert_before};
  const auto policy_type = static_cast<PolicyMapType>(type);
  return add == 1 ? add_class(place, policy_type) : remove_class(place, policy_type);
}

Status Calls::add_class(const ClassPlace& place, PolicyMapType type) {
  const Context& shown = context(place.context);
  const auto policy = find_policy_map(shown, place.policy, type);
  if (!policy) return policy.error();
  if (place.name == kClassDefault) return Status::ok;
  if (!place.insert_before.empty() && place.name == place.insert_before) return Status::bad_arguments;
  const ClassMap* const class_map = shown.find<ClassMap>(place.name);
  if (class_map == nullptr) return Status::class_map_not_found;
  if (class_map->settings->type != class_map_type(type)) return Status::class_type_differs;

  const ClassList& classes = (*policy)->classes;
  const ClassPointer present = classes.find(place.name);
  if (present != nullptr && present->content.rule) return Status::name_taken;
  ClassPointer before;
  if (!place.insert_before.empty()) {
    const auto found = find_place_before(shown, **policy, place.insert_before);
    if (!found) return found.error();
    before = *found;
  }
  if (present != nullptr) return change_entry(place, **policy, *present, present->content, before);
  return insert_entry(place, **policy, {std::string(place.name), std::nullopt, {}},
                      before == nullptr ? *classes.class_default() : *before);
}

Status Calls::remove_class(const ClassPlace& place, PolicyMapType type) {
  const auto policy = find_policy_map(context(place.context), place.policy, type);
  if (!policy) return policy.error();
  if (place.name == kClassDefault) return replace_actions(place, *(*policy)->classes.class_default(), {});
  const ClassPointer present = (*policy)->classes.find(place.name);
  if (present == nullptr || present->content.rule) return Status::class_not_in_policy;
  return erase_entry(place, *present);
}

}  // namespace kvel::manager
