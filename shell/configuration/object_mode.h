// The modes of objects, and the commands that enter them.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "shell/matcher/token.h"

namespace kvel::shell {

// The kind (kvel/host.h) of the objects whose mode this is; nothing for other modes.
[[nodiscard]] std::optional<std::uint32_t> kind_of_mode(std::string_view mode);

// Whether the mode is that of an object whose name and type are all that the tokens give. Such a command leaves an
// object of that type that exists as it is.
[[nodiscard]] bool is_object_only_named(std::string_view mode, std::span<const Token> tokens);

}  // namespace kvel::shell
