// Objects that are only named.
#include "shell/configuration/named_object.h"

#include <algorithm>
#include <variant>

#include "kvel/host.h"
#include "kvel/keywords.h"
#include "shell/grammar/class_map_types.h"
#include "shell/grammar/modes.h"
#include "shell/grammar/parameter_map_types.h"
#include "shell/grammar/policy_map_types.h"

namespace kvel::shell {

namespace {

// `types` lists what the modes of a kind of object are, in the order of their type numbers.
template <class Types>
std::optional<NamedObject> only_named(const Types& types, std::uint32_t kind, int first_type, std::string_view mode,
                                      std::span<const Token> tokens) {
  const auto* type = std::find_if(types.begin(), types.end(), [mode](const auto& row) { return row.mode == mode; });
  if (type == types.end()) return std::nullopt;
  NamedObject named{kind, {}, first_type + static_cast<int>(type - types.begin())};
  for (const Token& token : tokens) {
    if (token.keyword == type->name) {
      named.name = std::get<std::string>(token.value);
    } else if (token.keyword != type->type) {
      return std::nullopt;
    }
  }
  return named;
}

std::optional<NamedObject> ssl_proxy_named(std::span<const Token> tokens) {
  NamedObject named{KVEL_DOMAIN_SSL_PROXY, {}, std::nullopt};
  for (const Token& token : tokens) {
    if (token.keyword != kw::ssl_proxy_name) return std::nullopt;
    named.name = std::get<std::string>(token.value);
  }
  return named;
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

std::optional<NamedObject> object_only_named(std::string_view mode, std::span<const Token> tokens) {
  if (auto named = only_named(kClassMapTypes, KVEL_DOMAIN_CLASS_MAP, 0, mode, tokens)) return named;
  if (auto named = only_named(kParameterMapTypes, KVEL_DOMAIN_PARAMETER_MAP, 0, mode, tokens)) return named;
  if (mode == kSslProxyMode) return ssl_proxy_named(tokens);
  return only_named(kPolicyMapTypes, KVEL_DOMAIN_POLICY_MAP, static_cast<int>(kFirstPolicyMapType), mode, tokens);
}

}  // namespace kvel::shell
