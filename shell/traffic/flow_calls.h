// The backend calls for traffic.
#pragma once

#include <cstdint>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "shell/configuration/objects.h"

namespace kvel::shell {

// A flow that was not counted, and why.
struct FlowFault {
  std::uint64_t line = 0;  // in its file, from 1
  std::string fault;
};

struct FlowCounts {
  std::uint64_t flows = 0;  // the sum of the others
  std::uint64_t classified = 0;
  std::uint64_t unclassified = 0;
  std::uint64_t refused = 0;
  std::vector<FlowFault> faults;  // of the refused ones, but perhaps not of all
};

// Has the flows of whole lines counted; `first_line` is the number of the first of them in its file.
[[nodiscard]] tl::expected<FlowCounts, CallFailure> count_flows(int context, std::uint64_t first_line,
                                                                const std::string& lines);

// What happens to a flow, as docs/flows.md describes it; {"fault": ...} when it cannot be read.
[[nodiscard]] tl::expected<ObjectRecord, CallFailure> explain_flow(int context, const std::string& flow);

}  // namespace kvel::shell
