// Whole pages of the statistics stream from a short plan of what is in them: for tests that make plans at random.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/cli/statistics_stream.h"

namespace kvel::cli::test::stream {

// A group of actions.
struct PlannedAction {
  std::uint32_t type = 0;
  std::uint32_t count = 0;
  bool has_l7 = false;
  std::uint32_t rules = 0;
};

struct PlannedClass {
  std::string name;
  std::vector<PlannedAction> actions;
};

struct Plan {
  bool active = true;
  bool detail = false;
  std::vector<std::uint32_t> vlans;  // of an active policy
  std::vector<PlannedClass> classes;
};

// The class groups of a stream. A backend knows which classes go on: their load balancing and HTTP inspection come
// without records.
[[nodiscard]] std::vector<std::string> class_groups(const Plan& plan);

// A page of some of the class groups.
[[nodiscard]] std::string page_of(const Plan& plan, const std::vector<std::string>& groups);

}  // namespace kvel::cli::test::stream
