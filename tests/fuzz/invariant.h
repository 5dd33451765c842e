// What must hold for every input. A fuzz target stops at the first one that does not, and reports it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace kvel::fuzz {

// `where` describes the case: the line, the call.
inline void invariant(bool holds, std::string_view what, std::string_view where = {}) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %.*s\n  %.*s\n", static_cast<int>(what.size()), what.data(),
               static_cast<int>(where.size()), where.data());
  std::abort();
}

}  // namespace kvel::fuzz
