// "show ssl-proxy": SSL-proxy services with their members, for people and as documents.
#pragma once

#include <string>
#include <tl/expected.hpp>

#include "shell/configuration/objects.h"
#include "shell/grammar/grammar.h"

namespace kvel::shell {

// Prints the SSL-proxy service of that name, or all of a context when it is empty.
[[nodiscard]] tl::expected<void, CallFailure> show_ssl_proxy(const Grammar& grammar, int context,
                                                             const std::string& name);

}  // namespace kvel::shell
