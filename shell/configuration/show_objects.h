// What the show commands of single kinds of object share.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// A kind of object that can be shown.
struct ShownKind {
  std::uint32_t kind;        // of kvel/host.h
  std::string_view element;  // around all of them in a document
  void (*print)(const Grammar& grammar, const ObjectRecord& object);
};

// Prints the object of that name, or all of a context when it is empty, through the output library.
[[nodiscard]] tl::expected<void, CallFailure> show_objects(const Grammar& grammar, int context, const std::string& name,
                                                           const ShownKind& kind);

// The members of an object that precede its parts, as elements: `type` by its title, and none of `left_out`.
void print_settings(const ObjectRecord& object, std::string_view type_title, std::string_view left_out);

// A part of an object, of the kind of record that its first text names, as an element. A code is shown by the grammar's
// word for it in `mode`, under the name "name".
void print_part(std::string_view element, const Grammar& grammar, std::string_view mode, std::string_view kind,
                const ObjectRecord& part);

}  // namespace kvel::shell
