#include "manager/service/nesting.h"

namespace kvel::manager {

tl::expected<ClassMap*, Status> find_to_nest(Context& context, const ClassMap& parent, std::string_view name) {
  ClassMap* const child = context.class_maps.find(name);
  if (child == nullptr) return tl::unexpected(Status::class_map_not_found);
  if (child == &parent) return tl::unexpected(Status::nested_in_itself);
  if (child->settings.type != NestedClassMapRule::kType) return tl::unexpected(Status::nested_type_differs);
  if (child->rules.has_nested_class_maps()) return tl::unexpected(Status::class_map_has_children);
  if (parent.references.users(ObjectKind::class_map) != 0) return tl::unexpected(Status::class_map_is_child);
  return child;
}

}  // namespace kvel::manager
