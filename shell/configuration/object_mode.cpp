#include "shell/configuration/object_mode.h"

#include <algorithm>

#include "kvel/host.h"
#include "kvel/keywords.h"
#include "shell/grammar/class_map_types.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/parameter_map_types.h"
#include "shell/grammar/policy_map_types.h"

namespace kvel::shell {

namespace {

// `types` lists what the modes of a kind of object are.
template <class Types>
bool is_only_named(const Types& types, std::string_view mode, std::span<const Token> tokens) {
  const auto* type = std::find_if(types.begin(), types.end(), [mode](const auto& row) { return row.mode == mode; });
  return type != types.end() && std::all_of(tokens.begin(), tokens.end(), [type](const Token& token) {
           return token.keyword == type->name || token.keyword == type->type;
         });
}

}  // namespace

std::optional<std::uint32_t> kind_of_mode(std::string_view mode) {
  const auto has = [mode](const auto& types) {
    return std::any_of(types.begin(), types.end(), [mode](const auto& type) { return type.mode == mode; });
  };
  if (has(kClassMapTypes)) return KVEL_DOMAIN_CLASS_MAP;
  if (has(kPolicyMapTypes)) return KVEL_DOMAIN_POLICY_MAP;
  if (has(kParameterMapTypes)) return KVEL_DOMAIN_PARAMETER_MAP;
  if (mode == kSslProxyMode) return KVEL_DOMAIN_SSL_PROXY;
  return std::nullopt;
}

bool is_object_only_named(std::string_view mode, std::span<const Token> tokens) {
  if (mode == kSslProxyMode) {
    return std::all_of(tokens.begin(), tokens.end(),
                       [](const Token& token) { return token.keyword == kw::ssl_proxy_name; });
  }
  return is_only_named(kClassMapTypes, mode, tokens) || is_only_named(kPolicyMapTypes, mode, tokens) ||
         is_only_named(kParameterMapTypes, mode, tokens);
}

}  // namespace kvel::shell
