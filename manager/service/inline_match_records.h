// Reads the records in which clients send inline matches.
#pragma once

#include <cstddef>
#include <span>
#include <tl/expected.hpp>

#include "manager/model/match_rule.h"
#include "rpc/calls/status.h"

namespace kvel::manager {

// The rule in a record, unchecked. Only the fields of its kind are read. invalid_code: there is no such kind;
// bad_arguments: a flag is neither 0 nor 1, or a text does not end.
[[nodiscard]] tl::expected<MatchRule, Status> read_lb_match(std::span<const std::byte, 332> record);
[[nodiscard]] tl::expected<MatchRule, Status> read_http_match(std::span<const std::byte, 328> record);

}  // namespace kvel::manager
