#include "shell/configuration/object_identity.h"

#include <array>

#include "kvel/rpc.h"
#include "shell/configuration/response.h"
#include "wire/big_endian.h"

namespace kvel::shell {

bool may_be_same(const ObjectIdentity& before, const ObjectIdentity& now) {
  if (before.process != now.process) return before.type == now.type;
  if (before.made != now.made) return false;
  return before.entry == 0 || now.entry == 0 || before.entry == now.entry;
}

tl::expected<ObjectIdentity, CallFailure> identify_object(int context, std::uint32_t kind, const std::string& name,
                                                          const std::string& entry) {
  std::array<std::uint8_t, 20> bytes{};
  const std::int32_t status = tnrpc_call("kvel_identify_object", 5, TNRPC_ARG_U16, context & 0xFFFF, TNRPC_ARG_U32,
                                         kind, TNRPC_ARG_STRING, name.c_str(), TNRPC_ARG_STRING, entry.c_str(),
                                         TNRPC_ARG_BUFFER, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
  if (!succeeded(status)) return tl::unexpected(failure(status));
  return ObjectIdentity{wire::read_word<std::uint32_t>(bytes.data()), wire::read_word<std::uint32_t>(&bytes[4]),
                        wire::read_word<std::uint32_t>(&bytes[8]), wire::read_word<std::uint64_t>(&bytes[12])};
}

}  // namespace kvel::shell
