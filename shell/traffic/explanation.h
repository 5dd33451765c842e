// "explain": what the applied policy-maps do with one flow, and why.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Prints the explanation of a flow, given as a JSON object, through the output library: each policy-map that was asked,
// its classes up to the one that matched, their rules rendered as commands.
[[nodiscard]] tl::expected<void, CallFailure> explain(const Grammar& grammar, int context, const std::string& flow);

}  // namespace kvel::shell
