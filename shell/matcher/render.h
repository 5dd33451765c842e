// The matcher backwards: from tokens to the line that produces them, for "show running-config".
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "shell/grammar/grammar.h"
#include "shell/matcher/token.h"

namespace kvel::shell {

enum class RenderError : std::uint8_t {
  unknown_action,  // no command of that mode and sense calls this handler
  no_command,      // no such command yields exactly these tokens
  no_line,         // a command does, but no line reads back as these tokens: a value holds control or invalid bytes
};

// The line, without line end, that matches in `mode` a command with this action (handler symbol or shell command id)
// and sense and yields exactly `tokens`, the carried ones not included. Values are quoted where needed. Every line
// returned has been matched again and gave the same tokens.
[[nodiscard]] tl::expected<std::string, RenderError> render(const Grammar& grammar, ModeId mode,
                                                            std::string_view action, bool negated,
                                                            std::span<const Token> tokens);

}  // namespace kvel::shell
