#include "manager/service/parameter_records.h"

#include <algorithm>
#include <bit>

#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

using Width = BytePlace::Width;

constexpr std::size_t kMaskAt = 0;
constexpr std::size_t kTypeAt = 8;
constexpr std::size_t kNameAt = 12;

std::uint32_t read(SettingsRecord record, BytePlace place) {
  switch (place.width) {
    case Width::byte:
      return std::to_integer<std::uint32_t>(record[place.at]);
    case Width::word:
      return word_of(record.subspan(place.at).first<4>());
    case Width::nothing:
      break;
  }
  return 0;
}

void write(ParameterEntry entry, BytePlace place, std::uint32_t value) {
  switch (place.width) {
    case Width::byte:
      entry[place.at] = static_cast<std::byte>(value);
      break;
    case Width::word:
      put_word(entry.subspan(place.at).first<4>(), value);
      break;
    case Width::nothing:
      break;
  }
}

// Some of so many fields as bits, not all.
bool is_some_of(std::size_t fields, std::uint32_t bits) { return bits < (std::uint32_t{1} << fields) - 1; }

SettingValue read(SettingsRecord record, const ParameterSetting& setting) {
  SettingValue value{};
  for (std::size_t index = 0; index < setting.field_count; ++index)
    value[index] = read(record, setting.fields[index].sent);
  return value;
}

}  // namespace

Status check_mask(ParameterMapType type, SettingsRecord record) {
  const std::uint32_t mask = word_at<kMaskAt>(record);
  if ((mask & ~known_mask(type)) != 0) return Status::bad_arguments;
  // An SSL map has one value for whatever setting is named.
  const bool is_clear = type != ParameterMapType::ssl || std::popcount(mask) <= 1;
  return is_clear ? Status::ok : Status::bad_arguments;
}

tl::expected<ParameterMapSettings, Status> change_settings(ParameterMapSettings settings, SettingsRecord record,
                                                           bool add, std::uint32_t kept) {
  const std::uint32_t mask = word_at<kMaskAt>(record);
  std::uint32_t found = 0;
  const auto table = settings_of(settings.type);
  for (std::size_t index = 0; index < table.size(); ++index) {
    const ParameterSetting& setting = table[index];
    const bool is_named = (mask & setting.mask) != 0;
    if (!is_named || (setting.code && read(record, setting.code_sent) != *setting.code)) continue;
    found |= setting.mask;
    SettingValue value = add ? read(record, setting) : setting.default_value();
    if (const Status status = add ? check_setting(setting, value) : Status::ok; !succeeded(status)) {
      return tl::unexpected(status);
    }
    if (kept != 0) {
      if (setting.field_count != value.size() || !is_some_of(value.size(), kept) || !std::has_single_bit(mask)) {
        return tl::unexpected(Status::bad_arguments);
      }
      for (std::size_t field = 0; field < value.size(); ++field)
        if ((kept >> field & 1U) != 0) value[field] = settings.values[index][field];
      if (!succeeded(check_setting(setting, value))) return tl::unexpected(Status::bounds_crossed);
    }
    settings.values[index] = value;
  }
  // A code without a meaning.
  if (found != mask) return tl::unexpected(Status::invalid_setting);
  return settings;
}

void put_entry(ParameterEntry entry, std::string_view name, const ParameterMapSettings& settings) {
  std::ranges::fill(entry, std::byte{0});
  put_word(entry.subspan<kTypeAt, 4>(), static_cast<std::uint32_t>(settings.type));
  put_text(entry.subspan<kNameAt, kNameBytes>(), name);
  const auto table = settings_of(settings.type);
  for (std::size_t index = 0; index < table.size(); ++index) {
    const ParameterSetting& setting = table[index];
    const SettingValue& value = settings.values[index];
    for (std::size_t field = 0; field < setting.field_count; ++field) {
      const SettingField& shown = setting.fields[field];
      // A setting that is off has no value.
      write(entry, shown.shown, value[field] <= shown.max ? value[field] : 0);
    }
    if (value != setting.default_value()) write(entry, setting.is_set_shown, 1);
  }
}

}  // namespace kvel::manager
