// Reading one token, and the session's identity, from a parsed command.
#pragma once

#include <cstdint>

#include "kvel/command.h"

namespace kvel::cli {

// A token without text reads as an empty string, or as the number 0.
inline const char* token_text(const CliToken& token) {
  return token.text == nullptr ? "" : static_cast<const char*>(token.text);
}

inline std::uint32_t token_number(const CliToken& token) {
  return token.text == nullptr ? 0 : *static_cast<const std::uint32_t*>(token.text);
}

}  // namespace kvel::cli
