// The types of parameter-map: the words, keywords, hooks, handlers and modes of each, for the grammar and for rendering
// a configuration.
#pragma once

#include <array>
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

// What differs between the types of parameter-map in the grammar.
struct ParameterMapType {
  std::string_view mode;
  std::string_view word;  // after "type", and what a listing calls it
  std::string_view help;
  KeywordId type;  // kNoKeyword: the default type
  KeywordId name;
  std::string_view hook;
  std::string_view settings_handler;  // of every command inside
};

// clang-format off
// In the order of the type numbers that backend calls and records carry.
inline constexpr std::array kParameterMapTypes{
    ParameterMapType{kParameterMapConnectionMode, "connection", "How connections are kept and their TCP options treated",
                     kNoKeyword, kw::param_map_conn_name,
                     KVEL_HOOK(kvelparammap_conn_completionhook), KVEL_HANDLER(kvelparammap_config_conn)},
    ParameterMapType{kParameterMapHttpMode, "http", "How HTTP is parsed and its connections shared",
                     kw::param_map_type_http, kw::param_map_http_name,
                     KVEL_HOOK(kvelparammap_http_completionhook), KVEL_HANDLER(kvelparammap_config_http)},
    ParameterMapType{kParameterMapSslMode, "ssl", "Which SSL sessions are accepted",
                     kw::param_map_type_ssl, kw::param_map_ssl_name,
                     KVEL_HOOK(kvelparammap_ssl_completionhook), KVEL_HANDLER(kvelparammap_config_ssl)},
};
// clang-format on

}  // namespace kvel::shell
