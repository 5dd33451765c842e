// "show uses": what refers to an object.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Prints each object that refers to one of that name, with the commands that do, through the output library. A name
// that no object has is a failure.
[[nodiscard]] tl::expected<void, CallFailure> show_uses(const Grammar& grammar, int context, const std::string& name);

}  // namespace kvel::shell
