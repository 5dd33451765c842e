// What every layer-3/4 and management rule carries, and the keywords of it; the removal by line takes the same.
#pragma once

#include <cstdint>

#include "cli/classmap/class_map.h"
#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "kvel/keywords.h"

namespace kvel::cli::classmap {

// IP protocols with ports.
inline constexpr std::uint32_t kTcp = 6;
inline constexpr std::uint32_t kUdp = 17;

inline constexpr std::uint32_t kNoOperator = 0;  // a port operator is settled by its handler and never sent

struct Rule {
  ObjectName class_map;
  std::uint8_t match_mode = kMatchAll;
  std::uint32_t line = 0;
};

template <class Request>
using Layer34RuleKeywords = KeywordRows<On<Ids<kw::class_map_l3_name>, Text<&Request::class_map>>,
                                        On<Ids<kw::class_map_l3_match_any>, Set<&Request::match_mode, kMatchAny>>,
                                        On<Ids<kw::class_map_l3_match_all>, Set<&Request::match_mode, kMatchAll>>,
                                        On<Ids<kw::l3_line>, Number<&Request::line>>>;

template <class Request>
using ManagementRuleKeywords = KeywordRows<On<Ids<kw::class_map_mgmt_name>, Text<&Request::class_map>>,
                                           On<Ids<kw::class_map_mgmt_match_all>, Set<&Request::match_mode, kMatchAll>>,
                                           On<Ids<kw::class_map_mgmt_match_any>, Set<&Request::match_mode, kMatchAny>>,
                                           On<Ids<kw::mgmt_line>, Number<&Request::line>>>;

}  // namespace kvel::cli::classmap
