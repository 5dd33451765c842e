#include "manager/model/text.h"

#include <algorithm>

#include "encoding/utf8.h"

namespace kvel::manager {

using encoding::is_plain_text;

bool is_object_name(std::string_view name) {
  return !name.empty() && name.size() <= kMaxNameBytes && name.front() != '#' && is_plain_text(name);
}

bool is_class_map_name(std::string_view name) { return name != kClassDefault && is_object_name(name); }

bool is_description(std::string_view text) { return text.size() <= kMaxDescriptionBytes && is_plain_text(text); }

bool is_qualifier(std::string_view text) { return text.size() <= kMaxNameBytes && is_plain_text(text); }

bool is_expression_text(std::string_view text) { return text.size() <= kMaxExpressionBytes && is_plain_text(text); }

bool is_http_token(std::string_view name, std::size_t max_bytes) {
  constexpr std::string_view kSeparators = "()<>@,;:\\\"/[]?={}";
  if (name.empty() || name.size() > max_bytes) return false;
  return std::all_of(name.begin(), name.end(), [&](char character) {
    return character > 0x20 && character < 0x7f && kSeparators.find(character) == std::string_view::npos;
  });
}

}  // namespace kvel::manager
