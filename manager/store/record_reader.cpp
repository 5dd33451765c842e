#include "manager/store/record_reader.h"

#include <fmt/format.h>

#include <limits>
#include <string>

#include "manager/store/record_checksum.h"
#include "manager/store/store_format.h"

namespace kvel::manager {
namespace {

std::string describe(const StoreKey& key) {
  return fmt::format("the record of {:?}, item {}, kind {}, context {}", key.owner, key.item, key.kind, key.context);
}

template <class Number>
bool fits(std::int64_t value) {
  return value >= 0 && static_cast<std::uint64_t>(value) <= std::numeric_limits<Number>::max();
}

StoreError altered(const Connection& connection, const StoreKey& key) {
  return connection.damaged(describe(key) + " has been altered (checksum)");
}

// Goes over the rows of a statement: take(row) returns what is wrong, or nothing.
template <class Take>
StoreResult<void> for_each_row(const Connection& connection, Statement& select, const Take& take) {
  int code = SQLITE_OK;
  while ((code = select.step()) == SQLITE_ROW) {
    if (StoreResult<void> taken = take(); !taken) return taken;
  }
  select.reset();
  if (code != SQLITE_DONE) return tl::unexpected(connection.error(code));
  return {};
}

StoreResult<void> read_without_numbers(Connection& connection, const Store::Visitor& visit) {
  auto select = connection.prepare(
      "SELECT context, kind, owner, item, body, checksum FROM records ORDER BY context, kind, owner, item");
  if (!select) return tl::unexpected(select.error());
  std::uint64_t number = 0;
  return for_each_row(connection, *select, [&]() -> StoreResult<void> {
    StoreKey key{static_cast<std::uint16_t>(select->number(0)), static_cast<std::uint8_t>(select->number(1)),
                 select->text(2), static_cast<std::uint64_t>(select->number(3)), 0};
    const std::string_view body = select->text(4);
    if (!fits<std::uint16_t>(select->number(0)) || !fits<std::uint8_t>(select->number(1)) || select->number(3) < 0 ||
        select->number(5) != checksum_without_numbers(key, body)) {
      return tl::unexpected(altered(connection, key));
    }
    key.object = key.item == 0 ? ++number : number;
    if (auto taken = visit(key, body); !taken) return tl::unexpected(connection.damaged(taken.error()));
    return {};
  });
}

StoreResult<void> read_parts(Connection& connection, Statement& select, const StoreKey& object,
                             const Store::Visitor& visit) {
  select.bind(1, static_cast<std::int64_t>(object.object));
  return for_each_row(connection, select, [&]() -> StoreResult<void> {
    StoreKey key = object;
    key.item = static_cast<std::uint64_t>(select.number(0));
    const std::string_view body = select.text(1);
    if (select.number(0) <= 0 || select.number(2) != record_checksum(key, body)) {
      return tl::unexpected(altered(connection, key));
    }
    if (auto taken = visit(key, body); !taken) return tl::unexpected(connection.damaged(taken.error()));
    return {};
  });
}

StoreResult<void> read_by_numbers(Connection& connection, const Store::Visitor& visit) {
  const auto orphan = connection.value(
      "SELECT (SELECT object || ', item ' || item FROM parts"
      " WHERE NOT EXISTS (SELECT 1 FROM objects WHERE number = object) LIMIT 1)");
  if (!orphan) return tl::unexpected(orphan.error());
  if (!orphan->empty()) {
    return tl::unexpected(connection.damaged(fmt::format("the object of a record is missing (object {})", *orphan)));
  }
  auto objects = connection.prepare(
      "SELECT context, kind, name, number, body, checksum FROM objects ORDER BY context, kind, name, number");
  if (!objects) return tl::unexpected(objects.error());
  auto parts = connection.prepare("SELECT item, body, checksum FROM parts WHERE object = ?1 ORDER BY item");
  if (!parts) return tl::unexpected(parts.error());
  return for_each_row(connection, *objects, [&]() -> StoreResult<void> {
    const StoreKey key{static_cast<std::uint16_t>(objects->number(0)), static_cast<std::uint8_t>(objects->number(1)),
                       objects->text(2), 0, static_cast<std::uint64_t>(objects->number(3))};
    const std::string_view body = objects->text(4);
    if (!fits<std::uint16_t>(objects->number(0)) || !fits<std::uint8_t>(objects->number(1)) ||
        objects->number(3) <= 0 || objects->number(5) != record_checksum(key, body)) {
      return tl::unexpected(altered(connection, key));
    }
    if (auto taken = visit(key, body); !taken) return tl::unexpected(connection.damaged(taken.error()));
    return read_parts(connection, *parts, key, visit);
  });
}

}  // namespace

StoreResult<void> read_records(Connection& connection, std::uint32_t format, const Store::Visitor& visit) {
  return format == kFormat ? read_by_numbers(connection, visit) : read_without_numbers(connection, visit);
}

StoreResult<StoreHead> read_head(Connection& connection, std::uint32_t format) {
  auto select = connection.prepare(format == kFormat ? "SELECT revision, next_number FROM head"
                                                     : "SELECT 0, count(*) + 1 FROM records WHERE item = 0");
  if (!select) return tl::unexpected(select.error());
  const int code = select->step();
  if (code == SQLITE_DONE) return tl::unexpected(connection.damaged("it has no head"));
  if (code != SQLITE_ROW) return tl::unexpected(connection.error(code));
  if (select->number(0) < 0 || select->number(1) < 1) return tl::unexpected(connection.damaged("its head is none"));
  return StoreHead{static_cast<std::uint64_t>(select->number(0)), static_cast<std::uint64_t>(select->number(1))};
}

}  // namespace kvel::manager
