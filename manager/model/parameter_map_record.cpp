#include "manager/model/parameter_map_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "manager/model/field_record.h"
#include "manager/model/json_text.h"
#include "manager/model/record_body.h"

namespace kvel::manager {
namespace {

using Form = SettingField::Form;
using Json = nlohmann::json;
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

void append_field(std::string& out, const SettingField& field, std::uint32_t value) {
  switch (field.form) {
    case Form::choice:
      return append_json_string(out, field.words[value]);
    case Form::characters:
      return append_json_string(out, characters_of(value));
    case Form::number:
      break;
  }
  append_value(out, value);
}

void append_setting(std::string& out, const ParameterSetting& setting, const SettingValue& value) {
  fmt::format_to(std::back_inserter(out), R"({{"setting":"{}")", setting.kind);
  if (setting.code) fmt::format_to(std::back_inserter(out), R"(,"code":{})", *setting.code);
  for (std::size_t index = 0; index < setting.field_count; ++index) {
    fmt::format_to(std::back_inserter(out), R"(,"{}":)", setting.fields[index].name);
    append_field(out, setting.fields[index], value[index]);
  }
  out += '}';
}

void append_members(std::string& out, const ParameterMapSettings& settings) {
  fmt::format_to(std::back_inserter(out), R"("type":{})", static_cast<unsigned>(settings.type));
  const char* before = R"(,"settings":[)";
  const char* end = "";
  const auto table = settings_of(settings.type);
  for (std::size_t index = 0; index < table.size(); ++index) {
    if (settings.values[index] == table[index].default_value()) continue;
    out += before;
    append_setting(out, table[index], settings.values[index]);
    before = ",";
    end = "]";
  }
  out += end;
}

std::optional<std::uint32_t> read_field(const Json& json, const SettingField& field) {
  if (field.form == Form::number) {
    std::uint32_t number = 0;
    return read_value(json, number) ? std::optional(number) : std::nullopt;
  }
  std::string text;
  if (!read_value(json, text)) return std::nullopt;
  if (field.form == Form::characters) return pack_characters(text);
  const auto found = std::ranges::find(field.words, text);
  if (found == field.words.end()) return std::nullopt;
  return static_cast<std::uint32_t>(found - field.words.begin());
}

tl::expected<void, std::string> read_setting(const Json& json, ParameterMapSettings& settings) {
  const auto member = json.find("setting");
  if (member == json.end() || !member->is_string()) return Refusal("it has a setting without a kind");
  const auto& kind = member->get_ref<const std::string&>();
  const auto table = settings_of(settings.type);
  const auto row = std::ranges::find_if(table, [&](const ParameterSetting& setting) {
    if (setting.kind != kind) return false;
    return !setting.code || json.value("code", Json()) == *setting.code;
  });
  if (row == table.end()) return Refusal(fmt::format("its type has no setting {}", json.dump()));
  SettingValue& value = settings.values[static_cast<std::size_t>(row - table.begin())];
  for (std::size_t index = 0; index < row->field_count; ++index) {
    const SettingField& field = row->fields[index];
    const auto found = json.find(field.name);
    // A missing field keeps its default: the whole is compared with what would be written.
    if (found == json.end()) continue;
    const auto read = read_field(*found, field);
    if (!read) return Refusal(fmt::format("its setting {:?}: {} cannot be {}", kind, field.name, found->dump()));
    value[index] = *read;
  }
  if (value == row->default_value()) return {};
  const Status status = check_setting(*row, value);
  if (!succeeded(status)) return Refusal(fmt::format("its setting {:?}: {}", kind, status_text(status)));
  return {};
}

}  // namespace

void append_body(std::string& out, const ParameterMapSettings& settings) {
  out += '{';
  append_members(out, settings);
  out += '}';
}

void append_record(std::string& out, std::string_view name, const ParameterMap& parameter_map) {
  out += R"({"kind":"parameter-map","name":)";
  append_json_string(out, name);
  out += ',';
  append_members(out, parameter_map.settings);
  out += '}';
}

tl::expected<ParameterMapSettings, std::string> read_parameter_map(std::string_view body) {
  const auto json = parse_body(body);
  if (!json) return Refusal(json.error());
  const Json type = json->value("type", Json());
  if (!type.is_number_unsigned() || type.get<std::uint64_t>() > kMaxParameterMapType) {
    return Refusal(fmt::format("its type {} is none of 0 to {}", type.dump(), kMaxParameterMapType));
  }
  ParameterMapSettings settings(static_cast<ParameterMapType>(type.get<std::uint8_t>()));
  const Json list = json->value("settings", Json::array());
  if (!list.is_array()) return Refusal("its settings are no array");
  for (const Json& setting : list) {
    if (auto read = read_setting(setting, settings); !read) return Refusal(std::move(read).error());
  }
  std::string written;
  append_body(written, settings);
  if (written != body) return Refusal(kOtherForm);
  return settings;
}

}  // namespace kvel::manager
