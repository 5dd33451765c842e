// The bodies of records in the store, as those of all kinds are read: a JSON object, which is taken only in the form
// that this system writes. Only for the files that read them: it brings the JSON library along.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace kvel::manager {

// What is said against a body that would be written in another way: with missing, unknown or repeated members, or with
// other spellings of the same.
inline constexpr const char* kOtherForm = "its body is not in the form that this system writes";

// The object that a body holds, or why it holds none.
[[nodiscard]] tl::expected<nlohmann::json, std::string> parse_body(std::string_view body);

}  // namespace kvel::manager
