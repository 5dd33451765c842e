// Regular expressions in rules.
#pragma once

#include <string_view>

#include "rpc/calls/status.h"

namespace kvel::manager {

// ok, or what is wrong with an expression and at which character (ExpressionFault): RE2 in its usual syntax, UTF-8. An
// empty one is taken.
[[nodiscard]] Status check_expression(std::string_view expression);

}  // namespace kvel::manager
