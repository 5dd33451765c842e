// The calls that write matches into a policy-map, and take them out.
#include <iterator>
#include <string>
#include <utility>

#include "manager/model/rule_check.h"
#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/inline_match_records.h"
#include "manager/service/policy_places.h"

namespace kvel::manager {

Status Calls::update_lb_match(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                              std::string_view policy, std::string_view match, std::string_view insert_before,
                              FixedRecord<332> record) {
  const ClassPlace place{context, policy, match, insert_before};
  constexpr auto kType = PolicyMapType::http_load_balancing;
  if (add > 1) return Status::bad_arguments;
  if (add == 0) return remove_match(place, kType);
  auto rule = read_lb_match(record);
  return rule ? put_match(place, kType, *std::move(rule)) : rule.error();
}

Status Calls::update_http_match(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t add,
                                std::string_view policy, std::string_view match, std::string_view insert_before,
                                FixedRecord<328> record) {
  const ClassPlace place{context, policy, match, insert_before};
  constexpr auto kType = PolicyMapType::http_inspection;
  if (add > 1) return Status::bad_arguments;
  if (add == 0) return remove_match(place, kType);
  auto rule = read_http_match(record);
  return rule ? put_match(place, kType, *std::move(rule)) : rule.error();
}

Status Calls::update_ftp_match(std::uint16_t context, rpc::SessionId /*session*/, std::string_view policy,
                               std::string_view match, std::uint8_t code, std::uint8_t add) {
  const ClassPlace place{context, policy, match, {}};
  constexpr auto kType = PolicyMapType::ftp_inspection;
  if (add > 1) return Status::bad_arguments;
  return add == 1 ? put_match(place, kType, FtpMethodRule{code}) : remove_match(place, kType);
}

Status Calls::put_match(const ClassPlace& place, PolicyMapType type, MatchRule rule) {
  if (const Status status = check_rule(rule); !succeeded(status)) return status;
  if (!is_class_map_name(place.name)) return check_new_class_map_name(place.name);
  if (place.name == place.insert_before) return Status::bad_arguments;
  const Context& shown = context(place.context);
  const auto policy = find_policy_map(shown, place.policy, type);
  if (!policy) return policy.error();

  const ClassList& classes = (*policy)->classes;
  const ClassPointer present = classes.find(place.name);
  if (present == nullptr) {
    if (const Status named = check_new_class_map_name(place.name); !succeeded(named)) return named;
  }
  if (present != nullptr && !present->content.rule) return Status::name_taken;
  ClassPointer before;
  if (!place.insert_before.empty()) {
    const auto found = find_place_before(shown, **policy, place.insert_before);
    if (!found) return found.error();
    before = *found;
  }
  if (present == nullptr) {
    return insert_match(place, **policy, std::move(rule), before == nullptr ? *classes.class_default() : *before);
  }
  PolicyClassContent content = present->content;
  content.rule = std::move(rule);
  return change_entry(place, **policy, *present, std::move(content), before);
}

Status Calls::insert_match(const ClassPlace& place, const PolicyMap& policy, MatchRule rule,
                           const PolicyClass& before) {
  const std::string hidden_name = hidden_name_of(place.policy, place.name);
  const Context& shown = context(place.context);
  const Status status = check_hidden_name(shown, shown.hidden_classes, place.policy, hidden_name);
  if (!succeeded(status)) return status;
  return insert_entry(place, policy, {std::string(place.name), std::move(rule), {}}, before);
}

Status Calls::remove_match(const ClassPlace& place, PolicyMapType type) {
  const auto policy = find_policy_map(context(place.context), place.policy, type);
  if (!policy) return policy.error();
  const ClassPointer present = (*policy)->classes.find(place.name);
  if (present == nullptr || !present->content.rule) return Status::class_not_in_policy;
  return erase_entry(place, *present);
}

Status Calls::update_rule_of_match(const RulePlace& place, std::string_view insert_before, std::uint8_t add,
                                   MatchRule match) {
  constexpr auto kType = PolicyMapType::http_load_balancing;
  if (add > 1) return Status::bad_arguments;
  const Context& shown = context(place.context);
  const HiddenClass* const hidden = shown.hidden_classes.find(place.class_map);
  if (hidden == nullptr) return Status::class_not_in_policy;
  const PolicyMap& policy = *shown.find<PolicyMap>(hidden->policy);
  if (policy.settings->type != kType) return Status::class_not_in_policy;
  const ClassPointer entry = policy.classes.find(hidden->match);
  if (place.line != 0) {
    const auto position = policy.classes.by_position().lower_bound(entry->position);
    const auto number = static_cast<std::uint64_t>(std::distance(policy.classes.begin(), position)) + 1;
    if (place.line != number * policy.settings->interval) return Status::rule_at_another_line;
  }
  if (add == 0) return entry->content.rule == match ? Status::rule_needed : Status::rule_not_found;
  return put_match({place.context, hidden->policy, hidden->match, insert_before}, kType, std::move(match));
}

}  // namespace kvel::manager
