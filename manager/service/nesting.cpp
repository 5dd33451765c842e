#include "manager/service/nesting.h"

namespace kvel::manager {

Status check_nesting(const Context& context, std::string_view parent, std::string_view name) {
  const ClassMap* const child = context.find<ClassMap>(name);
  if (child == nullptr) return Status::class_map_not_found;
  if (name == parent) return Status::nested_in_itself;
  if (child->settings->type != NestedClassMapRule::kType) return Status::nested_type_differs;
  if (child->rules.has_nested_class_maps()) return Status::class_map_has_children;
  const bool is_child = context.references.in_use_by(ObjectKind::class_map, ObjectKind::class_map, parent);
  return is_child ? Status::class_map_is_child : Status::ok;
}

}  // namespace kvel::manager
