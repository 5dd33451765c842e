// What the forms of inline matches say beside their rule.
#pragma once

#include <string_view>

namespace kvel::shell {

// Members that a form of an inline match says of its record in addition to those of the rule, which may have a "name"
// too.
inline constexpr std::string_view kMatchNameMember = "match_name";
inline constexpr std::string_view kInsertBeforeMember = "insert_before";  // never in a record: it is its place

}  // namespace kvel::shell
