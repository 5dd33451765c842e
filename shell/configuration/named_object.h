// Commands that give nothing of an object but its name and type.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "shell/matcher/token.h"

namespace kvel::shell {

// An object as a command names it: its kind (kvel/host.h), its name, and the type that its record would have, if
// objects of the kind have one.
struct NamedObject {
  std::uint32_t kind = 0;
  std::string name;
  std::optional<int> type;
};

// The kind of the objects whose mode this is; nothing for other modes.
[[nodiscard]] std::optional<std::uint32_t> kind_of_mode(std::string_view mode);

// The object whose mode is entered, when its name and type are all that the tokens give. Such a command leaves an
// object of that type that exists as it is.
[[nodiscard]] std::optional<NamedObject> object_only_named(std::string_view mode, std::span<const Token> tokens);

}  // namespace kvel::shell
