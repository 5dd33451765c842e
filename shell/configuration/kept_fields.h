// Settings of several fields of which a line may give some.
#pragma once

#include <cstdint>
#include <span>

#include "shell/matcher/token.h"

namespace kvel::shell {

// The fields of the setting in a line of these tokens that it does not give and that therefore stay as they are, as
// bits in the order of the setting's record. None when it gives all of them, or none at all: then the setting as a
// whole is meant.
[[nodiscard]] std::uint32_t kept_fields(std::span<const Token> tokens);

}  // namespace kvel::shell
