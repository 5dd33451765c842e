// The settings of parameter-maps: one table for each type, which states what a setting is called, what it can be, what
// it is when nobody sets it, and where clients send and read it. Changing, showing, writing and reading follow from it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "rpc/calls/status.h"

namespace kvel::manager {

// Numbered as in calls and records.
enum class ParameterMapType : std::uint8_t { connection = 0, http = 1, ssl = 2 };
inline constexpr std::uint8_t kMaxParameterMapType = 2;

// The fields of one setting, in the order of their record. Texts are held as the word in which they are sent.
inline constexpr std::size_t kMaxSettingFields = 2;
using SettingValue = std::array<std::uint32_t, kMaxSettingFields>;

// The value of a field that means none: a setting that is off has it, and no client can send it.
inline constexpr std::uint32_t kOff = 0xffff'ffff;

// Where a field lies among the bytes of a record.
struct BytePlace {
  enum class Width : std::uint8_t { nothing, byte, word };
  std::size_t at = 0;
  Width width = Width::nothing;
};

struct SettingField {
  enum class Form : std::uint8_t {
    number,      // 0 to `max`
    choice,      // one of `words`, which stand for 0, 1 and so on
    characters,  // 1 to 4 visible ASCII characters, the first in the highest byte
  };
  std::string_view name;
  Form form = Form::number;
  std::uint32_t max = 0;
  std::span<const std::string_view> words{};
  BytePlace sent{};   // in the record of cm_param_map_config
  BytePlace shown{};  // in an entry of cm_show_parameter_map
  std::uint32_t default_value = 0;
};

// How the two fields of a setting belong together.
enum class FieldOrder : std::uint8_t {
  any,
  range,   // the first is not above the second
  bounds,  // likewise, but 0 is no bound
};

struct ParameterSetting {
  std::uint32_t mask = 0;  // its bit of the change mask
  std::string_view kind;
  std::array<SettingField, kMaxSettingFields> fields{};
  std::size_t field_count = 1;
  FieldOrder order = FieldOrder::any;
  // Settings that share a kind and a bit are distinguished by a code, which is sent as a word.
  std::optional<std::uint32_t> code{};
  BytePlace code_sent{};
  // Shown as 1 while this setting, or another one with the same place, is not at its default.
  BytePlace is_set_shown{};

  [[nodiscard]] constexpr SettingValue default_value() const {
    return {fields[0].default_value, fields[1].default_value};
  }
};

inline constexpr std::size_t kMaxParameterSettings = 25;

// The settings of a type, in the order of records.
[[nodiscard]] std::span<const ParameterSetting> settings_of(ParameterMapType type);

// All bits that the change mask of a type can have.
[[nodiscard]] std::uint32_t known_mask(ParameterMapType type);

// ok, or why a setting cannot have this value. Its default is none of the values that can be given where it is kOff.
[[nodiscard]] Status check_setting(const ParameterSetting& setting, const SettingValue& value);

}  // namespace kvel::manager
