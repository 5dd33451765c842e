// Class-maps as JSON: the body in the store and the record that clients see (docs/configuration-records.md).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "manager/model/class_map.h"
#include "manager/model/record_body.h"

namespace kvel::manager {

// Appends the store's body: the record without kind and name, which are its key, and without the rules, which have
// bodies of their own.
void append_body(std::string& out, const ClassMapSettings& settings);

// Appends the record, with the number of the rules instead of them when they are too long.
void append_record(std::string& out, std::string_view name, const ClassMap& class_map);

// Appends the rules after a line as an array: as many as fit into kMaxPartsBytes, but at least one if there is one. The
// place of a rule is its line.
[[nodiscard]] PartsPage append_parts(std::string& out, const ClassMap& class_map, std::uint64_t after);

// Reads a body. It must be exactly what append_body writes; the error states the difference.
[[nodiscard]] tl::expected<ClassMapSettings, std::string> read_class_map(std::string_view body);

}  // namespace kvel::manager
