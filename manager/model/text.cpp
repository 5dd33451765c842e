#include "manager/model/text.h"

#include <algorithm>

#include "encoding/unprintable.h"
#include "encoding/utf8.h"

namespace kvel::manager {

using encoding::is_plain_text;

namespace {

bool has_name_shape(std::string_view name) {
  return !name.empty() && name.size() <= kMaxNameBytes && name.front() != '#';
}

}  // namespace

bool is_object_name(std::string_view name) { return has_name_shape(name) && is_plain_text(name); }

bool is_class_map_name(std::string_view name) { return name != kClassDefault && is_object_name(name); }

Status check_new_name(std::string_view name) {
  if (!has_name_shape(name)) return Status::invalid_name;
  std::uint32_t number = 1;
  for (std::size_t at = 0; at < name.size(); ++number) {
    const encoding::DecodedCharacter character = encoding::decode_utf8(name, at);
    if (character.length == 0) return status_of(NameFault{NameFault::kNoCharacter, number});
    if (encoding::is_unprintable(character.code)) return status_of(NameFault{character.code, number});
    at += character.length;
  }
  return Status::ok;
}

Status check_new_class_map_name(std::string_view name) {
  return name == kClassDefault ? Status::invalid_name : check_new_name(name);
}

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
