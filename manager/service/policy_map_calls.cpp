// The calls that make, change, delete and list policy-maps.
#include <utility>

#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/name_list.h"

namespace kvel::manager {
namespace {

// What a list is of, beside the policy-maps of one type.
constexpr std::uint32_t kCanBeApplied = 7;
constexpr std::uint32_t kEveryPolicyMapType = 8;

bool is_listed(PolicyMapType type, std::uint32_t kind) {
  if (kind == kEveryPolicyMapType) return true;
  if (kind == kCanBeApplied) return can_be_applied(type);
  return static_cast<std::uint32_t>(type) == kind;
}

}  // namespace

Status Calls::add_or_lookup_policy_map(std::uint16_t context_number, rpc::SessionId /*session*/, std::string_view name,
                                       std::uint8_t type, std::uint8_t subtype, std::uint8_t add, WordField created) {
  put_word(created, 0);
  if (add > 1) return Status::bad_arguments;
  if (!is_policy_map_type(type) || !is_policy_map_subtype(subtype)) return Status::invalid_type;
  if (!is_class_map_name(name)) return check_new_class_map_name(name);

  const auto wanted_type = static_cast<PolicyMapType>(type);
  if (add == 0) {
    return erase<PolicyMap>(context_number, name, [&](const auto& settings) { return settings.type == wanted_type; });
  }
  if (!takes_subtype(wanted_type, subtype)) return Status::invalid_type;

  const PolicyMap* const present = context(context_number).find<PolicyMap>(name);
  if (present == nullptr) {
    if (const Status named = check_new_class_map_name(name); !succeeded(named)) return named;
    PolicyMapSettings settings;
    settings.type = wanted_type;
    settings.subtype = subtype;
    const Status status = put<PolicyMap>(context_number, name, std::move(settings));
    if (succeeded(status)) put_word(created, 1);
    return status;
  }
  const bool same = present->settings->type == wanted_type && present->settings->subtype == subtype;
  return same ? Status::ok : Status::policy_map_type_differs;
}

Status Calls::update_policy_map_description(std::uint16_t context_number, rpc::SessionId /*session*/,
                                            std::string_view name, std::string_view text, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  const std::string_view wanted = add == 0 ? std::string_view() : text;
  if (!is_description(wanted)) return Status::invalid_text;
  const PolicyMap* const present = context(context_number).find<PolicyMap>(name);
  if (present == nullptr) return Status::policy_map_not_found;
  PolicyMapSettings settings = *present->settings;
  settings.description = wanted;
  return put<PolicyMap>(context_number, name, std::move(settings));
}

Status Calls::set_line_interval(std::uint16_t context_number, rpc::SessionId /*session*/, std::string_view name,
                                std::uint32_t interval) {
  const PolicyMap* const present = context(context_number).find<PolicyMap>(name);
  if (present == nullptr) return Status::policy_map_not_found;
  PolicyMapSettings settings = *present->settings;
  settings.interval = interval == 0 ? kDefaultLineInterval : interval;
  if (!lines_suffice(present->classes.size(), settings.interval)) return Status::lines_used_up;
  return put<PolicyMap>(context_number, name, std::move(settings));
}

Status Calls::list_policy_maps(std::uint16_t context_number, std::uint32_t kind, CursorField cursor, WordField more,
                               rpc::ResponseBuffer& response) {
  put_word(more, 0);
  if (!is_policy_map_type(kind) && kind != kCanBeApplied && kind != kEveryPolicyMapType) return Status::invalid_type;
  const auto last = text_of(cursor);
  if (!last) return Status::bad_arguments;
  return list_names(
      context(context_number).policy_maps,
      [kind](const PolicyMap& policy_map) { return is_listed(policy_map.settings->type, kind); }, *last, cursor, more,
      response);
}

}  // namespace kvel::manager
