#include "manager/model/text.h"

#include <algorithm>
#include <cstdint>

namespace kvel::manager {
namespace {

struct CodePoint {
  std::uint32_t value = 0;
  std::size_t size = 0;  // bytes taken; 0: malformed
};

constexpr bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U; }

CodePoint first_code_point(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  const std::size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < size) return {};
  std::uint32_t value = lead & (0xffU >> (size + 1));
  for (const char byte : text.substr(1, size - 1)) {
    if (!is_continuation(byte)) return {};
    value = value << 6 | (static_cast<unsigned char>(byte) & 0x3fU);
  }
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = value >= 0xd800 && value <= 0xdfff;
  if (value < kSmallest[size] || value > 0x10ffff || surrogate) return {};
  return {value, size};
}

constexpr bool is_control(std::uint32_t value) { return value < 0x20 || (value >= 0x7f && value <= 0x9f); }

}  // namespace

bool is_plain_text(std::string_view text) {
  while (!text.empty()) {
    const CodePoint point = first_code_point(text);
    if (point.size == 0 || is_control(point.value)) return false;
    text.remove_prefix(point.size);
  }
  return true;
}

bool is_object_name(std::string_view name) {
  return !name.empty() && name.size() <= kMaxNameBytes && name.front() != '#' && is_plain_text(name);
}

bool is_class_map_name(std::string_view name) { return name != kClassDefault && is_object_name(name); }

bool is_description(std::string_view text) { return text.size() <= kMaxDescriptionBytes && is_plain_text(text); }

bool is_qualifier(std::string_view text) { return text.size() <= kMaxNameBytes && is_plain_text(text); }

bool is_expression_text(std::string_view text) { return text.size() <= kMaxExpressionBytes && is_plain_text(text); }

std::string_view beginning_of(std::string_view text, std::size_t max_bytes) {
  if (text.size() <= max_bytes) return text;
  std::size_t end = max_bytes;
  while (end != 0 && is_continuation(text[end]))
    --end;
  return text.substr(0, end);
}

bool is_http_token(std::string_view name, std::size_t max_bytes) {
  constexpr std::string_view kSeparators = "()<>@,;:\\\"/[]?={}";
  if (name.empty() || name.size() > max_bytes) return false;
  return std::all_of(name.begin(), name.end(), [&](char character) {
    return character > 0x20 && character < 0x7f && kSeparators.find(character) == std::string_view::npos;
  });
}

}  // namespace kvel::manager
