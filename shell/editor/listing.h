// The lists that "?" and tab show.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "shell/matcher/mismatch.h"

namespace kvel::shell {

// Longer lists are asked about first.
inline constexpr std::size_t kMostUnasked = 100;

// What a list shows: how many entries, and its lines as a terminal may be shown them.
struct Listing {
  std::size_t entries = 0;
  std::string text;

  // A block of entries with their help in a column of its own.
  void add(const std::vector<Expected>& block);
  void add_line(const std::string& line);
};

}  // namespace kvel::shell
