// What the handlers of settings share: the request, its actions, and its one call.
#pragma once

#include <cstdint>

#include "cli/common/backend.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/parammap/param_map.h"
#include "cli/parammap/param_map_settings.h"
#include "kvel/keywords.h"

namespace kvel::cli::parammap {

struct SettingsRequest {
  ObjectName name;
  ParamMapSettings settings;
};

template <class Field>
inline constexpr auto kIn = kFieldOf<&SettingsRequest::settings, Field>;

// The bits of the change mask.
template <std::uint32_t Bits>
struct Change {
  static void apply(SettingsRequest& request, const CliToken&) {
    auto mask = request.settings.field<ParamMapSettings::ChangeMask>();
    mask = mask | Bits;
  }
};

inline std::int32_t send_settings(const CliCommand* command, SettingsRequest& request, std::uint8_t type) {
  return finish(backend_call("cm_param_map_config", context(command), session(command), add(command), request.name,
                             u8{type}, buffer(request.settings)),
                kFailed);
}

}  // namespace kvel::cli::parammap
