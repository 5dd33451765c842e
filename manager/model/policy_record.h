// Policy-maps, their classes and actions as JSON: the bodies in the store and the record that clients see
// (docs/configuration-records.md).
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "encoding/json_writer.h"
#include "manager/model/policy_class.h"
#include "manager/model/policy_map.h"

namespace kvel::manager {

// Appends the store's body of a policy-map: the record without kind and name, which are its key, and without the
// classes, which have bodies of their own.
void append_body(std::string& out, const PolicyMapSettings& settings);

// Appends the store's body of a class: its record without the line.
void append_body(std::string& out, const PolicyClassContent& content);

// Writes the record of an action, and the actions of a class as an array of theirs.
void write_action(encoding::JsonWriter& json, const PolicyAction& action);
void write_actions(encoding::JsonWriter& json, const ActionList& actions);

// Write the members of a body into the object that is open.
void write_members(encoding::JsonWriter& json, const PolicyMapSettings& settings);
void write_members(encoding::JsonWriter& json, const PolicyClassContent& content);

// Read a body. It must be exactly what append_body writes, of what calls would take; the error states the difference. A
// class is read for a policy-map of a type; that the objects which it names exist is not looked at.
[[nodiscard]] tl::expected<PolicyMapSettings, std::string> read_policy_map(std::string_view body);
[[nodiscard]] tl::expected<PolicyClassContent, std::string> read_policy_class(std::string_view body,
                                                                              PolicyMapType type);

}  // namespace kvel::manager
