// The records in which clients send and get the settings of parameter-maps; what lies where is in the tables of the
// settings.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <tl/expected.hpp>

#include "manager/model/parameter_map.h"

namespace kvel::manager {

inline constexpr std::size_t kSettingsRecordBytes = 140;
using SettingsRecord = std::span<const std::byte, kSettingsRecordBytes>;

inline constexpr std::size_t kParameterEntryBytes = 288;
using ParameterEntry = std::span<std::byte, kParameterEntryBytes>;

// ok, or bad_arguments for a change mask that a parameter-map of the type cannot have.
[[nodiscard]] Status check_mask(ParameterMapType type, SettingsRecord record);

// The settings with those that the mask names set to the values of the record or, without `add`, at their defaults. The
// mask has been checked. An error: a value that cannot be. Fields that are `kept`, as bits, stay as they are: some of
// those of the one setting that the mask names then.
[[nodiscard]] tl::expected<ParameterMapSettings, Status> change_settings(ParameterMapSettings settings,
                                                                         SettingsRecord record, bool add,
                                                                         std::uint32_t kept);

// Fills the entry of a parameter-map in a page of cm_show_parameter_map.
void put_entry(ParameterEntry entry, std::string_view name, const ParameterMapSettings& settings);

}  // namespace kvel::manager
