// The calls that show the configuration as JSON records (docs/configuration-records.md).
#include <string>

#include "manager/configuration/object_record.h"
#include "manager/service/calls.h"
#include "manager/service/fields.h"

namespace kvel::manager {
namespace {

constexpr std::uint32_t kEveryKind = 0;

// A page of records as a JSON array. It takes records until the next one would make it too long.
class Page {
 public:
  explicit Page(rpc::ResponseBuffer& response) : response_(response) { response_.append("["); }

  // False: the record belongs on the next page. A page takes at least one.
  [[nodiscard]] bool add(std::string_view record) {
    constexpr std::size_t kCommaAndBracket = 2;
    if (!empty_ && response_.size() + record.size() + kCommaAndBracket > kPageBytes) return false;
    if (!empty_) response_.append(",");
    response_.append(record);
    empty_ = false;
    return true;
  }
  void close() { response_.append("]"); }

 private:
  rpc::ResponseBuffer& response_;
  bool empty_ = true;
};

}  // namespace

Status Calls::get_object(std::uint16_t context_number, std::uint32_t kind_number, std::string_view name,
                         rpc::ResponseBuffer& response) {
  const auto kind = object_kind(kind_number);
  if (!kind) return Status::invalid_type;
  std::string record;
  const bool found = context(context_number).with_table(*kind, [&](const auto& table) {
    const auto* const object = find_object(table, name);
    if (object != nullptr) append_record(record, name, *object);
    return object != nullptr;
  });
  if (!found) return not_found(*kind);
  response.append(record);
  return Status::ok;
}

Status Calls::get_objects(std::uint16_t context_number, std::uint32_t kind_number, ObjectCursorField cursor,
                          WordField more, rpc::ResponseBuffer& response) {
  put_word(more, 0);
  const auto wanted = object_kind(kind_number);
  if (!wanted && kind_number != kEveryKind) return Status::invalid_type;
  const auto last_rank = std::to_integer<std::uint8_t>(cursor[0]);
  const auto last_name = text_of(cursor.subspan<1>());
  if (last_rank > kCanonicalOrder.size() || !last_name) return Status::bad_arguments;

  const Context& shown = context(context_number);
  Page page(response);
  std::string record;
  std::string_view name_on_page;
  std::uint8_t rank_on_page = 0;
  bool full = false;
  for (const ObjectKind kind : kCanonicalOrder) {
    const std::uint8_t rank = canonical_rank(kind);
    if (rank < last_rank || (wanted && kind != *wanted) || full) continue;
    full = shown.with_table(kind, [&](const auto& table) {
      for (auto entry = rank == last_rank ? table.upper_bound(*last_name) : table.begin(); entry != table.end();
           ++entry) {
        record.clear();
        append_record(record, entry.key(), *entry.value());
        if (!page.add(record)) return true;
        name_on_page = entry.key();
        rank_on_page = rank;
      }
      return false;
    });
  }
  page.close();
  if (rank_on_page != 0) {
    cursor[0] = std::byte{rank_on_page};
    put_text(cursor.subspan<1>(), name_on_page);
  }
  if (!full) return Status::ok;
  put_word(more, 1);
  return Status::more_data;
}

// A page of the rules of a class-map, or of the classes of a policy-map. The position is which object it is, so that
// pages of two of one name never meet, and in its second half the place of the last part.
Status Calls::get_parts(std::uint16_t context_number, std::uint32_t kind_number, std::string_view name,
                        PartPositionField position, WordField more, rpc::ResponseBuffer& response) {
  put_word(more, 0);
  const auto kind = object_kind(kind_number);
  if (!kind) return Status::invalid_type;
  const std::uint32_t shown = word_of(position.first<4>());
  const auto after = double_word_at<8>(std::span<const std::byte, 16>(position));
  return context(context_number).with_table(*kind, [&](const auto& table) {
    const auto* const object = find_object(table, name);
    if (object == nullptr) return not_found(*kind);
    const std::uint32_t identity = identity_of(object->number);
    if (shown != 0 && shown != identity) return Status::object_made_anew;
    std::string parts;
    const PartsPage page = append_parts(parts, *object, after);
    response.append(parts);
    put_word(position.first<4>(), identity);
    put_word(position.subspan<4, 4>(), 0);
    if (page.last != 0) put_double_word(position.subspan<8, 8>(), page.last);
    if (page.is_last) return Status::ok;
    put_word(more, 1);
    return Status::more_data;
  });
}

}  // namespace kvel::manager
