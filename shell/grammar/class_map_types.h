// The types of class-map: the words, keywords, hooks and modes of each, for the grammar and for rendering a
// configuration.
#pragma once

#include <array>
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

// What differs between the types of class-map in the grammar.
struct ClassMapType {
  std::string_view mode;
  std::string_view word;  // after "type"; empty for the default type
  std::string_view help;
  std::string_view title;  // what a listing calls it
  KeywordId type;
  KeywordId match_all;  // kNoKeyword: the type has only "match-any"
  KeywordId match_any;
  KeywordId name;
  std::string_view hook;
};

// clang-format off
// In the order of the type numbers that backend calls and records carry.
inline constexpr std::array kClassMapTypes{
    ClassMapType{kClassMapL3Mode, "", "", "layer-3/4", kNoKeyword,
                 kw::class_map_l3_match_all, kw::class_map_l3_match_any, kw::class_map_l3_name,
                 KVEL_HOOK(classmap_l3_completionhook)},
    ClassMapType{kClassMapManagementMode, "management", "Traffic to the appliance itself", "management", kw::class_map_type_mgmt,
                 kw::class_map_mgmt_match_all, kw::class_map_mgmt_match_any, kw::class_map_mgmt_name,
                 KVEL_HOOK(classmap_mgmt_completionhook)},
    ClassMapType{kClassMapHttpLbMode, "http-load-balancing", "HTTP requests to be balanced",
                 "HTTP load-balancing", kw::class_map_type_http_lb,
                 kw::class_map_http_lb_match_all, kw::class_map_http_lb_match_any, kw::class_map_http_lb_name,
                 KVEL_HOOK(classmap_lb_completionhook)},
    ClassMapType{kClassMapHttpInspectionMode, "http-inspection", "HTTP requests to be inspected", "HTTP inspection",
                 kw::class_map_type_http_insp,
                 kw::class_map_http_insp_match_all, kw::class_map_http_insp_match_any, kw::class_map_http_insp_name,
                 KVEL_HOOK(classmap_insphttp_completionhook)},
    ClassMapType{kClassMapFtpInspectionMode, "ftp-inspection", "FTP commands to be inspected", "FTP inspection",
                 kw::class_map_type_ftp_insp,
                 kNoKeyword, kw::class_map_ftp_insp_match_any, kw::class_map_ftp_insp_name,
                 KVEL_HOOK(classmap_inspftp_completionhook)},
};
// clang-format on

}  // namespace kvel::shell
