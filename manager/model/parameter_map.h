// A parameter-map: a named set of settings, of one type.
#pragma once

#include <algorithm>
#include <array>

#include "manager/model/parameter_setting.h"

namespace kvel::manager {

// What the record of a parameter-map holds besides its name.
struct ParameterMapSettings {
  // All at their defaults.
  explicit ParameterMapSettings(ParameterMapType initial) : type(initial) {
    std::ranges::transform(settings_of(type), values.begin(),
                           [](const ParameterSetting& setting) { return setting.default_value(); });
  }

  ParameterMapType type;
  std::array<SettingValue, kMaxParameterSettings> values{};  // in the order of the type's table

  friend bool operator==(const ParameterMapSettings&, const ParameterMapSettings&) = default;
};

}  // namespace kvel::manager
