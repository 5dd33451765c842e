// The members that the commands of inline matches bind beside those of their rule.
#pragma once

#include <string_view>

namespace kvel::shell {

// In the record of an inline match in addition to the members of its rule, which may have a "name" too.
inline constexpr std::string_view kMatchNameMember = "match_name";
inline constexpr std::string_view kInsertBeforeMember = "insert_before";  // never in a record, whose position it is

}  // namespace kvel::shell
