// The shell's own backend calls.
#include "shell/configuration/objects.h"

#include <array>
#include <set>

#include "kvel/rpc.h"
#include "kvel/status.h"
#include "shell/configuration/response.h"

namespace kvel::shell {

tl::expected<ObjectRecord, CallFailure> get_object(int context, std::uint32_t kind, const std::string& name) {
  Response response;
  const std::int32_t status = tnrpc_call("kvel_get_object", 4, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32, kind,
                                         TNRPC_ARG_STRING, name.c_str(), TNRPC_ARG_RESPONSE, response.holder());
  if (!succeeded(status)) return tl::unexpected(failure(status));
  ObjectRecord record = response.json();
  if (!record.is_object()) return tl::unexpected(failure(KVEL_STATUS_transport));
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
    const ObjectRecord page = response.json();
    if (!page.is_array()) return tl::unexpected(failure(KVEL_STATUS_transport));
    for (const ObjectRecord& record : page)
      visit(record);
  } while (more != std::array<unsigned char, 4>{});
  return {};
}

}  // namespace kvel::shell
