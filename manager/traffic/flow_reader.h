// Reads flows as text (docs/flows.md).
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "manager/traffic/flow.h"

namespace kvel::manager {

// Whether there is nothing on a line but white space.
[[nodiscard]] bool is_blank(std::string_view line);

// Reads one flow: a JSON object, with white space around it as may be. The error states what is wrong with which
// member, in well-formed UTF-8 and few words however long the line is: "its destination_port 70000 is above 65535".
[[nodiscard]] tl::expected<Flow, std::string> read_flow(std::string_view line);

}  // namespace kvel::manager
