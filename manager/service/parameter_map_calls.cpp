// The calls that make, change, delete, list and show parameter-maps.
#include <iterator>
#include <string>
#include <utility>

#include "manager/model/parameter_map_record.h"
#include "manager/model/text.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"
#include "manager/service/name_list.h"
#include "manager/service/parameter_records.h"
#include "manager/service/record_key.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kEveryParameterMapType = 3;
constexpr std::size_t kEntriesPerPage = 100;

using Maps = ObjectTable<ParameterMap>;

// Appends a page with the entries from `first` to `last`.
void append_page(rpc::ResponseBuffer& response, Maps::ConstIterator first, Maps::ConstIterator last) {
  const auto count = static_cast<std::size_t>(std::distance(first, last));
  put_word(std::span<std::byte, 4>(response.extend(4), 4), static_cast<std::uint32_t>(count));
  for (auto entry = first; entry != last; ++entry) {
    put_entry(ParameterEntry(response.extend(kParameterEntryBytes), kParameterEntryBytes), entry->first,
              entry->second.settings);
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
  if (add == 0) return delete_parameter_map(context_number, name, wanted_type);
  const ParameterMap* const present = context(context_number).parameter_maps.find(name);
  if (present != nullptr) {
    return present->settings.type == wanted_type ? Status::ok : Status::parameter_map_type_differs;
  }
  if (const Status named = check_new_name(name); !succeeded(named)) return named;
  const Status status = create_parameter_map(context_number, name, wanted_type);
  if (succeeded(status)) put_word(created, 1);
  return status;
}

Status Calls::create_parameter_map(std::uint16_t context_number, std::string_view name, ParameterMapType type) {
  const ParameterMapSettings settings(type);
  std::string body;
  append_body(body, settings);
  Context& context = configuration_.edit(context_number);
  auto prepared = Maps::prepare(name, settings);
  const Status status = commit({key_of(ObjectKind::parameter_map, context_number, name), body});
  if (succeeded(status)) context.parameter_maps.insert(std::move(prepared)).made = configuration_.last_change();
  return status;
}

Status Calls::delete_parameter_map(std::uint16_t context_number, std::string_view name, ParameterMapType type) {
  Context& context = configuration_.edit(context_number);
  const ParameterMap* const present = context.parameter_maps.find(name);
  if (present == nullptr) return Status::parameter_map_not_found;
  if (present->settings.type != type) return Status::parameter_map_type_differs;
  if (present->references.in_use()) return Status::parameter_map_in_use;
  const Status status = commit({key_of(ObjectKind::parameter_map, context_number, name), std::nullopt});
  if (succeeded(status)) context.parameter_maps.erase(name);
  return status;
}

Status Calls::configure_parameter_map(std::uint16_t context, rpc::SessionId session, std::uint8_t add,
                                      std::string_view name, std::uint8_t type, Record<140> settings) {
  constexpr std::uint32_t kKeepNothing = 0;
  return change_parameter_map(context, session, add, name, type, settings, kKeepNothing);
}

// The same, but of the one setting that the mask names these fields, as bits, stay as they are.
Status Calls::change_parameter_map(std::uint16_t context_number, rpc::SessionId /*session*/, std::uint8_t add,
                                   std::string_view name, std::uint8_t type, Record<140> settings, std::uint32_t kept) {
  if (add > 1) return Status::bad_arguments;
  if (type > kMaxParameterMapType) return Status::invalid_type;
  const auto wanted_type = static_cast<ParameterMapType>(type);
  if (const Status status = check_mask(wanted_type, settings); !succeeded(status)) return status;

  ParameterMap* const present = configuration_.edit(context_number).parameter_maps.find(name);
  if (present == nullptr) return Status::parameter_map_not_found;
  if (present->settings.type != wanted_type) return Status::parameter_map_type_differs;
  const auto changed = change_settings(present->settings, settings, add == 1, kept);
  if (!changed) return changed.error();
  if (*changed == present->settings) return Status::ok;
  std::string body;
  append_body(body, *changed);
  const Status status = commit({key_of(ObjectKind::parameter_map, context_number, name), body});
  if (succeeded(status)) present->settings = *changed;
  return status;
}

Status Calls::list_parameter_maps(std::uint16_t context_number, std::uint16_t kind, CursorField cursor, WordField more,
                                  rpc::ResponseBuffer& response) {
  put_word(more, 0);
  if (kind > kMaxParameterMapType && kind != kEveryParameterMapType) return Status::invalid_type;
  const auto last = text_of(cursor);
  if (!last) return Status::bad_arguments;
  const auto is_listed = [kind](const ParameterMap& parameter_map) {
    return kind == kEveryParameterMapType || static_cast<std::uint32_t>(parameter_map.settings.type) == kind;
  };
  return list_names(context(context_number).parameter_maps, is_listed, *last, cursor, more, response);
}

Status Calls::show_parameter_maps(std::uint16_t context_number, std::string_view name, CursorField cursor,
                                  WordField total, WordField more, rpc::ResponseBuffer& response) {
  const Maps& maps = context(context_number).parameter_maps;
  put_word(total, static_cast<std::uint32_t>(maps.size()));
  put_word(more, 0);
  if (!name.empty()) {
    const auto shown = maps.position(name);
    if (shown == maps.end()) return Status::parameter_map_not_found;
    append_page(response, shown, std::next(shown));
    return Status::ok;
  }
  const auto last_name = text_of(cursor);
  if (!last_name) return Status::bad_arguments;
  const auto first = maps.after(*last_name);
  auto last = first;
  for (std::size_t count = 0; count < kEntriesPerPage && last != maps.end(); ++count)
    ++last;
  append_page(response, first, last);
  if (first != last) put_text(cursor, std::prev(last)->first);
  if (last == maps.end()) return Status::ok;
  put_word(more, 1);
  return Status::more_data;
}

}  // namespace kvel::manager
