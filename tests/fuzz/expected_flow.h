// Flows as docs/flows.md defines them, read once more from a parsed JSON document instead of piece by
// piece.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace kvel::fuzz {

// The flow on a line when it is in good order, otherwise nothing.
[[nodiscard]] std::optional<nlohmann::json> expected_flow(const std::string& line);

}  // namespace kvel::fuzz
