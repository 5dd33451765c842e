// Names made of other names, and names compared.
#include "cli/policymap/policy_map.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kvel::cli::policymap {

bool is_inserted_before_itself(const CliCommand& command, const ObjectName& name, const ObjectName& insert_before) {
  return command.negated == 0 && !insert_before.empty() && insert_before == name;
}

void default_action_name(ObjectName& action, const ObjectName& policy, const ObjectName& class_or_match) {
  constexpr std::size_t kCutAt = 63;
  if (!action.empty() || class_or_match.empty()) return;
  char joined[kCutAt + 1] = {};
  const std::size_t of_policy = std::min(policy.length(), kCutAt);
  std::memcpy(joined, policy.c_str(), of_policy);
  std::memcpy(joined + of_policy, class_or_match.c_str(), std::min(class_or_match.length(), kCutAt - of_policy));
  action.assign(joined);
}

bool inline_name_fits(const ObjectName& policy, const ObjectName& match) {
  constexpr int kLongestName = 64;
  const auto policy_length = static_cast<int>(policy.length());
  const auto match_length = static_cast<int>(match.length());
  if (policy_length + match_length <= kLongestName) return true;
  std::printf(
      "Error: inline classname length should be less than or equal to %d; "
      "current length match_name %d + policyname %d\n",
      kLongestName, match_length, policy_length);
  return false;
}

}  // namespace kvel::cli::policymap
