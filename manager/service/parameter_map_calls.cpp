// The calls that make, change, delete, list and show parameter-maps.
#include <iterator>

#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/name_list.h"
#include "manager/service/parameter_records.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kEveryParameterMapType = 3;
constexpr std::size_t kEntriesPerPage = 100;

using Maps = ObjectTable<ParameterMap>;

// Appends a page with the entries from `first` to `last`.
void append_page(rpc::ResponseBuffer& response, Maps::Iterator first, const Maps::Iterator& last) {
  const auto count = static_cast<std::size_t>(std::distance(first, last));
  put_word(std::span<std::byte, 4>(response.extend(4), 4), static_cast<std::uint32_t>(count));
  for (; first != last; ++first) {
    put_entry(ParameterEntry(response.extend(kParameterEntryBytes), kParameterEntryBytes), first.key(),
              *first.value()->settings);
  }
}

}  // namespace

Status Calls::add_or_lookup_parameter_map(std::uint16_t context_number, rpc::SessionId /*session*/, std::uint8_t add,
                                          std::string_view name, std::uint8_t type, WordField created) {
  put_word(created, 0);
  if (add > 1) return Status::bad_arguments;
  if (type > kMaxParameterMapType) return Status::invalid_type;
  if (!is_object_name(name)) return check_new_name(name);

  const auto wanted_type = static_cast<ParameterMapType>(type);
  if (add == 0) {
    return erase<ParameterMap>(context_number, name,
                               [&](const auto& settings) { return settings.type == wanted_type; });
  }
  const ParameterMap* const present = context(context_number).find<ParameterMap>(name);
  if (present != nullptr) {
    return present->settings->type == wanted_type ? Status::ok : Status::parameter_map_type_differs;
  }
  if (const Status named = check_new_name(name); !succeeded(named)) return named;
  const Status status = put<ParameterMap>(context_number, name, ParameterMapSettings(wanted_type));
  if (succeeded(status)) put_word(created, 1);
  return status;
}

Status Calls::configure_parameter_map(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                      std::string_view name, std::uint8_t type, FixedRecord<140> settings) {
  constexpr std::uint32_t kKeepNothing = 0;
  return change_parameter_map(context, session, add, name, type, settings, kKeepNothing);
}

// The same, but of the one setting that the mask names these fields, as bits, stay as they are.
Status Calls::change_parameter_map(std::uint16_t context_number, rpc::SessionId /*session*/, std::uint8_t add,
                                   std::string_view name, std::uint8_t type, FixedRecord<140> settings,
                                   std::uint32_t kept) {
  if (add > 1) return Status::bad_arguments;
  if (type > kMaxParameterMapType) return Status::invalid_type;
  const auto wanted_type = static_cast<ParameterMapType>(type);
  if (const Status status = check_mask(wanted_type, settings); !succeeded(status)) return status;

  const ParameterMap* const present = context(context_number).find<ParameterMap>(name);
  if (present == nullptr) return Status::parameter_map_not_found;
  if (present->settings->type != wanted_type) return Status::parameter_map_type_differs;
  const auto changed = change_settings(*present->settings, settings, add == 1, kept);
  if (!changed) return changed.error();
  return put<ParameterMap>(context_number, name, *changed);
}

Status Calls::list_parameter_maps(std::uint16_t context_number, std::uint16_t kind, CursorField cursor, WordField more,
                                  rpc::ResponseBuffer& response) {
  put_word(more, 0);
  if (kind > kMaxParameterMapType && kind != kEveryParameterMapType) return Status::invalid_type;
  const auto last = text_of(cursor);
  if (!last) return Status::bad_arguments;
  const auto is_listed = [kind](const ParameterMap& parameter_map) {
    return kind == kEveryParameterMapType || static_cast<std::uint32_t>(parameter_map.settings->type) == kind;
  };
  return list_names(context(context_number).parameter_maps, is_listed, *last, cursor, more, response);
}

Status Calls::show_parameter_maps(std::uint16_t context_number, std::string_view name, CursorField cursor,
                                  WordField total, WordField more, rpc::ResponseBuffer& response) {
  const Maps& maps = context(context_number).parameter_maps;
  put_word(total, static_cast<std::uint32_t>(maps.size()));
  put_word(more, 0);
  if (!name.empty()) {
    if (!maps.contains(name)) return Status::parameter_map_not_found;
    append_page(response, maps.lower_bound(name), maps.upper_bound(name));
    return Status::ok;
  }
  const auto last_name = text_of(cursor);
  if (!last_name) return Status::bad_arguments;
  const auto first = maps.upper_bound(*last_name);
  auto last = first;
  std::string_view last_shown;
  for (std::size_t count = 0; count < kEntriesPerPage && last != maps.end(); ++count, ++last)
    last_shown = last.key();
  append_page(response, first, last);
  if (first != last) put_text(cursor, last_shown);
  if (last == maps.end()) return Status::ok;
  put_word(more, 1);
  return Status::more_data;
}

}  // namespace kvel::manager
