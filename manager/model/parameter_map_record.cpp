#include "manager/model/parameter_map_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "encoding/json_writer.h"
#include "manager/model/field_record.h"
#include "manager/model/record_body.h"

namespace kvel::manager {
namespace {

using encoding::JsonValue;
using encoding::JsonWriter;
using Form = SettingField::Form;
using Refusal = tl::unexpected<std::string>;

constexpr std::size_t kMaxCharacters = 4;

// The characters that a word holds, the first in its highest byte.
std::string characters_of(std::uint32_t packed) {
  std::string text;
  for (; packed != 0; packed <<= 8U)
    text += static_cast<char>(packed >> 24U);
  return text;
}

std::optional<std::uint32_t> pack_characters(const std::string& text) {
  if (text.size() > kMaxCharacters) return std::nullopt;
  std::uint32_t packed = 0;
  for (std::size_t index = 0; index < kMaxCharacters; ++index)
    packed = packed << 8U | (index < text.size() ? static_cast<unsigned char>(text[index]) : 0U);
  return packed;
}

void write_field(JsonWriter& json, const SettingField& field, std::uint32_t value) {
  switch (field.form) {
    case Form::choice:
      return json.text(field.name, field.words[value]);
    case Form::characters:
      return json.text(field.name, characters_of(value));
    case Form::number:
      break;
  }
  json.number(field.name, value);
}

void write_setting(JsonWriter& json, const ParameterSetting& setting, const SettingValue& value) {
  json.begin_object();
  json.text("setting", setting.kind);
  if (setting.code) json.number("code", *setting.code);
  for (std::size_t index = 0; index < setting.field_count; ++index)
    write_field(json, setting.fields[index], value[index]);
  json.end_object();
}

std::optional<std::uint32_t> read_field(JsonValue json, const SettingField& field) {
  if (field.form == Form::number) return read_word(json);
  const std::string* text = json.text();
  if (text == nullptr) return std::nullopt;
  if (field.form == Form::characters) return pack_characters(*text);
  const auto found = std::ranges::find(field.words, *text);
  if (found == field.words.end()) return std::nullopt;
  return static_cast<std::uint32_t>(found - field.words.begin());
}

tl::expected<void, std::string> read_setting(JsonValue json, ParameterMapSettings& settings) {
  const auto member = json.find("setting");
  const std::string* kind = member ? member->text() : nullptr;
  if (kind == nullptr) return Refusal("it has a setting without a kind");
  const auto table = settings_of(settings.type);
  const auto row = std::ranges::find_if(table, [&](const ParameterSetting& setting) {
    if (setting.kind != *kind) return false;
    return !setting.code || json.find("code").value_or(JsonValue()).is_same_number(*setting.code);
  });
  if (row == table.end()) return Refusal(fmt::format("its type has no setting {}", json.dump()));
  SettingValue& value = settings.values[static_cast<std::size_t>(row - table.begin())];
  for (std::size_t index = 0; index < row->field_count; ++index) {
    const SettingField& field = row->fields[index];
    const auto found = json.find(field.name);
    // A missing field keeps its default: the whole is compared with what would be written.
    if (!found) continue;
    const auto read = read_field(*found, field);
    if (!read) return Refusal(fmt::format("its setting {:?}: {} cannot be {}", *kind, field.name, found->dump()));
    value[index] = *read;
  }
  if (value == row->default_value()) return {};
  const Status status = check_setting(*row, value);
  if (!succeeded(status)) return Refusal(fmt::format("its setting {:?}: {}", *kind, status_text(status)));
  return {};
}

}  // namespace

void write_members(JsonWriter& json, const ParameterMapSettings& settings) {
  json.number("type", static_cast<unsigned>(settings.type));
  bool is_empty = true;
  const auto table = settings_of(settings.type);
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (settings.values[index] == table[index].default_value()) continue;
    if (std::exchange(is_empty, false)) json.begin_array("settings");
    write_setting(json, table[index], settings.values[index]);
  }
  if (!is_empty) json.end_array();
}

void append_body(std::string& out, const ParameterMapSettings& settings) {
  JsonWriter json(out);
  json.begin_object();
  write_members(json, settings);
  json.end_object();
}

tl::expected<ParameterMapSettings, std::string> read_parameter_map(std::string_view body) {
  const auto document = parse_body(body);
  if (!document) return Refusal(document.error());
  const JsonValue json = document->root();
  const JsonValue type = json.find("type").value_or(JsonValue());
  const auto number = type.number();
  if (!number || *number > kMaxParameterMapType) {
    return Refusal(fmt::format("its type {} is none of 0 to {}", type.dump(), kMaxParameterMapType));
  }
  ParameterMapSettings settings(static_cast<ParameterMapType>(*number));
  if (const auto list = json.find("settings")) {
    if (!list->is_array()) return Refusal("its settings are no array");
    for (const JsonValue setting : list->elements()) {
      if (auto read = read_setting(setting, settings); !read) return Refusal(std::move(read).error());
    }
  }
  return as_written(std::move(settings), body);
}

}  // namespace kvel::manager
