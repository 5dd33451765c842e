// The shell's own backend calls.
#include "shell/configuration/objects.h"

#include <array>
#include <set>
#include <utility>

#include "kvel/host.h"
#include "kvel/rpc.h"
#include "kvel/status.h"
#include "shell/configuration/response.h"

namespace kvel::shell {

namespace {

// The rules of a class-map, or the classes of a policy-map, page by page.
tl::expected<ObjectRecord, CallFailure> get_parts(int context, std::uint32_t kind, const std::string& name) {
  using Position = std::array<unsigned char, 16>;
  ObjectRecord parts = ObjectRecord::array();
  Position position{};
  std::set<Position> visited;
  std::array<unsigned char, 4> more{};
  do {
    // Another manager than ours may come back to a page for ever.
    if (!visited.insert(position).second) return tl::unexpected(failure(KVEL_STATUS_transport));
    Response response;
    const std::int32_t status = tnrpc_call(
        "kvel_get_parts", 6, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32, kind, TNRPC_ARG_STRING, name.c_str(),
        TNRPC_ARG_BUFFER, position.data(), static_cast<std::uint32_t>(position.size()), TNRPC_ARG_BUFFER, more.data(),
        static_cast<std::uint32_t>(more.size()), TNRPC_ARG_RESPONSE, response.holder());
    if (!succeeded(status)) return tl::unexpected(failure(status));
    ObjectRecord page = response.json();
    if (!page.is_array()) return tl::unexpected(failure(KVEL_STATUS_transport));
    for (ObjectRecord& part : page)
      parts.push_back(std::move(part));
  } while (more != std::array<unsigned char, 4>{});
  return parts;
}

// An object that is too long for an answer has the number of its parts in their place.
tl::expected<void, CallFailure> complete(int context, std::uint32_t kind, ObjectRecord& record) {
  for (const char* member : {"rules", "classes"}) {
    const auto parts = record.find(member);
    if (parts == record.end() || !parts->is_number_unsigned()) continue;
    auto fetched = get_parts(context, kind, record.at("name").get<std::string>());
    if (!fetched) return tl::unexpected(fetched.error());
    *parts = *std::move(fetched);
  }
  return {};
}

std::uint32_t kind_of(const ObjectRecord& record) {
  return record.value("kind", "") == "policy-map" ? KVEL_DOMAIN_POLICY_MAP : KVEL_DOMAIN_CLASS_MAP;
}

bool is_missing(const CallFailure& failure) {
  return failure.status == KVEL_STATUS_class_map_not_found || failure.status == KVEL_STATUS_policy_map_not_found;
}

}  // namespace

tl::expected<ObjectRecord, CallFailure> get_object(int context, std::uint32_t kind, const std::string& name) {
  Response response;
  const std::int32_t status = tnrpc_call("kvel_get_object", 4, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32, kind,
                                         TNRPC_ARG_STRING, name.c_str(), TNRPC_ARG_RESPONSE, response.holder());
  if (!succeeded(status)) return tl::unexpected(failure(status));
  ObjectRecord record = response.json();
  if (!record.is_object()) return tl::unexpected(failure(KVEL_STATUS_transport));
  if (auto completed = complete(context, kind, record); !completed) return tl::unexpected(completed.error());
  return record;
}

tl::expected<void, CallFailure> for_each_object(int context, std::uint32_t kind,
                                                const std::function<void(const ObjectRecord&)>& visit) {
  using Cursor = std::array<unsigned char, 66>;
  Cursor cursor{};
  std::set<Cursor> visited;
  std::array<unsigned char, 4> more{};
  do {
    // Another manager than ours may come back to a page for ever.
    if (!visited.insert(cursor).second) return tl::unexpected(failure(KVEL_STATUS_transport));
    Response response;
    const std::int32_t status =
        tnrpc_call("kvel_get_objects", 5, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32, kind, TNRPC_ARG_BUFFER,
                   cursor.data(), static_cast<std::uint32_t>(cursor.size()), TNRPC_ARG_BUFFER, more.data(),
                   static_cast<std::uint32_t>(more.size()), TNRPC_ARG_RESPONSE, response.holder());
    if (!succeeded(status)) return tl::unexpected(failure(status));
    ObjectRecord page = response.json();
    if (!page.is_array()) return tl::unexpected(failure(KVEL_STATUS_transport));
    for (ObjectRecord& record : page) {
      const auto completed =
          record.is_object() ? complete(context, kind_of(record), record) : tl::expected<void, CallFailure>();
      if (!completed && is_missing(completed.error())) continue;  // deleted since the page was made
      if (!completed) return completed;
      visit(record);
    }
  } while (more != std::array<unsigned char, 4>{});
  return {};
}

}  // namespace kvel::shell
