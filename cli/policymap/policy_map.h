// What the policy-map handlers share: the numbers of types and sub-types, messages, names made of other names, and how
// a handler ends.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "cli/common/fixed_text.h"
#include "cli/common/keyword_table.h"
#include "cli/common/status_printer.h"
#include "kvel/keywords.h"
#include "kvel/plugin.h"
#include "kvel/status.h"

namespace kvel::cli::policymap {

// Policy-map types, as the backend and the completion hooks number them.
inline constexpr std::uint8_t kLayer34 = 1;
inline constexpr std::uint8_t kHttpLoadBalancing = 2;
inline constexpr std::uint8_t kHttpInspection = 3;
inline constexpr std::uint8_t kFtpInspection = 4;
inline constexpr std::uint8_t kManagement = 5;

inline constexpr char kPolicyNotConfigured[] = "Error: policy-map '%s' not configured\n";
// The class or match to insert before, then the policy-map.
inline constexpr char kNotInPolicy[] = "Error: could not find class/match '%s' in policy '%s'\n";
inline constexpr char kInsertBeforeNotConfigured[] = "Error: insert-before class/match '%s' not configured\n";
inline constexpr char kMatchBeforeItself[] = "Error: match name cannot be same as insert-before class name";
inline constexpr char kInvalidMask[] = "Error: Invalid IP mask";

// What every action of a class carries, and the keywords of it in a layer-3/4 policy-map.
struct ClassAction {
  ObjectName policy;
  ObjectName class_map;
};

template <class Request>
using Layer34ClassKeywords = KeywordRows<On<Ids<kw::policy_map_l3_name>, Text<&Request::policy>>,
                                         On<Ids<kw::policy_l3_class>, Text<&Request::class_map>>>;

inline bool bind_for_policy() { return bind_or_report(policy_display_error); }

// End a handler: report a failed call and give the handler's return value.
inline std::int32_t finish(std::int32_t status, std::initializer_list<KnownStatus> known = {}) {
  return report(status, policy_display_error, known) ? kDone : kFailed;
}
inline std::int32_t finish_object(std::int32_t status, std::initializer_list<KnownStatus> known = {}) {
  return report(status, policy_display_error, known) ? kDone : kObjectFailed;
}

// Whether a class or match is to be added before one of its own name.
[[nodiscard]] bool is_inserted_before_itself(const CliCommand& command, const ObjectName& name,
                                             const ObjectName& insert_before);

// An action without a name of its own is named after its policy-map and its class or match, if it has one; cut at 63.
void default_action_name(ObjectName& action, const ObjectName& policy, const ObjectName& class_or_match);

// The hidden class of an inline match is named by the names of policy-map and match together, which has to fit an
// object's name. Prints the refusal when it does not.
[[nodiscard]] bool inline_name_fits(const ObjectName& policy, const ObjectName& match);

}  // namespace kvel::cli::policymap
