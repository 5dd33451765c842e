// Shared by the show commands.
#include "shell/configuration/show_objects.h"

#include "output/output.h"
#include "shell/configuration/document.h"
#include "shell/configuration/object_kinds.h"
#include "shell/configuration/record_command.h"

namespace kvel::shell {

tl::expected<void, CallFailure> show_objects(const Grammar& grammar, int context, const std::string& name,
                                             const ShownKind& kind) {
  if (name.empty()) {
    output::open_element(kind.element);
    auto fetched =
        for_each_object(context, kind.kind, [&](const ObjectRecord& object) { kind.print(grammar, object); });
    output::close_element(kind.element);
    return fetched;
  }
  const auto object = get_object(context, kind.kind, name);
  if (!object) return tl::unexpected(failure_of(kind.kind, name, object.error()));
  output::open_element(kind.element);
  kind.print(grammar, *object);
  output::close_element(kind.element);
  return {};
}

void print_settings(const ObjectRecord& object, std::string_view type_title, std::string_view left_out) {
  for (const auto& [member, value] : object.items()) {
    if (member == "kind" || member == left_out) continue;
    if (member == "type") {
      output::value("type", type_title);
    } else {
      print_member(member, value);
    }
  }
}

void print_part(std::string_view element, const Grammar& grammar, std::string_view mode, std::string_view kind,
                const ObjectRecord& part) {
  output::open_element(element);
  for (const auto& [member, value] : part.items()) {
    if (const auto word = word_of_code(grammar, mode, kind, member, value)) {
      output::value("name", *word);
    } else {
      print_member(member, value);
    }
  }
  output::close_element(element);
}

}  // namespace kvel::shell
