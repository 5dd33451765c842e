// What a refused call does not say: which object is missing, and who uses the one that cannot be deleted.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "rpc/calls/status.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

// Who refers to an object of a kind of kvel/host.h: "policy-map site (class shop)". Empty when nobody does, or when the
// manager cannot be asked.
[[nodiscard]] std::vector<std::string> users_of(int context, std::uint32_t kind, const std::string& name);

// Lines for the user about a call that failed with this status in a command with these tokens; none when `message`,
// what is told already, says all. Asks the manager.
[[nodiscard]] std::string details_of(Status status, int context, std::span<const Token> tokens,
                                     std::string_view message);

}  // namespace kvel::shell
