// The types of policy-map: the words, keywords, hooks and modes of each, for the grammar and for rendering a
// configuration.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "kvel/keywords.h"
#include "shell/grammar/command.h"
#include "shell/grammar/modes.h"

namespace kvel::shell {

// The class of every policy-map that takes what no other class matches.
inline constexpr std::string_view kClassDefault = "class-default";

// What differs between the types of policy-map in the grammar.
struct PolicyMapType {
  std::string_view mode;
  std::string_view class_mode;
  std::string_view match_mode;  // inside a match written into the policy-map; empty: there are none
  std::string_view word;        // after "type"; empty for the default type
  std::string_view help;
  std::string_view title;  // what a listing calls it
  KeywordId type;
  std::string_view subtype_word;
  std::uint32_t subtype_number;
  KeywordId subtype;
  KeywordId name;
  KeywordId description;
  KeywordId class_name;
  KeywordId insert_before;
  KeywordId class_default;
  std::string_view default_class;  // the name by which actions know class-default
  bool default_class_has_keyword;  // actions are given the keyword of class-default too
  std::string_view hook;
  std::string_view class_hook;
};

// The first policy-map type has this number in backend calls and records.
inline constexpr std::uint32_t kFirstPolicyMapType = 1;
// The sub-type of a policy-map that is created without one.
inline constexpr std::uint32_t kUsualSubtype = 1;

// clang-format off
// In the order of the type numbers.
inline constexpr std::array kPolicyMapTypes{
    PolicyMapType{kPolicyMapL3Mode, kPolicyL3ClassMode, "",
                  "", "", "layer-3/4", kNoKeyword,
                  "subtype-1", 1, kw::policy_map_l3_subtype,
                  kw::policy_map_l3_name, kw::policy_map_l3_description,
                  kw::policy_l3_class, kw::policy_l3_insert_before, kw::policy_l3_class_default,
                  "#class_default_l3", true,
                  KVEL_HOOK(policymap_l3_completionhook), KVEL_HOOK(classmap_l3_completionhook)},
    PolicyMapType{kPolicyMapHttpLbMode, kPolicyHttpLbClassMode, kPolicyHttpLbMatchMode,
                  "http-load-balancing", "HTTP requests to be balanced", "HTTP load-balancing",
                  kw::policy_map_type_http_lb,
                  "subtype-2", 2, kw::policy_map_http_lb_subtype,
                  kw::policy_map_http_lb_name, kw::policy_map_http_lb_description,
                  kw::policy_http_lb_class, kw::insert_before_lb, kw::policy_http_lb_class_default,
                  kClassDefault, false,
                  KVEL_HOOK(policymap_lb_completionhook), KVEL_HOOK(classmap_lb_completionhook)},
    PolicyMapType{kPolicyMapHttpInspectionMode, kPolicyHttpInspectionClassMode, kPolicyHttpInspectionMatchMode,
                  "http-inspection", "HTTP requests to be inspected", "HTTP inspection",
                  kw::policy_map_type_http_insp,
                  "subtype-3", 3, kw::policy_map_http_insp_subtype,
                  kw::policy_map_http_insp_name, kw::policy_map_http_insp_description,
                  kw::policy_http_insp_class, kw::policy_http_insp_insert_before, kw::policy_insp_class_default,
                  kClassDefault, false,
                  KVEL_HOOK(policymap_insphttp_completionhook), KVEL_HOOK(classmap_insphttp_completionhook)},
    PolicyMapType{kPolicyMapFtpInspectionMode, kPolicyFtpInspectionClassMode, kPolicyFtpInspectionMatchMode,
                  "ftp-inspection", "FTP commands to be inspected", "FTP inspection",
                  kw::policy_map_type_ftp_insp,
                  "subtype-2", 2, kw::policy_map_ftp_insp_subtype,
                  kw::policy_map_ftp_insp_name, kw::policy_map_ftp_insp_description,
                  kw::policy_ftp_insp_class, kw::policy_ftp_insp_insert_before, kw::policy_insp_class_default,
                  kClassDefault, false,
                  KVEL_HOOK(policymap_inspftp_completionhook), KVEL_HOOK(classmap_inspftp_completionhook)},
    PolicyMapType{kPolicyMapManagementMode, kPolicyManagementClassMode, "",
                  "management", "Traffic to the appliance itself", "management",
                  kw::policy_map_type_mgmt,
                  "subtype-2", 2, kw::policy_map_mgmt_subtype,
                  kw::policy_map_mgmt_name, kw::policy_map_mgmt_description,
                  kw::policy_mgmt_class, kw::policy_mgmt_insert_before, kw::policy_mgmt_class_default,
                  kClassDefault, false,
                  KVEL_HOOK(policymap_mgmt_completionhook), KVEL_HOOK(classmap_mgmt_completionhook)},
};
// clang-format on

}  // namespace kvel::shell
