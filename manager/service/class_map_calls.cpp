// The calls that make, change, delete and list class-maps.
#include <utility>

#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/name_list.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kEveryClassMapType = 6;

}  // namespace

Status Calls::add_or_lookup_class_map(std::uint16_t context_number, rpc::SessionId /*session*/, std::uint8_t type,
                                      std::uint8_t mode, std::string_view name, std::uint8_t add, WordField created) {
  put_word(created, 0);
  if (add > 1) return Status::bad_arguments;
  if (type > kMaxClassMapType) return Status::invalid_type;
  if (mode > kMaxMatchMode) return Status::invalid_match_mode;
  if (!is_class_map_name(name)) return check_new_class_map_name(name);

  const auto wanted_type = static_cast<ClassMapType>(type);
  const auto wanted_mode = static_cast<MatchMode>(mode);
  if (add == 0) {
    return erase<ClassMap>(context_number, name, [&](const auto& settings) { return settings.type == wanted_type; });
  }

  const Context& shown = context(context_number);
  const ClassMap* const present = shown.find<ClassMap>(name);
  if (present == nullptr) {
    if (const Status named = check_new_class_map_name(name); !succeeded(named)) return named;
    if (shown.hidden_classes.collides(name)) return Status::name_taken;
    const Status status = put<ClassMap>(context_number, name, {wanted_type, wanted_mode, {}});
    if (succeeded(status)) put_word(created, 1);
    return status;
  }
  if (present->settings->type != wanted_type) return Status::class_map_type_differs;
  if (present->settings->mode == wanted_mode) return Status::ok;
  ClassMapSettings settings = *present->settings;
  settings.mode = wanted_mode;
  return put<ClassMap>(context_number, name, std::move(settings));
}

Status Calls::update_class_map_description(std::uint16_t context_number, rpc::SessionId /*session*/,
                                           std::string_view name, std::string_view text, std::uint8_t add) {
  if (add > 1) return Status::bad_arguments;
  const std::string_view wanted = add == 0 ? std::string_view() : text;
  if (!is_description(wanted)) return Status::invalid_text;
  const ClassMap* const present = context(context_number).find<ClassMap>(name);
  if (present == nullptr) return Status::class_map_not_found;
  if (present->settings->description == wanted) return Status::ok;
  ClassMapSettings settings = *present->settings;
  settings.description = wanted;
  return put<ClassMap>(context_number, name, std::move(settings));
}

Status Calls::list_class_maps(std::uint16_t context_number, std::uint32_t kind, CursorField cursor, WordField more,
                              rpc::ResponseBuffer& response) {
  put_word(more, 0);
  if (kind > kMaxClassMapType && kind != kEveryClassMapType) return Status::invalid_type;
  const auto last = text_of(cursor);
  if (!last) return Status::bad_arguments;

  const auto is_listed = [kind](const ClassMap& class_map) {
    return kind == kEveryClassMapType || static_cast<std::uint32_t>(class_map.settings->type) == kind;
  };
  return list_names(context(context_number).class_maps, is_listed, *last, cursor, more, response);
}

}  // namespace kvel::manager
