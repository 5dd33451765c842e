// The rules for names and texts of objects, one copy of each. Plain text is encoding::is_plain_text().
#pragma once

#include <cstddef>
#include <string_view>

#include "rpc/calls/status.h"

namespace kvel::manager {

inline constexpr std::size_t kMaxNameBytes = 64;
inline constexpr std::size_t kMaxDescriptionBytes = 240;
inline constexpr std::size_t kMaxExpressionBytes = 255;

// 1 to 64 bytes of plain text that do not begin with "#": such names are the system's own.
[[nodiscard]] bool is_object_name(std::string_view name);

// The class that every policy-map has, and which no class-map, policy-map or match can be named like.
inline constexpr std::string_view kClassDefault = "class-default";

// An object name other than that. Policy-maps and inline matches are named so too.
[[nodiscard]] bool is_class_map_name(std::string_view name);

// ok when something new may be named so, or why not: the names above, without characters that cannot be shown. What had
// such a name before they were refused keeps it.
[[nodiscard]] Status check_new_name(std::string_view name);
[[nodiscard]] Status check_new_class_map_name(std::string_view name);

// At most 240 bytes of plain text; empty means none.
[[nodiscard]] bool is_description(std::string_view text);

// The further word of a URL rule: at most 64 bytes of plain text; empty means none.
[[nodiscard]] bool is_qualifier(std::string_view text);

// At most 255 bytes of plain text.
[[nodiscard]] bool is_expression_text(std::string_view text);

// The name of an HTTP header or cookie: 1 to 64 ASCII characters, or to another limit, no controls, no white space, no
// separators.
[[nodiscard]] bool is_http_token(std::string_view name, std::size_t max_bytes = kMaxNameBytes);

}  // namespace kvel::manager
