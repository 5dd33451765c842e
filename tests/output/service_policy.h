// "show service-policy" in the built plug-in, with the real output library and literal pages for its calls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "output/output.h"

namespace kvel::output::testing {

// What the backend answers: the pages one by one, then `last_status` with the last of them.
struct Answers {
  std::vector<std::string> pages;
  std::int32_t last_status = 0;
};

struct Shown {
  std::string document;  // what the output library wrote
  std::string printed;   // what the handler wrote to standard output by itself
  std::int32_t status = -1;
};

// Runs the command in a freshly loaded plug-in for the policy "edge".
[[nodiscard]] Shown show_service_policy(Format format, const Answers& answers, bool detail);

}  // namespace kvel::output::testing
