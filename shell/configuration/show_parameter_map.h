// "show parameter-map" as a document. Its text is printed by the plug-in.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Prints the parameter-map of that name, or all of a context when it is empty.
[[nodiscard]] tl::expected<void, CallFailure> show_parameter_map(const Grammar& grammar, int context,
                                                                 const std::string& name);

}  // namespace kvel::shell
