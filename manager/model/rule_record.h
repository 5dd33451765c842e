// Match rules as JSON: the body in the store and the record that clients see (docs/configuration-records.md).
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "encoding/json_value.h"
#include "encoding/json_writer.h"
#include "manager/model/match_rule.h"

namespace kvel::manager {

// Appends the store's body: the record without the line, which is its key.
void append_body(std::string& out, const MatchRule& rule);

// Writes the members of the body into the object that is open.
void write_members(encoding::JsonWriter& json, const MatchRule& rule);

// Reads a body. It must be exactly what append_body writes, of a rule that a call would take; the error is the reason.
[[nodiscard]] tl::expected<MatchRule, std::string> read_rule(std::string_view body);

// Reads a rule that is part of a larger body, whose form its owner compares.
[[nodiscard]] tl::expected<MatchRule, std::string> read_rule_members(encoding::JsonValue json);

}  // namespace kvel::manager
