// Adding and removing match rules: what the calls of all kinds of rules share, and the removal by line.
#include <string>
#include <utility>

#include "manager/model/rule_check.h"
#include "manager/service/calls.h"
#include "manager/service/nesting.h"

namespace kvel::manager {

Status Calls::update_rule(const RulePlace& place, std::uint8_t add, MatchRule match) {
  if (add > 1) return Status::bad_arguments;
  if (add == 1) {
    if (const Status status = check_rule(match); !succeeded(status)) return status;
  }
  const ClassMap* const class_map = context(place.context).find<ClassMap>(place.class_map);
  if (class_map == nullptr) return Status::class_map_not_found;
  if (class_map->settings->type != type_of(match)) return Status::rule_type_differs;

  const auto present = class_map->rules.line_of(match);
  if (present && place.line != 0 && place.line != *present) return Status::rule_at_another_line;
  if (add == 0) return present ? erase_rule(place, *present) : Status::rule_not_found;
  return present ? Status::ok : add_rule(place, *class_map, std::move(match));
}

Status Calls::add_rule(const RulePlace& place, const ClassMap& class_map, MatchRule match) {
  std::uint32_t line = place.line;
  if (line == 0) {
    const auto next = class_map.rules.next_line();
    if (!next) return Status::lines_used_up;
    line = *next;
  } else if (class_map.rules.has_line(line)) {
    return Status::line_taken;
  }
  if (const std::string* name = nested_class_map(match)) {
    const Status status = check_nesting(context(place.context), place.class_map, *name);
    if (!succeeded(status)) return status;
  }
  Candidate next = candidate(place.context);
  next.put_rule(place.class_map, line, std::move(match));
  return commit(next);
}

Status Calls::erase_rule(const RulePlace& place, std::uint32_t line) {
  Candidate next = candidate(place.context);
  next.erase_rule(place.class_map, line);
  return commit(next);
}

Status Calls::remove_line(const RulePlace& place, std::optional<ClassMapType> type) {
  const ClassMap* const class_map = context(place.context).find<ClassMap>(place.class_map);
  if (class_map == nullptr) return Status::class_map_not_found;
  if (type && class_map->settings->type != *type) return Status::class_map_type_differs;
  if (!class_map->rules.has_line(place.line)) return Status::line_not_found;
  return erase_rule(place, place.line);
}

Status Calls::remove_typed_line(std::uint16_t context, rpc::SessionId /*session*/, std::uint8_t type, std::uint8_t mode,
                                std::string_view class_map, std::uint32_t line) {
  if (type > kMaxClassMapType) return Status::invalid_type;
  if (mode > kMaxMatchMode) return Status::invalid_match_mode;
  return remove_line({context, class_map, line}, static_cast<ClassMapType>(type));
}

Status Calls::remove_any_line(std::uint16_t context, std::string_view class_map, std::uint32_t line, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  if (add == 1) return Status::rule_not_given;
  return remove_line({context, class_map, line}, std::nullopt);
}

}  // namespace kvel::manager
