#include "encoding/json_value.h"

#include <nlohmann/json.hpp>

namespace kvel::encoding {
namespace {

using Json = nlohmann::json;

bool is_nested_deeper(std::string_view text, std::size_t max_depth) {
  std::size_t depth = 0;
  bool is_in_text = false;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const char byte = text[index];
    if (byte == '"') is_in_text = !is_in_text;
    if (is_in_text && byte == '\\') ++index;  // what follows is part of the text, also a quote
    if (is_in_text) continue;
    if (byte == '{' || byte == '[') ++depth;
    if ((byte == '}' || byte == ']') && depth != 0) --depth;
    if (depth > max_depth) return true;
  }
  return false;
}

const Json& null_value() {
  static const Json null;
  return null;
}

}  // namespace

JsonValue::JsonValue() : value_(&null_value()) {}

bool JsonValue::is_object() const { return value_->is_object(); }
bool JsonValue::is_array() const { return value_->is_array(); }

std::optional<std::uint64_t> JsonValue::number() const {
  if (!value_->is_number_unsigned()) return std::nullopt;
  return value_->get<std::uint64_t>();
}
std::optional<bool> JsonValue::flag() const {
  if (!value_->is_boolean()) return std::nullopt;
  return value_->get<bool>();
}
const std::string* JsonValue::text() const { return value_->get_ptr<const std::string*>(); }

bool JsonValue::is_same_number(std::uint64_t number) const { return *value_ == number; }

std::optional<JsonValue> JsonValue::find(std::string_view name) const {
  const auto found = value_->find(name);
  if (found == value_->end()) return std::nullopt;
  return JsonValue(*found);
}

std::vector<JsonMember> JsonValue::members() const {
  std::vector<JsonMember> members;
  if (!is_object()) return members;
  members.reserve(value_->size());
  for (const auto& [name, value] : value_->get_ref<const Json::object_t&>())
    members.push_back({name, JsonValue(value)});
  return members;
}

std::vector<JsonValue> JsonValue::elements() const {
  std::vector<JsonValue> elements;
  if (!is_array()) return elements;
  elements.reserve(value_->size());
  for (const Json& value : *value_)
    elements.push_back(JsonValue(value));
  return elements;
}

std::string JsonValue::dump() const { return value_->dump(); }

tl::expected<JsonDocument, JsonFault> JsonDocument::parse(std::string_view text, std::size_t max_depth) {
  if (is_nested_deeper(text, max_depth)) return tl::unexpected(JsonFault::nested_too_deep);
  Json json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (json.is_discarded()) return tl::unexpected(JsonFault::malformed);
  return JsonDocument(std::make_shared<const Json>(std::move(json)));
}

}  // namespace kvel::encoding
