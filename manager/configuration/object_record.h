// Whole objects as the JSON records that clients see (docs/configuration-records.md).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "manager/configuration/objects.h"

namespace kvel::manager {

// How many bytes of rules or classes a record holds, or a page of them does. A record with more has their number
// instead, and they are paged.
inline constexpr std::size_t kMaxPartsBytes = std::size_t{1} << 20U;

// Append the record, with the number of the parts instead of them when they are too long.
void append_record(std::string& out, std::string_view name, const ClassMap& class_map);
void append_record(std::string& out, std::string_view name, const PolicyMap& policy_map);
void append_record(std::string& out, std::string_view name, const ParameterMap& parameter_map);
void append_record(std::string& out, std::string_view name, const SslProxy& service);

// What a page of parts came to: the place of its last part, 0 when there is none, and whether it is the last page.
struct PartsPage {
  std::uint64_t last = 0;
  bool is_last = true;
};

// Append the parts after a place as an array: as many as fit into kMaxPartsBytes, but at least one if there is one. The
// place of a rule is its line, that of a class its position. The other kinds have no parts.
[[nodiscard]] PartsPage append_parts(std::string& out, const ClassMap& class_map, std::uint64_t after);
[[nodiscard]] PartsPage append_parts(std::string& out, const PolicyMap& policy_map, std::uint64_t after);
[[nodiscard]] PartsPage append_parts(std::string& out, const ParameterMap& parameter_map, std::uint64_t after);
[[nodiscard]] PartsPage append_parts(std::string& out, const SslProxy& service, std::uint64_t after);

}  // namespace kvel::manager
