// The bodies of records in the store, as those of all kinds are read: a JSON object, which is taken only in the form
// that this system writes.
#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

#include "encoding/json_value.h"

namespace kvel::manager {

// The error of a body that would be written in another way: with missing, unknown or repeated members, or with
// other spellings of the same.
inline constexpr const char* kOtherForm = "its body is not in the form that this system writes";

// The object that a body holds, or why it holds none.
[[nodiscard]] tl::expected<encoding::JsonDocument, std::string> parse_body(std::string_view body);

// What was read from a body, if append_body writes the same.
template <class Content>
[[nodiscard]] tl::expected<Content, std::string> as_written(Content content, std::string_view body) {
  std::string written;
  append_body(written, content);
  if (written != body) return tl::unexpected<std::string>(kOtherForm);
  return content;
}

// The description in a member.
[[nodiscard]] tl::expected<std::string, std::string> read_description(encoding::JsonValue value);

// The error of a member that no such object has.
[[nodiscard]] std::string unknown_member(std::string_view name);

}  // namespace kvel::manager
