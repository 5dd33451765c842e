// A line as somebody may type it, and the modes in which it is typed, out of a fuzzer's bytes.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <vector>

#include "shell/matcher/token.h"

namespace kvel::fuzz {

using Modes = std::vector<shell::ModeLevel>;

struct TypedLine {
  const Modes* modes = nullptr;  // the top mode first
  std::string line;              // any bytes at all
};

// The line is any text, or a command of those modes that has been tampered with in a few places.
[[nodiscard]] TypedLine any_line(FuzzedDataProvider& bytes);

}  // namespace kvel::fuzz
